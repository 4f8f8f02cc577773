// Decoding and encoding: every shape that is accepted encodes back to the same octets; every
// mistake is refused with its code, at its octet, under its path; memory stays within its bound.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "support/support.h"

// The allocator of this program: counts requests and remembers the largest.
static size_t g_requests;
static size_t g_largest;
extern "C" void* CVD_malloc(size_t size) {
  ++g_requests;
  g_largest = std::max(g_largest, size);
  void* block = std::malloc(size);
  if (block != nullptr) std::memset(block, 0xA5, size);  // what is not written shows
  return block;
}

namespace corvid::test {
namespace {

struct Shape {
  const char* name;
  int32_t type;
  const char* der;
};
std::ostream& operator<<(std::ostream& os, const Shape& row) { return os << row.name; }

constexpr Shape kAccepted[] = {
    {"KeyUsage", CVD_PDU_KEY_USAGE, "03 02 01 06"},
    {"KeyUsageEmpty", CVD_PDU_KEY_USAGE, "03 01 00"},
    {"KeyUsageTrailingZeroBits", CVD_PDU_KEY_USAGE, "03 03 00 80 00"},
    {"KeyUsageFourOctets", CVD_PDU_KEY_USAGE, "03 05 00 80 00 00 01"},
    {"NsCertType", CVD_PDU_NETSCAPE_CERT_TYPE, "03 03 00 F7 01"},
    {"BasicConstraintsEmpty", CVD_PDU_BASIC_CONSTRAINTS, "30 00"},
    {"BasicConstraintsExplicitFalse", CVD_PDU_BASIC_CONSTRAINTS, "30 07 01 01 00 02 02 00 80"},
    {"BasicConstraintsNegative", CVD_PDU_BASIC_CONSTRAINTS, "30 04 02 02 FF 7F"},
    {"BasicConstraintsWidest", CVD_PDU_BASIC_CONSTRAINTS, "30 06 02 04 80 00 00 00"},
    {"ExtKeyUsageEmpty", CVD_PDU_EXT_KEY_USAGE, "30 00"},
    {"ExtKeyUsage", CVD_PDU_EXT_KEY_USAGE, "30 0A 06 03 55 1D 25 06 03 2A 81 00"},
    {"GeneralNamesEmpty", CVD_PDU_GENERAL_NAMES, "30 00"},
    {"GeneralNamesEveryKind", CVD_PDU_GENERAL_NAMES,
     "30 49 A0 07 06 01 2A A0 02 05 00 81 03 61 40 62 82 00 A3 02 31 00 A4 11 30 0F 31 0D 30 0B 06 "
     "03 55 04 03 0C 04 EA B0 80 41 A5 04 81 02 41 42 86 03 61 3A 62 87 04 0A 00 00 01 88 03 2A 03 "
     "04 82 03 78 FF 79 A4 02 30 00"},
    {"OtherNameWithLongTag", CVD_PDU_GENERAL_NAMES, "30 0B A0 09 06 01 2A A0 04 7F 81 00 00"},
    {"OtherNameWithLongerTag", CVD_PDU_GENERAL_NAMES,
     "30 0F A0 0D 06 01 2A A0 08 BF 81 80 80 80 80 00 00"},
    {"DistributionPointsEvery", CVD_PDU_CRL_DISTRIBUTION_POINTS,
     "30 30 30 00 30 0B A0 05 A0 03 86 01 75 81 02 05 60 30 17 A0 0E A1 0C 30 0A 06 03 55 04 03 0C "
     "03 78 79 7A 81 03 07 00 80 A2 00 30 05 A2 03 82 01 61"},
    {"AccessDescriptions", CVD_PDU_AUTHORITY_INFO_ACCESS,
     "30 0D 30 0B 06 04 2B 06 01 01 86 03 61 3A 62"},
    {"Policies", CVD_PDU_CERTIFICATE_POLICIES,
     "30 17 30 03 06 01 2A 30 10 06 01 2A 30 0B 30 09 06 03 2A 03 04 13 02 41 42"},
    {"AuthorityKeyIdentifier", CVD_PDU_AUTHORITY_KEY_IDENTIFIER,
     "30 0C 80 02 AA BB A1 03 82 01 61 82 01 80"},
    {"AuthorityKeyIdentifierEmptyParts", CVD_PDU_AUTHORITY_KEY_IDENTIFIER, "30 04 80 00 A1 00"},
    {"SubjectKeyIdentifierEmpty", CVD_PDU_SUBJECT_KEY_IDENTIFIER, "04 00"},
    {"CpsUri", CVD_PDU_CPS_URI, "16 03 61 3A 62"},
    {"UserNoticeBoth", CVD_PDU_USER_NOTICE, "30 0C 30 06 0C 01 4F 30 01 00 1A 02 41 42"},
    {"UserNoticeEmpty", CVD_PDU_USER_NOTICE, "30 00"},
    {"CommonNamePrintable", CVD_PDU_X520_COMMON_NAME, "13 02 41 42"},
    {"CommonNameUtf8", CVD_PDU_X520_COMMON_NAME, "0C 03 EA B0 80"},
    {"Country", CVD_PDU_X520_COUNTRY_NAME, "13 02 4B 52"},
    {"DnQualifier", CVD_PDU_X520_DN_QUALIFIER, "13 01 2A"},
    {"Email", CVD_PDU_EMAIL_ADDRESS, "16 03 61 40 62"},
    {"Ia5Attribute", CVD_PDU_IA5_ATTRIBUTE, "16 02 64 63"},
    {"HashContent", CVD_PDU_VID_HASH_CONTENT, "30 08 13 02 31 32 03 02 04 F0"},
    {"Vid", CVD_PDU_VID, "30 0D 30 07 06 05 2B 0E 03 02 1A A0 02 04 00"},
    {"IdentityDataEmptyInfo", CVD_PDU_IDENTITY_DATA, "30 05 0C 01 41 30 00"},
    {"CertListVersion1WithoutNextUpdate", CVD_PDU_TBS_CERT_LIST,
     "30 2A 30 03 06 01 2A 30 00 17 0D 32 36 30 31 30 31 30 30 30 30 30 30 5A 30 14 30 12 02 01 05 "
     "17 0D 32 36 30 31 30 31 30 30 30 30 30 30 5A"},
    {"CertListVersion2", CVD_PDU_TBS_CERT_LIST,
     "30 3E 02 01 01 30 03 06 01 2A 30 00 17 0D 32 36 30 31 30 31 30 30 30 30 30 30 5A 18 0F 32 30 "
     "35 30 30 31 30 31 30 30 30 30 30 30 5A A0 0B 30 09 30 07 06 01 2A 04 02 05 00"},
    {"IssuingPoint", CVD_PDU_ISSUING_DISTRIBUTION_POINT,
     "30 14 A0 05 A0 03 86 01 75 81 01 00 83 02 05 60 84 01 FF 85 01 00"},
};

class Accepted : public testing::TestWithParam<Shape> {};
INSTANTIATE_TEST_SUITE_P(Asn, Accepted, testing::ValuesIn(kAccepted),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_P(Accepted, EncodesBackToTheSameOctets) {
  Octets der = Hex(GetParam().der);
  if (der.size() > 2 && der[0] == 0x30) der[1] = static_cast<uint8_t>(der.size() - 2);
  const DecodedRecord<void> record(der, GetParam().type);
  ASSERT_EQ(record.status, 0u) << ToHex(der);
  Output again;
  ASSERT_EQ(CVD_ASN_EncodePDU(&again, record.get(), GetParam().type), 0u);
  EXPECT_EQ(ToHex(again.octets()), ToHex(der));
}

struct Fault {
  const char* name;
  int32_t type;
  const char* der;
  uint32_t code;
  uint32_t offset;
  const char* path;
};
std::ostream& operator<<(std::ostream& os, const Fault& row) { return os << row.name; }

constexpr Fault kFaults[] = {
    {"Empty", CVD_PDU_CPS_URI, "", 1012, 0, "text"},
    {"HeaderCut", CVD_PDU_CPS_URI, "16", 1010, 0, "text"},
    {"ContentCut", CVD_PDU_CPS_URI, "16 03 41", 1010, 0, "text"},
    {"LengthOctetsCut", CVD_PDU_CPS_URI, "16 82 01", 1010, 0, "text"},
    {"IndefiniteLength", CVD_PDU_CPS_URI, "16 80 00 00", 1011, 0, "text"},
    {"LengthNotMinimal", CVD_PDU_CPS_URI, "16 81 01 41", 1011, 0, "text"},
    {"LengthLeadingZero", CVD_PDU_CPS_URI, "16 82 00 01 41", 1011, 0, "text"},
    {"ThreeLengthOctetsNotMinimal", CVD_PDU_CPS_URI, "16 83 00 01 01", 1011, 0, "text"},
    {"LengthWraps", CVD_PDU_CPS_URI, "16 84 FF FF FF FF 41", 1010, 0, "text"},
    {"FiveLengthOctets", CVD_PDU_CPS_URI, "16 85 00 00 00 00 01 41", 1011, 0, "text"},
    {"TrailingOctet", CVD_PDU_CPS_URI, "16 01 41 00", 1013, 3, ""},
    {"AnotherString", CVD_PDU_CPS_URI, "0C 01 41", 1022, 0, "text"},
    {"VidWithoutWrapper", CVD_PDU_VID, "30 08 30 03 06 01 2A 04 01 AA", 1022, 7, "virtualID"},
    {"AnyOfTagZero", CVD_PDU_GENERAL_NAMES, "30 09 A0 07 06 01 2A A0 02 00 00", 1012, 9,
     "[0].otherName.value"},
    {"CommonNameNotPrintable", CVD_PDU_X520_COMMON_NAME, "13 03 61 40 62", 1020, 0, "text"},
    {"NoticeNotVisible", CVD_PDU_USER_NOTICE, "30 03 1A 01 07", 1020, 2, "explicitText.text"},
    {"NulInText", CVD_PDU_CPS_URI, "16 03 41 00 42", 1020, 0, "text"},
    {"BooleanOne", CVD_PDU_BASIC_CONSTRAINTS, "30 03 01 01 01", 1014, 2, "cA"},
    {"BooleanEmpty", CVD_PDU_BASIC_CONSTRAINTS, "30 02 01 00", 1014, 2, "cA"},
    {"IntegerEmpty", CVD_PDU_BASIC_CONSTRAINTS, "30 02 02 00", 1015, 2, "pathLenConstraint"},
    {"IntegerNotMinimal", CVD_PDU_BASIC_CONSTRAINTS, "30 04 02 02 00 01", 1015, 2,
     "pathLenConstraint"},
    {"IntegerTooWide", CVD_PDU_BASIC_CONSTRAINTS, "30 07 02 05 01 00 00 00 00", 1016, 2,
     "pathLenConstraint"},
    {"RowsInAnotherOrder", CVD_PDU_BASIC_CONSTRAINTS, "30 06 02 01 00 01 01 FF", 1013, 5, ""},
    {"BitStringEmpty", CVD_PDU_KEY_USAGE, "03 00", 1018, 0, ""},
    {"BitStringEightUnused", CVD_PDU_KEY_USAGE, "03 02 08 00", 1018, 0, ""},
    {"BitStringUnusedOfNothing", CVD_PDU_KEY_USAGE, "03 01 01", 1018, 0, ""},
    {"BitStringUnusedNotZero", CVD_PDU_KEY_USAGE, "03 02 01 01", 1018, 0, ""},
    {"OidEmpty", CVD_PDU_EXT_KEY_USAGE, "30 02 06 00", 1017, 2, "[0]"},
    {"OidCut", CVD_PDU_EXT_KEY_USAGE, "30 04 06 02 2A 81", 1017, 2, "[0]"},
    {"OidPadded", CVD_PDU_EXT_KEY_USAGE, "30 08 06 01 2A 06 03 2A 80 01", 1017, 5, "[1]"},
    {"OidPaddedBehindEightOctets", CVD_PDU_EXT_KEY_USAGE,
     "30 0D 06 0B 2A 01 01 01 01 01 01 01 80 01 01", 1017, 2, "[0]"},
    {"ExplicitHoldsTwo", CVD_PDU_GENERAL_NAMES, "30 0B A0 09 06 01 2A A0 04 05 00 05 00", 1013, 11,
     "[0].otherName.value"},
    {"ExplicitEmpty", CVD_PDU_GENERAL_NAMES, "30 07 A0 05 06 01 2A A0 00", 1012, 9,
     "[0].otherName.value"},
    {"DirectoryEmpty", CVD_PDU_GENERAL_NAMES, "30 02 A4 00", 1012, 4, "[0].directoryName"},
    {"GeneralNameUnknown", CVD_PDU_GENERAL_NAMES, "30 02 89 00", 1022, 2, "[0]"},
    {"NulInDnsName", CVD_PDU_GENERAL_NAMES, "30 08 82 01 61 82 03 61 00 62", 1020, 5,
     "[1].dNSName"},
    {"QualifiersEmpty", CVD_PDU_CERTIFICATE_POLICIES, "30 07 30 05 06 01 2A 30 00", 1023, 9,
     "[0].policyQualifiers"},
    {"NoticeInBmpString", CVD_PDU_USER_NOTICE, "30 04 1E 02 00 41", 1022, 2, "explicitText"},
    {"CommonNameInBmpString", CVD_PDU_X520_COMMON_NAME, "1E 02 00 41", 1022, 0, ""},
    {"CommonNameSurrogate", CVD_PDU_X520_COMMON_NAME, "0C 03 ED A0 80", 1020, 0, "text"},
    {"CommonNameOverlong", CVD_PDU_X520_COMMON_NAME, "0C 02 C1 81", 1020, 0, "text"},
    {"CountryOfThree", CVD_PDU_X520_COUNTRY_NAME, "13 03 4B 4F 52", 1021, 0, "text"},
    {"CountryOfNone", CVD_PDU_X520_COUNTRY_NAME, "13 00", 1021, 0, "text"},
    {"IdnNotPrintable", CVD_PDU_VID_HASH_CONTENT, "30 07 13 01 2A 03 02 00 01", 1020, 2, "idn"},
    {"UnknownType", 1, "30 00", 1003, 0, ""},
};

class Refused : public testing::TestWithParam<Fault> {};
INSTANTIATE_TEST_SUITE_P(Asn, Refused, testing::ValuesIn(kFaults),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_P(Refused, TellsCodeOctetAndPath) {
  const Fault& row = GetParam();
  const DecodedRecord<void> record(Hex(row.der), row.type);
  EXPECT_EQ(record.status, row.code);
  EXPECT_EQ(record.get(), nullptr) << "a failed decode leaves the pointer as it was";
  CVD_ASNFailure failure;
  ASSERT_EQ(CVD_ASN_GetDecodeFailure(&failure), 0u);
  EXPECT_EQ(failure.code, row.code);
  EXPECT_EQ(failure.offset, row.offset);
  EXPECT_STREQ(failure.path, row.path);
}

// Whatever the room, the record is the same; it is in the caller's memory where that suffices, and
// nothing is written past it.
TEST(DecodeInto, TakesTheCallersMemoryOrABlock) {
  const Octets names = Sequence({Der(0x82, "a.example"), Der(0x82, "b.example")});
  const Input der(names);
  constexpr uint32_t kMost = 512;
  uint32_t near_from = 0;
  for (uint32_t size = 0; size <= kMost; ++size) {
    alignas(8) uint8_t memory[kMost + 1];
    std::memset(memory, 0xA5, sizeof memory);
    void* record = nullptr;
    const size_t requests = g_requests;
    ASSERT_EQ(CVD_ASN_DecodePDUInto(&record, der.bin(), CVD_PDU_GENERAL_NAMES, memory, size), 0u);
    const bool near = record == memory;
    EXPECT_EQ(g_requests - requests, near ? 0u : 1u) << size;
    if (near && near_from == 0) near_from = size;
    EXPECT_EQ(near, near_from != 0) << size;
    for (uint32_t i = size; i < sizeof memory; ++i) ASSERT_EQ(memory[i], 0xA5) << size;
    Output encoded;
    EXPECT_EQ(CVD_ASN_EncodePDU(&encoded, record, CVD_PDU_GENERAL_NAMES), 0u);
    EXPECT_EQ(encoded.octets(), names);
    if (!near) CVD_ASN_FreePDU(record, CVD_PDU_GENERAL_NAMES);
  }
  EXPECT_GT(near_from, names.size());
}

// ---- certificates --------------------------------------------------------------------------

TEST(CertificateRecord, ShowsEveryComponent) {
  CertificateParts parts;
  parts.serial = Hex("FF21");
  parts.not_after = Der(0x18, "20491231235959Z");
  parts.subject =
      Hex("30 1A 31 00 31 16 30 09 06 03 55 04 0B 13 02 62 62 30 09 06 03 55 04 03 0C 02 61 61");
  parts.extensions = {Extension("2.5.29.15", Hex("03020106"), true), Extension("1.2.3", Hex("04"))};
  const Certificate certificate(MakeCertificate(parts));
  ASSERT_EQ(certificate.status, 0u);
  const CVD_TBSCertificate& tbs = certificate->tbsCertificate;
  EXPECT_EQ(tbs.present, 0x90);
  EXPECT_EQ(tbs.version, 2);
  EXPECT_EQ(Octets(tbs.serialNumber.data, tbs.serialNumber.data + 2), Hex("FF21"));
  EXPECT_EQ(tbs.notBefore.kind, CVD_TIME_UTC);
  EXPECT_EQ(tbs.notBefore.fields.year, 26);
  EXPECT_EQ(tbs.notAfter.kind, CVD_TIME_GENERALIZED);
  EXPECT_EQ(tbs.notAfter.fields.year, 2049);
  EXPECT_EQ(tbs.notAfter.fields.second, 59);
  EXPECT_EQ(tbs.issuerUniqueID.data, nullptr);

  EXPECT_EQ(tbs.subject.choice, CVD_NAME_RDN_SEQUENCE);
  EXPECT_EQ(tbs.subject.decoded, 1);
  const CVD_RDNSequenceNode* empty = tbs.subject.rdnSequence;
  EXPECT_EQ(empty->relativeDistinguishedName, nullptr);
  const CVD_AttributeTypeAndValueNode* first = empty->next->relativeDistinguishedName;
  EXPECT_EQ(ToHex(OctetsOf(first->value)), "13026262") << "an unsorted SET keeps its order";
  EXPECT_EQ(ToHex(OctetsOf(first->next->value)), "0c026161");
  EXPECT_EQ(first->next->next, nullptr);

  const CVD_Extension& usage = tbs.extensions->extension;
  EXPECT_EQ(CVD_ASN_CmpOID(&usage.extnID, CVD_ASN_GetOID(CVD_OID_KEY_USAGE)), 0);
  EXPECT_EQ(usage.present, 0x80);
  EXPECT_EQ(usage.critical, 1);
  EXPECT_EQ(ToHex(OctetsOf(usage.extnValue)), "03020106");
  EXPECT_EQ(tbs.extensions->next->extension.present, 0);
  EXPECT_EQ(certificate->signature.bits, 24u);
}

struct Lenient {
  const char* name;
  void (*change)(CertificateParts*);
  uint32_t status;
  const char* path;
};
std::ostream& operator<<(std::ostream& os, const Lenient& row) { return os << row.name; }

constexpr Lenient kCertificates[] = {
    {"NoVersion", [](CertificateParts* p) { p->version = {}; }, 0, ""},
    {"ExplicitVersion1", [](CertificateParts* p) { p->version = Hex("A003020100"); }, 0, ""},
    {"Version128", [](CertificateParts* p) { p->version = Hex("A00402020080"); }, 0, ""},
    {"VersionTooWide", [](CertificateParts* p) { p->version = Hex("A00702050100000000"); }, 1016,
     "tbsCertificate.version"},
    {"SerialOf40Octets", [](CertificateParts* p) { p->serial = Octets(40, 0x7F); }, 0, ""},
    {"SerialPadded", [](CertificateParts* p) { p->serial = Hex("0001"); }, 1015,
     "tbsCertificate.serialNumber"},
    {"EmptySubject", [](CertificateParts* p) { p->subject = Hex("3000"); }, 0, ""},
    {"SubjectIsASet", [](CertificateParts* p) { p->subject = Hex("3100"); }, 1012,
     "tbsCertificate.subject"},
    {"AttributeWithoutValue",
     [](CertificateParts* p) { p->subject = Hex("30 0B 31 00 31 07 30 05 06 03 55 04 03"); }, 1012,
     "tbsCertificate.subject[1][0].value"},
    {"EmptyExtensions", [](CertificateParts* p) { p->extensions = {{}}; }, 0, ""},
    {"ExtensionOfThree",
     [](CertificateParts* p) {
       p->extensions = {Extension("1.2.3", {}), Hex("30 07 06 02 2A 03 04 01 00")};
     },
     0, ""},
    {"ExtensionWithoutValue",
     [](CertificateParts* p) {
       p->extensions = {Extension("1.2.3", {}), Hex("3004 06022A03")};
     },
     1012, "tbsCertificate.extensions[1].extnValue"},
    {"TimeWithoutSeconds", [](CertificateParts* p) { p->not_before = Der(0x17, "2601010000Z"); },
     1019, "tbsCertificate.validity.notBefore"},
    {"TimeWithOffset", [](CertificateParts* p) { p->not_before = Der(0x17, "260101000000+0900"); },
     1019, "tbsCertificate.validity.notBefore"},
    {"TimeWithFraction", [](CertificateParts* p) { p->not_after = Der(0x18, "20260101000000.5Z"); },
     1019, "tbsCertificate.validity.notAfter"},
    {"NoSuchDay", [](CertificateParts* p) { p->not_after = Der(0x17, "270229000000Z"); }, 1019,
     "tbsCertificate.validity.notAfter"},
    {"LeapDay", [](CertificateParts* p) { p->not_after = Der(0x17, "280229000000Z"); }, 0, ""},
    {"LeapDayOfNoLeapCentury",
     [](CertificateParts* p) { p->not_after = Der(0x18, "21000229000000Z"); }, 1019,
     "tbsCertificate.validity.notAfter"},
    {"Hour24", [](CertificateParts* p) { p->not_after = Der(0x17, "270101240000Z"); }, 1019,
     "tbsCertificate.validity.notAfter"},
    {"LetterInTime", [](CertificateParts* p) { p->not_after = Der(0x17, "27010100000OZ"); }, 1019,
     "tbsCertificate.validity.notAfter"},
};

class CertificateShape : public testing::TestWithParam<Lenient> {};
INSTANTIATE_TEST_SUITE_P(Asn, CertificateShape, testing::ValuesIn(kCertificates),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_P(CertificateShape, IsAcceptedWholeOrRefusedWhereItIsWrong) {
  CertificateParts parts;
  GetParam().change(&parts);
  const Octets der = MakeCertificate(parts);
  const Certificate certificate(der);
  ASSERT_EQ(certificate.status, GetParam().status);
  if (certificate.status == 0) {
    Output again;
    ASSERT_EQ(CVD_ASN_EncodePDU(&again, certificate.get(), CVD_PDU_CERTIFICATE), 0u);
    EXPECT_EQ(ToHex(again.octets()), ToHex(der));
    return;
  }
  CVD_ASNFailure failure;
  ASSERT_EQ(CVD_ASN_GetDecodeFailure(&failure), 0u);
  EXPECT_STREQ(failure.path, GetParam().path);
}

// The records are copied and compared by words: no octet of them may be left as the allocator had
// it.
TEST(CertificateRecord, HasNoUndefinedOctets) {
  CertificateParts parts;
  parts.spki = Hex("30 0B 30 04 06 02 2A 03 03 03 00 11 22");
  parts.extensions = {Extension("2.5.29.15", Hex("03020106"), true), Extension("1.2.3", Hex("04"))};
  const Certificate certificate(MakeCertificate(parts));
  const auto undefined = [](const void* record, size_t size) {
    const auto* octets = static_cast<const uint8_t*>(record);
    size_t count = 0;
    for (size_t i = 0; i + 1 < size; ++i) count += octets[i] == 0xA5 && octets[i + 1] == 0xA5;
    return count;
  };
  EXPECT_EQ(undefined(certificate.get(), sizeof(CVD_Certificate)), 0u);
  EXPECT_EQ(undefined(certificate.extensions()->next, sizeof(CVD_ExtensionNode)), 0u);
  const CVD_RDNSequenceNode* rdn = certificate->tbsCertificate.subject.rdnSequence;
  EXPECT_EQ(undefined(rdn, sizeof *rdn), 0u);
  const CVD_OID& type = rdn->relativeDistinguishedName->type;
  EXPECT_EQ(std::memcmp(&type, CVD_ASN_GetOID(CVD_OID_COMMON_NAME), 8), 0);
}

// ---- memory --------------------------------------------------------------------------------

struct Flood {
  const char* name;
  int32_t type;
  const char* element;
};
constexpr Flood kFloods[] = {
    {"GeneralNames", CVD_PDU_GENERAL_NAMES, "82 00"},
    {"DirectoryNames", CVD_PDU_GENERAL_NAMES, "A4 02 30 00"},
    {"EmptyRdns", CVD_PDU_GENERAL_NAMES, "A4 04 30 02 31 00"},
    {"DistributionPoints", CVD_PDU_CRL_DISTRIBUTION_POINTS, "30 00"},
    {"KeyPurposes", CVD_PDU_EXT_KEY_USAGE, "06 01 2A"},
    {"Policies", CVD_PDU_CERTIFICATE_POLICIES, "30 03 06 01 2A"},
    {"AccessDescriptions", CVD_PDU_AUTHORITY_INFO_ACCESS, "30 05 06 01 2A 82 00"},
};

TEST(Memory, StaysWithinItsBoundForAnyInput) {
  for (const Flood& flood : kFloods) {
    for (const size_t count : {1U, 20U, 100U, 130U, 20000U}) {
      const Octets element = Hex(flood.element);
      Octets content;
      for (size_t i = 0; i < count; ++i) {
        content.insert(content.end(), element.begin(), element.end());
      }
      const Octets der = Der(0x30, content);
      g_largest = 0;
      const DecodedRecord<CVD_GeneralNames> record(der, flood.type);
      ASSERT_EQ(record.status, 0u) << flood.name << ' ' << count;
      EXPECT_LE(g_largest, 32 * der.size() + 8192) << flood.name << ' ' << count;
      size_t nodes = 0;  // every list's record is a pointer to its first node
      for (const CVD_GeneralNameNode* node = record->first; node != nullptr; node = node->next) {
        ++nodes;
      }
      EXPECT_EQ(nodes, count) << flood.name;
    }
  }
}

TEST(Memory, IsOneBlockForIssuedCertificates) {
  const std::vector<std::filesystem::path> roots = DebianRoots();
  ASSERT_FALSE(roots.empty());
  for (const std::filesystem::path& root : roots) {
    const Octets der = ReadCertificate(root);
    g_requests = 0;
    const Certificate certificate(der);
    EXPECT_EQ(certificate.status, 0u);
    EXPECT_EQ(g_requests, 1u) << root;
  }
}

// ---- encoding ------------------------------------------------------------------------------

template <typename Record>
std::string Encoded(const Record& record, int32_t type) {
  Output der;
  const uint32_t status = CVD_ASN_EncodePDU(&der, &record, type);
  return status == 0 ? ToHex(der.octets()) : std::to_string(status);
}

CVD_X520Name64 Name64(const std::string& text) {
  CVD_X520Name64 name{CVD_DIRECTORY_STRING_UTF8, {}};
  text.copy(name.text, sizeof name.text - 1);
  return name;
}

TEST(Encoding, ChecksBoundsInCharacters) {
  const std::string hangul = "\xEA\xB0\x80";
  EXPECT_EQ(Encoded(Name64(Repeat(64, hangul)), CVD_PDU_X520_COMMON_NAME).substr(0, 8), "0c81c0ea");
  EXPECT_EQ(Encoded(Name64(Repeat(65, hangul)), CVD_PDU_X520_COMMON_NAME), "1021");
  EXPECT_EQ(Encoded(Name64(Repeat(65, "a")), CVD_PDU_X520_TITLE), "1021");
  EXPECT_EQ(Encoded(Name64("\xEA\xB0"), CVD_PDU_X520_COMMON_NAME), "1020");
  EXPECT_EQ(Encoded(CVD_X520Name64{1, {}}, CVD_PDU_X520_COMMON_NAME), "1022");
  EXPECT_EQ(Encoded(CVD_X520CountryName{"k"}, CVD_PDU_X520_COUNTRY_NAME), "1021");
  EXPECT_EQ(Encoded(CVD_X520CountryName{{'\xFF', '*', 0}}, CVD_PDU_X520_COUNTRY_NAME), "1302ff2a");
  EXPECT_EQ(Encoded(CVD_VIDHashContent{"12*", {0, nullptr}}, CVD_PDU_VID_HASH_CONTENT), "1020");
}

TEST(Encoding, WritesShownBitsWithoutTrailingZeros) {
  EXPECT_EQ(Encoded(CVD_KeyUsage{0x0600, 0, nullptr}, CVD_PDU_KEY_USAGE), "03020106");
  EXPECT_EQ(Encoded(CVD_KeyUsage{0x8080, 0, nullptr}, CVD_PDU_KEY_USAGE), "0303078080");
  EXPECT_EQ(Encoded(CVD_KeyUsage{0, 0, nullptr}, CVD_PDU_KEY_USAGE), "030100");
  uint8_t all = 0xFF;
  EXPECT_EQ(Encoded(CVD_KeyUsage{0, 3, &all}, CVD_PDU_KEY_USAGE), "030205e0");
  EXPECT_EQ(Encoded(CVD_NetscapeCertType{0x40, 0, nullptr}, CVD_PDU_NETSCAPE_CERT_TYPE),
            "03020640");
}

// The value word's octets are compared with what the encoder reads from it: a word is not its
// octets on a little-endian machine.
TEST(Encoding, DecodedKeyUsageShowsItsWord) {
  const DecodedRecord<CVD_KeyUsage> usage(Hex("0303078080"), CVD_PDU_KEY_USAGE);
  EXPECT_EQ(usage->usage, 0x8080);
  const DecodedRecord<CVD_KeyUsage> sign(Hex("03020106"), CVD_PDU_KEY_USAGE);
  EXPECT_EQ(sign->usage, 0x0600);
  const DecodedRecord<CVD_NetscapeCertType> type(Hex("030204F0"), CVD_PDU_NETSCAPE_CERT_TYPE);
  EXPECT_EQ(type->type, 0xF0);
}

TEST(Encoding, SortsTheSetsOfNamesThatWereNotDecoded) {
  uint8_t longer[] = {0x0C, 0x02, 'a', 'a'};
  uint8_t later[] = {0x0C, 0x01, 'b'};
  uint8_t first[] = {0x0C, 0x01, 'a'};
  CVD_AttributeTypeAndValueNode c{nullptr, *CVD_ASN_GetOID(CVD_OID_COMMON_NAME), {3, first}};
  CVD_AttributeTypeAndValueNode b{&c, c.type, {3, later}};
  CVD_AttributeTypeAndValueNode a{&b, c.type, {4, longer}};
  CVD_RDNSequenceNode rdn{nullptr, &a};
  CVD_GeneralNameNode node{};
  node.generalName.choice = CVD_GENERAL_NAME_DIRECTORY;
  node.generalName.name.directoryName = {CVD_NAME_RDN_SEQUENCE, 0, &rdn};
  const std::string sorted = Encoded(CVD_GeneralNames{&node}, CVD_PDU_GENERAL_NAMES);
  EXPECT_EQ(sorted,
            "3025a4233021311f"
            "300806035504030c0161"
            "300806035504030c0162"
            "300906035504030c026161");
  node.generalName.name.directoryName.decoded = 1;
  EXPECT_NE(Encoded(CVD_GeneralNames{&node}, CVD_PDU_GENERAL_NAMES), sorted);
  node.generalName.name.directoryName.choice = 0;
  EXPECT_EQ(Encoded(CVD_GeneralNames{&node}, CVD_PDU_GENERAL_NAMES), "1022");
}

TEST(Encoding, RefusesWhatWouldNotDecode) {
  EXPECT_EQ(Encoded(CVD_CPSuri{nullptr}, CVD_PDU_CPS_URI), "1001");
  EXPECT_EQ(Encoded(CVD_IA5Attribute{1, 0, 3, 0, "a\0b"}, CVD_PDU_IA5_ATTRIBUTE), "1020");
  CVD_UserNotice notice{0x40, {0, nullptr}, {CVD_DISPLAY_TEXT_UTF8, {}}};
  std::memset(notice.explicitText.text, 'a', sizeof notice.explicitText.text);
  EXPECT_EQ(Encoded(notice, CVD_PDU_USER_NOTICE), "1021") << "no terminator";
  uint8_t padded[] = {0x00, 0x01};
  CVD_AuthorityKeyIdentifier identifier{0x20, {0, nullptr}, nullptr, {2, padded}};
  EXPECT_EQ(Encoded(identifier, CVD_PDU_AUTHORITY_KEY_IDENTIFIER), "1015");
  identifier = {0x80, {1, nullptr}, nullptr, {0, nullptr}};
  EXPECT_EQ(Encoded(identifier, CVD_PDU_AUTHORITY_KEY_IDENTIFIER), "1001");
  CVD_KeyPurposeNode purpose{nullptr, {0, nullptr}};
  EXPECT_EQ(Encoded(CVD_ExtKeyUsageSyntax{&purpose}, CVD_PDU_EXT_KEY_USAGE), "1017");
  CVD_PolicyInformationNode policy{nullptr, 0x80, *CVD_ASN_GetOID(CVD_OID_QT_CPS), nullptr};
  EXPECT_EQ(Encoded(CVD_CertificatePolicies{&policy}, CVD_PDU_CERTIFICATE_POLICIES), "1023");
  uint8_t two[] = {0x05, 0x00, 0x05, 0x00};
  CVD_PolicyQualifierInfoNode qualifier{nullptr, policy.policyIdentifier, {4, two}};
  policy.policyQualifiers = &qualifier;
  EXPECT_EQ(Encoded(CVD_CertificatePolicies{&policy}, CVD_PDU_CERTIFICATE_POLICIES), "1013");
  qualifier.qualifier.length = 0;
  EXPECT_EQ(Encoded(CVD_CertificatePolicies{&policy}, CVD_PDU_CERTIFICATE_POLICIES), "1001");
  BIN der{0, nullptr};
  EXPECT_EQ(CVD_ASN_EncodePDU(&der, &policy, 1), uint32_t{CVD_ASN_ERR_UNKNOWN_TYPE});
}

}  // namespace
}  // namespace corvid::test
