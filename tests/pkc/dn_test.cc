// Names as text, and the directory strings and character sets in them.
#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>
#include <utility>

#include "corvid/codec.h"
#include "support/support.h"

namespace corvid::test {
namespace {

using std::string_literals::operator""s;

constexpr uint32_t kRefused = 0xFFFFFFFF;

// The text of a name, or the status when it has none.
std::string Render(const CVD_Name& name) {
  char* text = nullptr;
  const uint32_t status = CVD_ExtractRDN(nullptr, &name, &text);
  const std::string result = status == 0 ? text : std::to_string(status);
  CVD_free(text);
  return result;
}

// The same of a DER Name, as the subject of a certificate.
std::string Render(const Octets& name) {
  const Certificate certificate(MakeCertificate({.subject = name}));
  EXPECT_EQ(certificate.status, 0u);
  return certificate.status == 0 ? Render(certificate->tbsCertificate.subject) : "undecoded";
}

// The same of one value, in a heap block of exactly its size.
std::string RenderValue(int32_t type, const Octets& value) {
  const Input der(value);
  CVD_AttributeTypeAndValueNode attribute{nullptr, *CVD_ASN_GetOID(type), *der};
  CVD_RDNSequenceNode rdn{nullptr, &attribute};
  return Render(CVD_Name{CVD_NAME_RDN_SEQUENCE, 1, &rdn});
}

Octets Rdn(std::initializer_list<Octets> values) { return Sequence(values, 0x31); }

// ---- rendering -----------------------------------------------------------------------------

TEST(NameText, HasTheDocumentedForm) {
  const Octets c = Rdn({TypedValue("2.5.4.6", Printable("KR"))});
  const Octets cn = TypedValue("2.5.4.3", Utf8("A"));
  const Octets ou = TypedValue("2.5.4.11", Der(0x14, "B"));
  const Octets unknown = TypedValue("2.5.4.5", Printable("123"));
  const Octets bad_dc = TypedValue("0.9.2342.19200300.100.1.25", Hex("1C0400000041"));
  const Octets qualifier =
      TypedValue("2.5.4.46", Printable("q,r\0s"s));  // unescaped, ends at a NUL
  const std::pair<Octets, std::string> rows[] = {
      {Name({{"2.5.4.10", Printable("Org")},
             {"2.5.4.8", Der(0x14, "State")},
             {"2.5.4.7", Der(0x1A, "Town")},
             {"1.2.840.113549.1.9.1", Der(0x16, "a@b")},
             {"0.9.2342.19200300.100.1.1", Der(0x16, "7")},
             {"2.5.4.12", Printable(Repeat(300, "\t"))},
             {"2.5.4.12", Printable(Repeat(300, "\x1F"))},
             {"0.9.2342.19200300.100.1.25", Der(0x16, "test")}}),
       "dc=test,t=" + Repeat(201, "\\1f") + ",t=" + Repeat(201, "\\09") +
           ",id=7,e=a@b,l=Town,s=State,o=Org"},
      {Sequence({c, Rdn({cn, ou})}), "ou=B+cn=A,c=KR"},
      {Sequence({Rdn({unknown, cn, unknown, ou, unknown})}), "ou=B+cn=A"},
      {Sequence({c, Rdn({unknown}), Rdn({unknown, unknown}), Rdn({}), Rdn({cn})}), "cn=A,c=KR"},
      {Sequence({Rdn({unknown}), Rdn({unknown, unknown})}), ""},
      {Sequence({c, Rdn({bad_dc}), Rdn({ou, bad_dc})}), "ou=B,c=KR"},
      {Sequence({c, Rdn({qualifier}), Rdn({qualifier, ou})}), "ou=B,dnqualifier=q,r,c=KR"},
      {Sequence({Rdn({cn}), Der(0x31, Repeat(cn, 1000))}), "cn=A" + Repeat(999, "+cn=A") + ",cn=A"},
      {Name(std::vector<Attribute>(1000, {"2.5.4.3", Utf8("A")})), "cn=A" + Repeat(999, ",cn=A")},
  };
  for (const auto& [name, text] : rows) EXPECT_EQ(Render(name), text);
  const Options upper("ko_KR-euc", "upper");
  EXPECT_EQ(Render(Sequence({c, Rdn({cn, ou})})), "OU=B+CN=A,C=KR");
}

// Values of all lengths with one special octet anywhere, against the plainest rule there is.
TEST(NameText, EscapesOctetsWhereverTheyStand) {
  const std::string specials = "\\,=+<>;";
  for (size_t length = 1; length <= 40; ++length) {
    for (size_t at = 0; at < length; ++at) {
      for (const char c : "\\,=+<>;\x01\x09\x1F\x20*-:?[]\x7F\x80\xBC"s) {
        std::string value(length, 'v');
        value[at] = c;
        std::string expected(1, c);
        if (specials.find(c) != std::string::npos) expected.insert(0, "\\");
        if (static_cast<uint8_t>(c) < 0x20) expected = "\\" + ToHex(OctetsOf(expected));
        const std::string text = value.substr(0, at).append(expected).append(value, at + 1);
        ASSERT_EQ(RenderValue(CVD_OID_TITLE, Der(0x14, value)).substr(2), text);
      }
    }
  }
}

TEST(NameText, ValuesAreConvertedCutAndRefused) {
  const Octets table = Utf8("a\xE8\xA1\xA8,");  // U+8868: the second octet in Shift JIS is 5C
  const std::tuple<const char*, int32_t, Octets, std::string> rows[] = {
      {"ko_KR-euc", CVD_OID_COMMON_NAME, Utf8("\xEA\xB0\x80=b"), "cn=\xB0\xA1\\=b"},
      {"ko_KR-UTF-8", CVD_OID_COMMON_NAME, Utf8("\xEA\xB0\x80=b"), "cn=\xEA\xB0\x80\\=b"},
      {"ko_KR-UTF-8", CVD_OID_COMMON_NAME, Hex("1E04AC00002C"), "cn=\xEA\xB0\x80\\,"},
      {"ja_JP-SJIS", CVD_OID_COMMON_NAME, table, "cn=a\x95\\\\\\,"},
      {"ko_KR-euc", CVD_OID_COMMON_NAME, Utf8("\xF0\x9F\x98\x80"), "36032"},
      {"ko_KR-euc", CVD_OID_TITLE, Utf8(Repeat(201, "x") + "\xFF"), "36032"},
      {"ko_KR-euc", CVD_OID_TITLE, Utf8(Repeat(202, "x")), "t=" + Repeat(201, "x")},
      {"ko_KR-euc", CVD_OID_TITLE, Utf8("\0A"s), "="},  // without text, without label
      {"ko_KR-euc", CVD_OID_TITLE, Printable("\0A"s), "t=\\00A"},
      {"ko_KR-euc", CVD_OID_TITLE, Hex("0C024B"), "36032"},
      {"ko_KR-euc", CVD_OID_COUNTRY_NAME, Utf8("KOR"), "c=KO"},
      {"ko_KR-euc", CVD_OID_COUNTRY_NAME, Der(0x16, "KR"), "36032"},
      {"ko_KR-euc", CVD_OID_COUNTRY_NAME, Hex("13034B52"), "36032"},
  };
  for (const auto& [locale, type, value, text] : rows) {
    const Options options(locale);
    EXPECT_EQ(RenderValue(type, value), text) << locale << ToHex(value);
  }
  // Another set of the codec's is no matter for texts that are UTF-8.
  const Options options("ko_KR-UTF-8");
  ASSERT_EQ(CVD_Codec_SetLocalCodeSet("ko_KR-euc"), 0U);
  EXPECT_EQ(RenderValue(CVD_OID_COMMON_NAME, Hex("1E02AC00")), "cn=\xEA\xB0\x80");
}

// ---- failures and sizes --------------------------------------------------------------------

TEST(NameText, FailuresAreTracedAtEveryLevel) {
  const Octets good = TypedValue("2.5.4.3", Utf8("A"));
  const Octets bad = TypedValue("2.5.4.3", Hex("1C0400000041"));
  const struct {
    Octets name;
    size_t attributes, rdns;  // levels that trace
  } rows[] = {
      {Sequence({Rdn({good}), Rdn({good}), Rdn({bad})}), 0, 3},
      {Sequence({Rdn({bad}), Rdn({bad}), Rdn({good})}), 0, 2},
      {Sequence({Rdn({good}), Rdn({good, bad, good}), Rdn({good})}), 2, 2},
  };
  for (const auto& row : rows) {
    const Octets der = MakeCertificate({.issuer = row.name, .subject = row.name});
    char own[] = "own";
    char* text = own;
    const std::string levels =
        Repeat(row.attributes, "CVD_PKC_AsnMultiValuedRDNs_ToString 36032\n") +
        Repeat(row.rdns, "CVD_PKC_AsnRDNs_ToString 36032\n") + "CVD_ExtractRDN 36032\n";
    CVD_Trace_Clear();
    EXPECT_EQ(CVD_GetIssuerRDNFromCert(nullptr, Certificate(der).get(), &text), 36032u);
    EXPECT_EQ(text, own);
    EXPECT_EQ(TakeTrace(), levels + "CVD_GetIssuerRDNFromCert 36032\n");
    EXPECT_EQ(CVD_ExtractDN(nullptr, Input(der).bin(), &text), 36032u);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(TakeTrace(), levels + "CVD_GetRDNFromCert 36032\nCVD_ExtractDN 36032\n");
  }
  EXPECT_EQ(Render(Name({})), "36001");
  EXPECT_EQ(TakeTrace(), "CVD_ExtractRDN 36001\n");
}

// ---- directory strings and character sets --------------------------------------------------

const std::string kHangul = Repeat(900, "\xEA\xB0\x80");  // too long for small work areas
const std::string kEucHangul = Repeat(900, "\xB0\xA1");

TEST(DirectoryString, DecodesOrRefuses) {
  const struct {
    Octets der;
    int32_t count;
    uint32_t status;
    std::string text{};
    const char* locale = "ko_KR-euc";
  } rows[] = {
      {Hex("13034B5252"), 3, 0, "KR"},
      {Hex("1E03004142"), 202, 0, "AB"},  // an odd octet is a unit by itself
      {Der(0x1E, Repeat(900, "\xAC\0"s)), 4000, 0, kHangul, "ko_KR-UTF-8"},
      {Der(0x0C, kHangul), 4000, 0, kHangul.substr(0, 201), "ko_KR-UTF-8"},
      {Der(0x0C, kHangul), 4, 0, "\xB0\xA1\xB0"},  // cut by octets
      {Hex("1384000000024B52"), 202, 0, "KR"},
      {Hex("138500000000024B52"), 202, kRefused},
      {Hex("1384FFFFFFFF4B52"), 202, kRefused},
      {Hex("13804B52"), 202, kRefused},
      {Hex("2C024B52"), 202, kRefused},
  };
  for (const auto& row : rows) {
    const Options options(row.locale);
    const Input der(row.der);
    std::string text(4000, '#');
    int32_t count = row.count;
    const auto available = static_cast<uint32_t>(row.der.size());
    EXPECT_EQ(CVD_PKC_ASNString_Decode(text.data(), &count, der.bin()->data, available),
              row.status);
    const std::string written = row.status == 0 ? row.text + '\0' : "";
    EXPECT_EQ(text, written + Repeat(4000 - written.size(), "#")) << ToHex(row.der);
    EXPECT_EQ(count, row.status == 0 ? static_cast<int32_t>(row.text.size()) : row.count);
  }
}

TEST(CharacterSet, ConvertsBothWaysWithinTheSizes) {
  const struct {
    decltype(CVD_PKC_UTF8_Decode)* convert;
    const char* locale;
    std::string source;
    int32_t length, size;
    uint32_t status;
    std::string result{};
  } rows[] = {
      {CVD_PKC_UTF8_Decode, "ko_KR-euc", kHangul, 0, 4000, 0, kEucHangul},
      {CVD_PKC_UTF8_Encode, "ko_KR-euc", kEucHangul, 0, 4000, 0, kHangul},
      {CVD_PKC_UTF8_Encode, "ja_JP-SJIS", "\x95\\,", 0, 4000, 0, "\xE8\xA1\xA8,"},
      {CVD_PKC_UTF8_Decode, "ko_KR-euc", kHangul, 6, 4, 0, "\xB0\xA1\xB0"},
      {CVD_PKC_UTF8_Decode, "ko_KR-euc", "ab\0\xFF"s, 4, 1000, 0, "ab"},
      {CVD_PKC_UTF8_Decode, "ko_KR-UTF-8", "ab\xFF", 2, 2, 0, "a"},
      {CVD_PKC_UTF8_Encode, "ko_KR-euc", kEucHangul, 3, 1000, 3005},
      {CVD_PKC_UTF8_Decode, "ko_KR-euc", "a", -1, 1000, 36001},
  };
  for (const auto& row : rows) {
    const Options options(row.locale);
    std::string text(4000, '#');
    EXPECT_EQ(row.convert(text.data(), row.size, row.source.c_str(), row.length), row.status);
    const std::string written = row.status == 0 ? row.result + '\0' : "";
    EXPECT_EQ(text, written + Repeat(4000 - written.size(), "#")) << row.locale << row.size;
  }
}

}  // namespace
}  // namespace corvid::test
