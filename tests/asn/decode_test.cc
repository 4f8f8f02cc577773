// Decoding and encoding: every shape that is accepted encodes back to the same octets; every
// mistake is refused with its code, at its octet, under its path; memory stays within its bound.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <tuple>

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

TEST(Accepted, EncodesBackToTheSameOctets) {
  const std::tuple<const char*, int32_t, const char*> rows[] = {
      {"KeyUsageEmpty", CVD_PDU_KEY_USAGE, "03 01 00"},
      {"KeyUsageTrailingZeroBits", CVD_PDU_KEY_USAGE, "03 03 00 80 00"},
      {"KeyUsageFourOctets", CVD_PDU_KEY_USAGE, "03 05 00 80 00 00 01"},
      {"NsCertType", CVD_PDU_NETSCAPE_CERT_TYPE, "03 03 00 F7 01"},
      {"BasicConstraintsExplicitFalse", CVD_PDU_BASIC_CONSTRAINTS, "30 07 01 01 00 02 02 00 80"},
      {"BasicConstraintsNegative", CVD_PDU_BASIC_CONSTRAINTS, "30 04 02 02 FF 7F"},
      {"BasicConstraintsWidest", CVD_PDU_BASIC_CONSTRAINTS, "30 06 02 04 80 00 00 00"},
      {"ExtKeyUsage", CVD_PDU_EXT_KEY_USAGE, "30 0A 06 03 55 1D 25 06 03 2A 81 00"},
      {"GeneralNamesEveryKind", CVD_PDU_GENERAL_NAMES,
       "3046A00706012AA002050081036140628200A3023100A411300F310D300B06035504030C04EAB08041A50481024"
       "1428603613A6287040A00000188032A0304820378FF79A4023000"},
      {"OtherNameWithLongerTag", CVD_PDU_GENERAL_NAMES, "300FA00D06012AA008BF81808080800000"},
      {"DistributionPointsEvery", CVD_PDU_CRL_DISTRIBUTION_POINTS,
       "302F3000300BA005A003860175810205603017A00EA10C300A06035504030C0378797A8103070080A2003005A20"
       "3820161"},
      {"AccessDescriptions", CVD_PDU_AUTHORITY_INFO_ACCESS, "300D300B06042B0601018603613A62"},
      {"Policies", CVD_PDU_CERTIFICATE_POLICIES,
       "3017300306012A301006012A300B300906032A030413024142"},
      {"AuthorityKeyIdentifier", CVD_PDU_AUTHORITY_KEY_IDENTIFIER, "300C8002AABBA103820161820180"},
      {"AuthorityKeyIdentifierEmptyParts", CVD_PDU_AUTHORITY_KEY_IDENTIFIER, "30 04 80 00 A1 00"},
      {"SubjectKeyIdentifierEmpty", CVD_PDU_SUBJECT_KEY_IDENTIFIER, "04 00"},
      {"UserNoticeBoth", CVD_PDU_USER_NOTICE, "30 0C 30 06 0C 01 4F 30 01 00 1A 02 41 42"},
      {"UserNoticeEmpty", CVD_PDU_USER_NOTICE, "30 00"},
      {"CommonNamePrintable", CVD_PDU_X520_COMMON_NAME, "13 02 41 42"},
      {"HashContent", CVD_PDU_VID_HASH_CONTENT, "30 08 13 02 31 32 03 02 04 F0"},
      {"Vid", CVD_PDU_VID, "30 0D 30 07 06 05 2B 0E 03 02 1A A0 02 04 00"},
      {"IdentityDataEmptyInfo", CVD_PDU_IDENTITY_DATA, "30 05 0C 01 41 30 00"},
      {"CertListVersion2", CVD_PDU_TBS_CERT_LIST,
       "3037020101300306012A3000170D3236303130313030303030305A180F32303530303130313030303030305AA00"
       "B3009300706012A04020500"},
      {"IssuingPoint", CVD_PDU_ISSUING_DISTRIBUTION_POINT,
       "3014A005A003860175810100830205608401FF850100"},
  };
  for (const auto& [name, type, der] : rows) {
    const DecodedRecord<void> record(Hex(der), type);
    ASSERT_EQ(record.status, 0u) << name;
    EXPECT_EQ(record.Encode(), Hex(der)) << name;
  }
}

TEST(Refused, TellsCodeOctetAndPath) {
  const struct {
    const char* name;
    int32_t type;
    const char* der;
    uint32_t code, offset;
    const char* path;
  } rows[] = {
      {"Empty", CVD_PDU_CPS_URI, "", 1012, 0, "text"},
      {"HeaderCut", CVD_PDU_CPS_URI, "16", 1010, 0, "text"},
      {"ContentCut", CVD_PDU_CPS_URI, "16 03 41", 1010, 0, "text"},
      {"LengthOctetsCut", CVD_PDU_CPS_URI, "16 82 01", 1010, 0, "text"},
      {"IndefiniteLength", CVD_PDU_CPS_URI, "16 80 00 00", 1011, 0, "text"},
      {"LengthLeadingZero", CVD_PDU_CPS_URI, "16 82 00 01 41", 1011, 0, "text"},
      {"ThreeLengthOctetsNotMinimal", CVD_PDU_CPS_URI, "16 83 00 01 01", 1011, 0, "text"},
      {"LengthWraps", CVD_PDU_CPS_URI, "16 84 FF FF FF FF 41", 1010, 0, "text"},
      {"FiveLengthOctets", CVD_PDU_CPS_URI, "16 85 00 00 00 00 01 41", 1011, 0, "text"},
      {"TrailingOctet", CVD_PDU_CPS_URI, "16 01 41 00", 1013, 3, ""},
      {"AnotherString", CVD_PDU_CPS_URI, "0C 01 41", 1022, 0, "text"},
      {"VidWithoutWrapper", CVD_PDU_VID, "30 08 30 03 06 01 2A 04 01 AA", 1022, 7, "virtualID"},
      {"AnyOfTagZero", CVD_PDU_GENERAL_NAMES, "3009A00706012AA0020000", 1012, 9,
       "[0].otherName.value"},
      {"CommonNameNotPrintable", CVD_PDU_X520_COMMON_NAME, "13 03 61 40 62", 1020, 0, "text"},
      {"NoticeNotVisible", CVD_PDU_USER_NOTICE, "30 03 1A 01 07", 1020, 2, "explicitText.text"},
      {"BooleanOne", CVD_PDU_BASIC_CONSTRAINTS, "30 03 01 01 01", 1014, 2, "cA"},
      {"BooleanEmpty", CVD_PDU_BASIC_CONSTRAINTS, "30 02 01 00", 1014, 2, "cA"},
      {"IntegerEmpty", CVD_PDU_BASIC_CONSTRAINTS, "30 02 02 00", 1015, 2, "pathLenConstraint"},
      {"IntegerNotMinimal", CVD_PDU_BASIC_CONSTRAINTS, "300402020001", 1015, 2,
       "pathLenConstraint"},
      {"IntegerTooWide", CVD_PDU_BASIC_CONSTRAINTS, "300702050100000000", 1016, 2,
       "pathLenConstraint"},
      {"RowsInAnotherOrder", CVD_PDU_BASIC_CONSTRAINTS, "30 06 02 01 00 01 01 FF", 1013, 5, ""},
      {"BitStringEmpty", CVD_PDU_KEY_USAGE, "03 00", 1018, 0, ""},
      {"BitStringEightUnused", CVD_PDU_KEY_USAGE, "03 02 08 00", 1018, 0, ""},
      {"BitStringUnusedOfNothing", CVD_PDU_KEY_USAGE, "03 01 01", 1018, 0, ""},
      {"OidEmpty", CVD_PDU_EXT_KEY_USAGE, "30 02 06 00", 1017, 2, "[0]"},
      {"OidCut", CVD_PDU_EXT_KEY_USAGE, "30 04 06 02 2A 81", 1017, 2, "[0]"},
      {"OidPaddedBehindEightOctets", CVD_PDU_EXT_KEY_USAGE, "300D060B2A01010101010101800101", 1017,
       2, "[0]"},
      {"ExplicitHoldsTwo", CVD_PDU_GENERAL_NAMES, "300BA00906012AA00405000500", 1013, 11,
       "[0].otherName.value"},
      {"ExplicitEmpty", CVD_PDU_GENERAL_NAMES, "3007A00506012AA000", 1012, 9,
       "[0].otherName.value"},
      {"DirectoryEmpty", CVD_PDU_GENERAL_NAMES, "30 02 A4 00", 1012, 4, "[0].directoryName"},
      {"GeneralNameUnknown", CVD_PDU_GENERAL_NAMES, "30 02 89 00", 1022, 2, "[0]"},
      {"NulInDnsName", CVD_PDU_GENERAL_NAMES, "30088201618203610062", 1020, 5, "[1].dNSName"},
      {"QualifiersEmpty", CVD_PDU_CERTIFICATE_POLICIES, "3007300506012A3000", 1023, 9,
       "[0].policyQualifiers"},
      {"NoticeInBmpString", CVD_PDU_USER_NOTICE, "30 04 1E 02 00 41", 1022, 2, "explicitText"},
      {"CommonNameInBmpString", CVD_PDU_X520_COMMON_NAME, "1E 02 00 41", 1022, 0, ""},
      {"CommonNameSurrogate", CVD_PDU_X520_COMMON_NAME, "0C 03 ED A0 80", 1020, 0, "text"},
      {"CommonNameOverlong", CVD_PDU_X520_COMMON_NAME, "0C 02 C1 81", 1020, 0, "text"},
      {"CountryOfNone", CVD_PDU_X520_COUNTRY_NAME, "13 00", 1021, 0, "text"},
      {"CountryOfThree", CVD_PDU_X520_COUNTRY_NAME, "13 03 4B 4F 52", 1021, 0, "text"},
      {"IdnNotPrintable", CVD_PDU_VID_HASH_CONTENT, "30 07 13 01 2A 03 02 00 01", 1020, 2, "idn"},
      {"UnknownType", 1, "30 00", 1003, 0, ""},
  };
  for (const auto& row : rows) {
    const DecodedRecord<void> record(Hex(row.der), row.type);
    EXPECT_EQ(record.status, row.code) << row.name;
    EXPECT_EQ(record.get(), nullptr) << "a failed decode leaves the pointer as it was";
    CVD_ASNFailure failure;
    ASSERT_EQ(CVD_ASN_GetDecodeFailure(&failure), 0u);
    EXPECT_EQ(failure.code, row.code) << row.name;
    EXPECT_EQ(failure.offset, row.offset) << row.name;
    EXPECT_STREQ(failure.path, row.path) << row.name;
  }
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

  // Records are copied and compared by words: no octet is left as the allocator had it.
  const auto defined = [](const auto* record) {
    const auto* octets = reinterpret_cast<const uint8_t*>(record);
    const uint8_t left[] = {0xA5, 0xA5};
    return std::search(octets, octets + sizeof *record, left, left + 2) == octets + sizeof *record;
  };
  EXPECT_TRUE(defined(certificate.get()) && defined(tbs.extensions->next));
  EXPECT_TRUE(defined(empty) && defined(first));
}

TEST(CertificateShape, IsAcceptedWholeOrRefusedWhereItIsWrong) {
  const Octets unknown = Extension("1.2.3", {});
  const struct {
    const char* name;
    CertificateParts parts;
    uint32_t status = 0;
    std::string path = {};  // below the signed part
  } rows[] = {
      {"NoVersion", {.version = {}}},
      {"ExplicitVersion1", {.version = Hex("A003020100")}},
      {"Version128", {.version = Hex("A00402020080")}},
      {"VersionTooWide", {.version = Hex("A00702050100000000")}, 1016, "version"},
      {"SerialOf40Octets", {.serial = Octets(40, 0x7F)}},
      {"SerialPadded", {.serial = Hex("0001")}, 1015, "serialNumber"},
      {"EmptySubject", {.subject = Hex("3000")}},
      {"SubjectIsASet", {.subject = Hex("3100")}, 1012, "subject"},
      {"NoValue", {.subject = Hex("300B 3100 3107 3005 0603550403")}, 1012, "subject[1][0].value"},
      {"EmptyExtensions", {.extensions = {{}}}},
      {"ExtensionOfThree", {.extensions = {unknown, Hex("3007 06022A03 040100")}}},
      {"NoSecond", {.extensions = {unknown, Hex("300406022A03")}}, 1012, "extensions[1].extnValue"},
      {"NoSeconds", {.not_before = Der(0x17, "2601010000Z")}, 1019, "validity.notBefore"},
      {"Offset", {.not_before = Der(0x17, "260101000000+0900")}, 1019, "validity.notBefore"},
      {"Fraction", {.not_after = Der(0x18, "20260101000000.5Z")}, 1019, "validity.notAfter"},
      {"NoSuchDay", {.not_after = Der(0x17, "270229000000Z")}, 1019, "validity.notAfter"},
      {"LeapDay", {.not_after = Der(0x17, "280229000000Z")}},
      {"NoLeapCentury", {.not_after = Der(0x18, "21000229000000Z")}, 1019, "validity.notAfter"},
      {"Hour24", {.not_after = Der(0x17, "270101240000Z")}, 1019, "validity.notAfter"},
      {"LetterInTime", {.not_after = Der(0x17, "27010100000OZ")}, 1019, "validity.notAfter"},
  };
  for (const auto& row : rows) {
    const Octets der = MakeCertificate(row.parts);
    const Certificate certificate(der);
    ASSERT_EQ(certificate.status, row.status) << row.name;
    if (certificate.status == 0) {
      EXPECT_EQ(certificate.Encode(), der) << row.name;
    } else {
      CVD_ASNFailure failure;
      ASSERT_EQ(CVD_ASN_GetDecodeFailure(&failure), 0u);
      EXPECT_EQ(failure.path, "tbsCertificate." + row.path) << row.name;
    }
  }
  for (int i = 0; i < 12 * 5; ++i) {  // the 28th to 32nd of each month
    tm date{};
    date.tm_mon = i / 5;
    date.tm_mday = 28 + i % 5;
    char text[64];
    std::snprintf(text, sizeof text, "27%02d%02d000000Z", date.tm_mon + 1, date.tm_mday);
    date.tm_year = 127;
    timegm(&date);
    const Certificate certificate(MakeCertificate({.not_after = Der(0x17, text)}));
    EXPECT_EQ(certificate.status, date.tm_mon == i / 5 ? 0u : 1019u) << text;
  }
}

// ---- memory --------------------------------------------------------------------------------

TEST(Memory, StaysWithinItsBoundAndHoldsEveryNode) {
  for (const char* element : {"82 00", "A4 02 30 00", "A4 04 30 02 31 00"}) {
    for (const size_t count : {20U, 100U, 130U, 20000U}) {
      const Octets der = Der(0x30, Repeat(Hex(element), count));
      g_largest = 0;
      const DecodedRecord<CVD_GeneralNames> record(der, CVD_PDU_GENERAL_NAMES);
      ASSERT_EQ(record.status, 0u) << element << ' ' << count;
      EXPECT_LE(g_largest, 32 * der.size() + 8192) << element << ' ' << count;
      EXPECT_EQ(record.Encode(), der) << element << ' ' << count;
    }
  }
}

TEST(Memory, IsOneBlockForIssuedCertificates) {
  for (const std::filesystem::path& root : DebianRoots()) {
    const Octets der = ReadCertificate(root);
    g_requests = 0;
    EXPECT_EQ(Certificate(der).status, 0u);
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
  uint8_t two[] = {0x05, 0x00, 0x05, 0x00};
  notice = {0x80, {2, two}, {}};
  EXPECT_EQ(Encoded(notice, CVD_PDU_USER_NOTICE), "1012") << "no reference";
  uint8_t padded[] = {0x00, 0x01};
  CVD_AuthorityKeyIdentifier identifier{0x20, {0, nullptr}, nullptr, {2, padded}};
  EXPECT_EQ(Encoded(identifier, CVD_PDU_AUTHORITY_KEY_IDENTIFIER), "1015");
  identifier = {0x80, {1, nullptr}, nullptr, {0, nullptr}};
  EXPECT_EQ(Encoded(identifier, CVD_PDU_AUTHORITY_KEY_IDENTIFIER), "1001");
  CVD_KeyPurposeNode purpose{nullptr, {0, nullptr}};
  EXPECT_EQ(Encoded(CVD_ExtKeyUsageSyntax{&purpose}, CVD_PDU_EXT_KEY_USAGE), "1017");
  CVD_PolicyInformationNode policy{nullptr, 0x80, *CVD_ASN_GetOID(CVD_OID_QT_CPS), nullptr};
  EXPECT_EQ(Encoded(CVD_CertificatePolicies{&policy}, CVD_PDU_CERTIFICATE_POLICIES), "1023");
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
