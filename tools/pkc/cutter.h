// Cuts the octets of an input into pieces, however they arrive: DER, PEM blocks, lines of base64.
// Nothing is decoded here, and nothing is held but the piece that is not whole yet.
#ifndef CORVID_TOOLS_PKC_CUTTER_H_
#define CORVID_TOOLS_PKC_CUTTER_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "batch.h"

namespace corvid::tool {

class Cutter {
 public:
  // An input begins, behind what the batch's text holds. Pieces with a number below `first` are
  // passed over.
  void Begin(std::string_view name, uint64_t first, Batch* batch);
  // Appends the pieces that the text holds from kept() on, where kept() moves. What is left waits
  // for more text, unless the input ends.
  void Cut(bool end);
  size_t kept() const { return begin_; }
  // The input goes on in another batch, whose text begins with what was left.
  void GoOn(Batch* batch);
  // Says that the input cannot be read, or no further.
  void Broken(std::string reason, uint32_t code = 0);

  const std::string& name() const { return name_; }
  uint64_t next_number() const { return number_ + 1; }  // of the certificates

 private:
  enum class Mode : uint8_t { kStart, kDer, kSearch, kPem, kBlock, kBase64, kDone };
  struct Line {
    std::string_view text;  // without the blanks around it
    size_t begin;           // from begin_
  };

  bool Step(bool end);
  bool Decide(bool end);
  bool Whole(bool end);
  bool Search(bool end);
  bool Outside(bool end);
  bool Block(bool end);
  bool Base64(bool end);
  void Base64Line(const Line& line);
  void FlushWrapped();
  void EndSearch();
  void EndPem();

  bool NextLine(bool end, Line* line);
  bool DropLine();
  void Consume(size_t size);
  void Emit(Piece::Form form, size_t size, uint64_t line);
  void Refuse(std::string reason, uint32_t code, uint64_t line, bool counts);
  size_t InputIndex();
  std::string_view Rest() const { return std::string_view(batch_->text).substr(begin_); }

  Batch* batch_ = nullptr;
  std::string name_;
  size_t input_ = 0;     // its index in the batch, or kUnlisted
  uint64_t first_ = 1;   // number that is wanted
  uint64_t number_ = 0;  // of the certificates so far
  Mode mode_ = Mode::kStart;

  size_t begin_ = 0;       // of what is not cut yet; the next three count from there
  size_t line_begin_ = 0;  // of the line at hand
  size_t searched_ = 0;    // up to where the end of the line or block was looked for
  size_t wrapped_end_ = 0;
  uint64_t line_ = 0;      // lines taken so far
  bool dropping_ = false;  // the rest of a line that was too long

  std::string beginning_;      // of an input that may be nothing known
  bool blank_ = true;          // so far
  bool text_ = true;           // so far
  std::string other_label_;    // of the first PEM block that is no certificate
  std::string_view label_;     // of the block at hand
  uint64_t piece_line_ = 0;    // where the block or the wrapped lines begin
  std::string wrapped_start_;  // of base64 in several lines, its first characters
  size_t wrapped_length_ = 0;  // of the certificate, as its header tells; 0: it does not
  size_t wrapped_size_ = 0;    // so far
};

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_CUTTER_H_
