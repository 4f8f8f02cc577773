// Issuing (RFC 5280 section 4): a certificate assembled from a template, signed and encoded, and
// the compact request that fills the template. Values of extensions are encoded first, into buffers
// that the template only points at.
#include "pkc/internal.h"

namespace corvid {
namespace {

constexpr Tracer kTrace{"suite_pkc_gencert"};

constexpr uint8_t kNullParameters[] = {0x05, 0x00};

constexpr BIN NullParameters() {
  return {sizeof kNullParameters, const_cast<uint8_t*>(kNullParameters)};
}

constexpr int32_t kLongestBits = 0x1FFFFFFF;  // octets whose bits still count in 32 bits

[[nodiscard]] bool IsBits(const BIN& octets) {
  return octets.length >= 0 && octets.length <= kLongestBits &&
         (octets.data != nullptr || octets.length == 0);
}

// A BIT STRING over octets that somebody else owns.
CVD_BitString BitsOf(const BIN& octets) {
  return {static_cast<uint32_t>(octets.length) * 8, octets.data};
}

// ---- assembling ----------------------------------------------------------------------------

struct SlotRow {
  size_t slot;  // in PKCCertTemplate::extensions
  int32_t extension;
  bool critical;
};

// In the order of the certificate. Two slots of the template are not used.
constexpr SlotRow kSlotRows[] = {
    {PKC_SLOT_AUTHORITY_KEY_IDENTIFIER, CVD_OID_AUTHORITY_KEY_IDENTIFIER, false},
    {PKC_SLOT_SUBJECT_KEY_IDENTIFIER, CVD_OID_SUBJECT_KEY_IDENTIFIER, false},
    {PKC_SLOT_KEY_USAGE, CVD_OID_KEY_USAGE, true},
    {PKC_SLOT_CERTIFICATE_POLICIES, CVD_OID_CERTIFICATE_POLICIES, false},
    {PKC_SLOT_SUBJECT_ALT_NAME, CVD_OID_SUBJECT_ALT_NAME, false},
    {PKC_SLOT_BASIC_CONSTRAINTS, CVD_OID_BASIC_CONSTRAINTS, true},
    {PKC_SLOT_NAME_CONSTRAINTS, CVD_OID_NAME_CONSTRAINTS, false},
    {PKC_SLOT_EXT_KEY_USAGE, CVD_OID_EXT_KEY_USAGE, true},
    {PKC_SLOT_CRL_DISTRIBUTION_POINTS, CVD_OID_CRL_DISTRIBUTION_POINTS, false},
    {PKC_SLOT_AUTHORITY_INFO_ACCESS, CVD_OID_AUTHORITY_INFO_ACCESS, false},
};

// A list of extensions while it grows at its end. The values stay the caller's.
class Extensions {
 public:
  Extensions() = default;
  Extensions(const Extensions&) = delete;
  Extensions& operator=(const Extensions&) = delete;
  ~Extensions() {
    while (first_ != nullptr) {
      CVD_ExtensionNode* next = first_->next;
      CVD_free(first_);
      first_ = next;
    }
  }
  CVD_ExtensionNode* first() const { return first_; }

  [[nodiscard]] uint32_t Add(const SlotRow& row, const BIN& value) {
    auto* node = static_cast<CVD_ExtensionNode*>(CVD_calloc(1, sizeof(CVD_ExtensionNode)));
    if (node == nullptr) return kTrace("CVD_PKC_AsnExts_Add", PKC_ERR_MALLOC);
    CVD_Extension& extension = node->extension;
    extension.extnID = *CVD_ASN_GetOID(row.extension);
    if (row.critical) {  // FALSE is the default, which DER leaves out
      extension.present = 0x80;
      extension.critical = 1;
    }
    extension.extnValue = value;
    *end_ = node;
    end_ = &node->next;
    return 0;
  }

 private:
  CVD_ExtensionNode* first_ = nullptr;
  CVD_ExtensionNode** end_ = &first_;
};

[[nodiscard]] uint32_t AddExtensions(const PKCCertTemplate& given, Extensions* extensions) {
  for (const SlotRow& row : kSlotRows) {
    const BIN* value = given.extensions[row.slot];
    if (value == nullptr && row.slot == PKC_SLOT_KEY_USAGE) return PKC_ERR_NO_EXTENSION;
    if (value == nullptr) continue;
    if (uint32_t status = extensions->Add(row, *value); status != 0) return status;
  }
  return 0;
}

[[nodiscard]] uint32_t SetSignatureAlgorithm(CVD_AlgorithmIdentifier* out, int32_t sign_id,
                                             int32_t signer_algorithm) {
  const CVD_OID* algorithm = CVD_PKC_SignID_To_ObjID(static_cast<uint32_t>(sign_id));
  if (algorithm == nullptr) return PKC_ERR_UNKNOWN_SIGNID;
  *out = {0, *algorithm, {0, nullptr}};
  if (signer_algorithm == CVD_PKEY_RSA) *out = {0x80, *algorithm, NullParameters()};
  return 0;
}

// UTCTime whatever the year.
void SetTime(CVD_Time* out, int64_t time) {
  out->kind = CVD_TIME_UTC;
  CVD_ASN_Time2UTC(&out->fields, time);
}

// Everything but the extensions and the signature.
[[nodiscard]] uint32_t FillCertificate(const PKCCertTemplate& given, int32_t signer_algorithm,
                                       CVD_Certificate* out) {
  CVD_TBSCertificate& tbs = out->tbsCertificate;
  tbs.present = 0x80 | 0x10;
  tbs.version = 2;  // v3
  tbs.serialNumber = given.serialNumber;
  const uint32_t status =
      SetSignatureAlgorithm(&tbs.signature, given.signatureAlgorithm, signer_algorithm);
  if (status != 0) return status;
  if (given.issuer == nullptr || given.subject == nullptr) return PKC_ERR_INVALID_INPUT;
  out->signatureAlgorithm = tbs.signature;
  tbs.issuer = *given.issuer;
  tbs.subject = *given.subject;
  SetTime(&tbs.notBefore, given.notBefore);
  SetTime(&tbs.notAfter, given.notAfter);
  return CVD_PKC_AsnSubPubKeyInfo_Encode(&tbs.subjectPublicKeyInfo, given.keyAlgorithm,
                                         given.keyParameters, &given.publicKey);
}

[[nodiscard]] uint32_t SignAndEncode(BIN* der, CVD_Certificate* certificate, int32_t sign_id,
                                     int32_t signer_algorithm, CVD_PrivateKey* key) {
  ScopedBin tbs;
  if (uint32_t status = CVD_ASN_EncodePDU(&tbs, certificate, CVD_PDU_TBS_CERTIFICATE);
      status != 0) {
    return status;
  }
  if (signer_algorithm == CVD_PKEY_KCDSA) return PKC_ERR_UNKNOWN_PKEYID;
  if (key == nullptr) return PKC_ERR_INVALID_INPUT;
  ScopedBin signature;
  if (uint32_t status = CVD_CSP_ComputeMsgSignature(&signature, &tbs, key, sign_id, nullptr);
      status != 0) {
    return status;
  }
  certificate->signature = BitsOf(signature);
  return CVD_ASN_EncodePDU(der, certificate, CVD_PDU_CERTIFICATE);
}

[[nodiscard]] uint32_t EncodeCertificate(BIN* der, const PKCCertTemplate& given,
                                         int32_t signer_algorithm, CVD_PrivateKey* key) {
  CVD_Certificate certificate{};
  if (uint32_t status = FillCertificate(given, signer_algorithm, &certificate); status != 0) {
    return status;
  }
  Extensions extensions;
  const uint32_t status = kTrace("CVD_PKC_AsnExts_Encode", AddExtensions(given, &extensions));
  if (status != 0) return status;
  certificate.tbsCertificate.extensions = extensions.first();
  return SignAndEncode(der, &certificate, given.signatureAlgorithm, signer_algorithm, key);
}

// ---- the request ---------------------------------------------------------------------------

struct KeyUsageRow {
  int32_t key_algorithm;
  uint16_t end_entity;
  uint16_t ca;
};

// digitalSignature and nonRepudiation for all; encipherment for RSA alone; keyCertSign and cRLSign
// for a CA (RFC 5280 section 4.2.1.3).
constexpr KeyUsageRow kKeyUsageRows[] = {
    {CVD_PKEY_RSA, 0xF000, 0xE600},
    {CVD_PKEY_DSA, 0xC000, 0xC600},
    {CVD_PKEY_KCDSA, 0xC000, 0xC600},
};

[[nodiscard]] uint32_t EncodeKeyUsage(BIN* der, int32_t key_algorithm, bool ca) {
  for (const KeyUsageRow& row : kKeyUsageRows) {
    if (row.key_algorithm != key_algorithm) continue;
    const CVD_KeyUsage record{ca ? row.ca : row.end_entity, 0, nullptr};
    return CVD_ASN_EncodePDU(der, &record, CVD_PDU_KEY_USAGE);
  }
  return PKC_ERR_UNKNOWN_PKEYID;
}

[[nodiscard]] uint32_t EncodeBasicConstraints(BIN* der) {
  const CVD_BasicConstraints record{0x80, 1, 0};
  return CVD_ASN_EncodePDU(der, &record, CVD_PDU_BASIC_CONSTRAINTS);
}

CVD_GeneralName UriName(const char* uri) {
  CVD_GeneralName name{};
  name.choice = CVD_GENERAL_NAME_URI;
  name.name.uniformResourceIdentifier = uri;
  return name;
}

[[nodiscard]] uint32_t EncodeCrlDistributionPoints(BIN* der, const char* uri) {
  CVD_GeneralNameNode name{nullptr, UriName(uri)};
  CVD_DistributionPointNode point{};
  point.present = 0x80;
  point.distributionPoint.choice = CVD_DISTRIBUTION_POINT_FULL_NAME;
  point.distributionPoint.name.fullName = &name;
  const CVD_CRLDistributionPoints record{&point};
  return CVD_ASN_EncodePDU(der, &record, CVD_PDU_CRL_DISTRIBUTION_POINTS);
}

[[nodiscard]] uint32_t EncodeAuthorityInfoAccess(BIN* der, const char* uri) {
  CVD_AccessDescriptionNode description{nullptr, *CVD_ASN_GetOID(CVD_OID_AD_OCSP), UriName(uri)};
  const CVD_AuthorityInfoAccessSyntax record{&description};
  return CVD_ASN_EncodePDU(der, &record, CVD_PDU_AUTHORITY_INFO_ACCESS);
}

struct ScopedHuge : Huge {
  ScopedHuge() : Huge{0, nullptr} {}
  ScopedHuge(const ScopedHuge&) = delete;
  ScopedHuge& operator=(const ScopedHuge&) = delete;
  ~ScopedHuge() { CVD_free(data); }
};

struct ScopedName : CVD_Name {
  ScopedName() : CVD_Name{0, 0, nullptr} {}
  ScopedName(const ScopedName&) = delete;
  ScopedName& operator=(const ScopedName&) = delete;
  ~ScopedName() { CVD_NameFree(this); }
};

// The length of a text or of none; what 32 bits do not count is cut.
uint32_t LengthOf(const char* text) {
  return text == nullptr ? 0
                         : static_cast<uint32_t>(std::min<size_t>(std::strlen(text), UINT32_MAX));
}

// What a template points at while a request is carried out.
class Request {
 public:
  Request(const PKCGenExtOptions& options, const PKCGenContext& context)
      : options_(options), context_(context) {}

  [[nodiscard]] uint32_t SetNames(const char* subject, const CVD_Certificate* issuer) {
    if (context_.selfSigned == 0 && issuer == nullptr) return PKC_ERR_INVALID_INPUT;
    if (uint32_t status = CVD_ImplementRDN(nullptr, &subject_, subject); status != 0) return status;
    out_.subject = &subject_;
    out_.issuer = context_.selfSigned != 0 ? &subject_ : &issuer->tbsCertificate.subject;
    return 0;
  }
  [[nodiscard]] uint32_t SetSerialNumber(uint32_t number) {
    const uint32_t status = CVD_NumToHugeEx(number, &serial_);
    out_.serialNumber = serial_;
    return status;
  }
  [[nodiscard]] uint32_t SetKeyIdentifiers(const CVD_Certificate* issuer);
  [[nodiscard]] uint32_t SetOptionalExtensions();
  [[nodiscard]] uint32_t SetUriExtensions();
  [[nodiscard]] uint32_t SetExtensions(const CVD_Certificate* issuer);

  PKCCertTemplate* out() { return &out_; }

 private:
  // The buffer of a slot, from now on part of the template.
  BIN* Slot(size_t slot) {
    out_.extensions[slot] = &values_[slot];
    return &values_[slot];
  }

  const PKCGenExtOptions& options_;
  const PKCGenContext& context_;
  PKCCertTemplate out_{};
  ScopedHuge serial_;
  ScopedName subject_;
  ScopedBin values_[PKC_SLOTS];
};

uint32_t Request::SetKeyIdentifiers(const CVD_Certificate* issuer) {
  if (context_.selfSigned == 0) {
    const auto& info = issuer->tbsCertificate.subjectPublicKeyInfo;
    const BIN issuer_key = Borrow(WholeOctets(info.subjectPublicKey));
    const uint32_t status =
        CVD_PKC_AuthKeyId_Encode(Slot(PKC_SLOT_AUTHORITY_KEY_IDENTIFIER), &issuer_key);
    if (status != 0) return status;
  }
  return CVD_PKC_SubKeyId_Encode(Slot(PKC_SLOT_SUBJECT_KEY_IDENTIFIER), &out_.publicKey);
}

uint32_t Request::SetOptionalExtensions() {
  if (options_.policy != nullptr) {
    const uint32_t status = CVD_PKC_CertPolicies_Encode(
        Slot(PKC_SLOT_CERTIFICATE_POLICIES), options_.policy, options_.cps, LengthOf(options_.cps),
        options_.notice, LengthOf(options_.notice));
    if (status != 0) return status;
  }
  if (options_.holderName == nullptr) return 0;
  // SHA-1 is what a request declares, whatever the VID was made with.
  return CVD_PKC_SubAltName_Encode(Slot(PKC_SLOT_SUBJECT_ALT_NAME), options_.holderName,
                                   LengthOf(options_.holderName), CVD_HASH_SHA1, options_.vid);
}

uint32_t Request::SetUriExtensions() {
  if (options_.crl != nullptr) {
    const uint32_t status =
        kTrace("CVD_PKC_CrlDistPoints_Encode",
               EncodeCrlDistributionPoints(Slot(PKC_SLOT_CRL_DISTRIBUTION_POINTS), options_.crl));
    if (status != 0) return status;
  }
  if (options_.ocsp == nullptr) return 0;
  return kTrace("CVD_PKC_AuthInfoAcess_Encode",
                EncodeAuthorityInfoAccess(Slot(PKC_SLOT_AUTHORITY_INFO_ACCESS), options_.ocsp));
}

uint32_t Request::SetExtensions(const CVD_Certificate* issuer) {
  if (uint32_t status = SetKeyIdentifiers(issuer); status != 0) return status;
  const bool ca = context_.ca != 0;
  uint32_t status = kTrace("CVD_PKC_KeyUsage_Encode",
                           EncodeKeyUsage(Slot(PKC_SLOT_KEY_USAGE), out_.keyAlgorithm, ca));
  if (status != 0) return status;
  if (status = SetOptionalExtensions(); status != 0) return status;
  if (ca) {
    status = kTrace("CVD_PKC_BasicConsts_Encode",
                    EncodeBasicConstraints(Slot(PKC_SLOT_BASIC_CONSTRAINTS)));
    if (status != 0) return status;
  }
  return SetUriExtensions();
}

[[nodiscard]] uint32_t Generate(BIN* der, uint32_t serial, const char* subject,
                                const CVD_Certificate* issuer, const PKCGenContext& context,
                                Request* request) {
  if (uint32_t status = request->SetSerialNumber(serial); status != 0) return status;
  if (uint32_t status = request->SetNames(subject, issuer); status != 0) return status;
  if (uint32_t status = request->SetExtensions(issuer); status != 0) return status;
  return CVD_PKC_Cert_Encode(der, request->out(), context.signerAlgorithm, nullptr,
                             context.signingKey);
}

}  // namespace
}  // namespace corvid

// ---- keys ----------------------------------------------------------------------------------

uint32_t CVD_PKC_AsnSubPubKeyInfo_Encode(CVD_SubjectPublicKeyInfo* info, int32_t pkeyID,
                                         const BIN* parameters, const BIN* publicKey) {
  if (info == nullptr || publicKey == nullptr) return PKC_ERR_INVALID_INPUT;
  const CVD_OID* algorithm = CVD_PKC_PkeyID_To_ObjID(static_cast<uint32_t>(pkeyID));
  if (algorithm == nullptr) {
    return corvid::kTrace("CVD_PKC_AsnSubPubKeyInfo_Encode", PKC_ERR_UNKNOWN_PKEYID);
  }
  if (pkeyID != CVD_PKEY_RSA && parameters == nullptr) return PKC_ERR_INVALID_INPUT;
  if (!corvid::IsBits(*publicKey)) return PKC_ERR_INVALID_INPUT;
  info->algorithm = {0x80, *algorithm,
                     pkeyID == CVD_PKEY_RSA ? corvid::NullParameters() : *parameters};
  info->subjectPublicKey = corvid::BitsOf(*publicKey);
  return 0;
}

uint32_t CVD_PKC_AsnSubPubKeyInfo_Decode(int32_t* pkeyID, BIN* parameters, BIN* publicKey,
                                         const CVD_SubjectPublicKeyInfo* info) {
  if (pkeyID == nullptr || parameters == nullptr || publicKey == nullptr || info == nullptr) {
    return PKC_ERR_INVALID_INPUT;
  }
  const int32_t algorithm = CVD_PKC_ObjID_To_PkeyID(&info->algorithm.algorithm);
  if (algorithm < 0) {
    return corvid::kTrace("CVD_PKC_AsnSubPubKeyInfo_Decode", PKC_ERR_UNKNOWN_PKEYID);
  }
  *pkeyID = algorithm;
  if (algorithm != CVD_PKEY_RSA && (info->algorithm.present & 0x80) != 0) {
    *parameters = info->algorithm.parameters;
  }
  *publicKey = corvid::Borrow(corvid::WholeOctets(info->subjectPublicKey));
  return 0;
}

// ---- certificates --------------------------------------------------------------------------

uint32_t CVD_PKC_Cert_Encode(BIN* der, const PKCCertTemplate* certTemplate, int32_t signerAlgorithm,
                             void* /*reserved*/, CVD_PrivateKey* signingKey) {
  if (der == nullptr || certTemplate == nullptr) return PKC_ERR_INVALID_INPUT;
  return corvid::kTrace("CVD_PKC_Cert_Encode",
                        corvid::EncodeCertificate(der, *certTemplate, signerAlgorithm, signingKey));
}

uint32_t CVD_PKC_GenCertificate(BIN* der, uint32_t serialNumber, int32_t signID, int64_t notBefore,
                                int64_t notAfter, const char* subject, int32_t pkeyID,
                                const BIN* parameters, const BIN* publicKey,
                                const CVD_Certificate* issuer, const PKCGenExtOptions* options,
                                const PKCGenContext* context) {
  if (der == nullptr || subject == nullptr || publicKey == nullptr || publicKey->data == nullptr ||
      options == nullptr || context == nullptr) {
    return PKC_ERR_INVALID_INPUT;
  }
  corvid::Request request(*options, *context);
  PKCCertTemplate* out = request.out();
  out->signatureAlgorithm = signID;
  out->notBefore = notBefore;
  out->notAfter = notAfter;
  out->keyAlgorithm = pkeyID;
  out->keyParameters = parameters;
  out->publicKey = *publicKey;
  return corvid::kTrace("CVD_PKC_GenCertificate",
                        corvid::Generate(der, serialNumber, subject, issuer, *context, &request));
}
