// `pkc issue` and `pkc show --as-request`: what is issued is what was asked for, by the judgement
// of OpenSSL too, and asks for itself again; every refusal comes before anything is written.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
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
cp ca.key other.key; chown 1 other.key || rm other.key
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
  static Result Run(const Arguments& arguments) {
    Arguments all{"issue"};
    for (const std::string& argument : arguments) {
      all.push_back(argument.front() == '-' ? argument : Path(argument));
    }
    return RunCommand(all);
  }
  static Result RunUser(const std::string& request, const std::string& output) {
    return Run({request, "--issuer", "ca.der", "--key", "ca.key", "-o", output});
  }
  // A user's request with the key of the file.
  static std::string WriteKeyRequest(const std::string& key) {
    json request = UserRequest();
    request["publicKey"]["file"] = key;
    Write(key + ".json", request);
    return key + ".json";
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
    EXPECT_TRUE(Holds(text, part));
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
  EXPECT_TRUE(Holds(warned.err, "ca.der: validity: "));

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
  EXPECT_EQ(Run({WriteKeyRequest("user.pub"), "--issuer", "ca.der", "--key", "locked.key",
                 "--passphrase-file", "secret", "-o", "locked.der"})
                .err,
            "");
  EXPECT_EQ(Run({WriteKeyRequest("ca.der"), "--issuer", "ca.der", "--key", "open.key",
                 "--allow-exposed-key", "-o", "open.der"})
                .err,
            "");
  const Result dsa = Run({"ca.json", "--key", "dsa.key", "-o", "dsa.der"});
  EXPECT_EQ(dsa.exit, 0);
  EXPECT_TRUE(Holds(dsa.err, "warning: "));  // SHA-1, 1024 bits
}

TEST_F(Issue, RefusesRequests) {
  const std::string a64(64, 'a');
  const std::string a128(128, 'a');
  const struct {
    json change;  // to the request, or all of it as text
    const char* message;
  } rows[] = {
      {"{\"subject\":\n \"a\"", "line 2: column 5: "},
      {"{\"subject\": \"\xFF\"}", "ill-formed UTF-8"},
      {R"({"serialNumber": 1e999})", "column 22: number is too large\n"},
      {"[]", "is no JSON object"},
      {std::string(100, '['), "is no JSON object"},
      {"{\"x\":" + std::string(100, '['), "nested too deeply"},
      {R"({"validity": {"days": 1, "days": 1}})", "validity.days: occurs"},
      {R"({"CA": true})", "CA: is unknown"},
      {{{"validity", {{"hours", 1}}}}, "validity.hours: is unknown"},
      {{{"selfSigned", "yes"}}, "selfSigned: must be true or false"},
      {{{"serialNumber", 1.5}}, "serialNumber: must be a whole number"},
      {{{"holderName", std::string("a\0b", 3)}}, "holderName: holds a NUL"},
      {{{"schema", "corvid.request/2"}}, "schema: "},
      {{{"subject", nullptr}}, "subject: is missing"},
      {{{"serialNumber", 0}}, "serialNumber: must be 1 to 4294967295"},
      {{{"serialNumber", 4294967296}}, "serialNumber: must be 1 to"},
      {{{"serialNumber", "1"}}, "serialNumber: must be 1 to"},
      {{{"validity", nullptr}}, "validity: is missing"},
      {{{"validity", {{"days", 0}}}}, "validity.days: must be 1 to 36525"},
      {{{"validity", {{"days", 36526}}}}, "validity.days: must be 1 to 36525"},
      {{{"validity", {{"notAfter", "2027-01-01T00:00:00Z"}}}}, "one of days and notAfter"},
      {{{"validity", {{"notBefore", "2026-02-29T00:00:00Z"}}}}, "validity.notBefore"},
      {{{"validity", {{"notBefore", "1767225600"}}}}, "validity.notBefore"},
      {{{"validity", {{"notBefore", "1949-12-31T23:59:59Z"}}}}, "1950 to 2049"},
      {{{"validity", {{"notBefore", "2049-12-30T00:00:01Z"}}}}, "1950 to 2049"},
      {{{"validity", {{"days", nullptr}, {"notAfter", "2025-12-31T23:59:59Z"}}}},
       "ends before it begins"},
      {{{"signature", "SHA3 + RSA"}}, "signature: is unknown"},
      {{{"signature", "SHA1 + DSA"}}, "signature: cannot be made"},
      {{{"publicKey", nullptr}}, "publicKey: is missing"},
      {{{"publicKey", {{"der", "AA=="}}}}, "one of file and der"},
      {{{"publicKey", {{"der", "*"}}}}, "publicKey.der: is not base64"},
      {{{"publicKey", {{"file", "ec.pub"}}}}, "publicKey: 36011"},
      {{{"publicKey", {{"file", "bad.csr"}}}}, "certificate request: 6012"},
      {{{"policy", nullptr}, {"notice", nullptr}}, "cps: needs a policy"},
      {{{"policy", nullptr}, {"cps", nullptr}}, "notice: needs a policy"},
      {{{"notice", a128 + a128}}, "notice: must have 1 to 200"},
      {{{"policy", "1.2.x"}}, "policy: 1017"},
      {{{"policy", "1.02.3"}}, "policy: has needless zeros"},
      {{{"notice", ""}}, "notice: must have 1 to 200"},
      {{{"cps", "http://예"}}, "cps: must be a URI"},
      {{{"crl", ""}}, "crl: must be a URI"},
      {{{"ocsp", "http://a b"}}, "ocsp: must be a URI"},
      {{{"vid", nullptr}}, "holderName: needs a vid"},
      {{{"holderName", nullptr}}, "vid: needs a holderName"},
      {{{"holderName", ""}}, "holderName: is empty"},
      {{{"vid", "0g"}}, "vid: is not hexadecimal"},
      {{{"vid", "0"}}, "vid: is not hexadecimal"},
      {{{"vid", a64}}, "vid: must have 20 octets"},
      {{{"subject", ""}}, "subject: "},
      {{{"subject", "cn=a;b"}}, "subject: 36032"},
      {{{"subject", "cn=a\\00b"}}, "subject: holds a NUL"},
      {{{"subject", "cn=a" + a64}}, "subject: 1021"},
      {{{"subject", "l=a" + a128}}, "subject: 1021"},
      {{{"subject", "dc=" + a128 + a128 + a128 + "0123456789abcdef"}}, "36032"},
      {{{"subject", "e=a" + a128}}, "E must be at most 128"},
      {{{"subject", "e=é"}}, "E must be"},
      {{{"subject", "cn=a+Id=é"}}, "ID must be ASCII"},
      {{{"subject", R"(cn=a\,b,dc=é)"}}, "DC must be ASCII"},
      {{{"subject", "c=K1"}}, "C must be two letters"},
      {{{"subject", "dnQualifier=a@b"}}, "DNQUALIFIER must be"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.message);
    json request = UserRequest();
    request.merge_patch(row.change);
    Write("wrong.json", row.change.is_string() ? row.change : request);
    const Result result = RunUser("wrong.json", "wrong.der");
    EXPECT_EQ(result.exit, 2);
    EXPECT_TRUE(Holds(result.err, row.message));
    EXPECT_FALSE(fs::exists(Path("wrong.der")));
  }
  for (const std::string& subject : {"cn=" + a64, "l=" + a128, "e=" + a128,
                                     "dc=" + std::string(398, 'a'), std::string(R"(ou=a\\00)")}) {
    json request = UserRequest();
    request["subject"] = subject;
    request["validity"] = {{"notBefore", "2026-01-01T00:00:00Z"},
                           {"notAfter", "2049-12-31T23:59:59Z"}};  // with the issuer
    Write("right.json", request);
    EXPECT_EQ(RunUser("right.json", "right." + subject.substr(0, 2)).err, "");
  }
}

// Of a request, what its signature covers is the key; its algorithm's parameters are not read.
TEST_F(Issue, TakesNoSpoiledKey) {
  Shell(Path(""), "openssl req -in user.csr -outform DER -out whole");
  const Octets whole = ReadFile(Path("whole"));
  const std::string request = WriteKeyRequest("spoiled");
  const auto issue = [&](const Octets& key) {
    folder_->Write("spoiled", StringOf(key));
    return Run({request, "--issuer", "ca.der", "--key", "ca.key", "--dry-run"});
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
  const bool other = fs::exists(Path("other.key"));  // root alone can give a file away
  Write("broken", "-----BEGIN PUBLIC KEY-----\n!\n-----END PUBLIC KEY-----\n");
  Write("short", StringOf(Hex("3003020100")));
  const struct {
    std::string request;
    const char* issuer;
    const char* key;
    int exit;
    const char* message;
  } rows[] = {
      {"user.json", nullptr, "ca.key", 2, "needs --issuer"},
      {"ca.json", "ca.der", "ca.key", 2, "selfSigned: "},
      {"user.json", "plain.pem", "ca.key", 2, "is no CA"},
      {"user.json", "crlonly.pem", "ca.key", 2, "lacks key"},
      {"sub.json", "end.pem", "ca.key", 2, "0 allowed"},
      {"user.json", "two.pem", "ca.key", 2, "more than one"},
      {"user.json", "user.csr", "ca.key", 3, "user.csr: is a"},
      {"user.json", "ca.der", "user.key", 2, "does not belong"},
      {"stranger.json", nullptr, "ca.key", 2, "is not the signing key's"},
      {"ca.json", nullptr, "none.key", 3, "No such file"},
      {"ca.json", nullptr, "open.key", 2, "can be read or written by other users"},
      {"ca.json", nullptr, "other.key", other ? 2 : 3,
       other ? "belongs to another user" : "No such file"},
      {"ca.json", nullptr, "user.pub", 2, "6030"},
      {"ca.json", nullptr, "ec.key", 2, "6031"},
      {"ca.json", nullptr, "locked.key", 2, "6032"},
      {WriteKeyRequest("user.key"), "ca.der", "ca.key", 3, "is a private key"},
      {WriteKeyRequest("broken"), "ca.der", "ca.key", 3, "publicKey: 3007"},
      {WriteKeyRequest("short"), "ca.der", "ca.key", 3, "short: octet 2"},
      {"none.json", nullptr, "ca.key", 3, "No such file"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.message);
    Arguments arguments{row.request, "--key", row.key,    "--passphrase-file",
                        "wrong",     "-o",    "never.der"};
    if (row.issuer != nullptr) arguments.insert(arguments.end(), {"--issuer", row.issuer});
    const Result result = Run(arguments);
    EXPECT_EQ(result.exit, row.exit);
    EXPECT_TRUE(Holds(result.err, row.message));
    EXPECT_FALSE(fs::exists(Path("never.der")));
  }
}

TEST_F(Issue, WritesWholeFilesAndSparesOthers) {
  const TemporaryFolder out;
  const auto issue = [&](const Arguments& more) {
    return RunCommand(Arguments{"issue", Path("ca.json"), "--key", Path("ca.key")} + more);
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
  EXPECT_TRUE(Holds(shown.out, "Nothing was written."));
  EXPECT_TRUE(Holds(shown.out, "cn=CA,c=KR"));

  setenv("LD_PRELOAD", CORVID_SPOILED_SIGNATURE, 1);
  setenv("ASAN_OPTIONS", "verify_asan_link_order=0", 1);
  const Result spoiled = issue({"-o", out.Path("spoiled.der")});
  unsetenv("LD_PRELOAD");
  unsetenv("ASAN_OPTIONS");
  EXPECT_EQ(spoiled.exit, 4);
  EXPECT_TRUE(Holds(spoiled.err, "36050"));

  std::signal(SIGXFSZ, SIG_IGN);
  setenv("LLVM_PROFILE_FILE", "/dev/null", 1);  // a coverage build writes files too
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  const rlimit small{500, limit.rlim_max};  // octets a file, as on a full device
  setrlimit(RLIMIT_FSIZE, &small);
  const Result cut = issue({"-o", out.Path("cut.der")});
  setrlimit(RLIMIT_FSIZE, &limit);
  unsetenv("LLVM_PROFILE_FILE");
  std::signal(SIGXFSZ, SIG_DFL);
  EXPECT_EQ(cut.exit, 4);
  EXPECT_TRUE(Holds(cut.err, "File too large"));
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
    EXPECT_TRUE(Holds(result.err, note));
  }
  const json request = json::parse(result.out);
  EXPECT_EQ(request["subject"], "cn=a");
  EXPECT_EQ(request["policy"], "1.2.3");
  EXPECT_EQ(request["notice"], "notice");
  EXPECT_EQ(request["validity"]["notAfter"], "2049-12-31T23:59:59Z");
  Write("odd.json", result.out);
  EXPECT_EQ(RunUser("odd.json", "odd.out").exit, 0);

  // One member that is refused takes no other with it, but for a holder's name without its VID.
  for (const size_t size : {size_t{20}, size_t{2}}) {
    const Octets vid = Sequence(
        {Oid("1.2.410.200004.10.1.1.1"),
         Sequence({Der(0x30, Oid("1.3.14.3.2.26")), Der(0xA0, Der(0x04, Octets(size, 1)))})});
    const Octets identity = Sequence({Der(0x0C, "A"), Der(0x30, vid)});
    parts.subject = Hex("3000");
    parts.extensions = {
        Extension("2.5.29.17",
                  Der(0x30, Sequence({Oid("1.2.410.200004.10.1.1"), Der(0xA0, identity)}, 0xA0))),
        Extension("2.5.29.31", Hex("3009 3007 A005 A003 8601 20"))};
    folder_->Write("odd.der", StringOf(MakeCertificate(parts)));
    const Result refused = RunCommand({"show", "--as-request", path});
    EXPECT_TRUE(Holds(refused.err, "subject: is empty"));
    EXPECT_TRUE(Holds(refused.err, "crl: is left out"));
    EXPECT_EQ(json::parse(refused.out).value("holderName", ""), size == 20 ? "A" : "");
    EXPECT_EQ(json::parse(refused.out).value("vid", ""), size == 20 ? Repeat(20, "01") : "");
  }
}

constexpr const char* kOfOtherPeople[] = {"selfSigned: leaves no place for --issuer",
                                          "the certificate begins before its issuer",
                                          "unknown pkeyID", "subject: "};

// What comes of other people's certificates is a request, and refused for these reasons alone.
TEST_F(Issue, TakesRequestsOfRealCertificates) {
  const std::vector<fs::path> paths = CorpusFiles("certs");
  if (paths.empty()) GTEST_SKIP() << "without the corpus";
  for (size_t i = 0; i < paths.size(); i += 48) {
    const Result request = RunCommand({"show", "--as-request", paths[i]});
    ASSERT_EQ(request.exit, 0) << paths[i] << ' ' << request.err;
    Write("real.json", request.out);
    const Result issued = Run({"real.json", "--issuer", "ca.der", "--key", "ca.key", "--dry-run"});
    const bool known = std::any_of(
        std::begin(kOfOtherPeople), std::end(kOfOtherPeople),
        [&](const char* reason) { return issued.err.find(reason) != std::string::npos; });
    EXPECT_TRUE(issued.exit == 0 || known) << paths[i] << ' ' << issued.err;
  }
}

}  // namespace
}  // namespace corvid::test
