// Batches go to several threads, and what they give comes back in the order of the batches. No more
// than a few of them are held at any time, however slow the output is.
#ifndef CORVID_TOOLS_PKC_PIPELINE_H_
#define CORVID_TOOLS_PKC_PIPELINE_H_

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "batch.h"
#include "outcome.h"

namespace corvid::tool {

// Works on batches. One a thread.
class BatchWorker {
 public:
  BatchWorker() = default;
  BatchWorker(const BatchWorker&) = delete;
  BatchWorker& operator=(const BatchWorker&) = delete;
  virtual ~BatchWorker() = default;
  virtual void Work(Batch* batch, Outcome* outcome) = 0;
};

class Pipeline {
 public:
  struct Functions {
    std::function<bool(Batch*)> next;             // false when there is no more
    std::function<bool(const Outcome&)> deliver;  // false to stop
    std::function<std::unique_ptr<BatchWorker>()> make_worker;
  };
  // `next` and `deliver` are called by one thread at a time, though not always by the same.
  Pipeline(Functions functions, unsigned jobs);

  // Returns when all is delivered. What a function throws ends the run, and is thrown here.
  void Run();

 private:
  struct Slot {
    Outcome outcome;
    bool ready = false;
  };

  void Loop();
  bool Take(Batch* batch, uint64_t* sequence);
  void StartThreads();
  void Deliver(uint64_t sequence, Outcome* outcome);
  void Stop(std::exception_ptr error);

  const Functions functions_;
  std::vector<std::thread> threads_;
  const unsigned jobs_;

  std::mutex taking_;
  uint64_t taken_ = 0;
  bool exhausted_ = false;
  std::atomic<bool> stopped_ = false;

  std::mutex delivering_;
  std::condition_variable room_;
  std::vector<Slot> slots_;  // of batches that are done, by their number
  uint64_t delivered_ = 0;
  std::exception_ptr error_;
};

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_PIPELINE_H_
