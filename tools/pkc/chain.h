// Chains of certificates: from a given certificate over candidates to one that is trusted, with
// every check that makes a chain true (RFC 5280 section 6). Nothing here reads files or writes
// output.
#ifndef CORVID_TOOLS_PKC_CHAIN_H_
#define CORVID_TOOLS_PKC_CHAIN_H_

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "certificate_checks.h"
#include "corvid/pkc.hpp"

namespace corvid::tool {

struct Candidate {
  pkc::Certificate certificate;
  bool trusted = false;
  std::string subject_key;  // the key identifiers that it carries
  std::string authority_key;
  std::string input = {};  // for those who read the answer: where it comes from, and its names
  uint32_t number = 0;
  std::string subject = {};
  std::string issuer = {};
};

// Every certificate that was given, once.
class CertificateStore {
 public:
  // `*index` is the place of the certificate, which may have been there before; it is trusted when
  // it was given as such at least once.
  pkc::Status Add(pkc::Octets der, bool trusted, size_t* index);
  size_t size() const { return candidates_.size(); }
  Candidate& at(size_t index) { return candidates_[index]; }
  const Candidate& at(size_t index) const { return candidates_[index]; }

 private:
  std::vector<Candidate> candidates_;
  std::unordered_map<std::string, size_t> indices_;  // by DER
};

// A revocation list that was given. Of one that is refused the issuer is known when it decodes at
// all, so that what it may say of that issuer's certificates is not passed over.
struct GivenList {
  pkc::RevocationList list;
  pkc::Decoded<CVD_CertificateList> refused;
  bool weak_digest = false;
  std::string name = {};  // as it is shown

  pkc::Status Load(pkc::Octets der);
  const CVD_Name* issuer() const;  // null when it is not known
};

struct Question {
  int64_t at;         // seconds since 1970
  int32_t usage;      // of the first certificate, a number of CVD_CheckCertUsage; 0: any
  bool check_status;  // each certificate below the anchor needs a revocation list that clears it
};

struct CheckedCertificate {
  size_t index;  // in the store
  Checks checks;
};
// The first chain that passes, else the longest that ends in trust, else the longest.
struct Verdict {
  bool valid = false;
  std::vector<CheckedCertificate> chain;  // from the certificate asked for upwards
};

// Limits of one answer: hostile candidates must not make the search long.
constexpr size_t kMostCertificates = 16;      // of a chain
constexpr uint32_t kMostVerifications = 256;  // of signatures, those of lists included
constexpr size_t kMostNestedSigners = 4;      // of lists about the signers of lists

Verdict VerifyChain(const CertificateStore& store, const std::vector<GivenList>& lists,
                    const Question& question, size_t target);

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_CHAIN_H_
