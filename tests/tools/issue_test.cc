// `pkc issue` and `pkc show --as-request`: what is issued is what was asked for, by the judgement
// of OpenSSL too, and asks for itself again; every refusal comes before anything is written.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "command.h"
#include "support/spoiled.h"

namespace corvid::test {
namespace {

using nlohmann::json;
namespace fs = std::filesystem;

// Runs a shell script in the folder; its output.
std::string Shell(const std::string& folder, const std::string& script) {
  const std::string command = "cd '" + folder + "' && umask 077 && { " + script + "; } 2>&1";
  FILE* pipe = popen(command.c_str(), "r");
  std::string out;
  for (int c; (c = std::fgetc(pipe)) != EOF;) out.push_back(static_cast<char>(c));
  EXPECT_EQ(pclose(pipe), 0) << script << '\n' << out;
  return out;
}

constexpr const char* kRsa = "openssl genpkey -algorithm RSA -pkeyopt rsa_keygen_bits:2048";

json CaRequest() {
  return {
      {"subject", "cn=CA,c=KR"},
      {"serialNumber", 1},
      {"ca", true},
      {"selfSigned", true},
      {"validity", {{"notBefore", "2025-01-01T00:00:00Z"}, {"notAfter", "2049-12-31T23:59:59Z"}}}};
}

json UserRequest() {
  return {{"schema", "corvid.request/1"},
          {"subject", R"(cn=홍\2b\3B길동\, \20,ou=a+o=b,e=u@example.com,c=KR)"},
          {"serialNumber", 4294967295},
          {"validity", {{"notBefore", "2026-01-01T00:00:00Z"}, {"days", 2}}},
          {"publicKey", {{"file", "user.csr"}}},
          {"signature", "sha512+rsa"},
          {"policy", "1.2.410.200004.5.99.1.1"},
          {"cps", "http://example.com/cps"},
          {"notice", "시험용"},
          {"holderName", "홍길동"},
          {"vid", "95746b62c7d43fd312c17b3f1205eb3a5a8b1de0"},
          {"crl", "http://example.com/crl"},
          {"ocsp", "http://example.com/ocsp"}};
}

// Keys, requests and issuers, made once.
class Issue : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    folder_ = new TemporaryFolder;
    Shell(folder_->Path(""), std::string(kRsa) + " -out ca.key && " + kRsa + " -out user.key && " +
                                 R"(openssl req -new -key user.key -subj /CN=x -out user.csr
openssl pkey -in user.key -pubout -outform DER -out user.pub
openssl req -in user.csr -outform DER -out bad.csr
printf '\001' | dd of=bad.csr bs=1 seek=$(($(stat -c %s bad.csr) - 1)) conv=notrunc
openssl pkcs8 -topk8 -in ca.key -passout pass:secret -out locked.key
openssl genpkey -algorithm EC -pkeyopt ec_paramgen_curve:P-256 -out ec.key
openssl pkey -in ec.key -pubout -out ec.pub
openssl genpkey -genparam -algorithm DSA -pkeyopt dsa_paramgen_bits:1024 -out dsa.par
openssl genpkey -paramfile dsa.par -out dsa.key
echo secret > secret; echo wrong > wrong
cp ca.key open.key; chmod 644 open.key
issuer() {
  openssl req -x509 -new -key ca.key -subj /CN=I -days 9 -out $1 -addext basicConstraints=$2 \
    -addext keyUsage=$3
}
issuer plain.pem CA:FALSE keyCertSign
issuer crlonly.pem CA:TRUE cRLSign
issuer end.pem CA:TRUE,pathlen:0 keyCertSign
cat end.pem plain.pem > two.pem)");
    Write("ca.json", CaRequest());
    Write("user.json", UserRequest());
    EXPECT_EQ(Run({"ca.json", "--key", "ca.key", "-o", "ca.der"}).err, "");
  }
  static void TearDownTestSuite() { delete folder_; }

  static std::string Path(const std::string& name) { return folder_->Path(name); }
  static std::string Write(const std::string& name, const json& request) {
    return folder_->Write(name, request.is_string() ? std::string(request) : request.dump());
  }
  static std::string Read(const std::string& name) { return StringOf(ReadFile(Path(name))); }

  // `pkc issue` with the names of files in the folder.
  static Result Run(std::vector<std::string> arguments) {
    for (std::string& argument : arguments) {
      if (argument.front() != '-') argument = Path(argument);
    }
    arguments.insert(arguments.begin(), "issue");
    return RunCommand(arguments);
  }
  static Result RunUser(const std::string& request, const std::string& output) {
    return Run({request, "--issuer", "ca.der", "--key", "ca.key", "-o", output});
  }

  static TemporaryFolder* folder_;
};
TemporaryFolder* Issue::folder_ = nullptr;

TEST_F(Issue, GivesWhatWasAskedForAndAsksForItAgain) {
  ASSERT_EQ(RunUser("user.json", "user.der").exit, 0);
  const std::string text = Shell(
      Path(""), R"(openssl x509 -in ca.der -out ca.pem; openssl x509 -in user.der -out user.pem
openssl verify -attime 1767300000 -CAfile ca.pem user.pem
openssl x509 -in user.pem -noout -serial -subject -nameopt RFC2253,-esc_msb,utf8 -enddate -ext \
  keyUsage,certificatePolicies,crlDistributionPoints,authorityInfoAccess
openssl x509 -in user.pem -noout -text | grep sha512)");
  for (const char* part :
       {"user.pem: OK", "serial=FFFFFFFF", R"(CN=홍\+\;길동\, \ ,)", "OU=a+O=b",
        "Jan  3 00:00:00 2026",
        "Digital Signature, Non Repudiation, Key Encipherment, Data Encipherment",
        "CPS: http://example.com/cps", "시험용", "URI:http://example.com/crl",
        "OCSP - URI:http://example.com/ocsp", "sha512With"}) {
    EXPECT_NE(text.find(part), std::string::npos) << part << " in " << text;
  }
  EXPECT_EQ(RunCommand({"verify", Path("user.der"), "--trust", Path("ca.der"), "--at",
                        "2026-01-02T00:00:00Z"})
                .exit,
            0);
  json early = UserRequest();
  early["validity"]["notBefore"] = "1950-01-01T00:00:00Z";
  Write("early.json", early);
  const Result warned = RunUser("early.json", "early.der");
  EXPECT_EQ(warned.exit, 0);
  EXPECT_NE(warned.err.find("ca.der: validity: "), std::string::npos) << warned.err;

  EXPECT_EQ(RunCommand({"issue", std::string(CORVID_SOURCE_DIR) + "/examples/request.json",
                        "--issuer", Path("ca.der"), "--key", Path("ca.key"), "--dry-run"})
                .exit,
            0);

  const Result again = RunCommand({"show", "--as-request", Path("user.der")});
  EXPECT_EQ(again.err, "");
  Write("again.json", again.out);
  ASSERT_EQ(RunUser("again.json", "again.der").exit, 0);
  EXPECT_EQ(Read("again.der"), Read("user.der"));
  const Result both = RunCommand({"show", "--as-request", Path("user.der"), Path("ca.der")});
  const size_t end = both.out.find('\n');
  EXPECT_EQ(json::parse(both.out.substr(0, end)), json::parse(again.out));
  EXPECT_EQ(json::parse(both.out.substr(end))["selfSigned"], true);
}

TEST_F(Issue, TakesKeysOfEveryForm) {
  const struct {
    const char* public_key;
    std::vector<std::string> signer;
  } rows[] = {{"user.pub", {"--key", "locked.key", "--passphrase-file", "secret"}},
              {"ca.der", {"--key", "open.key", "--allow-exposed-key"}}};
  for (const auto& row : rows) {
    json request = UserRequest();
    request["publicKey"]["file"] = row.public_key;
    std::vector<std::string> arguments = {Write("key.json", request), "--issuer", "ca.der", "-o",
                                          std::string(row.public_key) + ".out"};
    arguments.front() = "key.json";
    arguments.insert(arguments.end(), row.signer.begin(), row.signer.end());
    EXPECT_EQ(Run(arguments).err, "");
  }
  const Result dsa = Run({"ca.json", "--key", "dsa.key", "-o", "dsa.der"});
  EXPECT_EQ(dsa.exit, 0);
  EXPECT_NE(dsa.err.find("warning: "), std::string::npos);  // SHA-1, 1024 bits
  const std::string dsa_ca = Shell(Path(""),
                                   "openssl x509 -in dsa.der -out d.pem; openssl verify "
                                   "-CAfile d.pem -check_ss_sig d.pem");
  EXPECT_NE(dsa_ca.find("d.pem: OK"), std::string::npos);
}

TEST_F(Issue, RefusesRequests) {
  const std::string a64(64, 'a');
  const std::string a128(128, 'a');
  const struct {
    const char* name;
    json change;  // to the request, or all of it as text
    const char* message;
  } rows[] = {
      {"NotJson", "{\"subject\":\n \"a\"", "line 2: column 5: "},
      {"NotUtf8", "{\"subject\": \"\xFF\"}", "ill-formed UTF-8"},
      {"List", "[]", "is no JSON object"},
      {"Deep", std::string(100, '['), "is no JSON object"},
      {"DeepBelowAKey", "{\"x\":" + std::string(100, '['), "nested too deeply"},
      {"Duplicate", R"({"ca": true, "ca": true})", "ca: occurs more than once"},
      {"DuplicateInside", R"({"validity": {"days": 1, "days": 1}})", "validity.days: occurs"},
      {"Unknown", R"({"CA": true})", "CA: is unknown"},
      {"UnknownInside", {{"validity", {{"hours", 1}}}}, "validity.hours: is unknown"},
      {"WrongType", {{"selfSigned", "yes"}}, "selfSigned: must be true or false"},
      {"Fraction", {{"serialNumber", 1.5}}, "serialNumber: must be a whole number"},
      {"Nul", {{"holderName", std::string("a\0b", 3)}}, "holderName: holds a NUL"},
      {"OtherForm", {{"schema", "corvid.request/2"}}, "schema: "},
      {"NoSubject", {{"subject", nullptr}}, "subject: is missing"},
      {"SerialZero", {{"serialNumber", 0}}, "serialNumber: must be 1 to 4294967295"},
      {"SerialTooLarge", {{"serialNumber", 4294967296}}, "serialNumber: must be 1 to"},
      {"SerialNegative", {{"serialNumber", -1}}, "serialNumber: must be 1 to"},
      {"SerialText", {{"serialNumber", "1"}}, "serialNumber: must be 1 to"},
      {"NoValidity", {{"validity", nullptr}}, "validity: is missing"},
      {"DaysZero", {{"validity", {{"days", 0}}}}, "validity.days: must be 1 to 36525"},
      {"DaysMany", {{"validity", {{"days", 36526}}}}, "validity.days: must be 1 to 36525"},
      {"TwoEnds",
       {{"validity", {{"notAfter", "2027-01-01T00:00:00Z"}}}},
       "one of days and notAfter"},
      {"NoSuchDay", {{"validity", {{"notBefore", "2026-02-29T00:00:00Z"}}}}, "validity.notBefore"},
      {"NoSuchMonth",
       {{"validity", {{"notBefore", "2026-13-01T00:00:00Z"}}}},
       "validity.notBefore"},
      {"MonthZero", {{"validity", {{"notBefore", "2026-00-01T00:00:00Z"}}}}, "validity.notBefore"},
      {"NoDigit", {{"validity", {{"notBefore", "2026-0a-01T00:00:00Z"}}}}, "validity.notBefore"},
      {"MereNumber", {{"validity", {{"notBefore", "1767225600"}}}}, "validity.notBefore"},
      {"Before1950", {{"validity", {{"notBefore", "1949-12-31T23:59:59Z"}}}}, "1950 to 2049"},
      {"After2049", {{"validity", {{"notBefore", "2049-12-30T00:00:01Z"}}}}, "1950 to 2049"},
      {"Backwards",
       {{"validity", {{"days", nullptr}, {"notAfter", "2025-12-31T23:59:59Z"}}}},
       "ends before it begins"},
      {"Signature", {{"signature", "SHA3 + RSA"}}, "signature: is unknown"},
      {"SignatureOfAnotherKey", {{"signature", "SHA1 + DSA"}}, "signature: cannot be made"},
      {"NoKey", {{"publicKey", nullptr}}, "publicKey: is missing"},
      {"TwoKeys", {{"publicKey", {{"der", "AA=="}}}}, "one of file and der"},
      {"KeyOfNoBase64", {{"publicKey", {{"der", "*"}}}}, "publicKey.der: is not base64"},
      {"KeyOfCurves", {{"publicKey", {{"file", "ec.pub"}}}}, "publicKey: 36011"},
      {"RequestNotSigned", {{"publicKey", {{"file", "bad.csr"}}}}, "certificate request: 6012"},
      {"CpsAlone", {{"policy", nullptr}, {"notice", nullptr}}, "cps: needs a policy"},
      {"NoticeAlone", {{"policy", nullptr}, {"cps", nullptr}}, "notice: needs a policy"},
      {"NoticeLong", {{"notice", a128 + a128}}, "notice: must have 1 to 200"},
      {"Policy", {{"policy", "1.2.x"}}, "policy: 1017"},
      {"PolicyPadded", {{"policy", "1.02.3"}}, "policy: has needless zeros"},
      {"NoticeEmpty", {{"notice", ""}}, "notice: must have 1 to 200"},
      {"CpsEmpty", {{"cps", ""}}, "cps: must be a URI"},
      {"Cps", {{"cps", "http://예"}}, "cps: must be a URI"},
      {"Blank", {{"ocsp", "http://a b"}}, "ocsp: must be a URI"},
      {"NameWithoutVid", {{"vid", nullptr}}, "holderName: needs a vid"},
      {"VidWithoutName", {{"holderName", nullptr}}, "vid: needs a holderName"},
      {"NameEmpty", {{"holderName", ""}}, "holderName: is empty"},
      {"VidOfText", {{"vid", "0g"}}, "vid: is not hexadecimal"},
      {"VidOfOddDigits", {{"vid", "0"}}, "vid: is not hexadecimal"},
      {"VidOfSha256", {{"vid", a64}}, "vid: must have 20 octets"},
      {"NoName", {{"subject", ""}}, "subject: "},
      {"Form", {{"subject", "cn=a;b"}}, "subject: 36032"},
      {"NulEscaped", {{"subject", "cn=a\\00b"}}, "subject: holds a NUL"},
      {"Name65", {{"subject", "cn=a" + a64}}, "subject: 1021"},
      {"Locality129", {{"subject", "l=a" + a128}}, "subject: 1021"},
      {"Component402", {{"subject", "dc=" + a128 + a128 + a128 + "0123456789abcdef"}}, "36032"},
      {"Mail129", {{"subject", "e=a" + a128}}, "E must be at most 128"},
      {"Mail", {{"subject", "e=é"}}, "E must be"},
      {"IdBesideAnother", {{"subject", "cn=a+Id=é"}}, "ID must be ASCII"},
      {"Component", {{"subject", R"(cn=a\,b,dc=é)"}}, "DC must be ASCII"},
      {"Country", {{"subject", "c=K1"}}, "C must be two letters"},
      {"Qualifier", {{"subject", "dnQualifier=a@b"}}, "DNQUALIFIER must be"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    json request = UserRequest();
    request.merge_patch(row.change);
    Write("wrong.json", row.change.is_string() ? row.change : request);
    const Result result = RunUser("wrong.json", "wrong.der");
    EXPECT_EQ(result.exit, 2);
    EXPECT_NE(result.err.find(row.message), std::string::npos) << result.err;
    EXPECT_FALSE(fs::exists(Path("wrong.der")));
  }
  for (const std::string& subject :
       {"cn=" + a64, "l=" + a128, "e=" + a128, "dc=" + std::string(398, 'a')}) {
    json request = UserRequest();
    request["subject"] = subject;
    Write("right.json", request);
    EXPECT_EQ(RunUser("right.json", "right." + subject.substr(0, 2)).err, "");
  }
}

// Of a request, what its signature covers is the key; its algorithm's parameters are not read.
TEST_F(Issue, TakesNoSpoiledKey) {
  Shell(Path(""), "openssl req -in user.csr -outform DER -out whole");
  const Octets whole = ReadFile(Path("whole"));
  json request = UserRequest();
  request["publicKey"]["file"] = "spoiled";
  Write("spoiled.json", request);
  const auto issue = [&](const Octets& key) {
    folder_->Write("spoiled", StringOf(key));
    return Run({"spoiled.json", "--issuer", "ca.der", "--key", "ca.key", "--dry-run"});
  };
  const Result good = issue(whole);
  EXPECT_EQ(good.exit, 0);
  for (const Octets& variant : Spoiled(whole)) {
    const Result result = issue(variant);
    EXPECT_TRUE(result.exit == 2 || result.exit == 3 || result.out == good.out) << ToHex(variant);
  }
}

TEST_F(Issue, RefusesIssuersAndKeys) {
  json ca = UserRequest();
  ca["ca"] = true;
  Write("sub.json", ca);
  json stranger = CaRequest();
  stranger["publicKey"] = {{"file", "user.pub"}};
  Write("stranger.json", stranger);
  json private_key = UserRequest();
  private_key["publicKey"]["file"] = "user.key";
  Write("private.json", private_key);
  private_key["publicKey"]["file"] = "broken.pem";
  Write("broken.json", private_key);
  Write("broken.pem", "-----BEGIN PUBLIC KEY-----\n!\n-----END PUBLIC KEY-----\n");
  private_key["publicKey"]["file"] = "short.der";
  Write("short.json", private_key);
  Write("short.der", StringOf(Hex("3003020100")));
  const struct {
    const char* name;
    std::vector<std::string> arguments;
    int exit;
    const char* message;
  } rows[] = {
      {"NoIssuer", {"user.json", "--key", "ca.key"}, 2, "needs --issuer"},
      {"NeedlessIssuer", {"ca.json", "--key", "ca.key", "--issuer", "ca.der"}, 2, "selfSigned: "},
      {"NotCa", {"user.json", "--key", "ca.key", "--issuer", "plain.pem"}, 2, "is no CA"},
      {"NoKeyCertSign",
       {"user.json", "--key", "ca.key", "--issuer", "crlonly.pem"},
       2,
       "lacks key"},
      {"PathLength", {"sub.json", "--key", "ca.key", "--issuer", "end.pem"}, 2, "0 allowed"},
      {"Two", {"user.json", "--key", "ca.key", "--issuer", "two.pem"}, 2, "more than one"},
      {"Undecoded", {"user.json", "--key", "ca.key", "--issuer", "user.csr"}, 3, "user.csr: is a"},
      {"OtherKey", {"user.json", "--key", "user.key", "--issuer", "ca.der"}, 2, "does not belong"},
      {"OtherOwnKey", {"stranger.json", "--key", "ca.key"}, 2, "is not the signing key's"},
      {"Missing", {"ca.json", "--key", "none.key"}, 3, "No such file"},
      {"Open", {"ca.json", "--key", "open.key"}, 2, "can be read or written by other users"},
      {"Public", {"ca.json", "--key", "user.pub"}, 2, "6030"},
      {"Curve", {"ca.json", "--key", "ec.key"}, 2, "6031"},
      {"Passphrase", {"ca.json", "--key", "locked.key", "--passphrase-file", "wrong"}, 2, "6032"},
      {"Private", {"private.json", "--key", "ca.key", "--issuer", "ca.der"}, 3, "is a private key"},
      {"Broken", {"broken.json", "--key", "ca.key", "--issuer", "ca.der"}, 3, "publicKey: 3007"},
      {"Short", {"short.json", "--key", "ca.key", "--issuer", "ca.der"}, 3, "short.der: octet 2"},
      {"NoRequest", {"none.json", "--key", "ca.key"}, 3, "No such file"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    std::vector<std::string> arguments = row.arguments;
    arguments.insert(arguments.end(), {"-o", "never.der"});
    const Result result = Run(arguments);
    EXPECT_EQ(result.exit, row.exit);
    EXPECT_NE(result.err.find(row.message), std::string::npos) << result.err;
    EXPECT_FALSE(fs::exists(Path("never.der")));
  }
}

TEST_F(Issue, WritesWholeFilesAndSparesOthers) {
  const TemporaryFolder out;
  const auto issue = [&](std::vector<std::string> more) {
    more.insert(more.begin(), {"issue", Path("ca.json"), "--key", Path("ca.key")});
    return RunCommand(more);
  };
  const std::string file = out.Path("a.der");
  const mode_t before = umask(026);
  EXPECT_EQ(issue({"-o", file}).exit, 0);
  umask(before);
  struct stat status {};
  stat(file.c_str(), &status);
  EXPECT_EQ(status.st_mode & 0777, 0640U);
  const std::string first = StringOf(ReadFile(file));
  EXPECT_EQ(issue({"-o", file}).exit, 2);
  EXPECT_EQ(StringOf(ReadFile(file)), first);
  EXPECT_EQ(issue({"-o", file, "--pem", "--force"}).exit, 0);
  EXPECT_EQ(StringOf(ReadFile(file)).rfind("-----BEGIN CERTIFICATE-----\nMII", 0), 0U);

  fs::create_symlink(out.Path("nowhere"), out.Path("link"));
  EXPECT_EQ(issue({"-o", out.Path("link")}).exit, 2);
  EXPECT_EQ(issue({"-o", out.Path(""), "--force"}).exit, 2);
  EXPECT_EQ(issue({"-o", out.Path("none/a.der")}).exit, 4);
  const Result shown = issue({"-o", out.Path("dry.der"), "--dry-run"});
  EXPECT_NE(shown.out.find("Nothing was written."), std::string::npos);
  EXPECT_NE(shown.out.find("cn=CA,c=KR"), std::string::npos);

  setenv("LD_PRELOAD", CORVID_SPOILED_SIGNATURE, 1);
  setenv("ASAN_OPTIONS", "verify_asan_link_order=0", 1);
  const Result spoiled = issue({"-o", out.Path("spoiled.der")});
  unsetenv("LD_PRELOAD");
  unsetenv("ASAN_OPTIONS");
  EXPECT_EQ(spoiled.exit, 4);
  EXPECT_NE(spoiled.err.find("36050"), std::string::npos) << spoiled.err;
  EXPECT_EQ(std::distance(fs::directory_iterator(out.Path("")), {}), 2);  // a.der and the link
}

// What a request cannot carry is told and left out; the rest is read again.
TEST_F(Issue, RequestsTellWhatTheyLeaveOut) {
  CertificateParts parts;
  parts.serial = Hex("0100000000");
  parts.not_after = Der(0x18, "20500101000000Z");
  parts.subject = Name(
      {{"2.5.4.5", Der(0x13, "1")}, {"2.5.4.3", Der(0x13, "a")}, {"2.5.4.3", Der(0x14, "\xE9")}});
  const Octets reference = Sequence({Hex("0C0141"), Hex("3003020101")});
  const Octets notice =
      Sequence({Oid("1.3.6.1.5.5.7.2.2"), Sequence({reference, Der(0x0C, "notice")})});
  parts.extensions = {
      Extension("2.5.29.37", Sequence({Oid("1.3.6.1.5.5.7.3.1")}), true),
      Extension("2.5.29.17", Sequence({Sequence({Oid("1.2.3"), Hex("A0020500")}, 0xA0)})),
      Extension("2.5.29.32", Sequence({Sequence({Oid("1.2.3"), Sequence({notice})}),
                                       Sequence({Oid("1.2.4")})}))};
  const std::string path = folder_->Write("odd.der", StringOf(MakeCertificate(parts)));
  const Result result = RunCommand({"show", "--as-request", path});
  EXPECT_EQ(result.exit, 0);
  for (const char* note :
       {"serialNumber: becomes", "validity: ", "subject: serialNumber", "subject: commonName",
        "string types", "extKeyUsage", "names beside identity data", "notice reference",
        "policies after the first"}) {
    EXPECT_NE(result.err.find(note), std::string::npos) << note << " in " << result.err;
  }
  const json request = json::parse(result.out);
  EXPECT_EQ(request["subject"], "cn=a");
  EXPECT_EQ(request["policy"], "1.2.3");
  EXPECT_EQ(request["notice"], "notice");
  EXPECT_EQ(request["validity"]["notAfter"], "2049-12-31T23:59:59Z");
  Write("odd.json", result.out);
  EXPECT_EQ(RunUser("odd.json", "odd.out").exit, 0);
}

constexpr const char* kOfOtherPeople[] = {"selfSigned: leaves no place for --issuer",
                                          "the certificate begins before its issuer",
                                          "unknown pkeyID", "subject: "};

// What comes of other people's certificates is a request, and refused for these reasons alone.
TEST_F(Issue, TakesRequestsOfRealCertificates) {
  const std::filesystem::path corpus = CORVID_CORPUS_DIR;
  if (!std::filesystem::exists(corpus)) GTEST_SKIP() << "without the corpus";
  std::vector<std::string> paths;
  for (const char* folder : {"certs", "pkits/certs"}) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(corpus / folder)) {
      if (entry.is_regular_file()) paths.push_back(entry.path());
    }
  }
  std::sort(paths.begin(), paths.end());
  for (size_t i = 0; i < paths.size(); i += 48) {
    const Result request = RunCommand({"show", "--as-request", paths[i]});
    ASSERT_EQ(request.exit, 0) << paths[i] << ' ' << request.err;
    Write("real.json", request.out);
    const Result issued = RunCommand({"issue", Path("real.json"), "--issuer", Path("ca.der"),
                                      "--key", Path("ca.key"), "--dry-run"});
    const bool known = std::any_of(
        std::begin(kOfOtherPeople), std::end(kOfOtherPeople),
        [&](const char* reason) { return issued.err.find(reason) != std::string::npos; });
    EXPECT_TRUE(issued.exit == 0 || known) << paths[i] << ' ' << issued.err;
  }
}

}  // namespace
}  // namespace corvid::test
