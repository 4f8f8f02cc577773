// Counts the heap blocks that a thread asks for, of every library in it. Threads share no count:
// they would wait for each other where the libraries do not.
#include <cstddef>

#include "bench/bench.h"

static thread_local size_t g_allocations;

// glibc's own allocator under the names that it keeps for programs that replace malloc.
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);

void* malloc(size_t size) {
  ++g_allocations;
  return __libc_malloc(size);
}
void* calloc(size_t count, size_t size) {
  ++g_allocations;
  return __libc_calloc(count, size);
}
void* realloc(void* block, size_t size) {
  ++g_allocations;
  return __libc_realloc(block, size);
}
}

size_t corvid::bench::Allocations() { return g_allocations; }
