// What `pkc show` says about a certificate: nothing left out, nothing raw, failures in their place.
#include <gtest/gtest.h>

#include <iterator>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "command.h"
#include "support/spoiled.h"

namespace corvid::test {
namespace {

using nlohmann::json;

Octets WithSubject(const Octets& subject) { return MakeCertificate({.subject = subject}); }

Octets WithExtension(const Octets& extension) {
  return MakeCertificate({.extensions = {extension}});
}

Result ShowDer(const Octets& der, const Arguments& options = {}) {
  return RunCommand(Arguments{"show", "-"} + options, StringOf(der));
}

json ShowJson(const Octets& der) { return json::parse(ShowDer(der, {"--ndjson"}).out); }

// The lines of a text output after the line `first`, up to the line that begins with `last`.
std::string Between(const std::string& text, const std::string& first, const std::string& last) {
  const size_t begin = text.find(first);
  if (begin == std::string::npos) return "no line " + first + " in " + text;
  const size_t line = text.find('\n', begin) + 1;
  return text.substr(line, text.find('\n' + last, line - 1) + 1 - line);
}

TEST(ShowCertificate, TextIsCompleteAndAligned) {
  CertificateParts parts;
  parts.serial = Hex("FF02");
  parts.not_after = Der(0x18, "20991231235959Z");
  parts.subject = Name({{"2.5.4.6", Der(0x13, "KR")},
                        {"2.5.4.5", Der(0x13, "123")},
                        {"1.2.3.4", Hex("020105")},
                        {"2.5.4.3", Der(0x0C, "김, 철수")}});
  parts.extensions = {Extension("2.5.29.19", Hex("3006 0101FF 020103"), true),
                      Extension("1.2.3.5", Hex("0500"))};
  const Result result = ShowDer(MakeCertificate(parts), {"--dn-case", "upper"});
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_EQ(result.out, R"(-: certificate 1
Version                       3
Serial number                 ff02 (negative)
Signature algorithm           sha256WithRSAEncryption (1.2.840.113549.1.1.11)
Issuer                        CN=Issuer
  commonName                  Issuer
Not before                    2026-01-01T00:00:00Z
Not after                     2099-12-31T23:59:59Z
Subject                       CN=김\, 철수,1.2.3.4=#020105,2.5.4.5=#1303313233,C=KR
  countryName                 KR
  serialNumber                123
  1.2.3.4                     020105
  commonName                  김, 철수
Public key
  Algorithm                   rsaEncryption (1.2.840.113549.1.1.1)
  Bits                        512
  Key                         3048024100a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5
                              a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5
                              a5a5a5a5a50203010001
  Computed key identifier     9c5c33f694183a89a69eef1dd743b34a34d92780
Extensions
  basicConstraints (2.5.29.19), critical
    CA                        yes
    Path length               3
  1.2.3.5
    Value                     0500
Signature                     a1b2c3
Fingerprints
  SHA-1                       1a0c4717d5b77c981dc31d0cfda45372a97f6840
  SHA-256                     6d5246e1eaea5e80005ae2e18c7443f29a3e8281683ad0156cc778147861ae87
)");
}

// ---- texts of unknown origin ---------------------------------------------------------------

struct Value {
  uint8_t tag;
  const char* hex;
  const char* text;  // as text shows it
  std::string utf8;  // as JSON says it
};
const Value kValues[] = {
    {0x0C, "611B5B316D62", "a\\x1b[1mb", "a\x1b[1mb"},
    {0x0C, "610062", "a\\x00b", std::string("a\0b", 3)},
    {0x13, "617F", "a\\x7f", "a\x7f"},
    {0x0C, "C29B316D", "\\u{009b}1m", "\u009b1m"},
    {0x0C, "E280AE67", "\\u{202e}g", "\u202eg"},
    {0x0C, "E280A8", "\\u{2028}", "\u2028"},
    {0x0C, "F3A08181", "\\u{e0041}", "\U000E0041"},
    {0x0C, "5C6E", "\\\\n", "\\n"},
    {0x0C, "5C786666", "\\\\xff", "\\\\xff"},  // a feigned octet
    {0x14, "5CFF", "\\\\\\xff", "\\\\\\xff"},
    {0x14, "4DFC6C", "M\\xfcl", "M\\xfcl"},
    {0x0C, "C0AF", "\\xc0\\xaf", "\\xc0\\xaf"},  // an overlong form, a surrogate, a cut character
    {0x0C, "EDA080", "\\xed\\xa0\\x80", "\\xed\\xa0\\x80"},
    {0x0C, "EAB9", "\\xea\\xb9", "\\xea\\xb9"},
    {0x1E, "004100000042", "A\\x00B", std::string("A\0B", 3)},
    {0x1E, "D83DDE00", "😀", "😀"},
    {0x1C, "000000E90001F600", "é😀", "é😀"},
    {0x12, "3120", "1 ", "1 "},
    {0x16, "22", "\"", "\""},
};

TEST(ShowName, ValuesAreEscapedInTextAndExactInJson) {
  std::vector<Attribute> attributes;
  std::string lines;
  for (const Value& value : kValues) {
    attributes.push_back({"2.5.4.13", Der(value.tag, Hex(value.hex))});
    lines += "  description                 " + std::string(value.text) + '\n';
  }
  const Octets der = WithSubject(Name(attributes));
  const Result text = ShowDer(der);
  EXPECT_EQ(text.exit, 0) << text.err;
  EXPECT_EQ(Between(text.out, "Subject  ", "Public key"), lines);
  const json name = ShowJson(der)["subject"]["rdnSequence"];
  for (size_t i = 0; i < std::size(kValues); ++i) {
    EXPECT_EQ(name[i][0]["value"], kValues[i].utf8) << kValues[i].hex;
  }
}

TEST(ShowName, LongValuesAndManyAttributesAreWhole) {
  const std::string organization = std::string(300, 'o') + '\t';
  const std::string word(150, 'w');
  const Octets rdn = Sequence(
      {Sequence({Oid("2.5.4.46"), Der(0x13, "q,1")}), Sequence({Oid("2.5.4.3"), Der(0x0C, word)})},
      0x31);
  const Octets country = Sequence({Sequence({Oid("2.5.4.6"), Der(0x13, "KOR")})}, 0x31);
  const Octets subject = Sequence(
      {country, Sequence({Sequence({Oid("2.5.4.10"), Der(0x0C, organization)})}, 0x31), rdn});
  const json name = ShowJson(WithSubject(subject))["subject"];
  EXPECT_EQ(name["text"],
            "cn=" + word + "+dnqualifier=q\\,1,o=" + std::string(300, 'o') + "\\09,c=KOR");
  EXPECT_EQ(name["rdnSequence"][1][0]["value"], organization);
  EXPECT_EQ(name["rdnSequence"][2].size(), 2u);
}

TEST(ShowName, AnEmptySubjectIsNoFailure) {
  const Result result = ShowDer(WithSubject(Hex("3000")));
  EXPECT_EQ(result.exit, 0);
  EXPECT_TRUE(Holds(result.out, "\nSubject                       (empty)\nPublic key\n"));
}

// ---- extensions ----------------------------------------------------------------------------

struct ShownExtension {
  const char* oid;
  Octets value;
  const char* lines;
};
Octets GeneralName(uint8_t tag, const char* hex) { return Der(0x30, Der(tag, Hex(hex))); }
const ShownExtension kExtensions[] = {
    {"2.5.29.15", Hex("0303078080"),
     "    Usage                     digitalSignature, decipherOnly\n"},
    {"2.5.29.15", Hex("0303050020"), "    Usage                     bit 10\n"},
    {"2.5.29.15", Hex("030A00 FFFFFFFFFFFFFFFF01"),
     "    Usage                     ffffffffffffffff01\n"},
    {"2.5.29.15", Hex("030100"), "    Usage                     (none)\n"},
    {"2.5.29.17", GeneralName(0x87, "0A000001"), "    IP                        10.0.0.1\n"},
    {"2.5.29.17", GeneralName(0x87, "20010DB8000000000000000000000001"),
     "    IP                        2001:db8::1\n"},
    {"2.5.29.17", GeneralName(0x87, "0A000000FFFFFF00"),
     "    IP                        10.0.0.0/255.255.255.0\n"},
    {"2.5.29.17", GeneralName(0x87, "0A0000"), "    IP                        0a0000\n"},
    {"2.5.29.18", GeneralName(0x88, "2A0304"), "    Registered ID             1.2.3.4\n"},
    {"2.5.29.17",
     Der(0x30, Sequence({Oid("1.3.6.1.4.1.311.20.2.3"), Der(0xA0, Der(0x0C, "a@b"))}, 0xA0)),
     "    userPrincipalName         a@b\n"},
    {"2.5.29.17",
     Der(0x30,
         Sequence(
             {Oid("1.2.410.200004.10.1.1"),
              Der(0xA0, Sequence({Der(0x0C, "홍길동"),
                                  Der(0x30, Sequence({Oid("1.2.410.200004.10.1.1.1"),
                                                      Sequence({Der(0x30, Oid("1.3.14.3.2.26")),
                                                                Hex("A0040402ABCD")})}))}))},
             0xA0)),
     "    Identity data\n"
     "      Name                    홍길동\n"
     "      VID hash                sha1 (1.3.14.3.2.26)\n"
     "      VID                     abcd\n"},
    {"2.5.29.32",
     Der(0x30, Sequence({Oid("2.5.29.32.0"),
                         Sequence({Sequence({Oid("1.3.6.1.5.5.7.2.1"), Der(0x16, "http://c")}),
                                   Sequence({Oid("1.3.6.1.5.5.7.2.2"),
                                             Sequence({Sequence({Der(0x1E, Hex("D55C")),
                                                                 Hex("3007020101020200FF")}),
                                                       Der(0x16, "notice")})}),
                                   Sequence({Oid("1.2.3"), Hex("0500")})})})),
     "    Policy                    anyPolicy (2.5.29.32.0)\n"
     "      CPS                     http://c\n"
     "      User notice\n"
     "        Organization          한\n"
     "        Notice number         1\n"
     "        Notice number         255\n"
     "        Text                  notice\n"
     "      1.2.3                   0500\n"},
    {"2.5.29.31",
     Der(0x30, Sequence({Hex("A006A0048602 7531"), Hex("8103074180"),
                         Der(0xA2, Der(0xA4, Name({{"2.5.4.3", Der(0x0C, "I")}})))})),
     "    Distribution point\n"
     "      URI                     u1\n"
     "      Reasons                 keyCompromise, privilegeWithdrawn, aACompromise\n"
     "      CRL issuer\n"
     "        Directory name        cn=I\n"
     "          commonName          I\n"},
    {"2.5.29.46",
     Der(0x30, Der(0x30, Der(0xA0, Der(0xA1, Sequence({Oid("2.5.4.3"), Der(0x0C, "R")}))))),
     "    Distribution point\n"
     "      Relative name\n"
     "        commonName            R\n"},
    {"2.5.29.35", Hex("300F 8002ABCD A1048202 6431 820301FFFF"),
     "    Key identifier            abcd\n"
     "    Issuer of the authority\n"
     "      DNS                     d1\n"
     "    Serial of the authority   01ffff\n"},
    {"1.3.6.1.5.5.7.1.1", Der(0x30, Sequence({Oid("1.3.6.1.5.5.7.48.1"), Der(0x86, "http://o")})),
     "    id-ad-ocsp (1.3.6.1.5.5.7.48.1)\n"
     "      URI                     http://o\n"},
    {"2.5.29.37", Sequence({Oid("1.3.6.1.5.5.7.3.9"), Oid("1.2.3")}),
     "    Purpose                   id-kp-OCSPSigning (1.3.6.1.5.5.7.3.9)\n"
     "    Purpose                   1.2.3\n"},
    {"2.16.840.1.113730.1.1", Hex("030204B0"),
     "    Types                     sslClient, smime, bit 3\n"},
    {"1.2.410.100001.5.7.101.4", Der(0x0C, "회사"), "    Value                     회사\n"},
    {"2.5.29.30", Hex("3000"), "    Value                     3000\n"},
};

TEST(ShowExtension, ValuesAreShownWithAllTheirParts) {
  for (const ShownExtension& row : kExtensions) {
    const Result result = ShowDer(WithExtension(Extension(row.oid, row.value)));
    EXPECT_EQ(result.exit, 0) << result.err;
    EXPECT_EQ(Between(result.out, row.oid, "Signature"), row.lines);
    if (!Holds(row.lines, "Identity data\n")) continue;
    const json names = ShowJson(WithExtension(Extension(row.oid, row.value)))["extensions"][0];
    EXPECT_EQ(names["names"][0]["identityData"]["realName"], "홍길동") << names;
  }
}

TEST(ShowExtension, AFailureStandsInItsPlaceAndTheRestStands) {
  const Octets der =
      MakeCertificate({.extensions = {Extension("2.5.29.15", Hex("0400"), true),
                                      Extension("2.5.29.32", Hex("3007 3005 0601 2A 3000")),
                                      Extension("2.5.29.14", Hex("0402AABB"))}});
  const json certificate = ShowJson(der);
  const json& key_usage = certificate["extensions"][0];
  EXPECT_EQ(key_usage["error"]["code"], 1012);
  EXPECT_EQ(key_usage["error"]["path"], "tbsCertificate.extensions[0].extnValue");
  const size_t offset = key_usage["error"]["offset"];
  ASSERT_LT(offset + 2, der.size());
  EXPECT_EQ(Octets(&der[offset], &der[offset + 2]), Hex("0400"));
  EXPECT_EQ(key_usage["der"], "0400");
  EXPECT_EQ(certificate["extensions"][1]["renderedPolicies"], "1.2");
  EXPECT_EQ(certificate["extensions"][2]["keyIdentifier"], "aabb");
  EXPECT_TRUE(certificate.contains("fingerprints"));

  const Result text = ShowDer(der);
  EXPECT_EQ(text.exit, 3);
  EXPECT_TRUE(Holds(text.err, "pkc: -: certificate 1: octet " + std::to_string(offset) +
                                  " (tbsCertificate.extensions[0].extnValue): 1012 "));
  EXPECT_TRUE(Holds(text.out, "\n    Key identifier            aabb\n"));
}

std::vector<json> Answers(const std::string& option, const std::string& input) {
  std::vector<json> answers;
  for (const auto& line : Lines(RunCommand({"show", option, "-"}, input).out)) {
    answers.push_back(json::parse(line));
  }
  return answers;
}

TEST(ShowExtension, SpoiledValuesFailInTheirPlaceWhateverIsAsked) {
  std::string bundle;
  std::vector<std::string> values;
  for (const ShownExtension& row : kExtensions) {
    for (const Octets& value : Spoiled(row.value)) {
      bundle += Pem(WithExtension(Extension(row.oid, value)));
      values.push_back(ToHex(value));
    }
  }
  const std::vector<json> shown = Answers("--ndjson", bundle);
  ASSERT_EQ(shown.size(), values.size());
  size_t failures = 0;
  for (size_t i = 0; i < shown.size(); ++i) {
    const json& extension = shown[i]["extensions"][0];
    const bool failed = extension.contains("error");
    failures += failed;
    EXPECT_TRUE(!failed || extension.value("der", values[i]) == values[i]) << extension;
  }
  EXPECT_GT(failures, values.size() / 2);
  EXPECT_TRUE(Holds(RunCommand({"show", "-"}, bundle).out,
                    "-: certificate " + std::to_string(values.size())));
  EXPECT_EQ(Answers("--as-request", bundle).size(), values.size());
  const json vids = json::parse(RunCommand({"vid", "show", "--json", "-"}, bundle).out);
  std::set<json> answered;  // with a name but no VID, both
  for (const json& vid : vids["certificates"]) answered.insert(vid["certificate"]);
  for (const json& error : vids["errors"]) answered.insert(error["certificate"]);
  EXPECT_EQ(answered.size(), values.size());
}

TEST(ShowCertificate, SpoiledOnesAreShownOrSayWhyNot) {
  const Octets dsa = Sequence({Hex("020107"), Hex("020105"), Hex("020103")});
  std::string bundle;
  size_t count = 0;
  for (const Octets& algorithm :
       {Sequence({Oid("1.2.840.113549.1.1.1"), Hex("0500")}),
        Sequence({Oid("1.2.840.10040.4.1"), dsa}),
        Sequence({Oid("1.2.840.10045.2.1"), Oid("1.2.840.10045.3.1.7")})}) {
    const Octets spki = Sequence({algorithm, Der(0x03, Hex("00 3006020107020103"))});
    for (const Octets& variant : Spoiled(MakeCertificate({.spki = spki}))) {
      bundle += Pem(variant);
      ++count;
    }
  }
  const std::string option = "--fields=input,certificate,code,keyBits,issuer";
  EXPECT_EQ(Lines(RunCommand({"show", option, "-"}, bundle).out).size(), count);
  const std::vector<json> answers = Answers("--ndjson", bundle);
  EXPECT_EQ(answers.size(), count);
  for (const json& answer : answers) {
    EXPECT_NE(answer.contains("reason"), answer.contains("fingerprints")) << answer;
  }
}

TEST(ShowName, AValueThatIsNoTextFails) {
  const Octets der =
      WithSubject(Name({{"2.5.4.3", Hex("1E04D8000041")}, {"2.5.4.10", Der(0x0C, "Org")}}));
  const Result result = ShowDer(der);
  EXPECT_EQ(result.exit, 3);
  EXPECT_EQ(Between(result.out, "Subject  ", "Public key"),
            "  commonName                  1e04d8000041\n"
            "  Error                       3004 text not valid in its code set or not in the "
            "other\n"
            "  organizationName            Org\n");
}

// ---- character sets ------------------------------------------------------------------------

TEST(ShowCharset, ConvertsTextAndNeverJson) {
  const Octets der = WithSubject(Name({{"2.5.4.3", Der(0x0C, "김😀é")}}));
  EXPECT_TRUE(Holds(ShowDer(der, {"--charset", "euc-kr"}).out, "cn=\xB1\xE8\\u{1f600}\\u{00e9}\n"));
  EXPECT_TRUE(Holds(ShowDer(der, {"--charset", "shift-jis"}).out, "cn=\\u{ae40}\\u{1f600}"));
  const Result answer = ShowDer(der, {"--charset", "euc-jp", "--ndjson"});
  EXPECT_EQ(json::parse(answer.out)["subject"]["text"], "cn=김😀é");
}

}  // namespace
}  // namespace corvid::test
