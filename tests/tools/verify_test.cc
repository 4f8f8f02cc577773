// Chains made and signed on the spot by OpenSSL: each fault is found, at its certificate and by its
// check; hostile candidates cost a bounded number of signatures; the command tells it all.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <algorithm>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <type_traits>
#include <vector>

#include "chain.h"
#include "command.h"
#include "support/signing.h"

static int g_verifications = 0;

uint32_t CVD_CSP_VerifyMsgSignature(const BIN* signature, const BIN* data, const BIN* publicKey,
                                    int32_t signID, const CVD_AlgorithmParameters* parameters) {
  ++g_verifications;
  static const auto next = reinterpret_cast<decltype(&CVD_CSP_VerifyMsgSignature)>(
      dlsym(RTLD_NEXT, "CVD_CSP_VerifyMsgSignature"));
  return next(signature, data, publicKey, signID, parameters);
}

namespace corvid::test {
namespace {

using nlohmann::json;

// ---- certificates and lists ----------------------------------------------------------------

// One key a role; kWeak has 1024 bits. The first three are the places of a scenario's links too.
enum Key : uint8_t { kLeaf, kCa, kRoot, kOther, kWeak };
EVP_PKEY* KeyOf(Key key) {
  static std::map<Key, Pkey> keys;
  const auto [made, added] = keys.try_emplace(key, nullptr, EVP_PKEY_free);
  if (added) made->second = NewRsaKey(key == kWeak ? 1024U : 2048U);
  return made->second.get();
}

constexpr const char* kSha1Rsa = "1.2.840.113549.1.1.5";
constexpr const char* kSha256Rsa = "1.2.840.113549.1.1.11";
constexpr const char* kEcdsa = "1.2.840.10045.4.3.2";

Octets NameOf(const char* text, uint8_t tag = 0x0C) { return Name({{"2.5.4.3", Der(tag, text)}}); }

struct Link {
  CertificateParts parts = {};
  Key key = kLeaf;
  Key signer = kCa;
  bool trusted = false;

  Octets der() const {
    CertificateParts full = parts;
    full.spki = PublicKeyInfo(KeyOf(key));
    return SignedBy(KeyOf(signer), MakeCertificate(full));
  }
};

const Octets kIsCa = Extension("2.5.29.19", Hex("30030101FF"), true);
const Octets kIsCaOfNone = Extension("2.5.29.19", Hex("30060101FF020100"), true);
const Octets kSignsAll = Extension("2.5.29.15", Hex("03020106"));  // keyCertSign, cRLSign

Link MakeCa(const char* subject, Key key, const char* issuer, Key signer) {
  Link link{{}, key, signer};
  link.parts.subject = NameOf(subject);
  link.parts.issuer = NameOf(issuer);
  link.parts.extensions = {kIsCa, kSignsAll};
  return link;
}

struct List {
  const char* issuer = "CA";
  Key signer = kCa;
  const char* revoked = "";  // a serial number, in hexadecimal
  const char* this_update = "260601000000Z";
  const char* next_update = "260701000000Z";
  Octets extensions = {};
  std::string algorithm = kSha256Rsa;

  Octets der() const {
    const auto utc = [](const char* text) { return Der(0x17, text); };
    ListParts parts{.inner = algorithm, .outer = algorithm, .issuer = NameOf(issuer)};
    parts.this_update = utc(this_update);
    if (*next_update != '\0') parts.next_update = utc(next_update);
    if (*revoked != '\0') parts.entries = {Sequence({Der(0x02, Hex(revoked)), utc(this_update)})};
    if (!extensions.empty()) parts.extensions = {extensions};
    return SignedBy(KeyOf(signer), MakeList(parts));
  }
};

// ---- chains --------------------------------------------------------------------------------

constexpr int64_t kJune15 = 1781481600;  // 2026-06-15 00:00:00 UTC

struct Scenario {
  // The certificate asked for, its CA, the root; then others.
  std::vector<Link> links{
      {}, MakeCa("CA", kCa, "Root", kRoot), MakeCa("Root", kRoot, "Root", kRoot)};
  // A list of the CA and one of the root, when they are asked for; then others.
  std::vector<List> lists{List{}, List{"Root", kRoot}};
  tool::Question question{kJune15, 0, false};

  Scenario() {
    links[kLeaf].parts.issuer = NameOf("CA");
    links[kLeaf].parts.subject = NameOf("Leaf");
    links[kRoot].trusted = true;
  }
};

tool::Verdict Verify(const Scenario& scenario) {
  tool::CertificateStore store;
  size_t index = 0;
  for (const Link& link : scenario.links) {
    const Octets der = link.der();
    EXPECT_TRUE(store.Add({der.data(), der.size()}, link.trusted, &index).ok());
  }
  std::vector<tool::GivenList> lists(scenario.lists.size());
  for (size_t i = 0; i < lists.size(); ++i) {
    const Octets der = scenario.lists[i].der();
    static_cast<void>(lists[i].Load({der.data(), der.size()}));
  }
  g_verifications = 0;
  tool::SignatureCache cache;
  return tool::VerifyChain(store, lists, scenario.question, store.at(0), &cache);
}

// "0 validity 36051, 2 key warning": the place in the chain, the check, and the code of a no.
std::string Complaints(const tool::Verdict& verdict) {
  std::string text;
  bool valid = true;
  for (size_t i = 0; i < verdict.chain.size(); ++i) {
    for (const tool::Check& check : verdict.chain[i].checks) {
      if (check.result == tool::Result::kOk) continue;
      valid = valid && check.result == tool::Result::kWarning;
      text += (text.empty() ? "" : ", ") + std::to_string(i) + ' ' + check.name + ' ' +
              (check.result == tool::Result::kNo ? std::to_string(check.code) : "warning");
    }
  }
  EXPECT_EQ(verdict.valid, valid);
  return text;
}

// ---- faults --------------------------------------------------------------------------------

using Change = std::function<void(Scenario&)>;
struct Fault {
  const char* name;
  std::vector<Change> changes;
  const char* complaints;
};

using Parts = CertificateParts;
template <typename Value>
Change Part(size_t at, Value Parts::*field, const std::type_identity_t<Value>& value) {
  return [=](Scenario& s) { s.links[at].parts.*field = value; };
}
Change Extensions(size_t at, const std::vector<Octets>& all) {
  return Part(at, &Parts::extensions, all);
}
template <typename Value>
Change Of(size_t at, Value Link::*field, const std::type_identity_t<Value>& value) {
  return [=](Scenario& s) { s.links[at].*field = value; };
}
template <typename Value>
Change OfList(size_t at, Value List::*field, const std::type_identity_t<Value>& value) {
  return [=](Scenario& s) { s.lists[at].*field = value; };
}
Change With(const Link& link) {
  return [=](Scenario& s) { s.links.push_back(link); };
}
Change With(const List& list) {
  return [=](Scenario& s) { s.lists.push_back(list); };
}
Change Ask(const tool::Question& question) {
  return [=](Scenario& s) { s.question = question; };
}

Octets Utc(const char* text) { return Der(0x17, text); }
const Octets kFor2099 = Der(0x18, "20990101000000Z");
const Octets kUnknown = Extension("1.2.3", Hex("0500"));
const Octets kUnknownCritical = Extension("1.2.3", Hex("0500"), true);
const Octets kKey1 = Extension("2.5.29.14", Hex("040101"));
const Octets kOfKey1 = Extension("2.5.29.35", Hex("3003800101"));
const Octets kKeyIdCritical = Extension("2.5.29.14", Hex("040101"), true);
const Octets kBadAltName = Extension("2.5.29.17", Hex("0500"));
const Octets kConstraints = Extension("2.5.29.30", Hex("3000"));
const Octets kConstraintsCritical = Extension("2.5.29.30", Hex("3000"), true);
const Octets kForServers = Extension("2.5.29.37", Hex("300A06082B06010505070301"));
const Octets kCertSignOnly = Extension("2.5.29.15", Hex("03020204"));
const Octets kCrlSignOnly = Extension("2.5.29.15", Hex("03020102"));
const Octets kDelta = Extension("2.5.29.27", Hex("020101"), true);
const Octets kCaListOnly = Extension("2.5.29.28", Hex("30038201FF"), true);

const Fault kChainFaults[] = {
    // The certificate itself.
    {"NotAfterIsInclusive", {Part(kLeaf, &Parts::not_after, Utc("260615000000Z"))}, ""},
    {"ExpiredASecondAgo",
     {Part(kLeaf, &Parts::not_after, Utc("260614235959Z"))},
     "0 validity 36051"},
    {"NotYetValid", {Part(kCa, &Parts::not_before, Utc("260615000001Z"))}, "1 validity 36051"},
    {"After2038",
     {Part(kLeaf, &Parts::not_after, kFor2099), Part(kCa, &Parts::not_after, kFor2099),
      Part(kRoot, &Parts::not_after, kFor2099), Ask({3000000000, 0, false})},
     ""},
    {"ExpiredAnchor", {Part(kRoot, &Parts::not_after, Utc("260614000000Z"))}, "2 validity 36051"},
    {"WrongSigner", {Of(kLeaf, &Link::signer, kOther)}, "0 signature 36050"},
    {"UnsupportedAlgorithm", {Part(kLeaf, &Parts::signature_oid, kEcdsa)}, "0 signature 36012"},
    {"OuterAlgorithmDiffers",
     {Part(kLeaf, &Parts::outer_oid, kSha1Rsa)},
     "0 signatureAlgorithm 0, 0 digest warning"},
    {"WeakDigest", {Part(kCa, &Parts::signature_oid, kSha1Rsa)}, "1 digest warning"},
    {"WeakDigestOfAnchor", {Part(kRoot, &Parts::signature_oid, kSha1Rsa)}, ""},
    {"WeakKey", {Of(kLeaf, &Link::key, kWeak)}, "0 key warning"},
    {"UnknownVersion", {Part(kLeaf, &Parts::version, Hex("A003020103"))}, "0 version 0"},
    // Extensions.
    {"UnknownCritical", {Extensions(kLeaf, {kUnknownCritical})}, "0 extensions 0"},
    {"UnknownNotCritical", {Extensions(kLeaf, {kUnknown})}, ""},
    {"CriticalKeyIdentifier", {Extensions(kLeaf, {kKeyIdCritical})}, "0 extensions 0"},
    {"Undecodable", {Extensions(kLeaf, {kBadAltName})}, "0 extensions 1012"},
    {"Twice",
     {Extensions(kLeaf, {kUnknownCritical, kUnknownCritical})},
     "0 extensions 0, 0 extensions 0"},
    {"InVersion1",
     {Part(kLeaf, &Parts::version, {}), Extensions(kLeaf, {kUnknown})},
     "0 version 0"},
    {"UnderstoodAndCritical",
     {Extensions(kLeaf, {Extension("2.5.29.15", Hex("03020780"), true),
                         Extension("2.5.29.17", Hex("3003820161"), true),
                         Extension("2.5.29.18", Hex("3003820161"), true),
                         Extension("2.5.29.19", Hex("3000"), true),
                         Extension("2.5.29.31", Hex("3009 3007 A005 A003 860175"), true),
                         Extension("2.5.29.32", Hex("3005 3003 06012A"), true),
                         Extension("2.5.29.37", Hex("3003 06012A"), true)})},
     ""},
    {"NotEvaluated",
     {Extensions(kCa,
                 {kIsCa, kConstraints, Extension("2.5.29.33", Hex("3000")),
                  Extension("2.5.29.36", Hex("3000")), Extension("2.5.29.54", Hex("020100"))})},
     "1 extensions 0, 1 extensions 0, 1 extensions 0, 1 extensions 0"},
    {"OfAnchor", {Extensions(kRoot, {kIsCa, kConstraints})}, "2 extensions warning"},
    {"CriticalOfAnchor", {Extensions(kRoot, {kIsCa, kConstraintsCritical})}, "2 extensions 0"},
    // Who issues.
    {"OtherName", {Part(kLeaf, &Parts::issuer, NameOf("CB"))}, "0 issuer 0"},
    {"NameOfOtherForm", {Part(kLeaf, &Parts::issuer, NameOf(" cA ", 0x13))}, ""},
    {"EmptyIssuer",
     {Part(kLeaf, &Parts::issuer, Hex("3000")), Part(kCa, &Parts::subject, Hex("3000"))},
     "0 issuer 0"},
    {"NoBasicConstraints", {Extensions(kCa, {kSignsAll})}, "1 basicConstraints 0"},
    {"NoKeyCertSign", {Extensions(kCa, {kIsCa, kCrlSignOnly})}, "1 keyUsage 0"},
    {"CaOfVersion1", {Part(kCa, &Parts::version, {}), Extensions(kCa, {})}, "1 basicConstraints 0"},
    {"AnchorIsNoCa", {Extensions(kRoot, {kSignsAll})}, "2 basicConstraints 0"},
    {"AnchorOfVersion1", {Part(kRoot, &Parts::version, {}), Extensions(kRoot, {})}, ""},
    {"PathLengthExceeded",
     {Extensions(kCa, {kIsCaOfNone}), Of(kLeaf, &Link::signer, kOther),
      Part(kLeaf, &Parts::issuer, NameOf("Sub")), With(MakeCa("Sub", kOther, "CA", kCa))},
     "2 pathLenConstraint 0"},
    {"PathLengthOfAnchor", {Extensions(kRoot, {kIsCaOfNone})}, ""},
    // Trust.
    {"NoTrust", {Of(kRoot, &Link::trusted, false)}, "2 issuer 0"},
    {"TrustedItself", {Of(kLeaf, &Link::trusted, true), Of(kLeaf, &Link::signer, kOther)}, ""},
    {"TrustedCa", {Of(kCa, &Link::trusted, true), Of(kRoot, &Link::trusted, false)}, ""},
    {"SelfIssuedNotSelfSigned", {Part(kLeaf, &Parts::subject, NameOf("CA"))}, ""},
    {"ALessLikelyAndShorterOnePasses",
     {Extensions(kLeaf, {kOfKey1}), Extensions(kCa, {kIsCa, kKey1}),
      Part(kRoot, &Parts::not_after, Utc("260614000000Z")), With(MakeCa("CA", kCa, "CA", kCa)),
      Of(3, &Link::trusted, true)},
     ""},
    {"Circle",
     {Of(kRoot, &Link::trusted, false), Part(kRoot, &Parts::issuer, NameOf("CA")),
      Of(kRoot, &Link::signer, kCa)},
     "2 issuer 0"},
    // Usage.
    {"UsageListed", {Extensions(kLeaf, {kForServers}), Ask({kJune15, 7, false})}, ""},
    {"UsageNotListed", {Extensions(kLeaf, {kForServers}), Ask({kJune15, 8, false})}, "0 usage 0"},
};

// The same with lists: 0 of the CA, 1 of the root.
const Fault kListFaults[] = {
    {"Missing", {OfList(1, &List::issuer, "Other")}, "1 revocation 0"},
    {"Revoked", {OfList(0, &List::revoked, "0102")}, "0 revocation 36082"},
    {"RevokedByOneOfThree", {With(List{"CA", kCa, "0102"}), With(List{})}, "0 revocation 36082"},
    {"OtherRevoked", {OfList(0, &List::revoked, "0103")}, ""},
    {"Stale", {OfList(0, &List::next_update, "260614235959Z")}, "0 revocation 0"},
    {"OfLater", {OfList(0, &List::this_update, "260615000001Z")}, "0 revocation 0"},
    {"NoNextUpdate", {OfList(0, &List::next_update, "")}, "0 revocation 0"},
    {"Forged", {OfList(0, &List::signer, kOther)}, "0 revocation 33031"},
    {"ForgedBesideGood", {With(List{"CA", kOther, "0102"})}, ""},
    {"NoCrlSign", {Extensions(kCa, {kIsCa, kCertSignOnly})}, "0 revocation 33031"},
    {"WeakDigestOfList", {OfList(0, &List::algorithm, kSha1Rsa)}, "0 revocation warning"},
    {"DeltaBesideGood", {With(List{}), OfList(2, &List::extensions, kDelta)}, "0 revocation 0"},
    {"DeltaOfAnother", {With(List{"Other", kOther}), OfList(2, &List::extensions, kDelta)}, ""},
    {"CaCertificatesOnly", {OfList(0, &List::extensions, kCaListOnly)}, "0 revocation 33021"},
};

// The CA's list is signed by another certificate of that name, which is the first of those added.
const Fault kSignerFaults[] = {
    {"Own", {With(MakeCa("CA", kOther, "Root", kRoot))}, ""},
    {"Revoked",
     {OfList(1, &List::revoked, "0A"), With(MakeCa("CA", kOther, "Root", kRoot)),
      Part(3, &Parts::serial, Hex("0A"))},
     "0 revocation 33031"},
    {"Untrusted", {With(MakeCa("CA", kOther, "CA", kOther))}, "0 revocation 33031"},
    {"OfOtherAnchor",
     {With(List{"Other", kLeaf}), With(MakeCa("CA", kOther, "Other", kLeaf)),
      With(MakeCa("Other", kLeaf, "Other", kLeaf)), Of(4, &Link::trusted, true)},
     "0 revocation 33031"},
    {"NamesakeOfAnotherCa",
     {With(List{"Second", kLeaf}), With(MakeCa("CA", kOther, "Second", kLeaf)),
      With(MakeCa("Second", kLeaf, "Root", kRoot))},
     "0 revocation 33031"},
    {"WithoutKeyUsage",
     {With(MakeCa("CA", kOther, "Root", kRoot)), Extensions(3, {kIsCa})},
     "0 revocation 33031"},
    {"VouchesForItself", {With(MakeCa("CA", kOther, "CA", kCa))}, "0 revocation 33031"},
};

void ExpectComplaints(const Fault& fault, bool check_status) {
  SCOPED_TRACE(fault.name);
  Scenario scenario;
  scenario.question.check_status = check_status;
  for (const Change& change : fault.changes) change(scenario);
  EXPECT_EQ(Complaints(Verify(scenario)), fault.complaints);
}

TEST(Verify, FaultsAreFoundAtTheirCertificate) {
  for (const Fault& fault : kChainFaults) ExpectComplaints(fault, false);
  for (const Fault& fault : kListFaults) ExpectComplaints(fault, true);
  for (Fault fault : kSignerFaults) {
    fault.changes.insert(fault.changes.begin(), OfList(0, &List::signer, kOther));
    ExpectComplaints(fault, true);
  }
}

// ---- hostile candidates --------------------------------------------------------------------

// Adds CAs of one name and key identifier that differ in their serial numbers.
void AddCandidates(Scenario* scenario, int count, const Link& link) {
  for (int i = 0; i < count; ++i) {
    scenario->links.push_back(link);
    scenario->links.back().parts.serial = {1, static_cast<uint8_t>(i >> 8),
                                           static_cast<uint8_t>(i)};
  }
}

TEST(VerifyBounds, AThousandCandidatesOfOneNameAndKeyIdentifier) {
  Scenario scenario;
  const Octets identifier = Extension("2.5.29.14", Hex("04020A0B"));
  scenario.links[kLeaf].parts.extensions = {Extension("2.5.29.35", Hex("300480020A0B"))};
  Link other = MakeCa("CA", kOther, "Root", kRoot);
  other.parts.extensions.push_back(identifier);
  AddCandidates(&scenario, 1000, other);
  EXPECT_EQ(Complaints(Verify(scenario)), "0 signature 36050, 0 search 0");
  EXPECT_LE(g_verifications, static_cast<int>(tool::kMostVerifications));

  scenario.links[kCa].parts.extensions.push_back(identifier);
  EXPECT_EQ(Complaints(Verify(scenario)), "");
  EXPECT_EQ(g_verifications, 2);
}

// Every one has signed every other, so that there are more paths than could be walked; and lists of
// one issuer by many signers, whose own status hangs on the same lists.
TEST(VerifyBounds, AMeshOfIssuersOrOfListSigners) {
  for (const bool lists : {false, true}) {
    Scenario scenario;
    scenario.question.check_status = lists;
    if (lists) scenario.lists[0].signer = kOther;
    scenario.links[kRoot].trusted = lists;
    const Key key = lists ? kOther : kCa;
    AddCandidates(&scenario, 40, MakeCa("CA", key, "CA", kCa));
    const tool::Verdict verdict = Verify(scenario);
    EXPECT_EQ(Complaints(verdict),
              lists ? "0 revocation 0, 0 search 0, 1 revocation 0" : "0 search 0, 15 issuer 0");
    EXPECT_LE(verdict.chain.size(), tool::kMostCertificates);
    EXPECT_LE(g_verifications, static_cast<int>(tool::kMostVerifications));
  }
}

// ---- the command ---------------------------------------------------------------------------

class VerifyCommand : public testing::Test {
 protected:
  VerifyCommand() { scenario_.links[kLeaf].parts.subject = NameOf("Leaf\x1b"); }
  void WriteFiles() {
    leaf_ = folder_.Write("leaf.der", StringOf(scenario_.links[kLeaf].der()));
    ca_ = folder_.Write("ca.pem", Pem(scenario_.links[kCa].der()));
    root_ = folder_.Write("root.pem", Pem(scenario_.links[kRoot].der()));
    std::string lists = "text\n";
    for (const List& list : scenario_.lists) lists += Pem(list.der(), "X509 CRL");
    lists_ = folder_.Write("lists.pem", lists);
  }
  Result Run(const Arguments& more = {}) {
    return RunCommand(Arguments{"verify", leaf_, "--trust", root_, "--issuer", ca_, "--crl", lists_,
                                "--at", "2026-06-15T00:00:00Z"} +
                      more);
  }

  Scenario scenario_;
  TemporaryFolder folder_;
  std::string leaf_, ca_, root_, lists_;
};

TEST_F(VerifyCommand, TellsEveryCheck) {
  scenario_.links[kCa].parts.not_after = Der(0x17, "260101000000Z");
  WriteFiles();
  const Result result = Run({"--trust", ca_, "--usage", "sign"});
  EXPECT_EQ(result.exit, 1);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out, leaf_ + R"(: certificate 1
Certificate                   cn=Leaf\1b
  issuer                      ok: cn=CA
  signature                   ok
  signatureAlgorithm          ok
  version                     ok: 3
  validity                    ok: until 2027-01-01T00:00:00Z
  extensions                  ok
  usage                       no: the certificate does not name it
  revocation                  ok: )" +
                            lists_ + R"(: line 2
  digest                      ok
  key                         ok: 2048 bits
Trust anchor                  cn=CA
  input                       )" +
                            ca_ + R"(: certificate 1
  trust                       ok
  version                     ok: 3
  validity                    no: 36051 invalid time, not after 2026-01-01T00:00:00Z
  extensions                  ok
  basicConstraints            ok
  keyUsage                    ok
  key                         ok: 2048 bits
Answer                        no
)");
}

TEST_F(VerifyCommand, WritesTheSameAsJson) {
  scenario_.lists[0].revoked = "0102";
  WriteFiles();
  const Result result = Run({ca_, "--json"});
  EXPECT_EQ(result.exit, 1);
  const json document = json::parse(result.out);
  EXPECT_EQ(document["at"], "2026-06-15T00:00:00Z");
  EXPECT_EQ(document["certificates"].at(1)["answer"], "yes");
  const json& answer = document["certificates"].at(0);
  EXPECT_EQ(answer["answer"], "no");
  EXPECT_EQ(answer["chain"].at(2)["trusted"], true);
  for (const json& check : answer["chain"][0]["checks"]) {
    const bool revoked = check["check"] == "revocation";
    EXPECT_EQ(check.value("code", 0), revoked ? 36082 : 0) << check;
    EXPECT_EQ(check.contains("code"), revoked) << check;
    EXPECT_EQ(check["result"], revoked ? "no" : "ok") << check;
  }
}

TEST_F(VerifyCommand, HasItsExitStatus) {
  WriteFiles();
  EXPECT_EQ(Run().exit, 0);
  EXPECT_EQ(Run({"--at", "1781481600"}).exit, 2) << "two times";
  EXPECT_EQ(RunCommand({"verify", leaf_}).exit, 2) << "no trust";
  for (const char* time :
       {"2026-02-29T00:00:00Z", "2026-13-01T00:00:00Z", "2026-00-01T00:00:00Z",
        "2026-0a-01T00:00:00Z", "2026-01-01T24:00:00Z", "2026-01-01", "-1", ""}) {
    EXPECT_EQ(RunCommand({"verify", leaf_, "--trust", root_, "--at", time}).exit, 2) << time;
  }
  EXPECT_EQ(RunCommand({"verify", leaf_, "--trust", leaf_, "--at", "1781481600"}).exit, 0);
  EXPECT_EQ(RunCommand({"verify", leaf_, "--trust", root_, "--at", "1781481600"}).exit, 1);

  const Result unread = Run({"--crl", folder_.Path("none")});
  EXPECT_EQ(unread.exit, 3);
  EXPECT_TRUE(Holds(unread.out, "Answer                        yes\n"));
  EXPECT_TRUE(Holds(unread.err, "/none: 8003 "));
  EXPECT_EQ(Run({"--crl", ca_}).exit, 3) << "no list";
  EXPECT_EQ(Run({"--issuer", lists_}).exit, 3) << "no certificate";
}

TEST_F(VerifyCommand, AListThatIsNotEvaluatedIsNoUnreadInput) {
  scenario_.lists.push_back(List{"Unrelated", kOther});
  scenario_.lists[2].extensions = Extension("2.5.29.27", Hex("020101"), true);
  WriteFiles();
  const Result result = Run();
  EXPECT_EQ(result.exit, 0);
  EXPECT_TRUE(Holds(result.err, "lists.pem: line 22: 33013 "));
}

// The certificates asked about are candidates for each other's chains; of more than a thousand they
// are not held, and are candidates for nobody's.
TEST_F(VerifyCommand, AnyNumberOfCertificatesIsAskedAbout) {
  WriteFiles();
  const std::string pem = Pem(scenario_.links[kLeaf].der()) + Pem(scenario_.links[kCa].der());
  const std::string two = folder_.Write("two.pem", pem);
  EXPECT_EQ(RunCommand({"verify", two, "--trust", root_, "--at", "1781481600"}).exit, 0);
  const std::string path = folder_.Write("bundle.pem", Repeat(600, pem));
  const Arguments ask{"verify", path,         "--trust",  root_,
                      "--at",   "1781481600", "--fields", "answer,failed"};
  const Result without = RunCommand(ask);
  EXPECT_EQ(without.exit, 1);
  EXPECT_EQ(without.out.substr(0, 17), "no\tissuer\nyes\t\nno");
  EXPECT_TRUE(Holds(without.err, "many certificates"));
  const Result with = RunCommand(ask + Arguments{"--issuer", ca_, "-j3"});
  EXPECT_EQ(with.exit, 0);
  EXPECT_EQ(std::count(with.out.begin(), with.out.end(), 'y'), 1200);
}

}  // namespace
}  // namespace corvid::test
