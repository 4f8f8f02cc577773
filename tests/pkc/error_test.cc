// Reasons: who answers for which code.
#include <gtest/gtest.h>

#include "corvid/codec.h"
#include "corvid/crl.h"
#include "corvid/csp.h"
#include "corvid/io.h"
#include "support/support.h"

namespace corvid::test {
namespace {

TEST(ErrorReason, EachRangeHasItsOwner) {
  const struct {
    uint32_t code;
    const char* (*owner)(uint32_t, int32_t);
  } rows[] = {{CVD_ASN_ERR_TRUNCATED, CVD_ASN_GetErrorReason},
              {CVD_CODEC_ERR_BASE64, CVD_Codec_GetErrorReason},
              {CVD_CSP_ERR_BAD_KEY, CVD_CSP_GetErrorReason},
              {CVD_IO_ERR_NOT_FOUND, CVD_IO_GetErrorReason},
              {CVD_CRL_ERR_INVALID_INPUT, CVD_GetErrReasonCRL}};
  for (const auto& row : rows) {
    EXPECT_STRNE(row.owner(row.code, 0), "") << row.code;
    EXPECT_STREQ(CVD_GetErrReasonPKC(row.code, 0), row.owner(row.code, 0));
  }
  EXPECT_STREQ(CVD_GetErrReasonPKC(36061, 1), "no extension");
  EXPECT_STREQ(CVD_GetErrReasonPKC(36061, 0), "") << "our texts need selector 1";
  for (const uint32_t code : {0U, 36031U, 34000U, 0U - 21U}) {
    EXPECT_STREQ(CVD_GetErrReasonPKC(code, 1), "") << code;
  }
}

}  // namespace
}  // namespace corvid::test
