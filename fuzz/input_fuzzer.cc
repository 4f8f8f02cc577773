// What the command reads. Input: the size of the parts in which the octets arrive, filler before
// them, then the octets. Contract: whatever the parts are, and wherever one batch ends and the next
// begins, the same pieces come, numbered in order; every input gives at least one; messages are
// UTF-8.
#include "batch.h"
#include "cutter.h"
#include "fuzz/input.h"

namespace {

using corvid::fuzz::Require;
using corvid::tool::Batch;
using corvid::tool::Cutter;
using corvid::tool::Piece;

// Adds what the pieces of a batch are: numbers, and DER or a message.
void Collect(Batch* batch, std::vector<std::string>* all) {
  corvid::tool::PieceDecoder decoder;
  uint64_t last = 0;
  for (const Piece& piece : batch->pieces) {
    corvid::pkc::Octets der;
    corvid::tool::Problem problem;
    Require(batch->InputOf(piece) == "input", "a piece knows its input");
    Require(piece.number >= last, "pieces are numbered in order");
    last = piece.number;
    const std::string place = std::to_string(piece.number) + ' ' + std::to_string(piece.line) + ' ';
    const bool decoded = decoder.Decode(batch, piece, &der, &problem);
    all->push_back(place + (decoded ? std::string(der.text()) : Message(problem)));
    Require(decoded || corvid::fuzz::IsUtf8(all->back()), "a message is UTF-8");
  }
}

// Reads `text` in parts of `part` octets; with `change`, each into a batch of its own.
std::vector<std::string> Read(std::string_view text, size_t part, bool change) {
  std::vector<std::string> all;
  Batch batch;
  Cutter cutter;
  cutter.Begin("input", 1, &batch);
  while (!text.empty()) {
    batch.text += text.substr(0, part);
    text.remove_prefix(std::min(part, text.size()));
    cutter.Cut(false);
    if (!change) continue;
    const std::string kept = batch.text.substr(cutter.kept());
    Collect(&batch, &all);
    batch.Clear();
    batch.text = kept;
    cutter.GoOn(&batch);
  }
  cutter.Cut(true);
  Collect(&batch, &all);
  return all;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  constexpr size_t kFiller = 70000;  // octets: more than decide of which kind an input is
  constexpr std::string_view kFillers[] = {"", "text", "-----BEGIN X-----"};
  constexpr size_t kBlanks = 1000;  // behind each line of it, so that lines are few
  corvid::fuzz::Input input(data, size);
  const size_t part = 1 + input.Octet();
  const uint32_t filler = input.Below(32);
  std::string text;
  if (filler < std::size(kFillers)) {
    while (text.size() < kFiller) {
      text.append(kFillers[filler]).append(kBlanks, ' ').append("\n");
    }
  }
  const size_t start = text.size();
  text += input.Rest().text();
  const std::vector<std::string> whole = Read(text, text.size(), false);
  Require(!whole.empty() || text.empty(), "every input gives a piece");
  constexpr size_t kMostParts = 64;  // each copies what is kept
  const size_t parts = start > 0 ? 16384 + part : std::max(part, text.size() / kMostParts);
  Require(Read(text, parts, false) == whole, "parts give the same pieces");
  Require(Read(text, parts, true) == whole, "batches give the same pieces");
  return 0;
}
