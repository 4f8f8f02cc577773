// The signature of a list (RFC 5280 section 5.1.1).
#include <algorithm>
#include <cstring>
#include <iterator>

#include "corvid/algorithm_rows.hpp"
#include "corvid/csp.h"
#include "services/crl/internal.h"

namespace corvid {

namespace {

const SignRow* SignRowOf(const CVD_OID& oid) {
  const OidWords words = WordsOf(oid);
  for (const SignRow& row : kSignRows) {
    if (row.words == words || row.older == words) return &row;
  }
  return nullptr;
}

// Octets alone do not tell keys of one form apart: a key serves the algorithm that it is for.
bool IsKeyOf(int32_t pkey_id, const CVD_OID& oid) {
  const OidWords words = WordsOf(oid);
  return std::any_of(std::begin(kKeyRows), std::end(kKeyRows), [&](const KeyRow& row) {
    return row.pkeyID == pkey_id && (row.words == words || row.older == words);
  });
}

bool SameAlgorithm(const CVD_AlgorithmIdentifier& a, const CVD_AlgorithmIdentifier& b) {
  return CVD_ASN_CmpOID(&a.algorithm, &b.algorithm) == 0 && a.present == b.present &&
         CompareOctets(View(a.parameters), View(b.parameters)) == 0;
}

// keyUsage, where there is one, must have cRLSign (RFC 5280 section 4.2.1.3).
[[nodiscard]] uint32_t CheckKeyUsage(const CVD_ExtensionNode* extensions) {
  constexpr uint16_t kCrlSign = 0x8000 >> 6;
  for (const CVD_ExtensionNode* node = extensions; node != nullptr; node = node->next) {
    if (!IsOid<CVD_OID_KEY_USAGE>(node->extension.extnID)) continue;
    Decoded<CVD_KeyUsage, CVD_PDU_KEY_USAGE> usage;
    if (const uint32_t status = usage.Decode(node->extension.extnValue); status != 0) return status;
    if ((usage->usage & kCrlSign) == 0) return CVD_CRL_ERR_SIGNATURE;
  }
  return 0;
}

[[nodiscard]] uint32_t Verify(const CVD_CertificateList& list, const CVD_Certificate& issuer) {
  const CVD_TBSCertificate& signer = issuer.tbsCertificate;
  if (CVD_ASN_CmpName(&list.tbsCertList.issuer, &signer.subject) != 0) return CVD_CRL_ERR_ISSUER;
  if (const uint32_t status = CheckKeyUsage(signer.extensions); status != 0) return status;
  if (!SameAlgorithm(list.tbsCertList.signature, list.signatureAlgorithm)) {
    return CVD_CRL_ERR_ALGORITHM;
  }
  const SignRow* row = SignRowOf(list.signatureAlgorithm.algorithm);
  if (row == nullptr) return CVD_CRL_ERR_ALGORITHM;
  if (!IsKeyOf(row->pkeyID, signer.subjectPublicKeyInfo.algorithm.algorithm) ||
      signer.subjectPublicKeyInfo.subjectPublicKey.bits % 8 != 0) {
    return CVD_CSP_ERR_BAD_KEY;
  }
  if (list.signature.bits % 8 != 0) return CVD_CSP_ERR_BAD_SIGNATURE;
  ScopedBin signed_part;
  const uint32_t encoded = CVD_ASN_EncodePDU(&signed_part, &list, CVD_PDU_TBS_CERT_LIST);
  if (encoded != 0) return encoded;
  const CVD_BitString& bits = list.signature;
  const CVD_SubjectPublicKeyInfo& key = signer.subjectPublicKeyInfo;
  const BIN signature = Borrow({bits.data, bits.bits / 8});
  const BIN public_key = Borrow({key.subjectPublicKey.data, key.subjectPublicKey.bits / 8});
  const bool has_parameters = row->pkeyID == CVD_PKEY_DSA || row->pkeyID == CVD_PKEY_KCDSA;
  const CVD_AlgorithmParameters parameters{has_parameters ? &key.algorithm.parameters : nullptr,
                                           {nullptr, nullptr}};
  const uint32_t status =
      CVD_CSP_VerifyMsgSignature(&signature, &signed_part, &public_key, row->signID, &parameters);
  return status == CVD_CSP_ERR_VERIFY ? static_cast<uint32_t>(CVD_CRL_ERR_SIGNATURE) : status;
}

}  // namespace
}  // namespace corvid

uint32_t CVD_CRL_VerifySignature(const CVD_CRL* crl, const CVD_Certificate* issuer) {
  if (crl == nullptr || issuer == nullptr) return CVD_CRL_ERR_INVALID_INPUT;
  return corvid::Verify(*crl->list, *issuer);
}
