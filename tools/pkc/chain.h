// Chains of certificates: from a given certificate over candidates to one that is trusted, with
// every check that makes a chain true (RFC 5280 section 6). Nothing here reads files or writes
// output.
#ifndef CORVID_TOOLS_PKC_CHAIN_H_
#define CORVID_TOOLS_PKC_CHAIN_H_

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
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
  uint64_t number = 0;
  std::string subject = {};
  std::string issuer = {};
  bool stored = false;  // in a store, for as long as that lives

  // Reads the certificate and its key identifiers.
  pkc::Status Load(pkc::Octets der);
};

// Every certificate that was given, once.
class CertificateStore {
 public:
  // `*index` is the place of the certificate, which may have been there before; it is trusted when
  // it was given as such at least once.
  pkc::Status Add(pkc::Octets der, bool trusted, size_t* index);
  // Null when it is not there.
  const Candidate* Find(pkc::Octets der) const;
  size_t size() const { return candidates_.size(); }
  Candidate& at(size_t index) { return candidates_[index]; }
  const Candidate& at(size_t index) const { return candidates_[index]; }

 private:
  std::vector<Candidate> candidates_;
  struct Hash : std::hash<std::string_view> {
    using is_transparent = void;
  };
  std::unordered_map<std::string, size_t, Hash, std::equal_to<>> indices_;  // by DER
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
  const Candidate* given;
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

// What signature checks have given, by who signed what: chains to the same anchors have most of
// their links in common. A remembered check counts as one towards the limits, so that an answer
// does not depend on earlier ones. One a thread.
class SignatureCache {
 public:
  uint32_t Verify(const Candidate& certificate, const Candidate& signer);
  uint32_t Verify(const GivenList& list, const Candidate& signer);

 private:
  using Key = std::pair<const void*, const Candidate*>;
  struct Hash {
    size_t operator()(const Key& key) const;
  };
  template <typename Check>
  uint32_t Remembered(const Key& key, Check check);

  std::unordered_map<Key, uint32_t, Hash> known_;
};

// The target may be a certificate of the store, or another one. The cache serves one store and its
// lists.
Verdict VerifyChain(const CertificateStore& store, const std::vector<GivenList>& lists,
                    const Question& question, const Candidate& target, SignatureCache* cache);

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_CHAIN_H_
