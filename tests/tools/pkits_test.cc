// The NIST suite of certification paths (PKITS), every case through the code behind
// `pkc verify`: no case that must fail passes, and of those that must pass only the listed ones are
// refused, each for its reason.
#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "chain.h"
#include "support/support.h"

namespace corvid::test {
namespace {

// 2020-06-01 00:00:00 UTC, when the suite's certificates and lists are current.
constexpr int64_t kTime = 1590969600;

// Valid cases that are refused. `sign` is part of what the command says of each.
struct Refusals {
  const char* reason;
  const char* sign;
  const char* cases;
};
constexpr Refusals kRefusals[] = {
    {"the policies that the case begins with cannot be told to the command", "",
     "4.8.1.1 4.8.1.2 4.8.1.4 4.8.6.2 4.8.10.2 4.8.10.3 4.8.11.2 4.8.13.1 4.8.13.2 4.8.13.3 "
     "4.8.14.1 4.8.18.1 4.8.18.2 4.8.20 4.10.1.1 4.10.3.2 4.10.5.1 4.10.6.1 4.10.12.1 4.10.12.2 "
     "4.10.13.2"},
    {"policies are not evaluated", "policyConstraints is not evaluated",
     "4.8.6.1 4.8.10.1 4.8.11.1 4.9.1 4.9.2 4.9.4 4.9.6 4.12.2 4.12.3.1 4.12.7 4.12.9"},
    {"policy mappings are not evaluated", "policyMappings is not evaluated",
     "4.10.9 4.10.11 4.10.13.1 4.10.14 4.11.2 4.11.4 4.11.7"},
    {"name constraints are not evaluated", "nameConstraints is not evaluated",
     "4.13.1 4.13.4 4.13.5 4.13.6 4.13.11 4.13.14 4.13.18 4.13.19 4.13.21 4.13.23 4.13.25 "
     "4.13.27 4.13.30 4.13.32 4.13.34 4.13.36"},
    {"the issuer's DSA key inherits its parameters", "signature: 6021", "4.1.5"},
    {"lists of some reasons are not evaluated", "that is not evaluated", "4.14.18 4.14.19"},
    {"lists of another issuer do not clear",
     "revocation: ", "4.14.24 4.14.25 4.14.28 4.14.29 4.14.30 4.14.33"},
    {"delta lists are not evaluated", "that is not evaluated", "4.15.2 4.15.7 4.15.8"},
    {"a delta list takes the certificate off its base", "revocation: 36082", "4.15.5"},
};

struct Case {
  std::string number;  // "4.8.1.2" for a subpart
  bool valid;
  std::string settings;
  std::vector<std::string> certificates;  // the anchor first
  std::vector<std::string> lists;
};

std::vector<std::string> Words(const std::string& text) {
  std::istringstream in(text);
  std::vector<std::string> words;
  for (std::string word; in >> word;) words.push_back(word);
  return words;
}

std::filesystem::path Suite() { return std::filesystem::path(CORVID_CORPUS_DIR) / "pkits"; }

std::vector<Case> Cases() {
  std::vector<Case> cases;
  std::ifstream file(Suite() / "cases.tsv");
  std::string line;
  std::getline(file, line);  // the titles of the columns
  while (std::getline(file, line)) {
    std::istringstream in(line);
    std::array<std::string, 6> columns;
    for (std::string& column : columns) std::getline(in, column, '\t');
    const size_t subpart = columns[1].find("(Subpart ");
    if (subpart != std::string::npos) {
      columns[0] += std::string(".") + columns[1][subpart + sizeof "(Subpart " - 1];
    }
    cases.push_back(
        {columns[0], columns[2] == "valid", columns[3], Words(columns[4]), Words(columns[5])});
  }
  return cases;
}

// The command cannot be told an initial policy set, nor the other inputs about policies.
bool CanBeAsked(const Case& c) { return c.settings.find("Initial") == std::string::npos; }

tool::Verdict Verify(const Case& c) {
  tool::CertificateStore store;
  size_t index = 0;
  for (const std::string& name : c.certificates) {
    const Octets der = ReadFile(Suite() / "certs" / (name + ".crt"));
    const bool anchor = &name == &c.certificates.front();
    EXPECT_TRUE(store.Add({der.data(), der.size()}, anchor, &index).ok()) << name;
  }
  std::vector<tool::GivenList> lists(c.lists.size());
  for (size_t i = 0; i < lists.size(); ++i) {
    const Octets der = ReadFile(Suite() / "crls" / (c.lists[i] + ".crl"));
    static_cast<void>(lists[i].Load({der.data(), der.size()}));
    EXPECT_TRUE(lists[i].list || lists[i].refused) << c.lists[i];
  }
  tool::SignatureCache cache;
  return tool::VerifyChain(store, lists, {kTime, 0, true}, store.at(index), &cache);
}

std::string Noes(const tool::Verdict& verdict) {
  std::string text;
  for (const auto& checked : verdict.chain) {
    for (const auto& check : checked.checks) {
      if (check.result != tool::Result::kNo) continue;
      text += std::string(text.empty() ? "" : "; ") + check.name + ": " +
              std::to_string(check.code) + ' ' + check.detail;
    }
  }
  return text;
}

TEST(Pkits, EveryCaseHasTheVerdictOfTheSuite) {
  std::map<std::string, const Refusals*> refusals;
  for (const Refusals& row : kRefusals) {
    for (const std::string& number : Words(row.cases)) refusals[number] = &row;
  }
  std::map<std::string, int> counts;
  for (const Case& c : Cases()) {
    SCOPED_TRACE(c.number);
    const tool::Verdict verdict = Verify(c);
    const bool accepted = CanBeAsked(c) && verdict.valid;
    ++counts[std::string(c.valid ? "valid" : "invalid") + (accepted ? ", yes" : ", no")];
    const auto row = refusals.find(c.number);
    const bool listed = row != refusals.end();
    EXPECT_EQ(accepted, c.valid && !listed) << Noes(verdict);
    if (!listed) continue;
    EXPECT_NE(Noes(verdict).find(row->second->sign), std::string::npos)
        << row->second->reason << ": " << Noes(verdict);
    refusals.erase(row);
  }
  EXPECT_TRUE(refusals.empty()) << refusals.begin()->first << " is no case of the suite";
  EXPECT_EQ(counts["valid, yes"], 46);
  EXPECT_EQ(counts["valid, no"], 68);
  EXPECT_EQ(counts["invalid, no"], 135);
}

}  // namespace
}  // namespace corvid::test
