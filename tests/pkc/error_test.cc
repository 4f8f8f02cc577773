// Reasons: who answers for which code.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <sstream>
#include <string>

#include "corvid/codec.h"
#include "corvid/crl.h"
#include "corvid/csp.h"
#include "corvid/io.h"
#include "support/support.h"

namespace corvid::test {
namespace {

std::string TextOf(const std::string& path) {
  const Octets octets = ReadFile(std::filesystem::path(CORVID_SOURCE_DIR) / path);
  return {octets.begin(), octets.end()};
}

// Rows are "36001<tab>PKC_ERR_INVALID_INPUT<tab>invalid input"; T{ and T} enclose a long reason.
TEST(ErrorReason, ManPageListsEveryCode) {
  std::string headers = TextOf("include/corvid/pkc.h");
  for (const char* service : {"asn", "codec", "crl", "csp", "io"}) {
    headers += TextOf("services/include/corvid/" + std::string(service) + ".h");
  }
  std::map<uint32_t, std::string> listed;
  const std::string page = TextOf("docs/man/corvid-pkc.3");
  std::istringstream lines(page);
  for (std::string line; std::getline(lines, line);) {
    const size_t name = line.find('\t');
    const size_t reason = line.find('\t', name + 1);
    if (reason == std::string::npos || line[0] < '1' || line[0] > '9') continue;
    std::string text = line.substr(reason + 1);
    if (text == "T{") std::getline(lines, text);
    const std::string code = line.substr(0, name);
    listed[static_cast<uint32_t>(std::stoul(code))] = text;
    const std::string constant = line.substr(name + 1, reason - name - 1) + " = " + code;
    EXPECT_NE(headers.find(constant), std::string::npos) << constant;
  }
  for (uint32_t code = 1; code < 40000; ++code) {
    const char* reason = CVD_PKC_GetErrorReason(code, 1);
    EXPECT_EQ(listed.count(code) == 0 ? "" : listed[code], reason) << code;
    EXPECT_STREQ(CVD_GetErrReasonPKC(code, 1), reason);
    const char* owner = "";
    for (const auto function :
         {CVD_ASN_GetErrorReason, CVD_Codec_GetErrorReason, CVD_CSP_GetErrorReason,
          CVD_IO_GetErrorReason, CVD_GetErrReasonCRL}) {
      if (*owner == 0) owner = function(code, 0);
    }
    EXPECT_STREQ(CVD_GetErrReasonPKC(code, 0), owner) << code << ": our texts need selector 1";
  }
  EXPECT_STREQ(CVD_GetErrReasonPKC(0U - 21U, 1), "");
}

}  // namespace
}  // namespace corvid::test
