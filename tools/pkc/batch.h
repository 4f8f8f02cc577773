// What is read at one go and then worked on by one thread: the text of a number of certificates,
// cut apart but not yet decoded.
#ifndef CORVID_TOOLS_PKC_BATCH_H_
#define CORVID_TOOLS_PKC_BATCH_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "corvid/pkc.hpp"
#include "problem.h"

namespace corvid::tool {

// One certificate, or what stands in its place.
struct Piece {
  enum class Form : uint8_t {
    kDer,      // a whole input
    kBase64,   // with white space in it
    kTrusted,  // the same; trust settings follow the certificate
    kProblem
  };
  Form form;
  size_t input;     // its index in the batch
  uint64_t number;  // of the certificate in its input
  uint64_t line;    // where it begins
  size_t begin;     // in the batch's text; of a problem its index in the batch
  size_t size;
};

struct Batch {
  std::string text;  // an octet that may be overwritten follows each piece of base64
  std::vector<std::string> inputs;
  std::vector<Piece> pieces;
  std::vector<Problem> problems;
  uint64_t octets_read = 0;

  // Keeps the memory for the next use.
  void Clear();
  std::string_view InputOf(const Piece& piece) const { return inputs[piece.input]; }
};

// Turns pieces into DER. One a thread.
class PieceDecoder {
 public:
  // `*der` holds until the next call, or as long as the batch. False for a problem.
  bool Decode(Batch* batch, const Piece& piece, pkc::Octets* der, Problem* problem);

 private:
  pkc::Bin decoded_;
};

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_BATCH_H_
