#include "proof/allocator.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <iconv.h>
#include <malloc.h>
#include <openssl/crypto.h>
#include <rhash.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include "corvid/common.h"

namespace corvid::test {

Allocator g_allocator;

void Allocator::Begin(int failing_event, bool all) {
  failing = failing_event;
  all_after = all;
  events = failed = 0;
  bytes = peak = 0;
}

namespace {

// Whether the event that happens now fails.
bool Fails() {
  Allocator& a = g_allocator;
  if (a.events < 0) return false;
  const int event = a.events++;
  if (a.failing < 0 || event < a.failing || (event > a.failing && !a.all_after)) return false;
  ++a.failed;
  errno = ENOMEM;
  return true;
}

void Forget(void* block) {
  if (block == nullptr) return;
  --g_allocator.live;
  g_allocator.bytes -= std::min(g_allocator.bytes, malloc_usable_size(block));
}

void* Count(void* block) {
  if (block == nullptr) return nullptr;
  ++g_allocator.live;
  g_allocator.bytes += malloc_usable_size(block);
  g_allocator.peak = std::max(g_allocator.peak, g_allocator.bytes);
  return block;
}

void* Allocate(size_t size) { return Fails() ? nullptr : Count(std::malloc(size)); }

void* Reallocate(void* block, size_t size) {
  if (Fails()) return nullptr;
  Forget(block);
  return Count(std::realloc(block, size));
}

void Free(void* block) {
  Forget(block);
  std::free(block);
}

const int g_replaced = CRYPTO_set_mem_functions(
    [](size_t size, const char*, int) { return Allocate(size); },
    [](void* block, size_t size, const char*, int) { return Reallocate(block, size); },
    [](void* block, const char*, int) { Free(block); });

TEST(Allocator, IsThatOfOpensslToo) { EXPECT_EQ(g_replaced, 1); }

// The definition that the one in this program hides.
template <typename Function>
Function* Hidden(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace
}  // namespace corvid::test

namespace proof = corvid::test;

void* CVD_malloc(size_t size) { return proof::Allocate(size); }
void* CVD_calloc(size_t count, size_t size) {
  return proof::Fails() ? nullptr : proof::Count(std::calloc(count, size));
}
void* CVD_realloc(void* block, size_t size) { return proof::Reallocate(block, size); }
void CVD_free(void* block) { proof::Free(block); }

extern "C" {

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): glibc's are reserved
iconv_t iconv_open(const char* to, const char* from) {
  static auto* const hidden = proof::Hidden<iconv_t(const char*, const char*)>("iconv_open");
  const iconv_t descriptor = proof::Fails() ? reinterpret_cast<iconv_t>(-1) : hidden(to, from);
  if (descriptor != reinterpret_cast<iconv_t>(-1)) ++proof::g_allocator.live;
  return descriptor;
}
int iconv_close(iconv_t descriptor) {
  static auto* const hidden = proof::Hidden<int(iconv_t)>("iconv_close");
  --proof::g_allocator.live;
  return hidden(descriptor);
}

rhash rhash_init(unsigned id) {
  static auto* const hidden = proof::Hidden<rhash(unsigned)>("rhash_init");
  const rhash context = proof::Fails() ? nullptr : hidden(id);
  if (context != nullptr) ++proof::g_allocator.live;
  return context;
}
void rhash_free(rhash context) {
  static auto* const hidden = proof::Hidden<void(rhash)>("rhash_free");
  if (context != nullptr) --proof::g_allocator.live;
  hidden(context);
}

// Gives a file in pieces.
ssize_t read(int fd, void* out, size_t size) {
  if (proof::Fails()) return -1;
  return syscall(SYS_read, fd, out, std::min<size_t>(size, 1000));
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)

}  // extern "C"
