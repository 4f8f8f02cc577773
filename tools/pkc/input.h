// Reads certificates from files, pipes, folders and standard input, as DER, PEM or base64 lines:
// in batches for the verbs that go over any number of them, one by one for the others.
#ifndef CORVID_TOOLS_PKC_INPUT_H_
#define CORVID_TOOLS_PKC_INPUT_H_

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "batch.h"
#include "corvid/pkc.hpp"
#include "cutter.h"
#include "foreign.h"
#include "paths.h"
#include "problem.h"

namespace corvid::tool {

// Every input gives at least one piece, in order; what cannot be read is a problem, and the rest
// goes on. Holds a batch's worth of text, or one certificate's.
class Reader {
 public:
  // `options` outlive the reader.
  explicit Reader(const InputOptions& options);
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;
  ~Reader();

  // Fills the batch with what comes next; false when there is no more, or a signal came. Of a pipe
  // that has nothing more at hand it does not wait for a whole batch.
  bool Next(Batch* batch);

  // True when everything was read; Next may not know before it is asked once more.
  bool ended() const { return ended_; }
  uint64_t inputs() const { return inputs_; }
  // True at the end when the input to resume from never came.
  bool missed() const { return ended_ && resuming_; }
  // After a signal, for --resume-from: what was not handed out; "" when nothing is left.
  std::string ResumePoint();

 private:
  bool Open(Batch* batch);
  void ReadMore(Batch* batch);
  void Close();

  Paths paths_;
  Cutter cutter_;
  std::string kept_;  // of the piece that is not whole yet, between two batches
  int descriptor_ = -1;
  bool stream_ = false;
  bool ended_ = false;
  bool resuming_ = false;
  std::string resume_input_;
  uint64_t resume_number_ = 1;
  uint64_t inputs_ = 0;
};

// What inputs hold, in order: certificates and what stands in a certificate's place. Either
// function returns false to stop.
class Finder {
 public:
  using OnCertificate = std::function<bool(std::string_view input, uint64_t number, pkc::Octets)>;
  using OnProblem = std::function<bool(const Problem&)>;

  Finder(OnCertificate on_certificate, OnProblem on_problem)
      : on_certificate_(std::move(on_certificate)), on_problem_(std::move(on_problem)) {}

  // Reads each path ("-": standard input), folders' files in the order of their names when
  // `recursive`.
  void Read(const std::vector<std::string>& paths, bool recursive);

 private:
  OnCertificate on_certificate_;
  OnProblem on_problem_;
};

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_INPUT_H_
