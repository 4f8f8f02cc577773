// Every exported function with each element of its input spoiled: it says what is wrong with the
// input and nothing else, and writes no result that it does not vouch for.
#include <gtest/gtest.h>

#include <memory>
#include <set>

#include "proof/operations.h"
#include "support/spoiled.h"

namespace corvid::test {
namespace {

const std::set<uint32_t> kNeverSaid = {
    PKC_ERR_MALLOC,     CVD_ASN_ERR_MALLOC, CVD_CODEC_ERR_MALLOC, CVD_CSP_ERR_MALLOC,
    CVD_CRL_ERR_MALLOC, CVD_IO_ERR_MALLOC,  CVD_CSP_ERR_INTERNAL};

// Every extension that is rendered, with each kind of name, point, access and qualifier once.
Octets SmallCertificate(const Octets& identity_data) {
  const Octets name = Name({{"2.5.4.6", Der(0x13, "KR")}, {"2.5.4.3", Der(0x0C, "A")}});
  const Octets names =
      Join({Der(0x81, "a@b"), Der(0x82, "b"), Der(0xA4, name), Der(0x86, "u"), Hex("8704C0A80001"),
            Sequence({Oid("1.2.410.200004.10.1.1"), Der(0xA0, identity_data)}, 0xA0)});
  const Octets points =
      Join({Sequence({Der(0xA0, Der(0xA0, names)), Hex("81020640"), Der(0xA2, Der(0xA4, name))}),
            Der(0x30, Der(0xA0, Sequence({Sequence({Oid("2.5.4.3"), Der(0x0C, "R")})}, 0xA1)))});
  const Octets numbers = Sequence({Der(0x0C, "O"), Hex("3003020101")});
  const Octets policy = Sequence(
      {Oid("1.2.3"),
       Sequence({Sequence({Oid("1.3.6.1.5.5.7.2.1"), Der(0x16, "c")}),
                 Sequence({Oid("1.3.6.1.5.5.7.2.2"), Sequence({numbers, Der(0x0C, "n")})})})});
  return MakeCertificate(
      {.extensions = {
           Extension("2.5.29.35",
                     Sequence({Hex("8001AA"), Der(0xA1, Der(0xA4, name)), Hex("820107")})),
           Extension("2.5.29.14", Hex("0401AA")), Extension("2.5.29.15", Hex("03020186"), true),
           Extension("2.5.29.32", Der(0x30, policy)), Extension("2.5.29.17", Der(0x30, names)),
           Extension("2.5.29.18", Der(0x30, names)),
           Extension("2.5.29.19", Hex("30060101FF020100")),
           Extension("2.5.29.37", Der(0x30, Oid("1.3.6.1.5.5.7.3.1"))),
           Extension("2.5.29.31", Der(0x30, points)),
           Extension("1.3.6.1.5.5.7.1.1",
                     Sequence({Sequence({Oid("1.3.6.1.5.5.7.48.1"), Der(0x86, "o")})})),
           Extension("2.16.840.1.113730.1.1", Hex("030200FF")),
           Extension("1.2.410.100001.5.7.101.4", Der(0x0C, "E"))}});
}

void RunAll(const Inputs& in, const std::string& what) {
  const Sample sample(in);
  const auto results = std::make_unique<Results>();
  for (const Operation& operation : Operations()) {
    Clear(results.get());
    const uint32_t status = operation.run(sample, results.get());
    EXPECT_FALSE(kNeverSaid.contains(status)) << operation.function << what;
    EXPECT_TRUE(status == 0 || operation.after != After::kUntouched || AreClear(*results))
        << operation.function << ' ' << status << what;
    Release(results.get());
  }
}

TEST(SpoiledInputs, AreRefusedWithoutResults) {
  const Options options("ko_KR-UTF-8");
  const Inputs rich = RichInputs();
  for (Octets Inputs::*field :
       {&Inputs::certificate, &Inputs::list, &Inputs::subject_key_id, &Inputs::authority_key_id,
        &Inputs::identity_data, &Inputs::rsa_key, &Inputs::kcdsa_parameters}) {
    Inputs in;
    const Octets whole =
        field == &Inputs::certificate ? SmallCertificate(rich.identity_data) : rich.*field;
    for (const Octets& variant : Spoiled(whole)) {
      in.*field = variant;
      RunAll(in, ", " + ToHex(variant));
    }
  }
}

}  // namespace
}  // namespace corvid::test
