// What the module's areas share: the traced return, holders, the lenient element reader, the
// bounded text writer, the algorithm rows, and the few functions that one area offers another.
#ifndef CORVID_PKC_INTERNAL_H_
#define CORVID_PKC_INTERNAL_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

#include "corvid/algorithm_rows.hpp"
#include "corvid/asn.h"
#include "corvid/common.h"
#include "corvid/holders.hpp"
#include "corvid/oid_octets.hpp"
#include "corvid/pkc.h"
#include "corvid/short_copy.hpp"
#include "corvid/usual.hpp"

namespace corvid {

// The octets of a BIT STRING that are whole.
inline Bytes WholeOctets(const CVD_BitString& bits) { return {bits.data, bits.bits / 8}; }

// ---- the traced return ---------------------------------------------------------------------

// Writes the failure trace of one source file. Returns `code`, so that a return can be traced.
// __builtin_LINE and not std::source_location, which clang 14 lacks.
struct Tracer {
  const char* file;
  uint32_t operator()(const char* function, uint32_t code, int line = __builtin_LINE()) const {
    if (Rare(code != 0)) {
      CVD_Trace_PutError(function, static_cast<int32_t>(code), CVD_PKC_GetErrorReason(code, 1),
                         file, line);
    }
    return code;
  }
};

// The code of a refusal that has no number of its own.
inline constexpr uint32_t kRefused = static_cast<uint32_t>(-1);

// ---- holders -------------------------------------------------------------------------------

using DecodedCertificate = Decoded<CVD_Certificate, CVD_PDU_CERTIFICATE>;

class ScopedText {  // a text that a service allocates and this scope frees
 public:
  ScopedText() = default;
  ScopedText(const ScopedText&) = delete;
  ScopedText& operator=(const ScopedText&) = delete;
  ~ScopedText() {
    if (text_ != nullptr) CVD_free(text_);
  }
  char** out() { return &text_; }
  const char* get() const { return text_; }
  bool empty() const { return text_ == nullptr; }

 private:
  char* text_ = nullptr;
};

// The dotted text of an identifier: within this object, unless it is unusually long.
class DottedText {
 public:
  // The status is that of CVD_ASN_OID2DotVal.
  [[nodiscard]] uint32_t Make(const CVD_OID& oid) {
    uint32_t count = sizeof near_;
    if (oid.length <= (sizeof near_ - 4) / 4) {
      const uint32_t status = CVD_ASN_OID2DotValInto(near_, &count, &oid);
      text_ = {near_, count};
      return status;
    }
    const uint32_t status = CVD_ASN_OID2DotVal(far_.out(), &oid);
    if (status == 0) text_ = far_.get();
    return status;
  }
  std::string_view get() const { return text_; }  // after a status of 0

 private:
  ScopedText far_;
  std::string_view text_;
  char near_[100];
};

// A block of the toolkit's allocator that this scope frees. Null when memory was short.
template <typename T>
class ScopedBlock {
 public:
  explicit ScopedBlock(size_t count) : data_(static_cast<T*>(CVD_calloc(count, sizeof(T)))) {}
  ScopedBlock(const ScopedBlock&) = delete;
  ScopedBlock& operator=(const ScopedBlock&) = delete;
  ~ScopedBlock() { CVD_free(data_); }
  T* get() const { return data_; }

 private:
  T* data_;
};

// ---- reading DER by hand -------------------------------------------------------------------

struct Element {
  uint8_t tag;     // the whole identifier octet
  size_t content;  // position of the first content octet in the input
  size_t length;   // number of content octets
  size_t end;      // content + length; never past the input
};

// Reads the header of the element at `position` of `in` (X.690 section 8.1.3). Lenient where issued
// certificates need it: a long form may be longer than necessary, and a first length octet of 80
// means length 0. False, with `*out` untouched, when the element does not lie inside `in` or
// announces more than four length octets.
[[nodiscard]] inline bool ReadElement(Bytes in, size_t position, Element* out) {
  if (position > in.size() || in.size() - position < 2) return false;
  size_t content = position + 2;
  size_t length = in[position + 1];
  if (length >= 0x80) {
    const size_t octets = length & 0x7F;
    if (octets > 4 || in.size() - content < octets) return false;
    length = 0;
    for (size_t i = 0; i < octets; ++i) length = length << 8 | in[content++];
  }
  if (in.size() - content < length) return false;  // subtracted: a sum could wrap
  *out = {in[position], content, length, content + length};
  return true;
}

// Universal identifier octets that the hand-written readers meet.
enum : uint8_t {
  kTagInteger = 0x02,
  kTagBitString = 0x03,
  kTagOctetString = 0x04,
  kTagOid = 0x06,
  kTagUtf8String = 0x0C,
  kTagPrintableString = 0x13,
  kTagTeletexString = 0x14,
  kTagIa5String = 0x16,
  kTagVisibleString = 0x1A,
  kTagUniversalString = 0x1C,
  kTagBmpString = 0x1E,
  kTagSequence = 0x30
};

// String types whose content octets are the text.
inline bool IsCopiedType(uint8_t tag) {
  return tag == kTagPrintableString || tag == kTagTeletexString || tag == kTagIa5String ||
         tag == kTagVisibleString;
}

inline constexpr int32_t kValueSize = 202;  // the text of a directory string, and its terminator

// ---- writing text --------------------------------------------------------------------------

// A text of the program's own, copied as a whole and advanced by its length.
struct Literal {
  char text[32] = {};
  size_t length = 0;

  template <size_t kSize>
  consteval Literal(const char (&literal)[kSize]) {  // NOLINT(google-explicit-constructor)
    static_assert(kSize <= sizeof text);             // with its terminator
    for (; length + 1 < kSize; ++length) text[length] = literal[length];
  }
};

// A text being written into a caller's array of `capacity` bytes (at least 1), terminator included:
// never past its end, always terminated, cut in silence.
class Text {
 public:
  // Begins an empty text.
  Text(char* out, int32_t capacity) : Text(out, capacity, 0) { out_[0] = '\0'; }
  // Goes on after the first `length` bytes.
  Text(char* out, int32_t capacity, size_t length)
      : out_(out), size_(static_cast<size_t>(capacity)), length_(length) {}
  // Goes on after the text that is there.
  static Text After(char* out, int32_t capacity) {
    return {out, capacity, strnlen(out, static_cast<size_t>(capacity) - 1)};
  }

  [[gnu::noinline]] void Add(std::string_view s) {
    const size_t fit = std::min(s.size(), size_ - 1 - length_);
    CopyShort(out_ + length_, s.data(), fit);
    length_ += fit;
    out_[length_] = '\0';
  }
  void Add(const Literal& s) {
    if (Room() <= sizeof s.text) return Add(std::string_view(s.text, s.length));
    std::memcpy(out_ + length_, s.text, sizeof s.text);  // the terminator, too
    length_ += s.length;
  }
  void Add(const char* s) { Add(std::string_view(s)); }
  void Add(char c) {
    if (length_ + 1 >= size_) return;
    out_[length_++] = c;
    out_[length_] = '\0';
  }
  void AddNumber(int64_t number) {
    char digits[20];
    char* at = digits + sizeof digits;
    uint64_t rest = number < 0 ? 0 - static_cast<uint64_t>(number) : static_cast<uint64_t>(number);
    do {
      *--at = static_cast<char>('0' + rest % 10);
    } while ((rest /= 10) != 0);
    if (number < 0) *--at = '-';
    Add({at, static_cast<size_t>(digits + sizeof digits - at)});
  }
  void DropLast() {
    if (length_ > 0) out_[--length_] = '\0';
  }
  bool Full() const { return length_ + 2 >= size_; }  // a renderer adds no further entry
  bool empty() const { return length_ == 0; }
  size_t length() const { return length_; }
  size_t Room() const { return size_ - length_; }  // bytes left, with the terminator's

 private:
  char* out_;
  size_t size_;
  size_t length_;
};

// The length of UTF-8 text without the octets of a last character that was cut off.
inline size_t WholeUtf8Length(std::string_view text) {
  size_t lead = text.size();
  do {
    if (lead == 0) return text.size();
  } while ((static_cast<uint8_t>(text[--lead]) & 0xC0) == 0x80);
  const auto first = static_cast<uint8_t>(text[lead]);
  const size_t octets = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : first >= 0xC0 ? 2 : 1;
  return text.size() - lead < octets ? lead : text.size();
}

// ---- finding an extension ------------------------------------------------------------------

// CVD_GetExtension for a catalogue number.
template <int32_t kNumber>
const CVD_Extension* FindExtension(const CVD_ExtensionNode* extensions) {
  for (const CVD_ExtensionNode* node = extensions; node != nullptr; node = node->next) {
    if (IsOid<kNumber>(node->extension.extnID)) return &node->extension;
  }
  return nullptr;
}

// Identifiers of the module's own, not of the catalogue.
inline constexpr OidOctets kCorporationName{"1.2.410.100001.5.7.101.4"};
inline constexpr OidOctets kDomainComponent{"0.9.2342.19200300.100.1.25"};

// ---- what the areas offer each other -------------------------------------------------------

// suite_pkc_info: `data` in lower-case hexadecimal, cut to whole octets. PKC_ERR_INVALID_INPUT for
// a capacity below 3 or null data.
uint32_t WriteHex(char* out, int32_t capacity, Bytes data);
// suite_pkc: the row whose written or older identifier this is, or null.
const SignRow* SignRowOf(const CVD_OID& oid);
const KeyRow* KeyRowOf(const CVD_OID& oid);
// suite_pkc: the name of a hashID ("SHA1"), or null.
const char* HashName(int32_t hashID);

// suite_pkc_string: gives the text area `capacity` bytes. PKC_ERR_MALLOC, with the buffer as it
// was, when memory is short or the capacity does not fit its field.
[[nodiscard]] uint32_t ResizeStrBuf(StrBuf* buffer, uint64_t capacity);

// suite_pkc_dn: the text of a name while it grows, in memory of the caller's or in a block. Room is
// asked for once an attribute; what is written into it does not look at the room any more.
class NameText {
 public:
  NameText() = default;
  explicit NameText(std::span<char> near) : near_(near.data()) {
    buffer_.text = near_;
    buffer_.capacity = static_cast<uint32_t>(near.size());
  }
  NameText(const NameText&) = delete;
  NameText& operator=(const NameText&) = delete;
  ~NameText() {
    if (buffer_.text != near_) CVD_PKC_StrBuf_Free(&buffer_);
  }
  // Begins with a block.
  [[nodiscard]] uint32_t Init() { return CVD_PKC_StrBuf_Init(&buffer_, kStep, kStep); }

  // Makes room for `octets` and the terminator. A text that outgrows its area doubles it, so that
  // names of any length are built in linear time.
  [[nodiscard]] bool Reserve(size_t octets);
  char* end() { return buffer_.text + buffer_.length; }
  void EndAt(const char* end) { buffer_.length = static_cast<uint32_t>(end - buffer_.text); }

  uint32_t length() const { return buffer_.length; }
  void ReplaceLast(char c) { buffer_.text[buffer_.length - 1] = c; }
  // Ends the text without its last separator.
  std::string_view End() {
    if (buffer_.length > 0) --buffer_.length;
    buffer_.text[buffer_.length] = '\0';
    return {buffer_.text, buffer_.length};
  }
  // The same; hands the block over.
  char* Release() {
    End();
    char* text = buffer_.text;
    buffer_.text = nullptr;
    return text;
  }

 private:
  static constexpr uint32_t kStep = 1024;
  char* near_ = nullptr;
  StrBuf buffer_{};
};
// suite_pkc_dn: CVD_ExtractRDN into a text.
uint32_t RenderName(const CVD_Name& name, NameText* out);

// suite_pkc_check: PEM text is told by its first ten bytes.
bool IsPem(const BIN& certificate);
// suite_pkc_check: the DER in the first body of PEM text.
uint32_t DecodePem(BIN* der, const BIN* pem);

// suite_pkc_vid: the identity data of a subjectAltName value.
uint32_t DecodeSubAltName(char* name, uint32_t* size, int32_t* hashID, BIN* vid, const BIN* der);

}  // namespace corvid

#endif  // CORVID_PKC_INTERNAL_H_
