// The allocator of the toolkit: the C library's, under names that a program can replace.
#include <cstdlib>

#include "corvid/common.h"

void* CVD_malloc(size_t size) { return std::malloc(size); }

void* CVD_calloc(size_t count, size_t size) { return std::calloc(count, size); }

// The C library frees a block that is resized to nothing, and returns null for it.
void* CVD_realloc(void* block, size_t size) { return std::realloc(block, size == 0 ? 1 : size); }

void CVD_free(void* block) { std::free(block); }
