// Algorithm numbers and identifiers of signatures, the queries that tell which algorithms a DER or
// PEM certificate uses, and the checks of a certificate: time, signature, revocation, CA, usage.
// Older and newer KCDSA identifiers are read alike; the newer are written.
#include <ctime>

#include "corvid/codec.h"
#include "corvid/crl.h"
#include "pkc/internal.h"

namespace corvid {
namespace {

constexpr Tracer kTrace{"suite_pkc_check"};

// ---- signature algorithms ------------------------------------------------------------------

const SignRow* FindSignRow(int64_t signID) {
  const auto* row = std::find_if(std::begin(kSignRows), std::end(kSignRows),
                                 [signID](const SignRow& r) { return r.signID == signID; });
  return row == std::end(kSignRows) ? nullptr : row;
}

int32_t SignIDOf(const CVD_OID& oid) {
  const SignRow* row = SignRowOf(oid);
  return row == nullptr ? CVD_SIGN_UNKNOWN : row->signID;
}

// The KCDSA signature algorithm of a certificate. Certificates that name it only in place of the
// key's identifier are met, so that is looked at when signatureAlgorithm is no KCDSA one.
int32_t KcdsaSignIDOf(const CVD_Certificate& certificate) {
  for (const CVD_OID* oid :
       {&certificate.signatureAlgorithm.algorithm,
        &certificate.tbsCertificate.subjectPublicKeyInfo.algorithm.algorithm}) {
    const SignRow* row = SignRowOf(*oid);
    if (row != nullptr && row->pkeyID == CVD_PKEY_KCDSA) return row->signID;
  }
  return CVD_SIGN_UNKNOWN;
}

// ---- the two queries: SHA-1 stands for everything that is not recognised --------------------

int32_t HashIDOf(const CVD_Certificate& certificate) {
  const int32_t signID = SignIDOf(certificate.signatureAlgorithm.algorithm);
  const int32_t kcdsa = KcdsaSignIDOf(certificate);
  if (signID == CVD_SIGN_SHA1_RSA || kcdsa == CVD_SIGN_SHA1_KCDSA) return CVD_HASH_SHA1;
  if (signID == CVD_SIGN_SHA256_RSA || kcdsa == CVD_SIGN_SHA256_KCDSA) return CVD_HASH_SHA256;
  return kcdsa == CVD_SIGN_HAS160_KCDSA ? CVD_HASH_HAS160 : CVD_HASH_SHA1;
}

int32_t QueriedSignIDOf(const CVD_Certificate& certificate) {
  const int32_t signID = SignIDOf(certificate.signatureAlgorithm.algorithm);
  if (signID >= CVD_SIGN_SHA1_RSA && signID <= CVD_SIGN_SHA512_RSA) return signID;
  const int32_t kcdsa = KcdsaSignIDOf(certificate);
  return kcdsa == CVD_SIGN_UNKNOWN ? CVD_SIGN_SHA1_RSA : kcdsa;
}

uint32_t Query(int32_t (*classify)(const CVD_Certificate&), uint32_t* result,
               const BIN* certificate) {
  if (certificate == nullptr || certificate->data == nullptr) return PKC_ERR_INVALID_INPUT;
  ScopedBin der;
  const uint32_t status =
      IsPem(*certificate) ? DecodePem(&der, certificate) : CVD_BIN_Copy(&der, certificate);
  if (status != 0) return status;
  DecodedCertificate decoded;
  if (uint32_t code = decoded.Decode(der); code != 0) return code;
  *result = static_cast<uint32_t>(classify(*decoded));
  return 0;
}

// ---- PEM (RFC 7468) ------------------------------------------------------------------------

constexpr std::string_view kPemStart = "-----BEGIN";

// Copies the base64 body: what stands between the first line and the next '-', without line ends.
void CopyPemBody(std::string_view lines, char* out) {
  for (const char c : lines.substr(0, lines.find('-'))) {
    if (c != '\r' && c != '\n') *out++ = c;
  }
  *out = '\0';
}

uint32_t DecodePemBody(BIN* der, std::string_view lines) {
  auto* body = static_cast<char*>(CVD_malloc(lines.size() + 1));
  if (body == nullptr) return PKC_ERR_MALLOC;
  CopyPemBody(lines, body);
  const uint32_t status = CVD_Base64ToBin(body, der);
  CVD_free(body);
  return status;
}

// ---- the hash of the VID -------------------------------------------------------------------

constexpr uint32_t kHolderNameSize = 256;

uint32_t VidHashAlg(int32_t* hashID, const BIN* certificate) {
  if (certificate == nullptr || certificate->data == nullptr) return PKC_ERR_INVALID_INPUT;
  DecodedCertificate decoded;
  if (uint32_t status = decoded.Decode(*certificate); status != 0) return status;
  char name[kHolderNameSize];
  uint32_t size = kHolderNameSize;
  ScopedBin vid;
  return CVD_PKC_GetVIDInfo(name, &size, hashID, &vid, decoded.get());
}

// ---- checks --------------------------------------------------------------------------------

int64_t Seconds(const CVD_Time& time) {
  return time.kind == CVD_TIME_UTC ? CVD_ASN_UTC2Time(&time.fields)
                                   : CVD_ASN_General2Time(&time.fields);
}

// 64-bit seconds: certificates that expire after 2038 are valid today.
bool IsValidAt(const CVD_Certificate& certificate, int64_t time) {
  return time >= Seconds(certificate.tbsCertificate.notBefore) &&
         time <= Seconds(certificate.tbsCertificate.notAfter);
}

uint32_t VerifySignature(const CVD_Certificate& certificate, const CVD_Certificate& issuer) {
  const int32_t signID = CVD_PKC_ObjID_To_SignID(&certificate.signatureAlgorithm.algorithm);
  if (signID == CVD_SIGN_UNKNOWN) return PKC_ERR_UNKNOWN_SIGNID;
  ScopedBin signed_part;
  uint32_t status = CVD_ASN_EncodePDU(&signed_part, &certificate, CVD_PDU_TBS_CERTIFICATE);
  if (status != 0) return status;
  int32_t pkeyID = 0;
  ScopedBin parameters;
  ScopedBin key;
  status = CVD_PKC_GetPubKeyInfo(&pkeyID, &parameters, &key, &issuer);
  if (status != 0) return status;
  // Octets alone do not tell keys of one form apart: a key serves the algorithm that it is for.
  if (CVD_PKC_SignID_To_PkeyID(static_cast<uint32_t>(signID)) != pkeyID) return CVD_CSP_ERR_BAD_KEY;
  CVD_AlgorithmParameters domain{};
  if (pkeyID == CVD_PKEY_DSA || pkeyID == CVD_PKEY_KCDSA) domain.parameters = &parameters;
  const BIN signature = Borrow(WholeOctets(certificate.signature));
  status = CVD_CSP_VerifyMsgSignature(&signature, &signed_part, &key, signID, &domain);
  return status == CVD_CSP_ERR_VERIFY ? static_cast<uint32_t>(PKC_ERR_INVALID_SIGNATURE) : status;
}

// The flags of CVD_CertCheck, in their order. A missing list is refused without a trace, so it is
// told apart from the checks that fail.
uint32_t CheckFlags(void* context, const CVD_CRL* crl, const CVD_Certificate& certificate,
                    const CVD_Certificate& issuer, uint16_t flags, bool* traced) {
  *traced = true;
  if ((flags & PKC_CHECK_SIGNATURE) != 0 &&
      CVD_CheckSignature(context, &certificate, &issuer) != 0) {
    return PKC_ERR_INVALID_SIGNATURE;
  }
  if ((flags & PKC_CHECK_REVOKED) != 0) {
    if (crl == nullptr) {
      *traced = false;
      return PKC_ERR_INVALID_INPUT;
    }
    if (CVD_IsCertRevoked(context, crl, &certificate) == 1) return PKC_ERR_CERT_REVOKED;
  }
  if ((flags & PKC_CHECK_TIME) != 0 && CVD_IsCertTimeValid(&certificate) != 1) {
    return PKC_ERR_USER_CERT_TIME;
  }
  if ((flags & PKC_CHECK_ISSUER_TIME) != 0 && CVD_IsCertTimeValid(&issuer) != 1) {
    return PKC_ERR_ISSUER_CERT_TIME;
  }
  return 0;
}

uint32_t CheckKeyUsage(const CVD_Extension& extension, uint16_t mask) {
  NearDecoded<CVD_KeyUsage, CVD_PDU_KEY_USAGE> usage;
  if (const uint32_t status = usage.Decode(extension.extnValue); status != 0) return status;
  return (usage->usage & mask) != 0 ? 0 : kRefused;
}

uint32_t CheckExtKeyUsage(const CVD_Extension& extension, const CVD_OID& purpose) {
  NearDecoded<CVD_ExtKeyUsageSyntax, CVD_PDU_EXT_KEY_USAGE> usage;
  if (const uint32_t status = usage.Decode(extension.extnValue); status != 0) return status;
  for (const CVD_KeyPurposeNode* node = usage->first; node != nullptr; node = node->next) {
    if (CVD_ASN_CmpOID(&node->keyPurposeId, &purpose) == 0) return 0;
  }
  return kRefused;
}

// What each usage number asks for: bits of keyUsage, or a purpose of extKeyUsage.
struct UsageRow {
  uint16_t mask;    // 0: the purpose counts
  int32_t purpose;  // CVD_OID_*
};
constexpr UsageRow kUsages[] = {
    {0x2000, CVD_OID_NONE},            // 1: keyEncipherment
    {0x8000, CVD_OID_NONE},            // 2: digitalSignature
    {0, CVD_OID_KP_TIME_STAMPING},     // 3
    {0, CVD_OID_KP_OCSP_SIGNING},      // 4
    {0, CVD_OID_KP_CODE_SIGNING},      // 5
    {0, CVD_OID_KP_EMAIL_PROTECTION},  // 6
    {0, CVD_OID_KP_SERVER_AUTH},       // 7
    {0, CVD_OID_KP_CLIENT_AUTH},       // 8
};

uint32_t CheckCertUsage(const CVD_Certificate& certificate, int32_t usage) {
  if (usage < 1 || usage > static_cast<int32_t>(std::size(kUsages))) return kRefused;
  const UsageRow& row = kUsages[usage - 1];
  const CVD_ExtensionNode* extensions = certificate.tbsCertificate.extensions;
  const CVD_Extension* extension = row.mask != 0 ? FindExtension<CVD_OID_KEY_USAGE>(extensions)
                                                 : FindExtension<CVD_OID_EXT_KEY_USAGE>(extensions);
  if (extension == nullptr) return kRefused;
  const uint32_t status =
      row.mask != 0 ? CVD_CheckKeyUsage(nullptr, extension, row.mask)
                    : CVD_CheckExtKeyUsage(nullptr, extension, CVD_ASN_GetOID(row.purpose));
  return status == 0 ? 0 : kRefused;
}

}  // namespace

bool IsPem(const BIN& certificate) {
  const Bytes octets = View(certificate);
  return octets.data() != nullptr && octets.size() >= kPemStart.size() &&
         std::memcmp(octets.data(), kPemStart.data(), kPemStart.size()) == 0;
}

uint32_t DecodePem(BIN* der, const BIN* pem) {
  if (der == nullptr || pem == nullptr || pem->data == nullptr) return PKC_ERR_INVALID_INPUT;
  const Bytes octets = View(*pem);
  const std::string_view text(reinterpret_cast<const char*>(octets.data()), octets.size());
  const size_t line_feed = text.find('\n');
  if (line_feed == std::string_view::npos) return kRefused;
  return kTrace("CVD_PKC_DecodePEM", DecodePemBody(der, text.substr(line_feed + 1)));
}

}  // namespace corvid

int32_t CVD_PKC_SignID_To_PkeyID(uint32_t signID) {
  const corvid::SignRow* row = corvid::FindSignRow(signID);
  return row == nullptr ? CVD_PKEY_UNKNOWN : row->pkeyID;
}

int32_t CVD_PKC_SignID_To_HashID(int32_t signID) {
  const corvid::SignRow* row = corvid::FindSignRow(signID);
  return row == nullptr ? CVD_HASH_UNKNOWN : row->hashID;
}

const CVD_OID* CVD_PKC_SignID_To_ObjID(uint32_t signID) {
  const corvid::SignRow* row = corvid::FindSignRow(signID);
  return row == nullptr ? nullptr : CVD_ASN_GetOID(row->oid);
}

int32_t CVD_PKC_ObjID_To_SignID(const CVD_OID* oid) {
  // Without octets it would equal the older identifier that most rows do not have.
  if (oid == nullptr || oid->length == 0) return CVD_SIGN_UNKNOWN;
  return corvid::SignIDOf(*oid);
}

uint32_t CVD_PKC_GetHashAlg(uint32_t* hashID, const BIN* certificate) {
  if (hashID == nullptr) return PKC_ERR_INVALID_INPUT;
  return corvid::kTrace("CVD_PKC_GetHashAlg", corvid::Query(corvid::HashIDOf, hashID, certificate));
}

uint32_t CVD_PKC_GetSignAlg(uint32_t* signID, const BIN* certificate) {
  if (signID == nullptr) return PKC_ERR_INVALID_INPUT;
  return corvid::kTrace("CVD_PKC_GetSignAlg",
                        corvid::Query(corvid::QueriedSignIDOf, signID, certificate));
}

uint32_t CVD_PKC_GetVIDHashAlg(int32_t* hashID, const BIN* certificate) {
  return corvid::kTrace("CVD_PKC_GetVIDHashAlg", corvid::VidHashAlg(hashID, certificate));
}

uint32_t CVD_PKC_VerifyTime(const CVD_Certificate* certificate, int32_t time) {
  if (certificate == nullptr) return PKC_ERR_INVALID_INPUT;
  return corvid::IsValidAt(*certificate, time) ? 0 : static_cast<uint32_t>(PKC_ERR_INVALID_TIME);
}

int32_t CVD_IsCertTimeValid(const CVD_Certificate* certificate) {
  return certificate != nullptr && corvid::IsValidAt(*certificate, std::time(nullptr)) ? 1 : 0;
}

uint32_t CVD_PKC_VerifySignature(const CVD_Certificate* certificate,
                                 const CVD_Certificate* issuer) {
  if (certificate == nullptr || issuer == nullptr) return PKC_ERR_INVALID_INPUT;
  return corvid::kTrace("CVD_PKC_VerifySignature", corvid::VerifySignature(*certificate, *issuer));
}

uint32_t CVD_CheckSignature(void* /*context*/, const CVD_Certificate* certificate,
                            const CVD_Certificate* issuer) {
  return CVD_PKC_VerifySignature(certificate, issuer);
}

uint32_t CVD_CertCheck(void* context, void* /*ignored*/, const CVD_CRL* crl,
                       const CVD_Certificate* certificate, const CVD_Certificate* issuer,
                       uint16_t flags) {
  if (certificate == nullptr || issuer == nullptr) return PKC_ERR_INVALID_INPUT;
  bool traced = true;
  const uint32_t status = corvid::CheckFlags(context, crl, *certificate, *issuer, flags, &traced);
  return traced ? corvid::kTrace("CVD_CertCheck", status) : status;
}

int32_t CVD_CheckCaOrNot(void* /*context*/, const CVD_Certificate* certificate) {
  if (certificate == nullptr) return PKC_ERR_INVALID_INPUT;
  const CVD_Extension* extension =
      corvid::FindExtension<CVD_OID_BASIC_CONSTRAINTS>(certificate->tbsCertificate.extensions);
  if (extension == nullptr) return 0;
  corvid::NearDecoded<CVD_BasicConstraints, CVD_PDU_BASIC_CONSTRAINTS> constraints;
  if (constraints.Decode(extension->extnValue) != 0) return -1;
  return (constraints->present & 0x80) != 0 && constraints->cA == 1 ? 1 : 0;
}

uint32_t CVD_CheckKeyUsage(void* /*context*/, const CVD_Extension* extension, uint16_t mask) {
  if (extension == nullptr) return PKC_ERR_INVALID_INPUT;
  return corvid::kTrace("CVD_CheckKeyUsage", corvid::CheckKeyUsage(*extension, mask));
}

uint32_t CVD_CheckExtKeyUsage(void* /*context*/, const CVD_Extension* extension,
                              const CVD_OID* purpose) {
  if (extension == nullptr || purpose == nullptr) return PKC_ERR_INVALID_INPUT;
  return corvid::kTrace("CVD_CheckExtKeyUsage", corvid::CheckExtKeyUsage(*extension, *purpose));
}

uint32_t CVD_CheckCertUsage(void* /*context*/, const CVD_Certificate* certificate, int32_t usage) {
  if (certificate == nullptr) return PKC_ERR_INVALID_INPUT;
  return corvid::kTrace("CVD_CheckCertUsage", corvid::CheckCertUsage(*certificate, usage));
}
