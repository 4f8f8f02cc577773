// Pieces of a batch: base64 is decoded in place of use, and failures are told.
#include "batch.h"

#include <cstring>

#include "der.h"

namespace corvid::tool {

void Batch::Clear() {
  text.clear();
  inputs.clear();
  pieces.clear();
  problems.clear();
  octets_read = 0;
}

bool PieceDecoder::Decode(Batch* batch, const Piece& piece, pkc::Octets* der, Problem* problem) {
  if (piece.form == Piece::Form::kProblem) {
    *problem = std::move(batch->problems[piece.begin]);
    return false;
  }
  char* text = batch->text.data() + piece.begin;
  if (piece.form == Piece::Form::kDer) {
    *der = std::string_view(text, piece.size);
    return true;
  }
  text[piece.size] = '\0';
  const bool holds_nul = std::memchr(text, '\0', piece.size) != nullptr;
  const pkc::Status status =
      holds_nul ? pkc::Status(CVD_CODEC_ERR_BASE64) : pkc::DecodeBase64(text, &decoded_);
  if (!status.ok()) {
    *problem = {};
    problem->input = batch->InputOf(piece);
    problem->certificate = piece.number;
    problem->line = piece.line;
    problem->code = status.code();
    problem->reason = ReasonOf(status);
    return false;
  }
  *der = decoded_.octets();
  Element element;
  if (piece.form == Piece::Form::kTrusted && DerReader(*der).Next(&element)) *der = element.whole;
  return true;
}

}  // namespace corvid::tool
