// The search for a chain, depth first, and the revocation status of its certificates. Key
// identifiers only order the candidates: names and signatures decide.
#include "chain.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace corvid::tool {
namespace {

const CVD_TBSCertificate& Tbs(const Candidate& candidate) {
  return candidate.certificate->tbsCertificate;
}

bool IsSelfIssued(const Candidate& candidate) {
  return CVD_ASN_CmpName(&Tbs(candidate).issuer, &Tbs(candidate).subject) == 0;
}

// What one answer has cost so far, shared by all searches for it.
struct Work {
  uint32_t verifications_left = kMostVerifications;
  bool exhausted = false;
  std::vector<const Candidate*> signers =
      {};  // whose chains are being searched for, outermost first

  bool Spend() {
    exhausted = exhausted || verifications_left == 0;
    if (!exhausted) --verifications_left;
    return !exhausted;
  }
};

// Why a path goes no further.
enum class End : uint8_t { kTrusted, kNoIssuer, kBadSignature, kTooLong, kGivenUp };
struct Ending {
  End end;
  uint32_t code = 0;
  const Candidate* issuer = nullptr;  // of a bad signature
};

// What a list says of a certificate, the stronger the higher.
enum class Standing : uint8_t { kSilent, kUnusable, kClears, kRefused, kRevokes };
struct Finding {
  Standing standing = Standing::kSilent;
  uint32_t code = 0;
  const char* detail = "";
  const GivenList* list = nullptr;
};

class ChainSearch {
 public:
  // `anchor`: the one that a chain must end in, unless it is of a trusted certificate alone; null
  // for any.
  ChainSearch(const CertificateStore& store, const std::vector<GivenList>& lists,
              const Question& question, const Candidate* anchor, Work* work, SignatureCache* cache)
      : store_(store),
        lists_(lists),
        question_(question),
        anchor_(anchor),
        work_(*work),
        cache_(*cache) {}

  Verdict Run(const Candidate& target) {
    path_ = {&target};
    Extend();
    return std::move(best_);
  }

 private:
  const Candidate& Given(size_t step) const { return *path_[step]; }

  bool Extend();
  std::vector<const Candidate*> Issuers() const;
  int Rank(const Candidate& child, const Candidate& candidate) const;
  bool Settle(const Ending& ending);
  Verdict Judge(const Ending& ending);
  void CheckEnd(const Ending& ending, Checks* checks) const;
  void CheckStatus(size_t step, Checks* checks);
  Finding Ask(const GivenList& list, size_t step);
  uint32_t CheckSigner(const GivenList& list, size_t step);
  bool IsSigner(const GivenList& list, const Candidate& signer, size_t step);
  bool IsOfTheSameCa(const Candidate& signer, size_t step) const;

  const CertificateStore& store_;
  const std::vector<GivenList>& lists_;
  const Question& question_;
  const Candidate* anchor_;
  Work& work_;
  SignatureCache& cache_;
  std::vector<const Candidate*> path_;
  Verdict best_;
  bool best_trusted_ = false;
};

// True once a chain passes. Every step costs a verification, so that they bound the search.
bool ChainSearch::Extend() {
  const Candidate& child = *path_.back();
  if (child.trusted) return Settle({End::kTrusted});
  if (path_.size() == kMostCertificates) return Settle({End::kTooLong});
  const std::vector<const Candidate*> issuers = Issuers();
  if (issuers.empty()) return Settle({End::kNoIssuer});
  for (const Candidate* issuer : issuers) {
    if (!work_.Spend()) return Settle({End::kGivenUp});
    const uint32_t status = cache_.Verify(child, *issuer);
    if (status != 0) {
      Settle({End::kBadSignature, status, issuer});
      continue;
    }
    path_.push_back(issuer);
    const bool found = Extend();
    path_.pop_back();
    if (found) return true;
  }
  return false;
}

// The candidates for the issuer of the path's last certificate, likely ones first.
std::vector<const Candidate*> ChainSearch::Issuers() const {
  const Candidate& child = *path_.back();
  const CVD_Name& name = Tbs(child).issuer;
  if (name.rdnSequence == nullptr) return {};  // RFC 5280 section 4.1.2.4
  std::vector<std::pair<int, size_t>> found;
  for (size_t i = 0; i < store_.size(); ++i) {
    if (CVD_ASN_CmpName(&Tbs(store_.at(i)).subject, &name) != 0) continue;
    if (std::find(path_.begin(), path_.end(), &store_.at(i)) != path_.end()) continue;
    found.emplace_back(Rank(child, store_.at(i)), i);
  }
  std::sort(found.begin(), found.end());
  std::vector<const Candidate*> issuers;
  issuers.reserve(found.size());
  for (const auto& [rank, index] : found) issuers.push_back(&store_.at(index));
  return issuers;
}

int ChainSearch::Rank(const Candidate& child, const Candidate& candidate) const {
  const bool told = !child.authority_key.empty() && !candidate.subject_key.empty();
  const int key = !told ? 1 : child.authority_key == candidate.subject_key ? 0 : 2;
  const bool current = question_.at >= pkc::Seconds(Tbs(candidate).notBefore) &&
                       question_.at <= pkc::Seconds(Tbs(candidate).notAfter);
  return 4 * key + (current ? 0 : 2) + (candidate.trusted ? 0 : 1);
}

// The path is complete, or goes no further. True when it passes.
bool ChainSearch::Settle(const Ending& ending) {
  const bool trusted = ending.end == End::kTrusted;
  if (trusted && anchor_ != nullptr && path_.size() > 1 && path_.back() != anchor_) return false;
  const bool better =
      std::pair(trusted, path_.size()) > std::pair(best_trusted_, best_.chain.size());
  if (!trusted && !better) return false;
  Verdict verdict = Judge(ending);
  const bool valid = verdict.valid;
  if (!valid && !better) return false;
  best_ = std::move(verdict);
  best_trusted_ = trusted;
  return valid;
}

Verdict ChainSearch::Judge(const Ending& ending) {
  Verdict verdict;
  verdict.valid = true;
  int32_t below = 0;  // the anchor's own constraint is no part of the path (RFC 5280 section 6.1.1)
  const bool trusted = ending.end == End::kTrusted;
  for (size_t step = 0; step < path_.size(); ++step) {
    const CVD_Certificate& certificate = *Given(step).certificate;
    const bool last = step + 1 == path_.size();
    const bool anchor = trusted && last;
    Checks checks;
    if (last) {
      CheckEnd(ending, &checks);
    } else {
      checks.push_back({"issuer", Result::kOk, 0, Given(step + 1).subject});
      checks.push_back({"signature", Result::kOk});
    }
    if (!anchor) CheckAlgorithms(certificate, &checks);
    CheckVersion(certificate, &checks);
    CheckValidity(certificate, question_.at, &checks);
    CheckExtensions(certificate, anchor, &checks);
    if (step > 0) CheckIssuing(certificate, anchor, &checks);
    if (step > 0 && !anchor) CheckPathLength(certificate, below, &checks);
    if (step > 0 && !IsSelfIssued(Given(step))) ++below;
    if (step == 0 && question_.usage != 0) CheckUsage(certificate, question_.usage, &checks);
    if (question_.check_status && trusted && !last) CheckStatus(step, &checks);
    CheckStrength(certificate, anchor, &checks);
    verdict.valid = verdict.valid && std::none_of(checks.begin(), checks.end(), [](const Check& c) {
                      return c.result == Result::kNo;
                    });
    verdict.chain.push_back({path_[step], std::move(checks)});
  }
  return verdict;
}

// What stands in place of the next certificate.
void ChainSearch::CheckEnd(const Ending& ending, Checks* checks) const {
  const Candidate& last = *path_.back();
  switch (ending.end) {
    case End::kTrusted:
      return checks->push_back({"trust", Result::kOk});
    case End::kNoIssuer:
      return checks->push_back({"issuer", Result::kNo, 0,
                                IsSelfIssued(last)
                                    ? "is self-issued, and not trusted"
                                    : "no other certificate of " + last.issuer + " was given"});
    case End::kTooLong:
      return checks->push_back(
          {"issuer", Result::kNo, 0,
           "the chain has more than " + std::to_string(kMostCertificates) + " certificates"});
    case End::kGivenUp:
      return checks->push_back({"issuer", Result::kNo, 0, "not found"});
    case End::kBadSignature:
      break;
  }
  const bool unsupported =
      ending.code == PKC_ERR_UNKNOWN_SIGNID || ending.code == PKC_ERR_UNKNOWN_PKEYID;
  checks->push_back({"issuer", Result::kOk, 0, ending.issuer->subject});
  checks->push_back(
      {"signature", Result::kNo, ending.code, unsupported ? "the algorithm is not supported" : ""});
}

// ---- revocation ----------------------------------------------------------------------------

void ChainSearch::CheckStatus(size_t step, Checks* checks) {
  Finding strongest;
  for (const GivenList& list : lists_) {
    const Finding finding = Ask(list, step);
    if (finding.standing > strongest.standing) strongest = finding;
  }
  const bool clear = strongest.standing == Standing::kClears;
  std::string detail =
      strongest.list == nullptr ? "no list of its issuer was given" : strongest.list->name;
  if (*strongest.detail != '\0') detail = detail + ", " + strongest.detail;
  checks->push_back({"revocation", clear ? Result::kOk : Result::kNo, strongest.code, detail});
  if (clear && strongest.list->weak_digest) {
    checks->push_back({"revocation", Result::kWarning, 0, "the digest of the list is weak"});
  }
}

// A list of another issuer (RFC 5280 section 5.2.5, indirectCRL) can revoke a certificate, but not
// clear it: who may speak for whom is not evaluated.
Finding ChainSearch::Ask(const GivenList& list, size_t step) {
  const CVD_Certificate& certificate = *Given(step).certificate;
  const CVD_Name* issuer = list.issuer();
  if (issuer == nullptr) return {};
  const bool own = CVD_ASN_CmpName(issuer, &certificate.tbsCertificate.issuer) == 0;
  if (!list.list) {
    if (!own) return {};
    return {Standing::kRefused, 0, "is a list of its issuer that is not evaluated", &list};
  }
  const uint32_t answer = CVD_IsCertRevoked(nullptr, list.list.get(), &certificate);
  if (answer == CVD_CRL_ERR_ISSUER) return {};
  if (answer > 1) return {Standing::kUnusable, answer, "", &list};

  CVD_CRLInfo info{};
  if (const uint32_t status = CVD_CRL_GetInfo(list.list.get(), &info); status != 0) {
    return {Standing::kUnusable, status, "", &list};
  }
  if (question_.at < info.thisUpdate) return {Standing::kUnusable, 0, "is of later", &list};
  // A list that does not tell its nextUpdate (-1) is stale at any time.
  if (info.nextUpdate < info.thisUpdate || question_.at > info.nextUpdate)
    return {Standing::kUnusable, 0, "is stale", &list};
  const uint32_t status = CheckSigner(list, step);
  if (work_.exhausted) return {Standing::kRefused, 0, "was not verified", &list};
  if (status != 0) return {Standing::kUnusable, status, "", &list};
  if (answer == 1) return {Standing::kRevokes, PKC_ERR_CERT_REVOKED, "", &list};
  if (!own) return {Standing::kUnusable, 0, "is a list of another issuer", &list};
  return {Standing::kClears, 0, "", &list};
}

// The list is signed by the certificate's issuer, or by another certificate of the list's issuer
// that has a chain of its own to the same anchor (RFC 5280 section 6.3.3, step f).
uint32_t ChainSearch::CheckSigner(const GivenList& list, size_t step) {
  if (!work_.Spend()) return CVD_CRL_ERR_SIGNATURE;
  const uint32_t status = cache_.Verify(list, Given(step + 1));
  if (status == 0) return 0;
  for (size_t i = 0; i < store_.size() && !work_.exhausted; ++i) {
    if (IsSigner(list, store_.at(i), step)) return 0;
  }
  return status;
}

bool NamesCrlSign(const CVD_TBSCertificate& signer) {
  constexpr uint16_t kCrlSign = 0x0200;
  const CVD_Extension* usage =
      CVD_GetExtension(signer.extensions, CVD_ASN_GetOID(CVD_OID_KEY_USAGE));
  return usage != nullptr && CVD_CheckKeyUsage(nullptr, usage, kCrlSign) == 0;
}

// Names alone do not make a signer: another CA may have issued to a namesake. The signer comes from
// the CA itself, or from where the CA's own certificate comes (separate keys), or, when that one is
// self-issued (renewed keys), the one above it.
bool ChainSearch::IsOfTheSameCa(const Candidate& signer, size_t step) const {
  const CVD_Name& issuer = Tbs(signer).issuer;
  const CVD_Name& authority = Tbs(Given(step + 1)).subject;
  if (CVD_ASN_CmpName(&issuer, &authority) == 0) return true;
  for (size_t above = step + 1; above < path_.size(); ++above) {
    if (CVD_ASN_CmpName(&Tbs(Given(above)).subject, &authority) != 0) break;
    if (CVD_ASN_CmpName(&issuer, &Tbs(Given(above)).issuer) == 0) return true;
  }
  return false;
}

// A signer whose own chain is being searched for says nothing about the status of that chain.
bool ChainSearch::IsSigner(const GivenList& list, const Candidate& signer, size_t step) {
  if (&signer == path_[step + 1]) return false;
  const std::vector<const Candidate*>& open = work_.signers;
  if (open.size() == kMostNestedSigners) return false;
  if (std::find(open.begin(), open.end(), &signer) != open.end()) return false;
  if (CVD_ASN_CmpName(list.issuer(), &Tbs(signer).subject) != 0) return false;
  if (!NamesCrlSign(Tbs(signer)) || !IsOfTheSameCa(signer, step) || !work_.Spend()) return false;
  if (cache_.Verify(list, signer) != 0) return false;
  work_.signers.push_back(&signer);
  const Question question{question_.at, 0, true};
  const bool valid =
      ChainSearch(store_, lists_, question, path_.back(), &work_, &cache_).Run(signer).valid;
  work_.signers.pop_back();
  return valid;
}

}  // namespace

pkc::Status Candidate::Load(pkc::Octets der) {
  if (const pkc::Status status = certificate.Decode(der); !status.ok()) return status;
  subject_key = SubjectKeyIdentifier(*certificate);
  authority_key = AuthorityKeyIdentifier(*certificate);
  return 0;
}

pkc::Status CertificateStore::Add(pkc::Octets der, bool trusted, size_t* index) {
  const auto known = indices_.find(der.text());
  if (known != indices_.end()) {
    *index = known->second;
    candidates_[*index].trusted = candidates_[*index].trusted || trusted;
    return 0;
  }
  Candidate candidate;
  if (const pkc::Status status = candidate.Load(der); !status.ok()) return status;
  candidate.trusted = trusted;
  candidate.stored = true;
  *index = candidates_.size();
  candidates_.push_back(std::move(candidate));
  indices_.emplace(der.text(), *index);
  return 0;
}

const Candidate* CertificateStore::Find(pkc::Octets der) const {
  const auto known = indices_.find(der.text());
  return known == indices_.end() ? nullptr : &candidates_[known->second];
}

pkc::Status GivenList::Load(pkc::Octets der) {
  const pkc::Status status = list.Load(der);
  if (!refused.Decode(der).ok()) return status;
  weak_digest = HasWeakDigest(refused->signatureAlgorithm.algorithm);
  if (status.ok()) refused.Reset();
  return status;
}

const CVD_Name* GivenList::issuer() const {
  CVD_CRLInfo info{};
  if (refused) return &refused->tbsCertList.issuer;
  return CVD_CRL_GetInfo(list.get(), &info) == 0 ? info.issuer : nullptr;
}

size_t SignatureCache::Hash::operator()(const Key& key) const {
  const std::hash<const void*> hash;
  return hash(key.first) * 31 + hash(key.second);
}

template <typename Check>
uint32_t SignatureCache::Remembered(const Key& key, Check check) {
  constexpr size_t kMost = 1U << 16;
  if (const auto known = known_.find(key); known != known_.end()) return known->second;
  const uint32_t status = check();
  const bool told = status == 0 || status == PKC_ERR_INVALID_SIGNATURE ||
                    status == CVD_CRL_ERR_SIGNATURE;  // and not, for example, out of memory
  if (told && known_.size() < kMost) known_.emplace(key, status);
  return status;
}

uint32_t SignatureCache::Verify(const Candidate& certificate, const Candidate& signer) {
  const auto check = [&] {
    return CVD_PKC_VerifySignature(&*certificate.certificate, &*signer.certificate);
  };
  return certificate.stored ? Remembered({&certificate, &signer}, check) : check();
}

uint32_t SignatureCache::Verify(const GivenList& list, const Candidate& signer) {
  return Remembered({&list, &signer},
                    [&] { return CVD_CRL_VerifySignature(list.list.get(), &*signer.certificate); });
}

Verdict VerifyChain(const CertificateStore& store, const std::vector<GivenList>& lists,
                    const Question& question, const Candidate& target, SignatureCache* cache) {
  Work work;
  Verdict verdict = ChainSearch(store, lists, question, nullptr, &work, cache).Run(target);
  if (!verdict.valid && work.exhausted) {
    verdict.chain.front().checks.push_back(
        {"search", Result::kNo, 0,
         "given up after " + std::to_string(kMostVerifications) + " signature verifications"});
  }
  return verdict;
}

}  // namespace corvid::tool
