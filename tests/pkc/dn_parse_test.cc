// Names from text: the form, its limits in every character set, and that what renders parses again.
#include <gtest/gtest.h>

#include <sstream>
#include <utility>

#include "support/support.h"

namespace corvid::test {
namespace {

using std::string_literals::operator""s;

// A name from text, released at the end.
struct ParsedName : CVD_Name {
  explicit ParsedName(const std::string& text) : CVD_Name{7, 7, nullptr} {
    status = CVD_ImplementRDN(nullptr, this, text.c_str());
  }
  ParsedName(const ParsedName&) = delete;
  ParsedName& operator=(const ParsedName&) = delete;
  ~ParsedName() {
    CVD_NameFree(this);
    CVD_NameFree(this);  // frees nothing twice
  }

  // A certificate with this subject, or the status.
  Octets Encode() const {
    if (status != 0) return OctetsOf(std::to_string(status));
    const Certificate certificate(MakeCertificate({}));
    CVD_Certificate record = *certificate.get();
    record.tbsCertificate.subject = static_cast<const CVD_Name&>(*this);
    Output der;
    EXPECT_EQ(CVD_ASN_EncodePDU(&der, &record, CVD_PDU_CERTIFICATE), 0u);
    return der.octets();
  }
  std::string Render() const {
    char* text = nullptr;
    EXPECT_EQ(CVD_ExtractRDN(nullptr, this, &text), 0u);
    const std::string result = text == nullptr ? "" : text;
    CVD_free(text);
    return result;
  }

  uint32_t status;
};

Octets CertificateOf(const Octets& subject) { return MakeCertificate({.subject = subject}); }
const std::string kCn = "2.5.4.3";
const std::string kOu = "2.5.4.11";

TEST(NameFromText, HasTheDocumentedForm) {
  const Octets kr = Sequence({TypedValue("2.5.4.6", Printable("KR"))}, 0x31);
  const std::pair<std::string, Octets> rows[] = {
      {"CN=User,OU=Unit,O=Org,C=KR", Name({{"2.5.4.6", Printable("KR")},
                                           {"2.5.4.10", Utf8("Org")},
                                           {kOu, Utf8("Unit")},
                                           {kCn, Utf8("User")}})},
      {"e=a@b,l=L,s=S,t=T,id=i,dc=d,dnqualifier=q", Name({{"2.5.4.46", Printable("q")},
                                                          {"0.9.2342.19200300.100.1.25", Ia5("d")},
                                                          {"0.9.2342.19200300.100.1.1", Ia5("i")},
                                                          {"2.5.4.12", Utf8("T")},
                                                          {"2.5.4.8", Utf8("S")},
                                                          {"2.5.4.7", Utf8("L")},
                                                          {"1.2.840.113549.1.9.1", Ia5("a@b")}})},
      {",, cn \t= = User x ,,\\ \\ c KR,",
       Name({{"2.5.4.6", Printable("KR")}, {kCn, Utf8("User x")}})},
      {"CN=a\\,b,c=kr", Name({{"2.5.4.6", Printable("kr")}, {kCn, Utf8("a,b")}})},
      {"CN=a\\2cb\\2C\\=\\<\\>\\\\\\,c\\\\2c", Name({{kCn, Utf8("a,b,=<>\\,c\\2c")}})},
      {"CN=#\"x\"\\00y", Name({{kCn, Utf8("#\"x\"")}})},
      // A SET is sorted when it is encoded, whatever the order of the text.
      {"CN=a+OU=b,C=KR",
       Sequence({kr, Sequence({TypedValue(kCn, Utf8("a")), TypedValue(kOu, Utf8("b"))}, 0x31)})},
      {"OU=a + CN=b",
       Sequence({Sequence({TypedValue(kCn, Utf8("b")), TypedValue(kOu, Utf8("a"))}, 0x31)})},
  };
  for (const auto& [text, name] : rows) {
    EXPECT_EQ(ParsedName(text).Encode(), CertificateOf(name)) << text;
  }
  const ParsedName name("CN=a+OU=b,C=KR");  // in memory the attribute written last comes first
  EXPECT_EQ(name.Render(), "cn=a+ou=b,c=KR");
  EXPECT_EQ(name.rdnSequence->next->relativeDistinguishedName->type.data[2], 11);
}

TEST(NameFromText, RefusesOtherForms) {
  std::istringstream texts(
      "|,,|CN|CN=|CN= \t|=x| |\\|\\ \t|+|CN=a+|+CN=a|CN=a++OU=b|C\\N=a|CN\\=a|CN=a;b|CN=a\\;b|"
      "CN=a=b|CN=a<b|CN=a>b|CN=a\\\\=b|CN=a\\+b|CN=a\\\\+OU=b|CN=a\\|CN=a\\,|CN=a\\,b\\,c|"
      "CN=a\\x|CN=a\\4|CN=a\\4g|CN=\\00|CN=\\00\\x|ST=a|SN=a|UID=a|2.5.4.3=a|OID.2.5.4.3=a|"
      "CNX=a|C=KOR|C=K|C=K\\00R|CN=a\nb=c|DNQUALIFIERS=a|CN=a,OU=b,O=c;d|CN=a,OU");
  std::vector<std::string> rows = {"DC=" + std::string(400, 'x'),
                                   "DC=" + std::string(200, 'x') + "\\," + std::string(200, 'x')};
  for (std::string text; std::getline(texts, text, '|');) rows.push_back(text);
  for (const std::string& text : rows) {
    CVD_Trace_Clear();
    const ParsedName name(text);
    EXPECT_EQ(name.status, 36032u) << text;
    EXPECT_TRUE(name.choice == 0 && name.rdnSequence == nullptr) << text;
    const std::string trace = TakeTrace();
    EXPECT_EQ(trace.substr(trace.size() - 23), "CVD_ImplementRDN 36032\n") << text;
  }
  EXPECT_EQ(ParsedName("CN=a,ST=b").status, 36032u);
  EXPECT_EQ(TakeTrace(), "CVD_PKC_AsnRDN_Encode 36032\nCVD_ImplementRDN 36032\n");
}

// The bounds count characters, whatever the caller's set makes of them in octets.
TEST(NameFromText, LimitsHoldInEverySet) {
  const std::pair<const char*, std::string> sets[] = {
      {"ko_KR-euc", "\xB0\xA1"},  {"ko_KR-UTF-8", "\xEA\xB0\x80"}, {"ja_JP-EUC", "\xA4\xA2"},
      {"ja_JP-SJIS", "\x82\xA0"}, {"ja_JP-UTF-8", "\xE3\x81\x82"}, {"ko_KR-euc", "a"}};
  for (const auto& [locale, character] : sets) {
    const Options options(locale);
    for (const std::string label : {"O", "T", "CN", "OU", "L", "S"}) {
      const size_t bound = label == "L" || label == "S" ? 128 : 64;
      const std::string longest = label + "=" + Repeat(bound, character);
      EXPECT_EQ(ParsedName(longest).status, 0u) << locale;
      EXPECT_EQ(ParsedName(longest + character).status, 1021u) << locale;
    }
  }
  EXPECT_EQ(ParsedName("E=" + Repeat(129, "x")).Encode(),
            CertificateOf(Name({{"1.2.840.113549.1.9.1", Ia5(Repeat(128, "x"))}})));
  EXPECT_EQ(ParsedName("DC=" + Repeat(398, "x")).Encode(),
            CertificateOf(Name({{"0.9.2342.19200300.100.1.25", Ia5(Repeat(398, "x"))}})));
  EXPECT_EQ(ParsedName("DC=" + Repeat(197, "x") + "\\," + Repeat(199, "x")).status, 0u);
  EXPECT_EQ(ParsedName("DC=" + Repeat(197, "x") + "\\," + Repeat(200, "x")).status, 36032u);
  EXPECT_EQ(ParsedName(Repeat(10000, "CN=a,") + "CN=b").status, 0u);
}

TEST(NameFromText, StoresAsPassedOrConverts) {
  const Options options("ko_KR-euc");
  const std::string ga = "\xB0\xA1";
  const std::pair<std::string, Octets> rows[] = {
      {"CN=" + ga, Name({{kCn, Utf8("\xEA\xB0\x80")}})},
      {"E=" + ga, Name({{"1.2.840.113549.1.9.1", Ia5(ga)}})},
      {"C=" + ga, Name({{"2.5.4.6", Printable(ga)}})},
      {"DNQUALIFIER=@" + ga, Name({{"2.5.4.46", Printable("@" + ga)}})},
  };
  for (const auto& [text, value] : rows) EXPECT_EQ(ParsedName(text).Encode(), CertificateOf(value));
  CVD_Trace_Clear();
  EXPECT_EQ(ParsedName("CN=\xB0").status, 3005u);  // half a character
  EXPECT_EQ(TakeTrace(), "CVD_PKC_AsnRDN_Encode 3005\nCVD_ImplementRDN 3005\n");
}

TEST(AttributeFromText, AddsToBothListsOrNeither) {
  const struct {
    std::string text, type, value;
  } rows[] = {
      {"CN=x", "CN", "x"},     {"CN = x ", "CN", "x"},         {"CN x", "CN", "x"},
      {"CN==x", "CN", "x"},    {" \\\tCN=x y\t", "CN", "x y"}, {"A+B=\\2B\\+", "A+B", "++"},
      {"CN=x\0y"s, "CN", "x"}, {"1.2=\\41\\4a", "1.2", "AJ"},
  };
  CVD_BIN_LIST* types = nullptr;
  CVD_BIN_LIST* values = nullptr;
  const auto add = [&](const std::string& text) {
    const Octets octets = OctetsOf(text);
    const Input exact(octets);  // not terminated
    return CVD_GetAttrTypeAndValue(reinterpret_cast<const char*>(exact.bin()->data),
                                   exact.bin()->length, &types, &values);
  };
  for (const auto& row : rows) {
    EXPECT_EQ(add(row.text), 0u) << row.text;
    ASSERT_TRUE(types != nullptr && values != nullptr);
    EXPECT_EQ(reinterpret_cast<const char*>(types->data), row.type);
    EXPECT_EQ(types->length, row.type.size());
    EXPECT_EQ(reinterpret_cast<const char*>(values->data), row.value);
    EXPECT_EQ(values->length, row.value.size());
  }
  const CVD_BIN_LIST* head = types;
  EXPECT_EQ(add("CN=" + Repeat(398, "x")), 0u);
  EXPECT_EQ(types->next, head);
  head = types;
  for (const std::string& text : {"CN="s, "x"s, "CN=;"s, "CN=" + Repeat(399, "x")}) {
    EXPECT_EQ(add(text), 36032u) << text;
  }
  EXPECT_EQ(CVD_GetAttrTypeAndValue("a=b", -1, &types, &values), 36032u);
  EXPECT_EQ(types, head);
  CVD_BIN_LIST_Free(types);
  CVD_BIN_LIST_Free(values);
}

// ---- there and back ------------------------------------------------------------------------

TEST(NameFromText, WhatRendersParsesToTheSameOctets) {
  // In Shift JIS some letters end in octets that are special.
  const std::pair<const char*, std::vector<std::string>> sets[] = {
      {"ko_KR-euc", {"\xB0\xA1", "\xC8\xFE", "\xA4\xD3"}},
      {"ko_KR-UTF-8", {"\xEA\xB0\x80", "\xF0\x9F\x98\x80", "\xC3\xA9"}},
      {"ja_JP-EUC", {"\xA4\xA2", "\xB0\xA1", "\x8E\xB1"}},
      {"ja_JP-SJIS", {"\x82\xA0", "\x95\x5C", "\x83\x5C", "\xB1", "\x81\x5B"}},
      {"ja_JP-UTF-8", {"\xE3\x81\x82", "\xE8\xA1\xA8"}}};
  for (const auto& [locale, letters] : sets) {
    const Options options(locale);
    std::vector<std::string> characters = letters;
    for (const char c : "aZ09 .-/:'#\"@\\,=<>\x01\x1F"s) characters.emplace_back(1, c);
    for (const std::string& a : characters) {
      for (const std::string& b : characters) {
        std::string value;  // as it may be written
        for (const char c : "x" + a + (a == "," && a == b ? "" : b) + "x") {
          const bool special = "\\,=<>"s.find(c) != std::string::npos;
          const auto octet = static_cast<uint8_t>(c);
          value += octet < 0x20 || c == 'x' ? "\\" + ToHex({octet})
                                            : (special ? "\\" : "") + std::string(1, c);
        }
        std::string text = "cn=";
        text.append(value).append(" , O=a + ou=").append(value);
        const ParsedName name(text);
        ASSERT_EQ(name.status, 0u) << locale << ' ' << value;
        ASSERT_EQ(ParsedName(name.Render()).Encode(), name.Encode()) << locale << ' ' << value;
      }
    }
  }
}

// What a name can hold and its text cannot: each with what becomes of it.
TEST(NameFromText, WhatTheTextFormCannotCarry) {
  const struct {
    Octets name;
    std::string rendered;
    uint32_t status;
    std::string again{};
  } rows[] = {
      {Name({{kCn, Utf8(" a ")}}), "cn= a ", 0, "cn=a"},
      {Name({{kCn, Utf8("a+b")}}), "cn=a\\+b", 36032},
      {Name({{kCn, Utf8("a,b,c")}}), "cn=a\\,b\\,c", 36032},
      {Name({{kCn, Utf8("a,")}}), "cn=a\\,", 36032},
      {Sequence({Sequence({TypedValue(kOu, Utf8("b")), TypedValue(kCn, Utf8("a\\"))}, 0x31)}),
       "cn=a\\\\+ou=b", 36032},
      {Name({{kOu, Utf8("b")}, {kCn, Utf8("a,")}}), "cn=a\\,,ou=b", 36032},
      {Name({{kCn, Printable("a\0b"s)}}), "cn=a\\00b", 0, "cn=a"},
      {Name({{"2.5.4.7", Utf8(Repeat(202, "x"))}}), "l=" + Repeat(201, "x"), 1021},
      {Name({{"2.5.4.8", Utf8(Repeat(67, "\xEA\xB0\x80") + "x")}}),
       "s=" + Repeat(67, "\xEA\xB0\x80"), 0, "s=" + Repeat(67, "\xEA\xB0\x80")},
      {Name({{"2.5.4.46", Printable("q,cn=x")}}), "dnqualifier=q,cn=x", 0, "dnqualifier=q,cn=x"},
      {Name({{"2.5.4.6", Printable("KOR")}}), "c=KO", 0, "c=KO"},
      {Name({{"2.5.4.5", Printable("1")}, {kCn, Utf8("a")}}), "cn=a", 0, "cn=a"},
  };
  const Options options("ko_KR-UTF-8");
  for (const auto& row : rows) {
    const Certificate certificate(CertificateOf(row.name));
    char* text = nullptr;
    ASSERT_EQ(CVD_ExtractRDN(nullptr, &certificate->tbsCertificate.subject, &text), 0u);
    EXPECT_EQ(text, row.rendered);
    const ParsedName parsed(text);
    CVD_free(text);
    EXPECT_EQ(parsed.status, row.status) << row.rendered;
    EXPECT_EQ(parsed.status == 0 ? parsed.Render() : "", row.again);
  }
}

}  // namespace
}  // namespace corvid::test
