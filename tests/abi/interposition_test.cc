// A program replaces a function of the libraries by defining it: calls between the libraries, and
// within one, go through the dynamic symbol table. Here the service libraries claim old versions;
// other tests replace the allocator, comparisons and signatures.
#include <gtest/gtest.h>

#include "corvid/asn.h"
#include "corvid/codec.h"
#include "corvid/crl.h"
#include "corvid/csp.h"
#include "corvid/io.h"
#include "corvid/pkc.h"

namespace {

enum Service { kAsn, kCodec, kCsp, kIo, kCrl, kServices };
const char* g_versions[kServices] = {"1.7.0.0", "1.7.0.0", "1.7.0.0", "1.7.0.0", "1.7.0.0"};

}  // namespace

const char* CVD_ASN_GetVersion(void) { return g_versions[kAsn]; }
const char* CVD_Codec_GetVersion(void) { return g_versions[kCodec]; }
const char* CVD_CSP_GetVersion(void) { return g_versions[kCsp]; }
const char* CVD_IO_GetVersion(void) { return g_versions[kIo]; }
const char* CVD_GetVersionCRL(void) { return g_versions[kCrl]; }

namespace corvid::test {
namespace {

// The module needs each service library at least at the version of its row's last column.
TEST(Interposition, OldServiceLibrariesAreRefused) {
  struct Row {
    Service service;
    const char* too_old;
    const char* recent_enough;
  };
  constexpr Row kRows[] = {
      {kAsn, "1.5.1.9", "1.5.1.10"},  {kAsn, "", "1.7"},           {kCodec, "1.5.0.4", "1.5.0.5"},
      {kCsp, "1.5.0.10", "1.5.0.11"}, {kIo, "1.5.1.0", "1.5.1.1"}, {kCrl, "1.5.0.1", "1.5.0.2"},
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
