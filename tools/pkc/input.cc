// Opening and reading inputs. Nothing here stops at a bad one.
#include "input.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <system_error>

#include "interrupt.h"

namespace corvid::tool {
namespace {

constexpr size_t kChunk = 1U << 16;
constexpr size_t kMostPieces = 256;  // of a batch

bool IsFull(const Batch& batch) {
  return batch.pieces.size() >= kMostPieces ||
         (!batch.pieces.empty() && batch.text.size() >= kChunk);
}

}  // namespace

// A number after the last colon is that of a certificate.
Reader::Reader(const InputOptions& options)
    : paths_(options), resuming_(!options.resume_from.empty()), resume_input_(options.resume_from) {
  const size_t colon = resume_input_.rfind(':');
  if (colon == std::string::npos) return;
  const char* end = resume_input_.data() + resume_input_.size();
  uint64_t number = 0;
  const auto [stop, error] = std::from_chars(resume_input_.data() + colon + 1, end, number);
  if (error != std::errc() || stop != end) return;
  resume_number_ = number;
  resume_input_.resize(colon);
}

Reader::~Reader() { Close(); }

bool Reader::Next(Batch* batch) {
  batch->Clear();
  batch->text.swap(kept_);
  kept_.clear();
  cutter_.GoOn(batch);
  while (!IsFull(*batch) && Interrupt() == 0) {
    if (descriptor_ < 0 && !Open(batch)) break;
    if (descriptor_ < 0) continue;  // a problem stands for it
    if (stream_ && !HasInput(descriptor_, batch->pieces.empty())) break;
    ReadMore(batch);
  }
  if (descriptor_ >= 0) kept_.assign(batch->text, cutter_.kept());
  return !batch->pieces.empty();
}

// Opens the next input that is wanted; false when there is none. What cannot be opened is a
// problem of it.
bool Reader::Open(Batch* batch) {
  Paths::Entry entry = paths_.Next();
  while (resuming_ && entry.found != Paths::Found::kEnd && entry.path != resume_input_) {
    entry = paths_.Next();
  }
  ended_ = entry.found == Paths::Found::kEnd;
  if (ended_) return false;
  ++inputs_;
  cutter_.Begin(entry.path, std::exchange(resuming_, false) ? resume_number_ : 1, batch);
  if (entry.found == Paths::Found::kProblem) {
    cutter_.Broken(std::move(entry.reason), entry.code);
    return true;
  }
  stream_ = entry.found == Paths::Found::kStream;
  do {
    descriptor_ = entry.path == "-" ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                                    : open(entry.path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
  } while (descriptor_ < 0 && errno == EINTR && Interrupt() == 0);
  if (descriptor_ < 0) {
    const uint32_t code = FileError(errno);
    cutter_.Broken(ReasonOf(code), code);
  }
  return true;
}

void Reader::ReadMore(Batch* batch) {
  const size_t size = batch->text.size();
  batch->text.resize(size + kChunk);
  const ssize_t count = read(descriptor_, batch->text.data() + size, kChunk);
  batch->text.resize(size + static_cast<size_t>(std::max<ssize_t>(count, 0)));
  if (count < 0) {
    if (errno == EINTR) return;
    const uint32_t code = FileError(errno);
    cutter_.Broken(ReasonOf(code), code);
    return Close();
  }
  batch->octets_read += static_cast<uint64_t>(count);
  cutter_.Cut(count == 0);
  if (count == 0) return Close();
  // Text that was passed over does not fill the batch.
  if (!batch->pieces.empty()) return;
  batch->text.erase(0, cutter_.kept());
  cutter_.GoOn(batch);
}

void Reader::Close() {
  if (descriptor_ >= 0) close(descriptor_);
  descriptor_ = -1;
}

std::string Reader::ResumePoint() {
  const auto point = [](const std::string& input, uint64_t number) {
    return input + ':' + std::to_string(number);
  };
  if (descriptor_ >= 0) return point(cutter_.name(), cutter_.next_number());
  if (resuming_) return point(resume_input_, resume_number_);
  const Paths::Entry entry = paths_.Next();
  return entry.found == Paths::Found::kEnd ? std::string() : point(entry.path, 1);
}

void Finder::Read(const std::vector<std::string>& paths, bool recursive) {
  InputOptions options;
  options.paths = paths;
  options.recursive = recursive;
  Reader reader(options);
  PieceDecoder decoder;
  Batch batch;
  Problem problem;
  while (reader.Next(&batch)) {
    for (const Piece& piece : batch.pieces) {
      pkc::Octets der;
      const bool go_on = decoder.Decode(&batch, piece, &der, &problem)
                             ? on_certificate_(batch.InputOf(piece), piece.number, der)
                             : on_problem_(problem);
      if (!go_on) return;
    }
  }
}

}  // namespace corvid::tool
