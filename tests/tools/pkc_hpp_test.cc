// The C++ layer, compiled as C++17: what owns something releases it once, moved or not.
#include <gtest/gtest.h>

#include <utility>

#include "corvid/pkc.hpp"
#include "support/support.h"

namespace corvid::test {
namespace {

TEST(CppLayer, HoldersMoveAndReuse) {
  const Octets der = MakeCertificate({});
  pkc::Certificate certificate;
  ASSERT_TRUE(certificate.Decode({der.data(), der.size()}).ok());
  ASSERT_TRUE(certificate.Decode({der.data(), der.size()}).ok());
  pkc::Certificate moved = std::move(certificate);
  pkc::Text name;
  ASSERT_TRUE(pkc::NameText(moved->tbsCertificate.subject, &name).ok());
  EXPECT_EQ(name.view(), "cn=Subject");
  ASSERT_TRUE(pkc::NameText(moved->tbsCertificate.issuer, &name).ok());
  EXPECT_EQ(name.str(), "cn=Issuer");
  pkc::Name parsed;
  ASSERT_TRUE(parsed.Parse("cn=another").ok());
  ASSERT_TRUE(parsed.Parse("CN=issuer").ok());
  EXPECT_EQ(CVD_ASN_CmpName(&parsed.get(), &moved->tbsCertificate.issuer), 0);

  pkc::Bin digest;
  ASSERT_TRUE(pkc::Hash(CVD_HASH_SHA256, std::string_view("abc"), &digest).ok());
  const pkc::Bin other = std::move(digest);
  EXPECT_EQ(other.octets().size(), 32u);
}

TEST(CppLayer, AFailureTellsItsPlace) {
  pkc::Certificate certificate;
  const pkc::Status status = certificate.Decode(std::string_view("\x30\x02\x05\x00", 4));
  EXPECT_FALSE(certificate);
  EXPECT_STRNE(status.reason(), "");
  EXPECT_EQ(pkc::DecodeFailure(status).offset, 2u);
  EXPECT_EQ(pkc::DecodeFailure(PKC_ERR_BAD_CERT).offset, 0u) << "of another failure";
}

}  // namespace
}  // namespace corvid::test
