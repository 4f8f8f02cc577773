// The checks of one certificate.
#include "certificate_checks.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <string_view>

#include "time_text.h"

namespace corvid::tool {
namespace {

void Add(Checks* checks, const char* name, Result result, std::string detail = {},
         uint32_t code = 0) {
  checks->push_back({name, result, code, std::move(detail)});
}

const CVD_Extension* Find(const CVD_Certificate& certificate, int32_t number) {
  return CVD_GetExtension(certificate.tbsCertificate.extensions, CVD_ASN_GetOID(number));
}

bool SameAlgorithm(const CVD_AlgorithmIdentifier& a, const CVD_AlgorithmIdentifier& b) {
  return CVD_ASN_CmpOID(&a.algorithm, &b.algorithm) == 0 && a.present == b.present &&
         pkc::Octets(a.parameters).text() == pkc::Octets(b.parameters).text();
}

// ---- extensions ----------------------------------------------------------------------------

enum class Handling : uint8_t {
  kUnderstood,   // also when it is critical
  kOptional,     // decoded, and no more
  kNotEvaluated  // says no for the whole chain
};

struct ExtensionRow {
  uint8_t arc;  // the last of 2.5.29.x
  const char* name;
  Handling handling;
  int32_t pdu;  // 0: is not decoded
};
constexpr ExtensionRow kExtensions[] = {
    {14, "subjectKeyIdentifier", Handling::kOptional, CVD_PDU_SUBJECT_KEY_IDENTIFIER},
    {15, "keyUsage", Handling::kUnderstood, CVD_PDU_KEY_USAGE},
    {17, "subjectAltName", Handling::kUnderstood, CVD_PDU_GENERAL_NAMES},
    {18, "issuerAltName", Handling::kUnderstood, CVD_PDU_GENERAL_NAMES},
    {19, "basicConstraints", Handling::kUnderstood, CVD_PDU_BASIC_CONSTRAINTS},
    {30, "nameConstraints", Handling::kNotEvaluated, 0},
    {31, "cRLDistributionPoints", Handling::kUnderstood, CVD_PDU_CRL_DISTRIBUTION_POINTS},
    {32, "certificatePolicies", Handling::kUnderstood, CVD_PDU_CERTIFICATE_POLICIES},
    {33, "policyMappings", Handling::kNotEvaluated, 0},
    {35, "authorityKeyIdentifier", Handling::kOptional, CVD_PDU_AUTHORITY_KEY_IDENTIFIER},
    {36, "policyConstraints", Handling::kNotEvaluated, 0},
    {37, "extKeyUsage", Handling::kUnderstood, CVD_PDU_EXT_KEY_USAGE},
    {54, "inhibitAnyPolicy", Handling::kNotEvaluated, 0},
};

const ExtensionRow* FindRow(const CVD_OID& oid) {
  constexpr uint8_t kArcs[] = {0x55, 0x1D};  // 2.5.29
  if (oid.length != 3 || !std::equal(std::begin(kArcs), std::end(kArcs), oid.data)) return nullptr;
  const auto* row = std::find_if(std::begin(kExtensions), std::end(kExtensions),
                                 [&](const ExtensionRow& r) { return r.arc == oid.data[2]; });
  return row == std::end(kExtensions) ? nullptr : row;
}

std::string NameOf(const ExtensionRow* row, const CVD_OID& oid) {
  pkc::Text dotted;
  if (row != nullptr) return row->name;
  return pkc::DottedText(oid, &dotted).ok() ? std::string(dotted.view()) : "an extension";
}

pkc::Status TryDecode(const BIN& value, int32_t pdu) {
  void* record = nullptr;
  const pkc::Status status = CVD_ASN_DecodePDU(&record, &value, pdu);
  CVD_ASN_FreePDU(record, pdu);
  return status;
}

void CheckExtension(const CVD_Extension& extension, bool anchor, Checks* checks) {
  const ExtensionRow* row = FindRow(extension.extnID);
  const bool critical = extension.critical != 0;
  const std::string name = NameOf(row, extension.extnID);
  if (row != nullptr && row->handling == Handling::kNotEvaluated) {
    const Result result = anchor && !critical ? Result::kWarning : Result::kNo;
    return Add(checks, "extensions", result, name + " is not evaluated");
  }
  if (critical && (row == nullptr || row->handling != Handling::kUnderstood)) {
    return Add(checks, "extensions", Result::kNo, name + " is critical and not understood");
  }
  if (row == nullptr) return;
  const pkc::Status status = TryDecode(extension.extnValue, row->pdu);
  if (!status.ok()) Add(checks, "extensions", Result::kNo, name, status.code());
}

// ---- keys ----------------------------------------------------------------------------------

struct LeastKey {
  int32_t pkeyID;
  uint32_t bits;
};
constexpr LeastKey kLeastKeys[] = {{CVD_PKEY_RSA, 2048},
                                   {CVD_PKEY_DH, 2048},
                                   {CVD_PKEY_DSA, 2048},
                                   {CVD_PKEY_KCDSA, 2048},
                                   {CVD_PKEY_EC, 224}};

// Keys of other algorithms, and those that inherit their parameters (RFC 3279 section 2.3.2), have
// no length that could be told.
void CheckKey(const CVD_SubjectPublicKeyInfo& info, Checks* checks) {
  const int32_t pkeyID = CVD_PKC_ObjID_To_PkeyID(&info.algorithm.algorithm);
  const auto* row = std::find_if(std::begin(kLeastKeys), std::end(kLeastKeys),
                                 [pkeyID](const LeastKey& r) { return r.pkeyID == pkeyID; });
  const bool has_length = row != std::end(kLeastKeys) &&
                          (pkeyID == CVD_PKEY_RSA || (info.algorithm.present & 0x80) != 0);
  if (!has_length) return Add(checks, "key", Result::kWarning, "its strength is not known");
  uint32_t bits = 0;
  const BIN key = pkc::Octets(info.subjectPublicKey).bin();
  const pkc::Status status = CVD_CSP_GetKeyLength(&bits, &key, pkeyID, &info.algorithm.parameters);
  if (!status.ok()) return Add(checks, "key", Result::kNo, {}, status.code());
  const bool weak = bits < row->bits;
  Add(checks, "key", weak ? Result::kWarning : Result::kOk,
      std::to_string(bits) + (weak ? " bits are weak" : " bits"));
}

std::string KeyIdentifier(const CVD_Certificate& certificate, int32_t number,
                          uint32_t (*decode)(BIN*, const BIN*)) {
  const CVD_Extension* extension = Find(certificate, number);
  pkc::Bin identifier;
  if (extension == nullptr || decode(identifier.out(), &extension->extnValue) != 0) return {};
  return std::string(identifier.octets().text());
}

}  // namespace

// RFC 5280 section 4.1.2.1.
void CheckVersion(const CVD_Certificate& certificate, Checks* checks) {
  const CVD_TBSCertificate& tbs = certificate.tbsCertificate;
  constexpr int32_t kVersion3 = 2;
  const int64_t number = int64_t{tbs.version} + 1;
  if (number < 1 || number > 3) {
    return Add(checks, "version", Result::kNo, std::to_string(number) + " is unknown");
  }
  const bool fits = tbs.extensions == nullptr || tbs.version == kVersion3;
  Add(checks, "version", fits ? Result::kOk : Result::kNo,
      std::to_string(number) + (fits ? "" : ", which has no extensions"));
}

// RFC 5280 section 4.1.1.2.
void CheckAlgorithms(const CVD_Certificate& certificate, Checks* checks) {
  const bool same =
      SameAlgorithm(certificate.signatureAlgorithm, certificate.tbsCertificate.signature);
  Add(checks, "signatureAlgorithm", same ? Result::kOk : Result::kNo,
      same ? "" : "another one in the signed part");
}

void CheckValidity(const CVD_Certificate& certificate, int64_t at, Checks* checks) {
  const int64_t begin = pkc::Seconds(certificate.tbsCertificate.notBefore);
  const int64_t end = pkc::Seconds(certificate.tbsCertificate.notAfter);
  const bool early = at < begin;
  const bool valid = !early && at <= end;
  std::string detail = early ? "not before " : valid ? "until " : "not after ";
  detail += TimeText(early ? begin : end).view();
  Add(checks, "validity", valid ? Result::kOk : Result::kNo, std::move(detail),
      valid ? 0 : uint32_t{PKC_ERR_INVALID_TIME});
}

void CheckExtensions(const CVD_Certificate& certificate, bool anchor, Checks* checks) {
  std::set<std::string_view> seen;
  const size_t before = checks->size();
  for (const auto& node : pkc::Nodes(certificate.tbsCertificate.extensions)) {
    const CVD_Extension& extension = node.extension;
    if (!seen.insert(pkc::Octets(extension.extnID).text()).second) {
      Add(checks, "extensions", Result::kNo,
          NameOf(FindRow(extension.extnID), extension.extnID) + " occurs more than once");
      continue;
    }
    CheckExtension(extension, anchor, checks);
  }
  if (checks->size() == before) Add(checks, "extensions", Result::kOk);
}

// Certificates of versions 1 and 2 cannot say that they are a CA's; where one is trusted, that says
// it (RFC 5280 section 6.1.4, step k).
void CheckIssuing(const CVD_Certificate& certificate, bool anchor, Checks* checks) {
  constexpr uint16_t kKeyCertSign = 0x8000 >> 5;
  constexpr int32_t kVersion3 = 2;
  const bool taken = anchor && certificate.tbsCertificate.version < kVersion3;
  const bool ca = taken || CVD_CheckCaOrNot(nullptr, &certificate) == 1;
  Add(checks, "basicConstraints", ca ? Result::kOk : Result::kNo, ca ? "" : "is no CA");
  const CVD_Extension* usage = Find(certificate, CVD_OID_KEY_USAGE);
  const bool signs = usage == nullptr || CVD_CheckKeyUsage(nullptr, usage, kKeyCertSign) == 0;
  Add(checks, "keyUsage", signs ? Result::kOk : Result::kNo, signs ? "" : "lacks keyCertSign");
}

void CheckPathLength(const CVD_Certificate& certificate, int32_t below, Checks* checks) {
  const CVD_Extension* extension = Find(certificate, CVD_OID_BASIC_CONSTRAINTS);
  pkc::Decoded<CVD_BasicConstraints> constraints;
  if (extension == nullptr || !constraints.Decode(extension->extnValue).ok()) return;
  if ((constraints->present & 0x40) == 0) return;
  const int32_t most = constraints->pathLenConstraint;
  Add(checks, "pathLenConstraint", below <= most ? Result::kOk : Result::kNo,
      std::to_string(most) + " allowed, " + std::to_string(below) + " below");
}

void CheckUsage(const CVD_Certificate& certificate, int32_t usage, Checks* checks) {
  const bool allowed = CVD_CheckCertUsage(nullptr, &certificate, usage) == 0;
  Add(checks, "usage", allowed ? Result::kOk : Result::kNo,
      allowed ? "" : "the certificate does not name it");
}

void CheckStrength(const CVD_Certificate& certificate, bool anchor, Checks* checks) {
  if (!anchor) {
    const bool weak = HasWeakDigest(certificate.signatureAlgorithm.algorithm);
    Add(checks, "digest", weak ? Result::kWarning : Result::kOk,
        weak ? "of its signature is weak" : "");
  }
  CheckKey(certificate.tbsCertificate.subjectPublicKeyInfo, checks);
}

bool HasWeakDigest(const CVD_OID& signature_algorithm) {
  constexpr int32_t kWeak[] = {CVD_SIGN_MD2_RSA, CVD_SIGN_MD5_RSA, CVD_SIGN_SHA1_RSA,
                               CVD_SIGN_SHA1_DSA, CVD_SIGN_SHA1_KCDSA};
  const int32_t signID = CVD_PKC_ObjID_To_SignID(&signature_algorithm);
  return std::find(std::begin(kWeak), std::end(kWeak), signID) != std::end(kWeak);
}

std::string SubjectKeyIdentifier(const CVD_Certificate& certificate) {
  return KeyIdentifier(certificate, CVD_OID_SUBJECT_KEY_IDENTIFIER, CVD_PKC_SubKeyId_Decode);
}

std::string AuthorityKeyIdentifier(const CVD_Certificate& certificate) {
  return KeyIdentifier(certificate, CVD_OID_AUTHORITY_KEY_IDENTIFIER, CVD_PKC_AuthKeyId_Decode);
}

}  // namespace corvid::tool
