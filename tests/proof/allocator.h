// The allocator of a test program, for the toolkit and for what the libraries ask elsewhere:
// libcrypto's blocks, contexts of librhash, descriptors of iconv, and reads of files. Counts, and
// fails when it is told to.
#ifndef CORVID_TESTS_PROOF_ALLOCATOR_H_
#define CORVID_TESTS_PROOF_ALLOCATOR_H_

#include <atomic>
#include <cstddef>

namespace corvid::test {

struct Allocator {
  // Of the events since Begin, the one that fails, from 0 (-1: none), alone or with all after it.
  int failing = -1;
  bool all_after = false;
  int events = -1;  // -1: not counting, nothing fails
  int failed = 0;

  std::atomic<int> live{0};  // blocks that are not released
  size_t bytes = 0;          // in those blocks, since Begin
  size_t peak = 0;

  void Begin(int failing_event = -1, bool all = false);
  void End() { events = -1; }
};
extern Allocator g_allocator;

}  // namespace corvid::test

#endif  // CORVID_TESTS_PROOF_ALLOCATOR_H_
