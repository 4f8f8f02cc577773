// Elements of DER that no record of the library holds: string values, notices, foreign files.
#ifndef CORVID_TOOLS_PKC_DER_H_
#define CORVID_TOOLS_PKC_DER_H_

#include <cstdint>
#include <string>

#include "corvid/pkc.hpp"

namespace corvid::tool {

enum Tag : uint8_t {
  kTagBoolean = 0x01,
  kTagInteger = 0x02,
  kTagBitString = 0x03,
  kTagOctetString = 0x04,
  kTagOid = 0x06,
  kTagSequence = 0x30,
  kTagExtensions = 0xA3
};

struct Element {
  uint8_t tag = 0;
  pkc::Octets content;
  pkc::Octets whole;
};

// Reads one element after the other. Nothing is read past the octets given; a header that is not
// DER (X.690 section 10.1), or an identifier of several octets, ends the reading.
class DerReader {
 public:
  explicit DerReader(pkc::Octets octets) : rest_(octets) {}
  bool Next(Element* element);
  // The next element, when it has the tag.
  bool Next(uint8_t tag, Element* element);
  bool empty() const { return rest_.empty(); }
  // The tag of the next element; 0 at the end.
  uint8_t tag() const { return rest_.empty() ? 0 : rest_[0]; }

 private:
  pkc::Octets rest_;
};

// A character string as UTF-8. Octets over 7F of the types that should have none stay as they are.
struct StringValue {
  const char* type = nullptr;  // "UTF8String"; null when the element is no character string
  pkc::Status status;          // why `text` is not there
  std::string text;
};
StringValue DecodeString(pkc::Octets der);

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_DER_H_
