// Each thread takes a batch, works on it, and leaves the outcome in its slot; whoever finds that
// the next one in order is there delivers. Nobody waits for a batch of another thread, unless he is
// a whole window ahead.
#include "pipeline.h"

#include <system_error>
#include <utility>

namespace corvid::tool {
namespace {

constexpr size_t kSlotsAThread = 4;

}  // namespace

Pipeline::Pipeline(Functions functions, unsigned jobs)
    : functions_(std::move(functions)), jobs_(jobs), slots_(kSlotsAThread * jobs) {}

void Pipeline::Run() {
  Loop();
  for (std::thread& thread : threads_) thread.join();
  if (error_) std::rethrow_exception(error_);
}

void Pipeline::Loop() try {
  const std::unique_ptr<BatchWorker> worker = functions_.make_worker();
  Batch batch;
  Outcome outcome;
  for (uint64_t sequence = 0; Take(&batch, &sequence);) {
    outcome.Clear();
    outcome.octets_read = batch.octets_read;
    worker->Work(&batch, &outcome);
    Deliver(sequence, &outcome);
  }
} catch (...) {
  Stop(std::current_exception());
}

// A single batch needs no other thread, so they begin with the second.
bool Pipeline::Take(Batch* batch, uint64_t* sequence) {
  const std::lock_guard lock(taking_);
  exhausted_ = exhausted_ || stopped_ || !functions_.next(batch);
  if (exhausted_) return false;
  *sequence = taken_++;
  if (taken_ == 2) StartThreads();
  return true;
}

void Pipeline::StartThreads() {
  threads_.reserve(jobs_ - 1);
  for (unsigned i = 1; i < jobs_; ++i) {
    try {
      threads_.emplace_back([this] { Loop(); });
    } catch (const std::system_error&) {
      return;  // those that are there do the work
    }
  }
}

void Pipeline::Deliver(uint64_t sequence, Outcome* outcome) {
  std::unique_lock lock(delivering_);
  room_.wait(lock, [&] { return stopped_ || sequence - delivered_ < slots_.size(); });
  if (stopped_) return;
  if (sequence != delivered_) {  // somebody delivers, or will
    Slot& slot = slots_[sequence % slots_.size()];
    std::swap(slot.outcome, *outcome);
    slot.ready = true;
    return;
  }
  // Its turn has come, and so has, after it, that of those which wait in their slots.
  for (const Outcome* next = outcome; next != nullptr && !stopped_;) {
    lock.unlock();
    const bool go_on = functions_.deliver(*next);
    if (!go_on) Stop(nullptr);
    lock.lock();
    ++delivered_;
    room_.notify_all();
    Slot& slot = slots_[delivered_ % slots_.size()];
    next = std::exchange(slot.ready, false) ? &slot.outcome : nullptr;
  }
}

void Pipeline::Stop(std::exception_ptr error) {
  const std::lock_guard lock(delivering_);
  stopped_ = true;
  if (error && !error_) error_ = std::move(error);
  room_.notify_all();
}

}  // namespace corvid::tool
