// Key identifiers (RFC 5280 sections 4.2.1.1 and 4.2.1.2): made from a key by method (1), SHA-1 of
// its octets, and read from the extensions. The two readers return views, so that rendering, which
// every certificate record does twice, allocates nothing.
#include "pkc/internal.h"

namespace corvid {
namespace {

constexpr Tracer kTrace{"suite_pkc_keyid"};

constexpr int32_t kTextSize = 80;  // of the two getters without a size

bool IsNull(const BIN* bin) { return bin == nullptr || bin->data == nullptr; }

// ---- reading -------------------------------------------------------------------------------

// SubjectKeyIdentifier ::= OCTET STRING. Lenient: octets after it are ignored.
[[nodiscard]] uint32_t ReadSubjectKeyId(const BIN& value, Bytes* id) {
  const Bytes der = View(value);
  Element octets;
  if (!ReadElement(der, 0, &octets) || octets.tag != kTagOctetString) return PKC_ERR_BAD_SUBKEYID;
  *id = der.subspan(octets.content, octets.length);
  return 0;
}

// AuthorityKeyIdentifier ::= SEQUENCE { keyIdentifier [0] IMPLICIT OCTET STRING OPTIONAL, ... }.
// `*id` stays null when the first element is another one. Lenient: the content of that element may
// pass the end of the SEQUENCE while it lies in the input; its header may not.
[[nodiscard]] uint32_t ReadAuthorityKeyId(const BIN& value, Bytes* id) {
  constexpr uint8_t kTagKeyIdentifier = 0x80;
  const Bytes der = View(value);
  Element sequence;
  Element first;
  if (!ReadElement(der, 0, &sequence) || sequence.tag != kTagSequence ||
      !ReadElement(der, sequence.content, &first) || first.content > sequence.end) {
    return PKC_ERR_BAD_AUTHKEYID;
  }
  if (first.tag == kTagKeyIdentifier) *id = der.subspan(first.content, first.length);
  return 0;
}

uint32_t TracedSubjectKeyId(const BIN& value, Bytes* id) {
  if (value.data == nullptr) return PKC_ERR_INVALID_INPUT;  // refused arguments leave no trace
  return kTrace("CVD_PKC_SubKeyId_Decode", ReadSubjectKeyId(value, id));
}

uint32_t TracedAuthorityKeyId(const BIN& value, Bytes* id) {
  if (value.data == nullptr) return PKC_ERR_INVALID_INPUT;
  return kTrace("CVD_PKC_AuthKeyId_Decode", ReadAuthorityKeyId(value, id));
}

uint32_t CopySubjectKeyId(BIN* out, const BIN& value) {
  Bytes id;
  if (uint32_t status = ReadSubjectKeyId(value, &id); status != 0) return status;
  const BIN borrowed = Borrow(id);
  return CVD_BIN_Copy(out, &borrowed);
}

uint32_t CopyAuthorityKeyId(BIN* out, const BIN& value) {
  Bytes id;
  if (uint32_t status = ReadAuthorityKeyId(value, &id); status != 0) return status;
  if (id.data() == nullptr) return 0;
  const BIN borrowed = Borrow(id);
  return CVD_BIN_Copy(out, &borrowed);
}

// ---- rendering -----------------------------------------------------------------------------

// An identifier without octets is no input for the conversion.
uint32_t WriteKeyId(char* text, int32_t size, Bytes id) {
  return WriteHex(text, size, id.empty() ? Bytes{} : id);
}

uint32_t RenderSubjectKeyId(char* text, int32_t size, const CVD_ExtensionNode* extensions) {
  const CVD_Extension* extension = FindExtension<CVD_OID_SUBJECT_KEY_IDENTIFIER>(extensions);
  if (extension == nullptr) return PKC_ERR_NO_EXTENSION;
  Bytes id;
  if (uint32_t status = TracedSubjectKeyId(extension->extnValue, &id); status != 0) return status;
  return WriteKeyId(text, size, id);
}

uint32_t RenderAuthorityKeyId(char* text, int32_t size, const CVD_ExtensionNode* extensions) {
  const CVD_Extension* extension = FindExtension<CVD_OID_AUTHORITY_KEY_IDENTIFIER>(extensions);
  if (extension == nullptr) return PKC_ERR_NO_EXTENSION;
  Bytes id;
  if (uint32_t status = TracedAuthorityKeyId(extension->extnValue, &id); status != 0) return status;
  return id.data() == nullptr ? 0 : WriteKeyId(text, size, id);
}

// ---- encoding ------------------------------------------------------------------------------

uint32_t EncodeSubjectKeyId(BIN* der, const BIN& key) {
  ScopedBin digest;
  if (uint32_t status = CVD_CSP_Hash(&digest, &key, CVD_HASH_SHA1); status != 0) return status;
  const CVD_SubjectKeyIdentifier record{digest};
  return CVD_ASN_EncodePDU(der, &record, CVD_PDU_SUBJECT_KEY_IDENTIFIER);
}

uint32_t EncodeAuthorityKeyId(BIN* der, const BIN& issuer_key) {
  ScopedBin digest;
  if (uint32_t status = CVD_CSP_Hash(&digest, &issuer_key, CVD_HASH_SHA1); status != 0) {
    return status;
  }
  const CVD_AuthorityKeyIdentifier record{0x80, digest, nullptr, {0, nullptr}};
  return CVD_ASN_EncodePDU(der, &record, CVD_PDU_AUTHORITY_KEY_IDENTIFIER);
}

// ---- of a certificate ----------------------------------------------------------------------

// The carried identifier wins, also where it is not SHA-1 of the key.
uint32_t CertificateKeyId(const CVD_TBSCertificate& tbs, BIN* out) {
  const CVD_Extension* extension = FindExtension<CVD_OID_SUBJECT_KEY_IDENTIFIER>(tbs.extensions);
  if (extension != nullptr) return CVD_PKC_SubKeyId_Decode(out, &extension->extnValue);
  const BIN key = Borrow(WholeOctets(tbs.subjectPublicKeyInfo.subjectPublicKey));
  return CVD_PKC_SubKeyId_Compute(out, &key);
}

uint32_t CertificateKeyId(const BIN& certificate, BIN* out) {
  DecodedCertificate decoded;
  if (uint32_t status = decoded.Decode(certificate); status != 0) return status;
  return CVD_GetSubjectKeyIDv(nullptr, decoded.get(), out);
}

}  // namespace
}  // namespace corvid

uint32_t CVD_PKC_SubKeyId_Compute(BIN* out, const BIN* key) {
  if (out == nullptr || corvid::IsNull(key)) return PKC_ERR_INVALID_INPUT;
  return corvid::kTrace("CVD_PKC_SubKeyId_Compute", CVD_CSP_Hash(out, key, CVD_HASH_SHA1));
}

uint32_t CVD_PKC_SubKeyId_Decode(BIN* out, const BIN* der) {
  if (out == nullptr || corvid::IsNull(der)) return PKC_ERR_INVALID_INPUT;
  return corvid::kTrace("CVD_PKC_SubKeyId_Decode", corvid::CopySubjectKeyId(out, *der));
}

uint32_t CVD_PKC_SubKeyId_Encode(BIN* der, const BIN* key) {
  if (der == nullptr || corvid::IsNull(key)) return PKC_ERR_INVALID_INPUT;
  return corvid::kTrace("CVD_PKC_SubKeyId_Encode", corvid::EncodeSubjectKeyId(der, *key));
}

uint32_t CVD_PKC_SubKeyId_ToString(char* text, int32_t size, const CVD_ExtensionNode* extensions) {
  if (text == nullptr || size < 2 || extensions == nullptr) return PKC_ERR_INVALID_INPUT;
  return corvid::kTrace("CVD_PKC_SubKeyId_ToString",
                        corvid::RenderSubjectKeyId(text, size, extensions));
}

uint32_t CVD_PKC_AuthKeyId_Decode(BIN* out, const BIN* der) {
  if (out == nullptr || corvid::IsNull(der)) return PKC_ERR_INVALID_INPUT;
  return corvid::kTrace("CVD_PKC_AuthKeyId_Decode", corvid::CopyAuthorityKeyId(out, *der));
}

uint32_t CVD_PKC_AuthKeyId_Encode(BIN* der, const BIN* issuerKey) {
  if (der == nullptr || corvid::IsNull(issuerKey)) return PKC_ERR_INVALID_INPUT;
  return corvid::kTrace("CVD_PKC_AuthKeyId_Encode", corvid::EncodeAuthorityKeyId(der, *issuerKey));
}

uint32_t CVD_PKC_AuthKeyId_ToString(char* text, int32_t size, const CVD_ExtensionNode* extensions) {
  if (text == nullptr || size < 2 || extensions == nullptr) return PKC_ERR_INVALID_INPUT;
  return corvid::kTrace("CVD_PKC_AuthKeyId_ToString",
                        corvid::RenderAuthorityKeyId(text, size, extensions));
}

uint32_t CVD_GetSubjectKeyIDv(void* /*reserved*/, const CVD_Certificate* certificate, BIN* out) {
  if (certificate == nullptr || out == nullptr) return PKC_ERR_INVALID_INPUT;
  return corvid::kTrace("CVD_GetSubjectKeyIDv",
                        corvid::CertificateKeyId(certificate->tbsCertificate, out));
}

uint32_t CVD_GenSubjectKeyID(void* /*reserved*/, const BIN* certificate, BIN* out) {
  if (corvid::IsNull(certificate) || out == nullptr) return PKC_ERR_INVALID_INPUT;
  return corvid::kTrace("CVD_GenSubjectKeyID", corvid::CertificateKeyId(*certificate, out));
}

uint32_t CVD_GetSubjectKeyID(void* /*reserved*/, const BIN* certificate, BIN* out) {
  if (corvid::IsNull(certificate) || out == nullptr) return PKC_ERR_INVALID_INPUT;
  return corvid::kTrace("CVD_GetSubjectKeyID", corvid::CertificateKeyId(*certificate, out));
}

uint32_t CVD_GetSubjectKeyIDBin(void* reserved, const BIN* certificate, BIN* out) {
  if (corvid::IsNull(certificate) || out == nullptr) return PKC_ERR_INVALID_INPUT;
  return corvid::kTrace("CVD_GetSubjectKeyIDBin", CVD_GetSubjectKeyID(reserved, certificate, out));
}

uint32_t CVD_GetSubjectKeyId(void* /*reserved*/, const CVD_ExtensionNode* extensions, char* text) {
  return CVD_PKC_SubKeyId_ToString(text, corvid::kTextSize, extensions);
}

uint32_t CVD_GetAuthorityKeyId(void* /*reserved*/, const CVD_ExtensionNode* extensions,
                               char* text) {
  return CVD_PKC_AuthKeyId_ToString(text, corvid::kTextSize, extensions);
}
