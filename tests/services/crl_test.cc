// Revocation lists: what loads and what is refused, whom a list answers about, the look-up, and a
// signature that OpenSSL made.
#include "corvid/crl.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <tuple>
#include <utility>

#include "corvid/csp.h"
#include "support/signing.h"

namespace {
int g_taken = 0;  // blocks taken since a test began to count
int g_live = 0;   // blocks not released
void* Given(void* block) { return ++g_taken, ++g_live, block; }
}  // namespace

// The allocator of the toolkit in this program: counts.
void* CVD_malloc(size_t size) { return Given(std::malloc(size)); }
void* CVD_calloc(size_t count, size_t size) { return Given(std::calloc(count, size)); }
void CVD_free(void* block) {
  if (block != nullptr) --g_live;
  std::free(block);
}

namespace corvid::test {
namespace {

constexpr uint32_t kBadList = CVD_CRL_ERR_BAD_LIST;
constexpr uint32_t kBadEntry = CVD_CRL_ERR_BAD_ENTRY;
constexpr uint32_t kIssuer = CVD_CRL_ERR_ISSUER;
constexpr uint32_t kScope = CVD_CRL_ERR_SCOPE;

const Octets kDate = Der(0x17, "260115000000Z");

Octets Entry(std::string_view serial, const std::vector<Octets>& extensions = {}) {
  return Sequence({Der(0x02, Hex(serial)), kDate, ListOf(extensions)});
}

Octets Reason(uint8_t reason) { return Extension("2.5.29.21", Der(0x0A, Octets{reason})); }
Octets Directory(std::string_view name) { return Der(0xA4, CommonName(name)); }
Octets EntryIssuer(std::string_view name) {
  return Extension("2.5.29.29", Der(0x30, Directory(name)), true);
}
Octets Idp(const Octets& content) { return Extension("2.5.29.28", Der(0x30, content), true); }
Octets Unknown(bool critical) { return Extension("1.2.3", Hex("0500"), critical); }
const Octets kIndirect = Hex("8401FF");

Octets ListPem(const Octets& der, const std::string& label = "X509 CRL") {
  return OctetsOf("Issuer: CN = Issuer\n-----BEGIN " + label + "-----\r\n" + Base64(der) +
                  "\r\n-----END " + label + "-----\n");
}

struct Loaded {
  explicit Loaded(const Octets& encoding) {
    const Input input(encoding);
    status = CVD_CRL_Load(&crl, input.bin());
  }
  Loaded(const Loaded&) = delete;
  Loaded& operator=(const Loaded&) = delete;
  ~Loaded() { CVD_CRL_Free(crl); }
  uint32_t Ask(const CertificateParts& parts) const {
    const Certificate certificate(MakeCertificate(parts));
    EXPECT_EQ(certificate.status, 0u);
    return CVD_IsCertRevoked(nullptr, crl, certificate.get());
  }

  CVD_CRL* crl = nullptr;
  uint32_t status;
};

// ---- loading -------------------------------------------------------------------------------

TEST(CrlLoad, ReadsListsInBothEncodings) {
  const Octets late = Der(0x18, "20500101000000Z");
  const Octets ignored = Unknown(false);
  const struct {
    const char* name;
    Octets encoding;
    uint32_t count;
    int64_t next_update = -1;
  } rows[] = {
      {"Version1", MakeList({.version = {}, .entries = {Entry("01")}}), 1},
      {"WithoutEntries", MakeList({.next_update = late}), 0, 2524608000},
      {"EmptyEntries", MakeList({.entries = {{}}}), 0},
      {"Pem", ListPem(MakeList({.entries = {Entry("01"), Entry("02", {Reason(8)})}})), 2},
      {"Unknown", MakeList({.entries = {Entry("01", {ignored})}, .extensions = {ignored}}), 1},
      {"OwnIssuerInEntry", MakeList({.entries = {Entry("01", {EntryIssuer("ISSUER")})}}), 1},
      {"GeneralizedTime", MakeList({.entries = {Sequence({Hex("020101"), late})}}), 1},
  };
  for (const auto& row : rows) {
    const Loaded list(row.encoding);
    ASSERT_EQ(list.status, 0u) << row.name;
    CVD_CRLInfo info;
    ASSERT_EQ(CVD_CRL_GetInfo(list.crl, &info), 0u);
    EXPECT_EQ(info.thisUpdate, 1767225600) << row.name;
    EXPECT_EQ(info.nextUpdate, row.next_update) << row.name;
    EXPECT_EQ(info.count, row.count) << row.name;
    const Certificate issued(MakeCertificate({}));
    EXPECT_EQ(CVD_ASN_CmpName(info.issuer, &issued->tbsCertificate.issuer), 0) << row.name;
  }
}

TEST(CrlLoad, RefusesWhatItDoesNotUnderstand) {
  const Octets good = MakeList({});
  const Octets pem = ListPem(good);
  const auto with_issuer = [](std::string_view names) {
    return MakeList({.entries = {Entry("02", {Extension("2.5.29.29", Hex(names))})},
                     .extensions = {Idp(kIndirect)}});
  };
  const auto with_entry = [](const Octets& entry) {
    return MakeList({.entries = {Entry("01"), entry}, .extensions = {Idp(kIndirect)}});
  };
  const auto with_date = [&](std::string_view date) {
    return with_entry(Sequence({Hex("020101"), Der(0x17, date)}));
  };
  const auto with_extension = [](const Octets& extension) {
    return MakeList({.extensions = {extension}});
  };
  Octets names = ListOf(std::vector<Octets>(65, Hex("8600")));
  names[0] = 0xA0;  // fullName
  const std::tuple<const char*, Octets, uint32_t> rows[] = {
      {"Nothing", {}, kBadList},
      {"OtherLabel", ListPem(good, "CERTIFICATE"), kBadList},
      {"WithoutEnd", Octets(pem.begin(), pem.end() - 23), kBadList},
      {"NoBase64", OctetsOf("-----BEGIN X509 CRL-----\n*\n-----END X509 CRL-----"), kBadList},
      {"Trailing", Join({good, Hex("00")}), kBadList},
      {"Version3", MakeList({.version = Hex("020102")}), kBadList},
      {"EntryNoSequence", with_entry(Hex("3103020101")), kBadEntry},
      {"SerialPadded", with_entry(Entry("0001")), kBadEntry},
      {"SerialEmpty", with_entry(Entry("")), kBadEntry},
      {"WithoutDate", with_entry(Hex("3003020101")), kBadEntry},
      {"NoSuchMonth", with_date("261301000000Z"), kBadEntry},
      {"NoSuchDay", with_date("260230000000Z"), kBadEntry},
      {"NoDigit", with_date("26010100000/Z"), kBadEntry},
      {"NoDigitBefore", with_date("2601010000/9Z"), kBadEntry},
      {"TrailingInEntry", with_entry(Sequence({Hex("020101"), kDate, Hex("0500")})), kBadEntry},
      {"ReasonTwice", with_entry(Entry("02", {Reason(8), Reason(1)})), kBadEntry},
      {"ReasonWide", with_entry(Entry("02", {Extension("2.5.29.21", Hex("0A020801"))})), kBadEntry},
      {"IssuerTwice", with_entry(Entry("02", {EntryIssuer("A"), EntryIssuer("A")})), kBadEntry},
      {"IssuerMalformed", with_issuer("3000AA"), kBadEntry},
      {"IssuerNamesNobody", with_issuer("3003860161"), kBadEntry},
      {"IssuerInDirectList", MakeList({.entries = {Entry("02", {EntryIssuer("A")})}}), kBadEntry},
      {"CriticalInEntry", with_entry(Entry("02", {Unknown(true)})), CVD_CRL_ERR_EXTENSION},
      {"Critical", with_extension(Unknown(true)), CVD_CRL_ERR_EXTENSION},
      {"Delta", with_extension(Extension("2.5.29.27", Hex("020101"))), CVD_CRL_ERR_DELTA},
      {"SomeReasons", with_extension(Idp(Hex("83020640"))), CVD_CRL_ERR_REASONS},
      {"PointEmpty", with_extension(Idp({})), kBadList},
      {"PointOfTwoKinds", with_extension(Idp(Hex("8101FF 8201FF"))), kBadList},
      {"PointOf65Names", with_extension(Idp(Der(0xA0, names))), kBadList},
      {"PointMalformed", with_extension(Idp(Hex("810101"))), kBadList},
      {"PointTwice", with_extension(Join({Idp(kIndirect), Idp(kIndirect)})), kBadList},
  };
  for (const auto& [name, encoding, status] : rows) {
    const int live = g_live;
    const Loaded list(encoding);
    EXPECT_EQ(list.status, status) << name;
    EXPECT_EQ(list.crl, nullptr) << name;
    EXPECT_EQ(g_live, live) << name;
  }
}

const std::vector<Octets> kIndirectEntries = {Entry("01"),
                                              Entry("02", {EntryIssuer("B")}),
                                              Entry("03"),
                                              Entry("04", {EntryIssuer("C"), Reason(8)}),
                                              Entry("05", {Reason(1)}),
                                              Entry("02", {EntryIssuer("C")}),
                                              Entry("06", {EntryIssuer("B")}),
                                              Entry("07", {EntryIssuer("Issuer")})};

TEST(CrlLoad, TellsWhatIsWrongWithASpoiledListAndVerifiesNone) {
  const Pkey key = NewRsaKey(1024);
  const Octets point = Der(0xA0, Der(0xA0, Join({Directory("P"), Uri("http://p")})));
  const Octets whole = SignedBy(
      key.get(),
      MakeList({.next_update = Der(0x17, "270101000000Z"),
                .entries = kIndirectEntries,
                .extensions = {Unknown(false), Idp(Join({point, Hex("8101FF"), kIndirect}))}}));
  const Certificate issuer(
      MakeCertificate({.subject = CommonName("Issuer"), .spki = PublicKeyInfo(key.get())}));
  ASSERT_EQ(CVD_CRL_VerifySignature(Loaded(whole).crl, issuer.get()), 0u);
  size_t loaded = 0;
  for (const Octets& variant : Spoiled(whole)) {
    const int live = g_live;
    const Loaded list(variant);
    if (list.status == 0) {
      ++loaded;
      EXPECT_NE(CVD_CRL_VerifySignature(list.crl, issuer.get()), 0u) << ToHex(variant);
    } else {
      EXPECT_TRUE(list.status >= kBadList && list.status <= CVD_CRL_ERR_REASONS) << list.status;
      EXPECT_EQ(g_live, live);
    }
  }
  EXPECT_GT(loaded, 50u) << "names, times and signatures of other octets";
}

// ---- looking up ----------------------------------------------------------------------------

TEST(CrlLookUp, ComparesWholeSerialNumbers) {
  // Of the first three the last eight octets are alike, of which the index makes its keys.
  const std::vector<std::string> revoked = {"7F0000000000000000000000AABBCCDDEEFF0011",
                                            "7F0000000000000000000001AABBCCDDEEFF0011",
                                            "AABBCCDDEEFF0011",
                                            "FF7F",
                                            "00FF",
                                            std::string(400, '5'),
                                            "06"};
  const std::vector<std::string> others = {"7F0000000000000000000002AABBCCDDEEFF0011",
                                           "00AABBCCDDEEFF0011",
                                           "7F",
                                           "FF",
                                           std::string(398, '5'),
                                           "05"};
  ListParts parts{.entries = {Entry("05", {Reason(8)}), Entry("06", {Reason(8)})}};
  for (const std::string& serial : revoked) parts.entries.push_back(Entry(serial, {Reason(6)}));
  const Loaded list(MakeList(parts));
  ASSERT_EQ(list.status, 0u);
  for (const std::string& serial : revoked) EXPECT_EQ(list.Ask({.serial = Hex(serial)}), 1u);
  for (const std::string& serial : others) EXPECT_EQ(list.Ask({.serial = Hex(serial)}), 0u);
  EXPECT_EQ(list.Ask({.serial = Hex("06"), .issuer = CommonName("B")}), kIssuer);
}

Octets Points(const std::vector<Octets>& points) {
  std::vector<Octets> elements;
  for (const Octets& point : points) elements.push_back(Der(0x30, point));
  return Extension("2.5.29.31", ListOf(elements));
}
Octets FullName(const Octets& names) { return Der(0xA0, Der(0xA0, names)); }
Octets Relative(std::string_view name) {
  return Der(0xA0, Sequence({Sequence({Oid("2.5.4.3"), Der(0x13, name)})}, 0xA1));
}
Octets CrlIssuer(std::string_view name) { return Der(0xA2, Directory(name)); }

TEST(CrlLookUp, IndirectListsSpeakOfTheIssuersOfTheirEntries) {
  const Loaded list(MakeList({.entries = kIndirectEntries, .extensions = {Idp(kIndirect)}}));
  ASSERT_EQ(list.status, 0u);
  const std::pair<const char*, const char*> rows[] = {
      {"issuer", "01 07 "}, {"b ", "02 03 06 "}, {"C", "02 05 "}};
  for (const auto& [issuer, expected] : rows) {
    std::string revoked;
    for (const std::string serial : {"01", "02", "03", "04", "05", "06", "07", "08"}) {
      const uint32_t answer = list.Ask({.serial = Hex(serial), .issuer = CommonName(issuer)});
      if (answer != 0) revoked += serial + (answer == 1 ? " " : "? ");
    }
    EXPECT_EQ(revoked, expected) << issuer;
  }
  const Octets other = CommonName("D");
  const Octets served = Points({FullName(Uri("u")), CrlIssuer("issuer")});
  const Octets not_served = Points({CrlIssuer("B"), FullName(Uri("u"))});
  EXPECT_EQ(list.Ask({.issuer = other}), kIssuer);
  EXPECT_EQ(list.Ask({.issuer = other, .extensions = {not_served}}), kIssuer);
  EXPECT_EQ(list.Ask({.issuer = other, .extensions = {served}}), 0u);
}

TEST(CrlLookUp, LeavesOutWhatTheListDoesNotCover) {
  const Octets users = Hex("8101FF");
  const Octets authorities = Hex("8201FF");
  const auto constraints = [](std::string_view value) {
    return Extension("2.5.29.19", Hex(value));
  };
  const Octets ca = constraints("30060101FF020100");
  const Octets uri = FullName(Join({Uri("ldap://a"), Uri("http://a/1")}));
  const Octets directory = FullName(Directory("Point"));
  const Octets below_issuer =
      Name({{"2.5.4.3", Der(0x0C, "Issuer")}, {"2.5.4.3", Der(0x0C, "Point")}});
  const Octets below = FullName(Der(0xA4, below_issuer));
  const std::tuple<const char*, Octets, std::vector<Octets>, uint32_t> rows[] = {
      {"UsersCa", users, {ca}, kScope},
      {"UsersUser", users, {}, 1},
      {"UsersNoCa", users, {constraints("3003020101")}, 1},
      {"UsersNoCaWritten", users, {constraints("3003010100")}, 1},
      {"UsersMalformed", users, {constraints("3003020101AA")}, kScope},
      {"AuthoritiesCa", authorities, {ca}, 1},
      {"AuthoritiesUser", authorities, {constraints("3000")}, kScope},
      {"Attributes", Hex("8501FF"), {}, kScope},
      {"UriSecond", uri, {Points({FullName(Uri("x")), FullName(Uri("http://a/1"))})}, 1},
      {"UriPrefix", uri, {Points({FullName(Uri("http://a/"))})}, kScope},
      {"UriWithoutPoints", uri, {}, kScope},
      {"UriAfterRubbish",
       uri,
       {Extension("2.5.29.31", Sequence({Hex("0500"), Der(0x30, uri)}))},
       kScope},
      {"UriAndKind", Join({uri, users}), {ca, Points({FullName(Uri("ldap://a"))})}, kScope},
      {"UriOfOtherIssuer", uri, {Points({Join({uri, CrlIssuer("B")})})}, kScope},
      {"UriBesideReasons", uri, {Points({Join({uri, Hex("81020640"), CrlIssuer("Issuer")})})}, 1},
      {"PointsInSet", uri, {Extension("2.5.29.31", Der(0x31, Der(0x30, uri)))}, kScope},
      {"Directory", directory, {Points({FullName(Directory("POINT"))})}, 1},
      {"DirectoryOther", directory, {Points({FullName(Directory("Points"))})}, kScope},
      {"DirectoryOfIssuer", directory, {Points({CrlIssuer("Point")})}, kScope},
      {"NameOfIssuer", FullName(Directory("Issuer")), {Points({CrlIssuer("Issuer")})}, 1},
      {"RelativeBoth", Relative("Point"), {Points({Relative("point")})}, 1},
      {"RelativeOther", Relative("Point"), {Points({Relative("Other")})}, kScope},
      {"RelativeToUri", Relative("Point"), {Points({uri})}, kScope},
      {"RelativeToFull", Relative("Point"), {Points({below})}, 1},
      {"FullToRelative", below, {Points({Relative("Point")})}, 1},
      {"RelativeAlone", directory, {Points({Relative("Point")})}, kScope},
  };
  for (const auto& [name, idp, extensions, answer] : rows) {
    SCOPED_TRACE(name);
    const Loaded list(MakeList({.entries = {Entry("0102")}, .extensions = {Idp(idp)}}));
    ASSERT_EQ(list.status, 0u);
    const Certificate certificate(MakeCertificate({.extensions = extensions}));
    g_taken = 0;
    EXPECT_EQ(CVD_IsCertRevoked(nullptr, list.crl, certificate.get()), answer);
    EXPECT_EQ(g_taken, 0) << "allocated";
    if (answer != 1) continue;
    for (size_t i = 0; i < extensions.size(); ++i) {
      for (const Octets& variant : Spoiled(extensions[i])) {
        std::vector<Octets> others = extensions;
        others[i] = variant;
        const Certificate spoiled(MakeCertificate({.extensions = others}));
        if (spoiled.status != 0) continue;
        const uint32_t told = CVD_IsCertRevoked(nullptr, list.crl, spoiled.get());
        EXPECT_TRUE(told == 1 || told == kScope) << told << ToHex(variant);
      }
    }
  }
}

// ---- the signature -------------------------------------------------------------------------

TEST(CrlSignature, VerifiesWithTheIssuersKeyAlone) {
  constexpr uint32_t kSignature = CVD_CRL_ERR_SIGNATURE;
  constexpr uint32_t kAlgorithm = CVD_CRL_ERR_ALGORITHM;
  const Pkey key = NewRsaKey(2048);
  const Pkey other_key = NewRsaKey(2048);
  const Octets list = SignedBy(
      key.get(),
      MakeList({.entries = kIndirectEntries, .extensions = {Unknown(false), Idp(kIndirect)}}));
  const Octets own = CommonName("ISSUER");
  const Octets spki = PublicKeyInfo(key.get());
  const Octets other = PublicKeyInfo(other_key.get());
  const Octets may_sign = Extension("2.5.29.15", Hex("03020102"));
  const Octets may_not = Extension("2.5.29.15", Hex("03020204"));
  const std::tuple<const char*, Octets, CertificateParts, uint32_t> rows[] = {
      {"Good", list, {.subject = own, .spki = spki}, 0},
      {"MaySign", list, {.subject = own, .spki = spki, .extensions = {may_sign}}, 0},
      {"MayNot", list, {.subject = own, .spki = spki, .extensions = {may_not}}, kSignature},
      {"OtherKey", list, {.subject = own, .spki = other}, kSignature},
      {"OtherSubject", list, {.subject = CommonName("B"), .spki = spki}, kIssuer},
      {"NoSignature", MakeList({}), {.subject = own}, CVD_CSP_ERR_BAD_SIGNATURE},
      {"TwoAlgorithms", MakeList({.inner = "1.2.3"}), {.subject = own}, kAlgorithm},
      {"Unknown", MakeList({.inner = "1.2.3", .outer = "1.2.3"}), {.subject = own}, kAlgorithm},
  };
  for (const auto& [name, der, parts, status] : rows) {
    const Loaded loaded(der);
    const Certificate issuer(MakeCertificate(parts));
    ASSERT_EQ(loaded.status, 0u) << name;
    EXPECT_EQ(CVD_CRL_VerifySignature(loaded.crl, issuer.get()), status) << name;
  }
}

}  // namespace
}  // namespace corvid::test
