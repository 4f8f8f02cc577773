// The information records, public keys and key parameters, thumbprints, options and versions.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <tuple>

#include "support/support.h"

namespace corvid::test {
namespace {

PKCCertInfo InfoOf(const CertificateParts& parts, uint32_t status = 0) {
  const Octets der = MakeCertificate(parts);
  PKCCertInfo info;
  EXPECT_EQ(CVD_ExtractCertInfo(nullptr, nullptr, der.data(), static_cast<uint32_t>(der.size()), 1,
                                &info),
            status);
  return info;
}

std::unique_ptr<PKCCertInfoEx> ExtendedInfoOf(const CertificateParts& parts, uint32_t status = 0) {
  auto info = std::make_unique<PKCCertInfoEx>();
  const Octets der = MakeCertificate(parts);
  EXPECT_EQ(CVD_ExtractCertInfoEx(nullptr, nullptr, der.data(), static_cast<uint32_t>(der.size()),
                                  1, info.get()),
            status);
  return info;
}

// ---- basic fields --------------------------------------------------------------------------

TEST(BasicInfo, FieldsOfACertificate) {
  CVD_Trace_Clear();
  const PKCCertInfo info = InfoOf({.serial = Octets(24, 0x5A)});
  EXPECT_EQ(info.version, 3u);
  EXPECT_EQ(info.serialNumber, 0x5A5A5A5Au);
  EXPECT_EQ(std::string(info.serialHex), ToHex(Octets(20, 0x5A))) << "cut at 20 octets";
  EXPECT_STREQ(info.signAlgorithm, "SHA256 + RSA");
  EXPECT_STREQ(info.issuerDN, "cn=Issuer");
  EXPECT_STREQ(info.subjectDN, "cn=Subject");
  EXPECT_STREQ(info.publicKeyAlgorithm, "RSA");
  EXPECT_EQ(info.keyLength, 512u);
  EXPECT_EQ(std::string(info.publicKeyHex).substr(0, 8), "30480241");
  EXPECT_STREQ(info.signatureHex, "a1b2c3");
  EXPECT_EQ(std::strlen(info.thumbprint), 40u);
  EXPECT_EQ(CVD_Trace_Count(), 0u);
}

TEST(BasicInfo, VersionAndAlgorithmNames) {
  PKCCertInfo info =
      InfoOf({.version = {},
              .signature_oid = "1.2.410.200004.1.8",
              .spki = Spki("1.2.840.10045.2.1", Oid("1.2.840.10045.3.1.7"), Octets(65, 0x04))});
  EXPECT_EQ(info.version, 1u);
  EXPECT_STREQ(info.signAlgorithm, "HAS160 + KCDSA") << "the older family of identifiers";
  EXPECT_STREQ(info.publicKeyAlgorithm, "1.2.840.10045.2.1") << "known, but without a name";
  EXPECT_EQ(info.keyLength, 256u);
  info = InfoOf({.signature_oid = "1.2.3.4", .spki = Spki("1.3.101.112", {}, Octets(32, 0x11))});
  EXPECT_STREQ(info.signAlgorithm, "1.2.3.4");
  EXPECT_STREQ(info.publicKeyAlgorithm, "1.3.101.112");
  EXPECT_EQ(info.keyLength, 0u);
}

void SetZone(const char* name) {
  setenv("TZ", name, 1);
  tzset();
}

TEST(BasicInfo, OnlyUtcTimesOf2000To2037AreLocal) {
  SetZone("Asia/Seoul");
  const std::tuple<uint8_t, const char*, const char*> rows[] = {
      {0x17, "300101000000Z", "2030-01-01 09:00:00"},
      {0x17, "371231235959Z", "2038-01-01 08:59:59"},
      {0x17, "380101000000Z", "2038-01-01 00:00:00"},
      {0x17, "500101000000Z", "1950-01-01 00:00:00"},
      {0x17, "991231235959Z", "1999-12-31 23:59:59"},
      {0x18, "20300101000000Z", "2030-01-01 00:00:00"},
      {0x18, "00010203040506Z", "0001-02-03 04:05:06"},
  };
  for (const auto& [tag, time, text] : rows) {
    const PKCCertInfo info = InfoOf({.not_before = Der(tag, time), .not_after = Der(tag, time)});
    EXPECT_STREQ(info.notBefore, text);
    EXPECT_STREQ(info.notAfter, text);
  }
  SetZone("UTC0");
}

// UTC by its usual names is asked for once, UTC by any other for each time: both write the same,
// also of dates and times that a caller made up.
TEST(BasicInfo, UtcIsTheSameByAnyName) {
  const Certificate decoded(MakeCertificate({}));
  CVD_Certificate certificate = *decoded.get();
  for (const CVD_TimeFields& fields :
       {CVD_TimeFields{0, 1, 1, 0, 0, 0, {}}, CVD_TimeFields{25, 2, 29, 12, 0, 0, {}},
        CVD_TimeFields{30, 0, 0, 24, 60, 60, {}}, CVD_TimeFields{-5, 13, 7, 8, 9, 10, {}}}) {
    certificate.tbsCertificate.notBefore.fields = fields;
    std::string texts;
    for (const char* name : {"UTC0", "UTC", "Etc/GMT"}) {
      SetZone(name);
      PKCCertInfo info;
      ASSERT_EQ(CVD_ExtractCertInfoNoExt(nullptr, &certificate, &info), 0u);
      texts += info.notBefore + std::string("|");
    }
    EXPECT_EQ(texts, Repeat(3, texts.substr(0, texts.size() / 3)));
  }
}

TEST(BasicInfo, OneZoneHoldsForBothTimes) {
  // UTC by its name alone, then with an environment that the C library has not looked at again.
  for (const char* zone : {"UTC-9", "UTC0"}) {
    SetZone(zone);
    setenv("TZ", "UTC0", 1);
    const PKCCertInfo info =
        InfoOf({.not_before = Der(0x17, "260101000000Z"), .not_after = Der(0x17, "260131000000Z")});
    const std::string hour = zone == std::string("UTC0") ? "00" : "09";
    EXPECT_EQ(info.notBefore, "2026-01-01 " + hour + ":00:00");
    EXPECT_EQ(info.notAfter, "2026-01-31 " + hour + ":00:00");
  }
}

TEST(BasicInfo, FailuresEndTheRecordOrDoNot) {
  const Octets universal = Name({{"2.5.4.3", Der(0x1C, Hex("00000041"))}});
  PKCCertInfo info = InfoOf({.issuer = universal});
  EXPECT_STREQ(info.issuerDN, "") << "an issuer that cannot be shown is left empty";
  EXPECT_STREQ(info.subjectDN, "cn=Subject");
  CVD_Trace_Clear();

  info = InfoOf({.subject = universal}, PKC_ERR_BAD_RDN);
  EXPECT_STREQ(info.issuerDN, "cn=Issuer");
  EXPECT_STREQ(info.publicKeyHex, "");
  EXPECT_EQ(TakeTrace(),
            "CVD_PKC_AsnRDNs_ToString 36032\nCVD_ExtractRDN 36032\n"
            "CVD_ExtractCertInfoNoExt 36032\nCVD_ExtractCertInfo 36032\n");
  const Certificate unnamed(MakeCertificate({.subject = universal}));
  std::memset(&info, 'q', sizeof info);
  EXPECT_EQ(CVD_ExtractCertInfoNoExt(nullptr, unnamed.get(), &info), uint32_t{PKC_ERR_BAD_RDN});
  EXPECT_EQ(std::string(info.subjectDN, 1024), std::string(1024, 'q')) << "stays as it was";
  CVD_Trace_Clear();

  InfoOf({.spki = Spki("1.2.840.113549.1.1.1", Hex("0500"), {})}, PKC_ERR_NO_PUBKEY);
  InfoOf({.signature = Hex("030100")}, PKC_ERR_INVALID_INPUT);
  EXPECT_EQ(TakeTrace(),
            "CVD_ExtractCertInfoNoExt 36060\nCVD_ExtractCertInfo 36060\n"
            "CVD_ExtractCertInfoNoExt 36001\nCVD_ExtractCertInfo 36001\n");
}

TEST(Hexadecimal, IsCutToWholeOctets) {
  const Input data("00FF1A");
  const std::pair<int32_t, const char*> rows[] = {// null: refused
                                                  {65, "00ff1a"}, {7, "00ff1a"}, {6, "00ff"},
                                                  {5, "00ff"},    {3, "00"},     {2, nullptr},
                                                  {-1, nullptr}};
  for (const auto& [capacity, expected] : rows) {
    char text[] = "#######";
    const uint32_t refused = expected == nullptr ? PKC_ERR_INVALID_INPUT : 0;
    EXPECT_EQ(CVD_PKC_BIN_ToHex(text, &capacity, data.bin()), refused) << capacity;
    EXPECT_STREQ(text, expected == nullptr ? "#######" : expected);
  }
  char text[] = "#";
  const int32_t capacity = 65;
  const BIN empty{0, data.bin()->data};
  EXPECT_EQ(CVD_PKC_BIN_ToHex(text, &capacity, &empty), 0u);
  EXPECT_STREQ(text, "");
}

// ---- extensions ----------------------------------------------------------------------------

TEST(ExtensionPass, RendersIntoTheRecordsFields) {
  const Options options("ko_KR-euc");
  const Octets hangul = Uri("http://x/\xEA\xB0\x80");
  const PKCCertInfo info =
      InfoOf({.extensions = {
                  Extension("2.5.29.35", Sequence({Der(0x80, Hex("0A"))})),  // the last one stays
                  Extension("2.5.29.35", Sequence({Der(0x80, Hex("0102"))})),
                  Extension("2.5.29.15", Hex("03020106"), true),
                  Extension("2.5.29.32", Sequence({Sequence({Oid("1.2.3")})})),
                  Extension("2.5.29.17", Sequence({Der(0x82, "example.com")})),
                  Extension("2.5.29.18", Sequence({Der(0x81, "a@b")})),
                  Extension("2.5.29.37", Sequence({Oid("1.3.6.1.5.5.7.3.1")})),
                  Extension("2.5.29.31",
                            Sequence({Sequence({Sequence({Sequence({hangul}, 0xA0)}, 0xA0)})})),
                  Extension("2.16.840.1.113730.1.1", Hex("03020780")),
              }});
  EXPECT_STREQ(info.authorityKeyId, "0102");
  EXPECT_STREQ(info.keyUsage, "keyCertSign,cRLSign");
  EXPECT_EQ(info.keyUsageFlags, 0x60u);
  EXPECT_EQ(info.policyCount, 1);
  EXPECT_STREQ(info.subjectAltName, "DNS=example.com");
  EXPECT_STREQ(info.issuerAltName, "RN=a@b");
  EXPECT_STREQ(info.extKeyUsage, "id-kp-serverAuth");
  EXPECT_STREQ(info.crlDistPoints, "URL=http://x/\xB0\xA1") << "in the caller's character set";
  EXPECT_STREQ(info.nsCertType, "sslClient");
  EXPECT_EQ(CVD_Trace_Count(), 0u);
}

TEST(ExtensionPass, SomeFailuresEndItAndSomeDoNot) {
  const struct {
    const char* oid;
    uint32_t status;
    const char* value = "0500";
  } rows[] = {
      {"2.5.29.35", 0},
      {"2.5.29.14", 0},
      {"2.5.29.15", PKC_ERR_BAD_KEYUSAGE},
      {"2.5.29.32", PKC_ERR_BAD_POLICIES},
      {"2.5.29.17", PKC_ERR_BAD_EXTENSION},
      {"2.5.29.18", PKC_ERR_BAD_EXTENSION},
      {"2.5.29.19", 0},
      {"2.5.29.37", PKC_ERR_BAD_EXTENSION},
      {"2.5.29.31", 0},
      // A point whose URI does not exist in the character set.
      {"2.5.29.31", 3004, "300C300AA008A0068604F09F9880"},
      {"1.3.6.1.5.5.7.1.1", 0},
      {"2.16.840.1.113730.1.1", 0},
  };
  const Options options("ko_KR-euc");
  for (const auto& row : rows) {
    const PKCCertInfo info =
        InfoOf({.extensions = {Extension("2.5.29.17", Sequence({Der(0x82, "before")})),
                               Extension(row.oid, Hex(row.value)),
                               Extension("2.5.29.18", Sequence({Der(0x82, "after")}))}},
               row.status);
    EXPECT_STREQ(info.subjectAltName, "DNS=before") << row.oid;
    EXPECT_STREQ(info.issuerAltName, row.status == 0 ? "DNS=after" : "") << row.oid;
    EXPECT_NE(CVD_Trace_Count(), 0u) << row.oid;
    CVD_Trace_Clear();
  }
}

// ---- entry points --------------------------------------------------------------------------

TEST(EntryPoints, FileAndBufferGiveTheSameRecord) {
  const Octets der = MakeCertificate({});
  const TemporaryFolder folder;
  const std::string path = folder.Write("der", StringOf(der));
  const auto length = static_cast<uint32_t>(der.size());
  PKCCertInfo from_file;
  PKCCertInfo from_buffer;
  PKCCertInfo with_path;
  EXPECT_EQ(CVD_ExtractCertInfo(nullptr, path.c_str(), nullptr, 0, 0, &from_file), 0u);
  EXPECT_EQ(CVD_ExtractCertInfo(nullptr, nullptr, der.data(), length, 0, &from_buffer), 0u);
  EXPECT_EQ(CVD_ExtractCertInfo(nullptr, "/nowhere", der.data(), length, 1, &with_path), 0u);
  EXPECT_EQ(std::memcmp(&from_file, &from_buffer, sizeof from_file), 0);
  EXPECT_EQ(std::memcmp(&from_file, &with_path, sizeof from_file), 0);

  const Certificate certificate(der);
  PKCCertInfo from_record;
  EXPECT_EQ(CVD_DoExtractCertInfo(nullptr, certificate.get(), &from_record), 0u);
  const auto used = std::make_unique<PKCCertInfo>();
  std::memset(used.get(), 'A', sizeof *used);
  EXPECT_EQ(CVD_ExtractCertInfoNoExt(nullptr, certificate.get(), used.get()), 0u);
  EXPECT_EQ(std::memcmp(used->subjectDN, from_record.subjectDN, sizeof used->subjectDN), 0)
      << "nothing stays of a field's text before";
  EXPECT_STREQ(from_record.thumbprint, "") << "a decoded certificate has no DER to hash";
  EXPECT_STREQ(from_record.subjectDN, from_file.subjectDN);
}

TEST(EntryPoints, RefuseMissingInput) {
  PKCCertInfo info;
  std::memset(&info, 0xEE, sizeof info);
  const uint32_t refused = PKC_ERR_INVALID_INPUT;
  EXPECT_EQ(CVD_ExtractCertInfo(nullptr, nullptr, nullptr, 0, 1, &info), refused);
  EXPECT_EQ(info.version, 0u) << "cleared before the input is looked at";
  EXPECT_EQ(CVD_ExtractCertInfo(nullptr, "x", nullptr, 0, 1, &info), refused);
  EXPECT_EQ(CVD_Trace_Count(), 0u);

  const uint8_t octet = 0x30;
  const std::pair<uint32_t, uint32_t> lengths[] = {{UINT32_MAX, refused}, {0, 1012}, {1, 1010}};
  for (const auto& [length, status] : lengths) {
    EXPECT_EQ(CVD_ExtractCertInfo(nullptr, nullptr, &octet, length, 1, &info), status);
  }
  EXPECT_EQ(CVD_ExtractCertInfo(nullptr, "/nowhere", nullptr, 0, 0, &info), 8003u);
  EXPECT_EQ(TakeTrace(),
            "CVD_ExtractCertInfo 36001\nCVD_ExtractCertInfo 1012\nCVD_ExtractCertInfo 1010\n"
            "CVD_ExtractCertInfo 8003\n");

  const Input text("3000");
  CVD_Certificate* record = nullptr;
  EXPECT_EQ(CVD_GetCertificateCtxBin(nullptr, text.bin(), &record), uint32_t{PKC_ERR_BAD_CERT});
  EXPECT_EQ(TakeTrace(), "CVD_GetCertificateCtxBin 36030\n");
}

// ---- the extended record -------------------------------------------------------------------

TEST(ExtendedInfo, StringExtensionsAndAuthoritySerial) {
  const auto info = ExtendedInfoOf(
      {.extensions = {
           Extension("1.2.410.100001.5.7.101.1", Der(0x13, "one")),
           Extension("1.2.410.100001.5.7.101.3", Der(0x0C, std::string(30, 'c'))),
           Extension("1.2.410.100001.5.7.101.4", Der(0x0C, "Org")),
           Extension("2.5.29.35", Sequence({Der(0x80, Hex("AA")), Der(0x82, Hex("00FF01"))})),
       }});
  EXPECT_STREQ(info->extString1, "one");
  EXPECT_STREQ(info->extString2, "");
  EXPECT_EQ(std::string(info->extString3), std::string(19, 'c'));
  EXPECT_STREQ(info->corporationName, "Org");
  EXPECT_EQ(info->authoritySerialNumber, 0xFF01u);
  EXPECT_STREQ(info->authoritySerialHex, "ff01");
  EXPECT_EQ(std::strlen(info->rsaModulus), 88u) << "65 octets with the leading zero";
}

TEST(ExtendedInfo, FailuresComeAfterTheWholeBasicRecord) {
  const std::pair<Octets, uint32_t> rows[] = {
      {Extension("1.2.410.100001.5.7.101.2", Hex("020101")), 0xFFFFFFFF},
      {Extension("1.2.410.100001.5.7.101.4", {}), PKC_ERR_INVALID_INPUT},
      {Extension("2.5.29.35", Hex("0500")), PKC_ERR_BAD_AUTHKEYID}};
  for (const auto& [extension, status] : rows) {
    const auto info = ExtendedInfoOf({.extensions = {extension}}, status);
    EXPECT_STREQ(info->info.signatureHex, "a1b2c3") << status;
  }
  CVD_Trace_Clear();
}

TEST(KeyParameters, KcdsaRows) {
  const struct {
    const char* name;
    const char* der;
    int32_t status;
    const char* filled;  // p q g j seed count: base64 of what was read
  } rows[] = {
      {"Cofactor", "30 0C 020117 02010B 020104 020102", 0, "Fw==,Cw==,BA==,Ag==,,"},
      {"Everything", "30 14 020117 02010B 020104 020102 3006 0401AA 020105", 0,
       "Fw==,Cw==,BA==,Ag==,qg==,BQ=="},
      {"NoCofactor", "30 11 020117 02010B 020104 3006 0401AA 020105", 0,
       "Fw==,Cw==,BA==,,qg==,BQ=="},
      {"FourthIsAnother", "30 0B 020117 02010B 020104 0500", 0, "Fw==,Cw==,BA==,,,"},
      {"LeadingZeroIsShown", "30 0A 02020097 02010B 020104", 0, "AJc=,Cw==,BA==,,,"},
      {"NoSequence", "020117", -21, ",,,,,"},
      {"Nothing", "", -21, ",,,,,"},
      {"SequenceCut", "30", -22, ",,,,,"},
      {"SequenceTooLong", "30 0A 020117 02010B 020104", -22, ",,,,,"},
      {"NoP", "30 00", -23, ",,,,,"},
      {"PTooLong", "30 03 020217", -24, ",,,,,"},
      {"NoQ", "30 03 020117", -25, "Fw==,,,,,"},
      {"QTooLong", "30 06 020117 02050B", -26, "Fw==,,,,,"},
      {"GOfAnotherTag", "30 09 020117 02010B 040104", -27, "Fw==,Cw==,,,,"},
      {"GLengthWraps", "30 0C 020117 02010B 0284FFFFFFFF", -28, "Fw==,Cw==,,,,"},
      {"JTooLong", "30 0C 020117 02010B 020104 02097F", -30, "Fw==,Cw==,BA==,,,"},
      {"ValidationTooLong", "30 0C 020117 02010B 020104 300904", -32, "Fw==,Cw==,BA==,,,"},
      {"NoSeed", "30 0B 020117 02010B 020104 3000", -33, "Fw==,Cw==,BA==,,,"},
      {"SeedTooLong", "30 0E 020117 02010B 020104 3003 0409AA", -34, "Fw==,Cw==,BA==,,,"},
      {"NoCount", "30 0E 020117 02010B 020104 3003 0401AA", -35, "Fw==,Cw==,BA==,,qg==,"},
      {"CountTooLong", "30 11 020117 02010B 020104 3006 0401AA 020905", -36,
       "Fw==,Cw==,BA==,,qg==,"},
  };
  for (const auto& row : rows) {
    auto info = std::make_unique<PKCCertInfoEx>();
    const Input der(row.der);
    EXPECT_EQ(CVD_Decode_KCDSA_Parameters(der.bin(), info.get()), static_cast<uint32_t>(row.status))
        << row.name;
    EXPECT_EQ(std::string(info->kcdsaP) + "," + info->kcdsaQ + "," + info->kcdsaG + "," +
                  info->kcdsaJ + "," + info->kcdsaSeed + "," + info->kcdsaCount,
              row.filled)
        << row.name;
  }
  CVD_Trace_Clear();
  auto info = std::make_unique<PKCCertInfoEx>();
  // 767 octets are 1024 characters.
  const Input wide(Sequence({Der(0x02, Octets(767, 1)), Hex("02010B020104")}));
  EXPECT_EQ(CVD_Decode_KCDSA_Parameters(wide.bin(), info.get()), static_cast<uint32_t>(-7));
  EXPECT_EQ(TakeTrace(), "CVD_Decode_KCDSA_Parameters -7\n");
}

TEST(KeyParameters, RsaModulusRows) {
  const std::pair<Octets, int32_t> rows[] = {{Hex("3006 020200A1 0200"), 0},
                                             {Hex("3005 020200A1 AA"), 0},
                                             {{}, -11},
                                             {Hex("0201A1"), -11},
                                             {Hex("30"), -12},
                                             {Hex("3009 0201A1"), -12},
                                             {Hex("3000"), -13},
                                             {Hex("3003 0401A1"), -13},
                                             {Hex("3002 0209"), -12},
                                             {Sequence({Der(0x02, Octets(747, 1))}), 0},
                                             {Sequence({Der(0x02, Octets(750, 1))}), -5}};
  for (const auto& [der, status] : rows) {
    auto info = std::make_unique<PKCCertInfoEx>();
    const Input input(der);
    EXPECT_EQ(
        CVD_Decode_RSAPublicKey(input.bin()->data, static_cast<uint32_t>(der.size()), info.get()),
        static_cast<uint32_t>(status))
        << ToHex(der);
    EXPECT_EQ(std::string(info->rsaModulus).substr(0, 3), status != 0      ? ""
                                                          : der.size() > 9 ? "AQE"
                                                                           : "AKE");
  }
  CVD_Trace_Clear();
}

// ---- public keys and thumbprints -----------------------------------------------------------

TEST(PublicKey, IsHandedOutWithItsParameters) {
  const Octets domain = Hex("3009 020117 02010B 020104");
  const Input dsa(MakeCertificate({.spki = Spki("1.2.840.10040.4.1", domain, Hex("020108"))}));
  Output key;
  Output parameters;
  int32_t pkey_id = 0;
  ASSERT_EQ(CVD_GetSubPubKeyInfo(&key, &pkey_id, &parameters, dsa.bin()), 0u);
  EXPECT_EQ(pkey_id, CVD_PKEY_DSA);
  EXPECT_EQ(key.octets(), Hex("020108"));
  EXPECT_EQ(parameters.octets(), domain);

  const Input rsa(MakeCertificate({}));
  Output rsa_key;
  Output none;
  ASSERT_EQ(CVD_GetSubPubKeyInfo(&rsa_key, nullptr, &none, rsa.bin()), 0u);
  EXPECT_EQ(none.data, nullptr) << "RSA keys have no parameters to hand out";
  Output same;
  ASSERT_EQ(CVD_GetCertPubKey(&same, rsa.bin()), 0u);
  EXPECT_EQ(same.octets(), rsa_key.octets());

  const Certificate unknown(MakeCertificate({.spki = Spki("1.2.3", {}, Hex("01"))}));
  Output nothing;
  EXPECT_EQ(CVD_PKC_GetPubKeyInfo(&pkey_id, nullptr, &nothing, unknown.get()), 36011u);
  EXPECT_EQ(pkey_id, -1);
  EXPECT_EQ(TakeTrace(), "CVD_PKC_GetPubKeyInfo 36011\n");
  EXPECT_EQ(CVD_GetCertPubKey(&nothing, Input("3000").bin()), uint32_t{CVD_ASN_ERR_TAG});
  EXPECT_EQ(TakeTrace(), "CVD_GetCertPubKey 1012\n");
}

TEST(ThumbPrint, OfTheWholeAndOfTheSignedPart) {
  const Input one(MakeCertificate({}));
  const Input other(MakeCertificate({.signature = Hex("03020007")}));
  const auto print = [](auto function, const BIN* der) {
    char text[32];
    std::memset(text, '#', sizeof text);
    EXPECT_EQ(function(text, CVD_HASH_SHA1, der), 0u);
    EXPECT_EQ(std::string(text + 27, 2), "=#") << "28 characters, no terminator";
    return std::string(text, 28);
  };
  EXPECT_NE(print(CVD_PKC_GetCertThumbPrint, one.bin()),
            print(CVD_PKC_GetCertThumbPrint, other.bin()));
  EXPECT_EQ(print(CVD_PKC_GetCertThumbPrintExcludeSig, one.bin()),
            print(CVD_PKC_GetCertThumbPrintExcludeSig, other.bin()));
  char text[32] = "";
  EXPECT_EQ(CVD_PKC_GetCertThumbPrint(text, 5, one.bin()), 6004u);
  EXPECT_NE(CVD_PKC_GetCertThumbPrintExcludeSig(text, 3, Input("3000").bin()), 0u);
  EXPECT_EQ(CVD_Trace_Count(), 0u);
}

// ---- options and versions ------------------------------------------------------------------

TEST(OptionValues, AreExactAndShowInTheirStorage) {
  EXPECT_STREQ(CVD_PKC_GetOption("locale"), "ko_KR-euc");
  EXPECT_STREQ(CVD_PKC_GetOption("dncase"), "lower");
  for (const char* name : {"Locale", "local", "locale2", ""}) {
    EXPECT_EQ(CVD_PKC_GetOption(name), nullptr) << name;
  }
  const Options options("ko_KR-euc");
  const char* stored = CVD_PKC_GetOption("locale");
  for (const char* value : {"ko_KR-EUC", "ko_KR-euc ", "", "upper", "ko_KR"}) {
    EXPECT_EQ(CVD_SetLocalePKC(value), -1) << value;
    EXPECT_STREQ(stored, "ko_KR-euc");
  }
  for (const char* value : {"Upper", "ko_KR-euc", "", "uppe"}) {
    EXPECT_EQ(CVD_PKC_SetOption("dncase", value), -1) << value;
  }
  EXPECT_EQ(CVD_PKC_SetOption(nullptr, "upper") + CVD_PKC_SetOption("dncase", nullptr), -2);
  EXPECT_EQ(CVD_PKC_SetOption("other", "upper"), -1);
  EXPECT_EQ(CVD_SetLocalePKC("ja_JP-SJIS"), 0);
  EXPECT_STREQ(stored, "ja_JP-SJIS");
}

TEST(Version, IsCompared) {
  EXPECT_EQ(CVD_PKC_CheckVersion(nullptr), 0);
  for (const char* met : {"1.7.0.0", "1.7", "", "x", "1.6.99.99", "-99999999999.0.0.0"}) {
    EXPECT_EQ(CVD_PKC_CheckVersion(met), 0) << met;
  }
  for (const char* unmet :
       {"1.7.0.1", "1.8.0.0", "1.8", "99999999999.0.0.0", "0.0.0.9999999", "+1.8.0.0", " 1. 8"}) {
    EXPECT_EQ(CVD_PKC_CheckVersion(unmet), -1) << unmet;
  }
}

}  // namespace
}  // namespace corvid::test
