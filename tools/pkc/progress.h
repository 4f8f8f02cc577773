// How far a run is, on a terminal that standard error may be, and a summary at its end.
#ifndef CORVID_TOOLS_PKC_PROGRESS_H_
#define CORVID_TOOLS_PKC_PROGRESS_H_

#include <chrono>
#include <cstdint>
#include <string>

namespace corvid::tool {

class Progress {
 public:
  // Progress is `shown` at most five times a second.
  explicit Progress(bool shown) : shown_(shown) {}

  void Add(uint64_t certificates, uint64_t failures, uint64_t octets);
  // Takes the line away, so that something else can be written.
  void Erase();
  // "pkc: 10,000 certificates, 2 failures, 1 input, 15.0 MB, 0.16 s: 62,500 certificates/s".
  std::string Summary(uint64_t inputs) const;

 private:
  using Clock = std::chrono::steady_clock;
  double Seconds() const { return std::chrono::duration<double>(Clock::now() - start_).count(); }
  std::string Rate() const;

  bool shown_;
  bool visible_ = false;
  Clock::time_point start_ = Clock::now();
  Clock::time_point last_ = start_;
  uint64_t certificates_ = 0;
  uint64_t failures_ = 0;
  uint64_t octets_ = 0;
};

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_PROGRESS_H_
