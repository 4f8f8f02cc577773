// Cutting: a state machine over lines, which for the body of a PEM block looks for its end alone.
#include "cutter.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "der.h"
#include "foreign.h"

namespace corvid::tool {
namespace {

constexpr std::string_view kCertificateLabels[] = {"CERTIFICATE", "X509 CERTIFICATE",
                                                   "TRUSTED CERTIFICATE"};
constexpr std::string_view kTrustedLabel = "TRUSTED CERTIFICATE";
constexpr std::string_view kBegin = "-----BEGIN ";
constexpr std::string_view kEnd = "-----END ";
constexpr std::string_view kDashes = "-----";
constexpr std::string_view kBlanks = " \t\r\n";
constexpr size_t kLongestWrapped = 76;  // RFC 2045 section 6.8
constexpr size_t kShortestBase64 = 16;
constexpr size_t kWindow = 1U << 16;         // what decides of which kind an input is
constexpr size_t kMost = CVD_IO_FILE_LIMIT;  // octets of one certificate's text
constexpr size_t kStart = 8;                 // characters of base64 that hold a header
constexpr size_t kUnlisted = SIZE_MAX;

std::string_view Trim(std::string_view line) {
  const size_t first = line.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return line.substr(first, line.find_last_not_of(kBlanks) - first + 1);
}

// The label of a line that begins or ends a PEM block; empty for another line.
std::string_view LabelOf(std::string_view line, std::string_view prefix) {
  if (line.substr(0, prefix.size()) != prefix || line.size() < prefix.size() + kDashes.size()) {
    return {};
  }
  if (line.substr(line.size() - kDashes.size()) != kDashes) return {};
  return line.substr(prefix.size(), line.size() - prefix.size() - kDashes.size());
}

// In octets and without a branch, so that the compiler looks at many characters at once.
bool IsBase64(std::string_view line) {
  uint8_t bad = 0;
  for (const char c : line) {
    const auto octet = static_cast<uint8_t>(c);
    const uint8_t no_letter = static_cast<uint8_t>((octet | 0x20) - 'a') > 25 ? 1 : 0;
    const uint8_t no_digit = static_cast<uint8_t>(octet - '/') > 10 ? 1 : 0;  // nor solidus
    const uint8_t no_other = octet != '+' && octet != '=' ? 1 : 0;
    bad = static_cast<uint8_t>(bad | (no_letter & no_digit & no_other));
  }
  return bad == 0;
}

// A long-form SEQUENCE, which every certificate is, begins with "MI" in base64.
bool BeginsCertificate(std::string_view line) {
  return line.size() >= kShortestBase64 && line.substr(0, 2) == "MI" && IsBase64(line);
}

// The characters of base64 that the SEQUENCE takes whose first ones are given; 0 when its header
// is no such.
size_t CertificateLength(const std::string& start) {
  pkc::Bin header;
  if (start.size() < kStart || !pkc::DecodeBase64(start.c_str(), &header).ok()) return 0;
  const pkc::Octets octets = header.octets();
  const size_t count = octets[1] & 0x7FU;
  if (octets[0] != kTagSequence || octets[1] < 0x80 || count > 4) return 0;
  size_t length = 0;
  for (size_t i = 0; i < count; ++i) length = length << 8 | octets[2 + i];
  return (2 + count + length + 2) / 3 * 4;
}

bool HoldsBase64(std::string_view text) {
  while (!text.empty()) {
    const size_t end = std::min(text.find('\n'), text.size());
    if (BeginsCertificate(Trim(text.substr(0, end)))) return true;
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return false;
}

bool IsText(std::string_view octets) {
  return std::none_of(octets.begin(), octets.end(), [](char c) {
    const auto octet = static_cast<uint8_t>(c);
    return octet < 0x20 && octet != '\t' && octet != '\n' && octet != '\r' && octet != '\f';
  });
}

bool AtLineStart(std::string_view text, size_t at) {
  const size_t before = text.substr(0, at).find_last_not_of(" \t\r");
  return before == std::string_view::npos || text[before] == '\n';
}

}  // namespace

void Cutter::Begin(std::string_view name, uint64_t first, Batch* batch) {
  *this = {};
  batch_ = batch;
  name_ = name;
  first_ = first;
  input_ = kUnlisted;
  // The octet that may be overwritten behind the last piece before.
  if (!batch->text.empty()) batch->text.push_back('\n');
  begin_ = batch->text.size();
}

void Cutter::GoOn(Batch* batch) {
  batch_ = batch;
  begin_ = 0;
  input_ = kUnlisted;
}

void Cutter::Cut(bool end) {
  while (Step(end)) {
  }
}

void Cutter::Broken(std::string reason, uint32_t code) {
  Refuse(std::move(reason), code, 0, false);
}

// ---- kinds of input ------------------------------------------------------------------------

// False when the text at hand is used up.
bool Cutter::Step(bool end) {
  switch (mode_) {
    case Mode::kStart:
      return Decide(end);
    case Mode::kDer:
      return Whole(end);
    case Mode::kSearch:
      return Search(end);
    case Mode::kPem:
      return Outside(end);
    case Mode::kBlock:
      return Block(end);
    case Mode::kBase64:
      return Base64(end);
    case Mode::kDone:
      Consume(Rest().size());
      return false;
  }
  return false;
}

// By its first octets, as many of them as there are for sure, so that it does not matter in which
// parts they arrive. PEM anywhere in them goes before lines that look like base64.
bool Cutter::Decide(bool end) {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  constexpr size_t kBeginning = 16;
  if (Rest().substr(0, kBegin.size()) == kBegin) {
    mode_ = Mode::kPem;
    return true;
  }
  if (!end && Rest().size() < kWindow) return false;
  const std::string_view window = Rest().substr(0, kWindow);
  // Text never has an octet over 7F in second place after a zero digit.
  const bool binary = window.size() > 1 && window[0] == kTagSequence &&
                      (static_cast<uint8_t>(window[1]) >= 0x80 || !IsText(window));
  beginning_ = window.substr(0, kBeginning);
  if (window.substr(0, kByteOrderMark.size()) == kByteOrderMark) Consume(kByteOrderMark.size());
  if (binary) {
    mode_ = Mode::kDer;
  } else if (window.find(kBegin) != std::string_view::npos) {
    mode_ = Mode::kPem;
  } else {
    mode_ = HoldsBase64(Rest().substr(0, kWindow)) ? Mode::kBase64 : Mode::kSearch;
  }
  return true;
}

bool Cutter::Whole(bool end) {
  if (Rest().size() > kMost) {
    Broken(ReasonOf(CVD_IO_ERR_TOO_LARGE), CVD_IO_ERR_TOO_LARGE);
  } else if (end) {
    Emit(Piece::Form::kDer, Rest().size(), 0);
  } else {
    return false;
  }
  mode_ = Mode::kDone;
  return true;
}

// Neither PEM nor base64 has come yet.
bool Cutter::Search(bool end) {
  Line line;
  while (NextLine(end, &line)) {
    blank_ = blank_ && line.text.empty();
    text_ = text_ && IsText(line.text);
    const bool pem = line.text.substr(0, kBegin.size()) == kBegin;
    if (pem || BeginsCertificate(line.text)) {
      searched_ = line_begin_ = line.begin;  // for whom it concerns
      --line_;
      mode_ = pem ? Mode::kPem : Mode::kBase64;
      return true;
    }
    Consume(line_begin_);
  }
  if (end) {
    EndSearch();
    mode_ = Mode::kDone;
    return true;
  }
  if (Rest().size() <= kWindow && !dropping_) return false;
  if (!dropping_ && BeginsCertificate(Trim(Rest().substr(0, kWindow)))) {
    mode_ = Mode::kBase64;
    return true;
  }
  blank_ = blank_ && Trim(Rest()).empty();
  text_ = text_ && IsText(Rest());
  return DropLine();
}

void Cutter::EndSearch() {
  if (blank_) return Broken("is empty");
  if (text_) return Broken("is text without a certificate");
  // Where decoding fails tells that it is nothing known.
  Consume(Rest().size());
  batch_->text += beginning_;
  Emit(Piece::Form::kDer, beginning_.size(), 0);
}

// ---- PEM -----------------------------------------------------------------------------------

// Text around the blocks, and blocks of other things beside certificates, are passed over.
bool Cutter::Outside(bool end) {
  Line line;
  while (NextLine(end, &line)) {
    const std::string_view label = LabelOf(line.text, kBegin);
    const auto* wanted =
        std::find(std::begin(kCertificateLabels), std::end(kCertificateLabels), label);
    if (other_label_.empty()) other_label_ = label;
    Consume(line_begin_);
    if (wanted == std::end(kCertificateLabels)) continue;
    label_ = *wanted;
    piece_line_ = line_;
    mode_ = Mode::kBlock;
    return true;
  }
  if (!end) return Rest().size() > kWindow && DropLine();
  EndPem();
  mode_ = Mode::kDone;
  return true;
}

// A block ends at the next line that begins with dashes, whatever it says: base64 has none.
bool Cutter::Block(bool end) {
  const std::string_view rest = Rest();
  const size_t dash = std::min(rest.find('-', searched_), rest.size());
  const size_t line_end = std::min(rest.find('\n', dash), rest.size());
  searched_ = dash;
  if (line_end == rest.size() && !end) {
    if (rest.size() <= kMost) return false;
    Refuse(ReasonOf(CVD_IO_ERR_TOO_LARGE), CVD_IO_ERR_TOO_LARGE, piece_line_, true);
    mode_ = Mode::kPem;
    return DropLine();
  }
  const std::string_view line = Trim(rest.substr(dash, line_end - dash));
  const bool dashes = line.substr(0, kDashes.size()) == kDashes && AtLineStart(rest, dash);
  if (dash < rest.size() && !dashes) {
    ++searched_;
    return true;
  }
  for (size_t at = 0; (at = rest.substr(0, dash).find('\n', at)) != std::string_view::npos; ++at) {
    ++line_;
  }
  mode_ = Mode::kPem;
  if (LabelOf(line, kEnd) != label_) {
    Refuse("a PEM block without its end", 0, piece_line_, true);
    Consume(dash);  // the line may begin the next block
    return true;
  }
  Emit(label_ == kTrustedLabel ? Piece::Form::kTrusted : Piece::Form::kBase64, dash, piece_line_);
  Consume(std::min(line_end + 1, rest.size()));
  ++line_;
  return true;
}

void Cutter::EndPem() {
  if (number_ > 0) return;
  const char* foreign = NameForeignLabel(other_label_);
  Broken(foreign == nullptr ? "is PEM without a certificate"
                            : std::string("is ") + foreign + ", not a certificate");
}

// ---- base64 --------------------------------------------------------------------------------

bool Cutter::Base64(bool end) {
  Line line;
  while (NextLine(end, &line)) Base64Line(line);
  if (end) {
    FlushWrapped();
    mode_ = Mode::kDone;
    return true;
  }
  if (dropping_) return DropLine();
  const std::string_view begun = Rest().substr(line_begin_);
  const bool too_large = begun.size() > kMost;
  if (begun.size() <= kWindow || (IsBase64(Trim(begun.substr(0, kWindow))) && !too_large)) {
    return false;
  }
  FlushWrapped();
  if (too_large) {
    Refuse(ReasonOf(CVD_IO_ERR_TOO_LARGE), CVD_IO_ERR_TOO_LARGE, line_ + 1, true);
  } else {
    Refuse("a line that is not base64", 0, line_ + 1, false);
  }
  return DropLine();
}

// A line that is longer than wrapped base64 may be is a certificate of its own, so that a broken
// one harms no other; shorter ones add up to the length that their certificate's header tells.
void Cutter::Base64Line(const Line& line) {
  const size_t size = line.text.size();
  const bool alone = size > kLongestWrapped;
  const bool good = IsBase64(line.text);
  if (alone || !good || size == 0) FlushWrapped();
  if (!good) Refuse("a line that is not base64", 0, line_, false);
  if (!good || size == 0) return Consume(line_begin_);

  if (wrapped_size_ == 0) {
    piece_line_ = line_;
    wrapped_start_.clear();
    Consume(line.begin);
  }
  wrapped_size_ += size;
  wrapped_end_ = static_cast<size_t>(line.text.data() + size - Rest().data());
  if (!alone && wrapped_start_.size() < kStart) {
    wrapped_start_ += line.text.substr(0, kStart - wrapped_start_.size());
    wrapped_length_ = CertificateLength(wrapped_start_);
  }
  const bool whole = wrapped_length_ != 0 && wrapped_size_ >= wrapped_length_;
  if (!alone && !whole && wrapped_size_ <= kMost) return;
  FlushWrapped();
  Consume(line_begin_);
}

void Cutter::FlushWrapped() {
  if (wrapped_size_ > 0) Emit(Piece::Form::kBase64, wrapped_end_, piece_line_);
  wrapped_size_ = 0;
}

// ---- text and pieces -----------------------------------------------------------------------

// The next whole line, which is taken.
bool Cutter::NextLine(bool end, Line* line) {
  const std::string_view rest = Rest();
  const size_t found = rest.find('\n', searched_);
  const size_t line_end = std::min(found, rest.size());
  if (found == std::string_view::npos && (!end || line_begin_ == rest.size())) {
    searched_ = rest.size();
    return false;
  }
  *line = {Trim(rest.substr(line_begin_, line_end - line_begin_)), line_begin_};
  if (std::exchange(dropping_, false)) line->text = {};
  line_begin_ = searched_ = std::min(line_end + 1, rest.size());
  ++line_;
  return true;
}

// Of a line that is too long nothing is kept. Returns false: there is no more text.
bool Cutter::DropLine() {
  Consume(Rest().size());
  dropping_ = true;
  return false;
}

void Cutter::Consume(size_t size) {
  begin_ += size;
  line_begin_ -= std::min(line_begin_, size);
  searched_ -= std::min(searched_, size);
}

// The next `size` octets are a piece; they are not consumed.
void Cutter::Emit(Piece::Form form, size_t size, uint64_t line) {
  if (++number_ < first_) return;
  batch_->pieces.push_back({form, InputIndex(), number_, line, begin_, size});
}

void Cutter::Refuse(std::string reason, uint32_t code, uint64_t line, bool counts) {
  if (counts) ++number_;
  const uint64_t number = counts ? number_ : number_ + 1;
  if (number < first_) return;
  Problem problem;
  problem.input = name_;
  problem.certificate = counts ? number : 0;
  problem.line = line;
  problem.code = code;
  problem.reason = std::move(reason);
  batch_->pieces.push_back(
      {Piece::Form::kProblem, InputIndex(), number, line, batch_->problems.size(), 0});
  batch_->problems.push_back(std::move(problem));
}

size_t Cutter::InputIndex() {
  if (input_ == kUnlisted) {
    input_ = batch_->inputs.size();
    batch_->inputs.push_back(name_);
  }
  return input_;
}

}  // namespace corvid::tool
