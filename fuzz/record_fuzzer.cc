// A whole certificate. Input: options, a capacity, DER. Contract: the record of DER is the record
// of the decoded certificate, its texts are terminated, and nothing behind it is written; each
// renderer of an extension, given less room, writes the beginning of what it writes with all room,
// within its array; a failure of the decoder clears the record.
#include <memory>

#include "fuzz/input.h"

namespace {

using corvid::fuzz::Array;
using corvid::fuzz::Require;
using corvid::pkc::Octets;

constexpr size_t kAllRoom = 16384;

using Render = uint32_t (*)(char* text, int32_t capacity, const CVD_ExtensionNode* node);

struct Renderer {
  int32_t oid;
  Render render;
};
constexpr Renderer kRenderers[] = {
    {CVD_OID_NETSCAPE_CERT_TYPE,
     [](char* text, int32_t capacity, const CVD_ExtensionNode* node) {
       return CVD_PKC_NSCertType_ToString(text, capacity, nullptr, node);
     }},
    {CVD_OID_KEY_USAGE,
     [](char* text, int32_t capacity, const CVD_ExtensionNode* node) {
       return CVD_PKC_KeyUsage_ToString(text, capacity, nullptr, node);
     }},
    {CVD_OID_EXT_KEY_USAGE,
     [](char* text, int32_t capacity, const CVD_ExtensionNode* node) {
       return CVD_PKC_ExtKeyUsage_ToString(text, capacity, nullptr, node);
     }},
    {CVD_OID_BASIC_CONSTRAINTS, CVD_PKC_BasicConsts_ToString},
    {CVD_OID_AUTHORITY_INFO_ACCESS, CVD_PKC_AuthInfoAccess_ToString},
    {CVD_OID_CRL_DISTRIBUTION_POINTS, CVD_PKC_CrlDistPoints_ToString},
    {CVD_OID_SUBJECT_KEY_IDENTIFIER, CVD_PKC_SubKeyId_ToString},
    {CVD_OID_AUTHORITY_KEY_IDENTIFIER, CVD_PKC_AuthKeyId_ToString},
};

// Holder, VID and hash name of the alternative names, in small arrays.
uint32_t RenderAltName(char* text, int32_t capacity, const CVD_ExtensionNode* node) {
  Array texts[] = {Array(20), Array(30), Array(5)};
  for (Array& array : texts) *array.data() = '\0';
  const uint32_t status = CVD_PKC_AltName_ToString(text, capacity, texts[0].data(), 20,
                                                   texts[1].data(), 30, texts[2].data(), 5, node);
  for (const Array& array : texts) static_cast<void>(array.Text());
  return status;
}

void CheckRenderer(Render render, const CVD_ExtensionNode* node, size_t capacity) {
  Array some(capacity);
  Array all(kAllRoom);
  *some.data() = '\0';
  *all.data() = '\0';
  render(all.data(), kAllRoom, node);
  render(some.data(), static_cast<int32_t>(capacity), node);
  Require(all.Text().starts_with(some.Text()), "with less room stands the beginning of the text");
}

void CheckRenderers(const CVD_Certificate& certificate, size_t capacity) {
  for (const CVD_ExtensionNode& node : corvid::pkc::Nodes(certificate.tbsCertificate.extensions)) {
    for (const Renderer& row : kRenderers) {
      const bool own = CVD_ASN_CmpOID(&node.extension.extnID, CVD_ASN_GetOID(row.oid)) == 0;
      if (own) CheckRenderer(row.render, &node, capacity);
    }
    CheckRenderer(RenderAltName, &node, capacity);
  }
}

// Every text of the record ends within its array.
void CheckTexts(const PKCCertInfoEx& record) {
  const PKCCertInfo& info = record.info;
#define TEXT(text) \
  Require(std::memchr(text, 0, sizeof(text)) != nullptr, "the texts of a record end")
  TEXT(info.serialHex);
  TEXT(info.signAlgorithm);
  TEXT(info.issuerDN);
  TEXT(info.notBefore);
  TEXT(info.notAfter);
  TEXT(info.subjectDN);
  TEXT(info.publicKeyAlgorithm);
  TEXT(info.publicKeyHex);
  TEXT(info.signatureHex);
  TEXT(info.authorityKeyId);
  TEXT(info.subjectKeyId);
  TEXT(info.keyUsage);
  TEXT(info.policies);
  TEXT(info.policyCps);
  TEXT(info.policyNotice);
  TEXT(info.subjectAltName);
  TEXT(info.vidHashAlgorithm);
  TEXT(info.vid);
  TEXT(info.issuerAltName);
  TEXT(info.basicConstraints);
  TEXT(info.extKeyUsage);
  TEXT(info.crlDistPoints);
  TEXT(info.authInfoAccess);
  TEXT(info.nsCertType);
  TEXT(info.thumbprint);
  TEXT(record.extString1);
  TEXT(record.extString2);
  TEXT(record.extString3);
  TEXT(record.corporationName);
  TEXT(record.rsaModulus);
  TEXT(record.kcdsaP);
  TEXT(record.kcdsaQ);
  TEXT(record.kcdsaG);
  TEXT(record.kcdsaJ);
  TEXT(record.kcdsaSeed);
  TEXT(record.kcdsaCount);
  TEXT(record.authoritySerialHex);
#undef TEXT
}

// Queries that take DER and answer in numbers and octets of their own.
void Query(Octets der, const CVD_Certificate& certificate) {
  const BIN bin = der.bin();
  uint32_t number = 0;
  int32_t hash_id = 0;
  corvid::pkc::Bin key_id;
  Require(CVD_PKC_GetSignAlg(&number, &bin) == 0, "what decodes has a signature algorithm");
  Require(CVD_PKC_GetHashAlg(&number, &bin) == 0, "and a hash");
  CVD_GetSubjectKeyID(nullptr, &bin, key_id.out());
  CVD_PKC_GetVIDHashAlg(&hash_id, &bin);
  CVD_CheckCaOrNot(nullptr, &certificate);
  for (int32_t usage = 1; usage <= 8; ++usage) CVD_CheckCertUsage(nullptr, &certificate, usage);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  struct Guarded {
    PKCCertInfoEx record;
    uint8_t guards[16];
  };
  static const auto kRecord = std::make_unique<Guarded>();
  static const auto kDecodedRecord = std::make_unique<PKCCertInfo>();
  corvid::fuzz::Input input(data, size);
  corvid::fuzz::SetOptions(&input);
  const size_t capacity = 3 + input.Octet();
  const Octets der = input.Rest();
  if (der.empty()) return 0;
  std::memset(kRecord.get(), 0x5A, sizeof *kRecord);
  PKCCertInfo& info = kRecord->record.info;
  CVD_ExtractCertInfoEx(nullptr, nullptr, der.data(), static_cast<uint32_t>(der.size()), 1,
                        &kRecord->record);
  for (const uint8_t octet : kRecord->guards)
    Require(octet == 0x5A, "nothing is written behind a record");
  CheckTexts(kRecord->record);
  corvid::pkc::Certificate certificate;
  if (!certificate.Decode(der).ok()) {
    Require(info.subjectDN[0] == '\0' && info.version == 0, "what does not decode has no record");
    return 0;
  }
  CVD_DoExtractCertInfo(nullptr, &*certificate, kDecodedRecord.get());
  std::memcpy(kDecodedRecord->thumbprint, info.thumbprint, sizeof info.thumbprint);
  const auto octets_of = [](const PKCCertInfo& record) {
    return Octets(reinterpret_cast<const uint8_t*>(&record), sizeof record);
  };
  Require(corvid::fuzz::Same(octets_of(*kDecodedRecord), octets_of(info)),
          "DER and decoded record say the same");
  CheckRenderers(*certificate, capacity);
  Query(der, *certificate);
  return 0;
}
