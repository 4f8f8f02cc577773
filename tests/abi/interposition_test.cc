// A program replaces a function of the libraries by defining it: calls between the libraries, and
// within one, go through the dynamic symbol table. Here the allocator fails, a hash answers with
// fixed octets, and the service libraries claim old versions.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "corvid/asn.h"
#include "corvid/codec.h"
#include "corvid/common.h"
#include "corvid/crl.h"
#include "corvid/csp.h"
#include "corvid/io.h"
#include "corvid/pkc.h"
#include "support/support.h"

namespace {

bool g_memory_is_short = false;
const char* g_digest = nullptr;  // null: the library's own hash answers

enum Service { kAsn, kCodec, kCsp, kIo, kCrl, kServices };
const char* g_versions[kServices] = {"1.7.0.0", "1.7.0.0", "1.7.0.0", "1.7.0.0", "1.7.0.0"};

// The definition that the one in this program hides.
template <typename Function>
Function* Hidden(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

void* CVD_malloc(size_t size) {
  static auto* const hidden = Hidden<void*(size_t)>("CVD_malloc");
  return g_memory_is_short ? nullptr : hidden(size);
}
void* CVD_calloc(size_t count, size_t size) {
  static auto* const hidden = Hidden<void*(size_t, size_t)>("CVD_calloc");
  return g_memory_is_short ? nullptr : hidden(count, size);
}
void* CVD_realloc(void* block, size_t size) {
  static auto* const hidden = Hidden<void*(void*, size_t)>("CVD_realloc");
  return g_memory_is_short ? nullptr : hidden(block, size);
}

uint32_t CVD_CSP_Hash(BIN* digest, const BIN* data, int32_t hashID) {
  static auto* const hidden = Hidden<uint32_t(BIN*, const BIN*, int32_t)>("CVD_CSP_Hash");
  if (g_digest == nullptr) return hidden(digest, data, hashID);
  const auto length = static_cast<int32_t>(std::strlen(g_digest));
  const BIN source = {length, reinterpret_cast<uint8_t*>(const_cast<char*>(g_digest))};
  return CVD_BIN_Copy(digest, &source);
}

const char* CVD_ASN_GetVersion(void) { return g_versions[kAsn]; }
const char* CVD_Codec_GetVersion(void) { return g_versions[kCodec]; }
const char* CVD_CSP_GetVersion(void) { return g_versions[kCsp]; }
const char* CVD_IO_GetVersion(void) { return g_versions[kIo]; }
const char* CVD_GetVersionCRL(void) { return g_versions[kCrl]; }

namespace corvid::test {
namespace {

// Every library that allocates asks the replaced allocator, and reports in its own code.
TEST(Interposition, AllocatorIsReplacedInEveryLibrary) {
  struct Row {
    const char* library;
    uint32_t code;
    uint32_t (*run)(const BIN* input, BIN* output);
  };
  const Row rows[] = {
      {"Common", CVD_ERR_MALLOC,
       [](const BIN* input, BIN* output) { return CVD_BIN_Copy(output, input); }},
      {"ASN", CVD_ASN_ERR_MALLOC,
       [](const BIN* input, BIN*) {
         void* record = nullptr;
         const uint32_t status = CVD_ASN_DecodePDU(&record, input, CVD_PDU_SUBJECT_KEY_IDENTIFIER);
         CVD_ASN_FreePDU(record, CVD_PDU_SUBJECT_KEY_IDENTIFIER);
         return status;
       }},
      {"Codec", CVD_CODEC_ERR_MALLOC,
       [](const BIN* input, BIN*) {
         char* text = nullptr;
         const uint32_t status = CVD_BinToBase64(input, &text);
         CVD_free(text);
         return status;
       }},
      {"CSP", CVD_CSP_ERR_MALLOC,
       [](const BIN* input, BIN* output) { return CVD_CSP_Hash(output, input, CVD_HASH_SHA1); }},
      {"IO", CVD_IO_ERR_MALLOC,
       [](const BIN*, BIN* output) {
         return CVD_File_ReadBin(output, CORVID_SOURCE_DIR "/examples/sample.der");
       }},
      {"PKC", PKC_ERR_MALLOC,
       [](const BIN*, BIN*) {
         StrBuf buffer = {};
         const uint32_t status = CVD_PKC_StrBuf_Init(&buffer, 0, 0);
         CVD_PKC_StrBuf_Free(&buffer);
         return status;
       }},
  };
  const Input der("0403010203");
  for (const Row& row : rows) {
    SCOPED_TRACE(row.library);
    Output short_of_memory;
    g_memory_is_short = true;
    const uint32_t status = row.run(der.bin(), &short_of_memory);
    g_memory_is_short = false;
    EXPECT_EQ(status, row.code);
    EXPECT_EQ(short_of_memory.data, nullptr);

    Output filled;
    EXPECT_EQ(row.run(der.bin(), &filled), 0U) << "with memory again";
  }
}

TEST(Interposition, ServiceFunctionIsReplacedForTheModule) {
  const Input key("010203");
  Output digest;
  g_digest = "digest of this program";
  EXPECT_EQ(CVD_PKC_SubKeyId_Compute(&digest, key.bin()), 0U);
  g_digest = nullptr;
  EXPECT_EQ(digest.octets(), OctetsOf("digest of this program"));
}

// The module needs each service library at least at the version of its row's last column.
TEST(Interposition, OldServiceLibrariesAreRefused) {
  struct Row {
    Service service;
    const char* too_old;
    const char* recent_enough;
  };
  constexpr Row kRows[] = {
      {kAsn, "1.5.1.9", "1.5.1.10"}, {kCodec, "1.5.0.4", "1.5.0.5"}, {kCsp, "1.5.0.10", "1.5.0.11"},
      {kIo, "1.5.1.0", "1.5.1.1"},   {kCrl, "1.5.0.1", "1.5.0.2"},
  };
  EXPECT_EQ(CVD_PKC_CheckVersion(nullptr), 0);
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.too_old);
    const char*& version = g_versions[row.service];
    version = row.too_old;
    EXPECT_EQ(CVD_PKC_CheckVersion(nullptr), -1);
    version = row.recent_enough;
    EXPECT_EQ(CVD_PKC_CheckVersion(nullptr), 0);
  }
}

}  // namespace
}  // namespace corvid::test
