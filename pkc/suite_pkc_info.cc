// The information records: the basic fields, the pass over the extensions, and the entry points
// that fill a whole record from a file, from DER, or from a decoded certificate.
#include <array>
#include <atomic>
#include <cstring>
#include <ctime>

#include "corvid/asn.h"
#include "corvid/common.h"
#include "corvid/csp.h"
#include "corvid/hex_digits.hpp"
#include "corvid/io.h"
#include "corvid/pkc.h"
#include "pkc/internal.h"

namespace corvid {

uint32_t WriteHex(char* out, int32_t capacity, Bytes data) {
  if (out == nullptr || capacity <= 2 || data.data() == nullptr) return PKC_ERR_INVALID_INPUT;
  const size_t count = std::min(data.size(), (static_cast<size_t>(capacity) - 1) / 2);
  PutHex(data.data(), count, out);
  out[2 * count] = '\0';
  return 0;
}

}  // namespace corvid

namespace {

using corvid::Bytes;

constexpr corvid::Tracer kTrace{"suite_pkc"};

// ---- basic fields --------------------------------------------------------------------------

// What a record holds before it is filled.
enum class Before : uint8_t { kZeros, kAnything };

// Copies what fits of a text; the rest of the field is NULs.
template <size_t kSize>
void CopyText(char (&field)[kSize], Before before, std::string_view text) {
  const size_t length = std::min(text.size(), kSize - 1);
  corvid::CopyShort(field, text.data(), length);
  if (before != Before::kZeros) std::memset(field + length, 0, kSize - length);
}

void SerialNumber(const Huge& serial, uint32_t* number, char (&hex)[41]) {
  *number = 0;
  std::memset(hex, 0, sizeof hex);
  if (CVD_HugeToNumEx(&serial, number) != 0) return;
  Bytes octets{serial.data, serial.length};
  while (octets.size() > 1 && octets[0] == 0) octets = octets.subspan(1);
  static_cast<void>(corvid::WriteHex(hex, sizeof hex, octets));
}

// The dotted identifier; `otherwise`, if it is not null, when the identifier has no text.
template <size_t kSize>
void Dotted(const CVD_OID& oid, Before before, const char* otherwise, char (&field)[kSize]) {
  corvid::DottedText text;
  if (text.Make(oid) == 0) {
    CopyText(field, before, text.get());
  } else if (otherwise != nullptr) {
    CopyText(field, before, otherwise);
  }
}

struct TimeParts {
  int year, month, day, hour, minute, second;
};

// "00", "01" to "99".
constexpr std::array<char[2], 100> MakePairs() {
  std::array<char[2], 100> pairs{};
  for (size_t i = 0; i < pairs.size(); ++i) {
    pairs[i][0] = static_cast<char>('0' + i / 10);
    pairs[i][1] = static_cast<char>('0' + i % 10);
  }
  return pairs;
}
constexpr std::array<char[2], 100> kPairs = MakePairs();

// Two digits and what stands behind them; false for other numbers.
bool PutTwoDigits(int number, char behind, char* out) {
  const auto index = static_cast<unsigned>(number);
  if (index > 99) return false;
  std::memcpy(out, kPairs[index], 2);
  out[2] = behind;
  return true;
}

// "2026-01-31 09:00:00". Fields that a decoded time cannot have are left to the slower formatting.
void WriteTime(const TimeParts& parts, char (&field)[50]) {
  const bool usual =
      parts.year >= 0 && PutTwoDigits(parts.year / 100, '0', field) &&
      PutTwoDigits(parts.year % 100, '-', field + 2) && PutTwoDigits(parts.month, '-', field + 5) &&
      PutTwoDigits(parts.day, ' ', field + 8) && PutTwoDigits(parts.hour, ':', field + 11) &&
      PutTwoDigits(parts.minute, ':', field + 14) && PutTwoDigits(parts.second, '\0', field + 17);
  if (!usual) {
    pkc_snprintf(field, sizeof field, "%04d-%02d-%02d %02d:%02d:%02d", parts.year, parts.month,
                 parts.day, parts.hour, parts.minute, parts.second);
  }
}

// True when the C library's local time is UTC, as it is on servers: localtime_r would take a lock
// that all threads share. The name alone does not tell: a zone with leap seconds has it too. There
// is none for a moment, where another thread is in localtime_r.
bool LocalIsUtc() {
  // The name of a zone that was seen to be UTC. A process that goes from there to the zone with
  // leap seconds is not noticed.
  static std::atomic<const char*> utc{nullptr};
  const char* name = std::atomic_ref(tzname[0]).load(std::memory_order_relaxed);
  if (name == nullptr || timezone != 0 || daylight != 0) return false;
  if (name == utc.load(std::memory_order_relaxed)) return true;
  const int64_t late = INT32_MAX;  // 03:14:07
  struct tm local;
  if (std::strcmp(name, "UTC") != 0 || pkc_localtime(&late, &local) == nullptr) return false;
  if (local.tm_hour != 3 || local.tm_min != 14 || local.tm_sec != 7) return false;
  utc.store(name, std::memory_order_relaxed);
  return true;
}

// True for a time of 2000 to 2099 that exists, as every decoded one does.
bool Exists(const CVD_TimeFields& time) {
  static constexpr int8_t kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (time.year < 0 || time.month < 1 || time.month > 12) return false;
  const bool leap_day = time.month == 2 && time.day == 29 && time.year % 4 == 0;
  return time.day >= 1 && (time.day <= kDays[time.month - 1] || leap_day) && time.hour >= 0 &&
         time.hour <= 23 && time.minute >= 0 && time.minute <= 59 && time.second >= 0 &&
         time.second <= 59;
}

// UTCTime of 2000 to 2037 in local time; all others as the certificate stores them, in UTC.
void TimeText(const CVD_Time& time, bool local_is_utc, char (&field)[50]) {
  const CVD_TimeFields& stored = time.fields;
  if (time.kind == CVD_TIME_UTC && stored.year < 38 && !(local_is_utc && Exists(stored))) {
    const int64_t seconds = CVD_ASN_UTC2Time(&stored);
    struct tm local;
    if (pkc_localtime(&seconds, &local) != nullptr) {
      WriteTime({local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min,
                 local.tm_sec},
                field);
      return;
    }
  }
  if (time.kind != CVD_TIME_UTC && time.kind != CVD_TIME_GENERALIZED) return;
  int year = stored.year;
  if (time.kind == CVD_TIME_UTC) year += year < 50 ? 2000 : 1900;
  WriteTime({year, stored.month, stored.day, stored.hour, stored.minute, stored.second}, field);
}

uint32_t PublicKey(const CVD_SubjectPublicKeyInfo& key_info, Before before, PKCCertInfo* info) {
  const corvid::KeyRow* row = corvid::KeyRowOf(key_info.algorithm.algorithm);
  if (row != nullptr && row->name[0] != '\0') {
    CopyText(info->publicKeyAlgorithm, before, row->name);
  } else {
    Dotted(key_info.algorithm.algorithm, before, nullptr, info->publicKeyAlgorithm);
  }
  const int32_t pkey_id = row == nullptr ? CVD_PKEY_UNKNOWN : row->pkeyID;
  const bool has_parameters = pkey_id == CVD_PKEY_DSA || pkey_id == CVD_PKEY_KCDSA;
  const BIN parameters = has_parameters ? key_info.algorithm.parameters : BIN{0, nullptr};

  const CVD_BitString& key = key_info.subjectPublicKey;
  if (key.data == nullptr) return PKC_ERR_NO_PUBKEY;
  const Bytes octets{key.data, (size_t{key.bits} + 7) / 8};
  const uint32_t status = corvid::WriteHex(info->publicKeyHex, sizeof info->publicKeyHex, octets);
  if (status != 0) return status;
  const BIN borrowed = corvid::Borrow(octets);
  if (CVD_CSP_GetKeyLength(&info->keyLength, &borrowed, pkey_id, &parameters) != 0) {
    info->keyLength = 0;
  }
  return 0;
}

uint32_t Signature(const CVD_BitString& signature, PKCCertInfo* info) {
  const size_t octets = (size_t{signature.bits} + 7) / 8;
  if (octets == 0) return PKC_ERR_INVALID_INPUT;
  return corvid::WriteHex(info->signatureHex, sizeof info->signatureHex, {signature.data, octets});
}

// A name as text; the field stays as it is when the name cannot be rendered.
uint32_t NameText(const CVD_Name& name, Before before, char (&field)[1024]) {
  char near[sizeof field];
  corvid::NameText text(near);
  const uint32_t status = corvid::RenderName(name, &text);
  if (status == 0) CopyText(field, before, text.End());
  return status;
}

uint32_t BasicFields(const CVD_Certificate& certificate, Before before, PKCCertInfo* info) {
  const CVD_TBSCertificate& tbs = certificate.tbsCertificate;
  info->version = (tbs.present & 0x80) != 0 ? static_cast<uint32_t>(tbs.version) + 1 : 1;
  SerialNumber(tbs.serialNumber, &info->serialNumber, info->serialHex);
  const corvid::SignRow* row = corvid::SignRowOf(tbs.signature.algorithm);
  if (row != nullptr) {
    CopyText(info->signAlgorithm, before, row->name);
  } else {
    Dotted(tbs.signature.algorithm, before, "unknown", info->signAlgorithm);
  }
  if (NameText(tbs.issuer, before, info->issuerDN) != 0) CopyText(info->issuerDN, before, {});
  const bool local_is_utc = LocalIsUtc();
  TimeText(tbs.notBefore, local_is_utc, info->notBefore);
  TimeText(tbs.notAfter, local_is_utc, info->notAfter);
  if (const uint32_t status = NameText(tbs.subject, before, info->subjectDN); status != 0) {
    return status;
  }
  if (const uint32_t status = PublicKey(tbs.subjectPublicKeyInfo, before, info); status != 0) {
    return status;
  }
  return Signature(certificate.signature, info);
}

// ---- extensions ----------------------------------------------------------------------------

// Each renderer is given the node itself as the list, so that it renders that very extension.
using Renderer = uint32_t (*)(const CVD_ExtensionNode* node, PKCCertInfo* info);
enum class OnFailure : uint8_t { kIgnore, kEndPass };
struct ExtensionRow {
  corvid::OidWords words;
  Renderer render;
  OnFailure on_failure;
};

#define FIELD(name) info->name, static_cast<int32_t>(sizeof info->name)

uint32_t AuthorityKeyId(const CVD_ExtensionNode* node, PKCCertInfo* info) {
  return CVD_PKC_AuthKeyId_ToString(FIELD(authorityKeyId), node);
}
uint32_t SubjectKeyId(const CVD_ExtensionNode* node, PKCCertInfo* info) {
  return CVD_PKC_SubKeyId_ToString(FIELD(subjectKeyId), node);
}
uint32_t KeyUsage(const CVD_ExtensionNode* node, PKCCertInfo* info) {
  return CVD_PKC_KeyUsage_ToString(FIELD(keyUsage), &info->keyUsageFlags, node);
}
uint32_t Policies(const CVD_ExtensionNode* node, PKCCertInfo* info) {
  return CVD_PKC_CertPolicies_ToString(&info->policyCount, FIELD(policies), FIELD(policyCps),
                                       FIELD(policyNotice), node);
}
uint32_t SubjectAltName(const CVD_ExtensionNode* node, PKCCertInfo* info) {
  char holder_name[64];
  return CVD_PKC_AltName_ToString(FIELD(subjectAltName), holder_name, sizeof holder_name,
                                  FIELD(vid), FIELD(vidHashAlgorithm), node);
}
uint32_t IssuerAltName(const CVD_ExtensionNode* node, PKCCertInfo* info) {
  return CVD_PKC_AltName_ToString(FIELD(issuerAltName), nullptr, 0, nullptr, 0, nullptr, 0, node);
}
uint32_t BasicConstraints(const CVD_ExtensionNode* node, PKCCertInfo* info) {
  return CVD_PKC_BasicConsts_ToString(FIELD(basicConstraints), node);
}
uint32_t ExtKeyUsage(const CVD_ExtensionNode* node, PKCCertInfo* info) {
  return CVD_PKC_ExtKeyUsage_ToString(FIELD(extKeyUsage), nullptr, node);
}
uint32_t CrlDistPoints(const CVD_ExtensionNode* node, PKCCertInfo* info) {
  char text[1024];
  // Points that cannot be rendered are left out; points that cannot be converted end the pass.
  if (CVD_PKC_CrlDistPoints_ToString(text, sizeof text, node) != 0) return 0;
  return CVD_PKC_UTF8_Decode(FIELD(crlDistPoints), text, 0);
}
uint32_t AuthInfoAccess(const CVD_ExtensionNode* node, PKCCertInfo* info) {
  return CVD_PKC_AuthInfoAccess_ToString(FIELD(authInfoAccess), node);
}
uint32_t NsCertType(const CVD_ExtensionNode* node, PKCCertInfo* info) {
  return CVD_PKC_NSCertType_ToString(FIELD(nsCertType), nullptr, node);
}
#undef FIELD

constexpr ExtensionRow kExtensionRows[] = {
    {corvid::kOidWords<CVD_OID_AUTHORITY_KEY_IDENTIFIER>, AuthorityKeyId, OnFailure::kIgnore},
    {corvid::kOidWords<CVD_OID_SUBJECT_KEY_IDENTIFIER>, SubjectKeyId, OnFailure::kIgnore},
    {corvid::kOidWords<CVD_OID_KEY_USAGE>, KeyUsage, OnFailure::kEndPass},
    {corvid::kOidWords<CVD_OID_CERTIFICATE_POLICIES>, Policies, OnFailure::kEndPass},
    {corvid::kOidWords<CVD_OID_SUBJECT_ALT_NAME>, SubjectAltName, OnFailure::kEndPass},
    {corvid::kOidWords<CVD_OID_ISSUER_ALT_NAME>, IssuerAltName, OnFailure::kEndPass},
    {corvid::kOidWords<CVD_OID_BASIC_CONSTRAINTS>, BasicConstraints, OnFailure::kIgnore},
    {corvid::kOidWords<CVD_OID_EXT_KEY_USAGE>, ExtKeyUsage, OnFailure::kEndPass},
    {corvid::kOidWords<CVD_OID_CRL_DISTRIBUTION_POINTS>, CrlDistPoints, OnFailure::kEndPass},
    {corvid::kOidWords<CVD_OID_AUTHORITY_INFO_ACCESS>, AuthInfoAccess, OnFailure::kIgnore},
    {corvid::kOidWords<CVD_OID_NETSCAPE_CERT_TYPE>, NsCertType, OnFailure::kIgnore},
};

// Renders every known extension into its field, in list order; unknown ones are skipped.
uint32_t ExtensionFields(const CVD_Certificate& certificate, PKCCertInfo* info) {
  for (const CVD_ExtensionNode* node = certificate.tbsCertificate.extensions; node != nullptr;
       node = node->next) {
    const corvid::OidWords words = corvid::WordsOf(node->extension.extnID);
    for (const ExtensionRow& row : kExtensionRows) {
      if (words != row.words) continue;
      const uint32_t status = row.render(node, info);
      if (status != 0 && row.on_failure == OnFailure::kEndPass) return status;
      break;
    }
  }
  return 0;
}

// ---- whole records -------------------------------------------------------------------------

uint32_t AllFields(const CVD_Certificate* certificate, PKCCertInfo* info) {
  const uint32_t status =
      kTrace("CVD_ExtractCertInfoNoExt", BasicFields(*certificate, Before::kZeros, info));
  return status != 0 ? status : CVD_ExtractCertExtension(nullptr, certificate, info);
}

// What a caller gave: a file to read, or octets.
struct Source {
  const char* path;  // null: `octets` are the certificate
  BIN octets;
};

// False when there is nothing to read.
bool ChooseSource(const char* path, const uint8_t* der, uint32_t length, int32_t from_memory,
                  Source* source) {
  if (from_memory == 0 && path != nullptr) {
    *source = {path, {0, nullptr}};
    return true;
  }
  if (der == nullptr) return false;
  *source = {nullptr, {static_cast<int32_t>(length), const_cast<uint8_t*>(der)}};
  return true;
}

// What is held while a record is filled; the octets outlive the certificate that is decoded from
// them.
struct Held {
  corvid::ScopedBin file;
  corvid::NearDecoded<CVD_Certificate, CVD_PDU_CERTIFICATE, 8192> certificate;
};

// Reads, hashes and decodes the certificate, and fills the record from it.
uint32_t Extract(const Source& source, Held* held, PKCCertInfo* info) {
  if (source.path != nullptr) {
    const uint32_t status = CVD_File_ReadBin(&held->file, source.path);
    if (status != 0) return status;
  }
  const BIN& der = source.path != nullptr ? held->file : source.octets;
  if (der.length < 0) return PKC_ERR_INVALID_INPUT;  // a length that no BIN has
  uint8_t digest[20];
  uint32_t count = sizeof digest;
  uint32_t status = CVD_CSP_HashInto(digest, &count, &der, CVD_HASH_SHA1);
  if (status != 0) return status;
  status = corvid::WriteHex(info->thumbprint, sizeof info->thumbprint, digest);
  if (status == 0) status = held->certificate.Decode(der);
  return status != 0 ? status : AllFields(held->certificate.get(), info);
}

// ---- the extended record -------------------------------------------------------------------

struct StringRow {
  const CVD_OID* oid;
  char* field;
  int32_t size;
};

uint32_t StringExtensions(const CVD_ExtensionNode* extensions, PKCCertInfoEx* info) {
  const StringRow rows[] = {
      {CVD_ASN_GetOID(CVD_OID_EXT_STRING_1), info->extString1, sizeof info->extString1},
      {CVD_ASN_GetOID(CVD_OID_EXT_STRING_2), info->extString2, sizeof info->extString2},
      {CVD_ASN_GetOID(CVD_OID_EXT_STRING_3), info->extString3, sizeof info->extString3},
      {&id_corporationName, info->corporationName, sizeof info->corporationName},
  };
  for (const StringRow& row : rows) {
    const CVD_Extension* extension = CVD_GetExtension(extensions, row.oid);
    if (extension == nullptr) continue;
    int32_t count = row.size;
    const uint32_t status =
        CVD_PKC_ASNString_Decode(row.field, &count, extension->extnValue.data,
                                 static_cast<uint32_t>(extension->extnValue.length));
    if (status != 0) return status;
  }
  return 0;
}

uint32_t AuthoritySerial(const CVD_ExtensionNode* extensions, PKCCertInfoEx* info) {
  const CVD_Extension* extension =
      CVD_GetExtension(extensions, CVD_ASN_GetOID(CVD_OID_AUTHORITY_KEY_IDENTIFIER));
  if (extension == nullptr) return 0;
  corvid::NearDecoded<CVD_AuthorityKeyIdentifier, CVD_PDU_AUTHORITY_KEY_IDENTIFIER> identifier;
  if (identifier.Decode(extension->extnValue) != 0) return PKC_ERR_BAD_AUTHKEYID;
  if ((identifier->present & 0x20) != 0) {
    SerialNumber(identifier->authorityCertSerialNumber, &info->authoritySerialNumber,
                 info->authoritySerialHex);
  }
  return 0;
}

uint32_t KeyParameters(const CVD_SubjectPublicKeyInfo& key_info, PKCCertInfoEx* info) {
  switch (CVD_PKC_ObjID_To_PkeyID(&key_info.algorithm.algorithm)) {
    case CVD_PKEY_KCDSA:
      return CVD_Decode_KCDSA_Parameters(&key_info.algorithm.parameters, info);
    case CVD_PKEY_RSA:
      return CVD_Decode_RSAPublicKey(key_info.subjectPublicKey.data,
                                     key_info.subjectPublicKey.bits / 8, info);
    default:
      return 0;
  }
}

uint32_t ExtractEx(const Source& source, PKCCertInfoEx* info) {
  Held held;
  uint32_t status = Extract(source, &held, &info->info);
  if (status != 0) return status;
  const CVD_TBSCertificate& tbs = held.certificate->tbsCertificate;
  status = StringExtensions(tbs.extensions, info);
  if (status == 0) status = AuthoritySerial(tbs.extensions, info);
  return status != 0 ? status : KeyParameters(tbs.subjectPublicKeyInfo, info);
}

}  // namespace

uint32_t CVD_PKC_BIN_ToHex(char* out, const int32_t* capacity, const BIN* data) {
  if (capacity == nullptr || data == nullptr) return PKC_ERR_INVALID_INPUT;
  return corvid::WriteHex(out, *capacity, corvid::View(*data));
}

uint32_t CVD_GetCertificateCtxBin(void* /*context*/, const BIN* certificate,
                                  CVD_Certificate** record) {
  if (certificate == nullptr || certificate->data == nullptr || record == nullptr) {
    return PKC_ERR_INVALID_INPUT;
  }
  *record = nullptr;
  corvid::DecodedCertificate decoded;
  if (decoded.Decode(*certificate) != 0) {
    return kTrace("CVD_GetCertificateCtxBin", PKC_ERR_BAD_CERT);
  }
  *record = decoded.Release();
  return 0;
}

uint32_t CVD_ExtractCertInfoNoExt(void* /*context*/, const CVD_Certificate* certificate,
                                  PKCCertInfo* info) {
  if (certificate == nullptr || info == nullptr) return PKC_ERR_INVALID_INPUT;
  return kTrace("CVD_ExtractCertInfoNoExt", BasicFields(*certificate, Before::kAnything, info));
}

uint32_t CVD_ExtractCertExtension(void* /*context*/, const CVD_Certificate* certificate,
                                  PKCCertInfo* info) {
  if (certificate == nullptr || info == nullptr) return PKC_ERR_INVALID_INPUT;
  return kTrace("CVD_ExtractCertExtension", ExtensionFields(*certificate, info));
}

uint32_t CVD_ExtractCertInfo(void* /*context*/, const char* path, const uint8_t* der,
                             uint32_t length, int32_t from_memory, PKCCertInfo* info) {
  if (info == nullptr) return PKC_ERR_INVALID_INPUT;
  std::memset(info, 0, sizeof *info);
  Source source;
  if (!ChooseSource(path, der, length, from_memory, &source)) return PKC_ERR_INVALID_INPUT;
  Held held;
  return kTrace("CVD_ExtractCertInfo", Extract(source, &held, info));
}

uint32_t CVD_ExtractCertInfoEx(void* /*context*/, const char* path, const uint8_t* der,
                               uint32_t length, int32_t from_memory, PKCCertInfoEx* info) {
  if (info == nullptr) return PKC_ERR_INVALID_INPUT;
  std::memset(info, 0, sizeof *info);
  Source source;
  if (!ChooseSource(path, der, length, from_memory, &source)) return PKC_ERR_INVALID_INPUT;
  return kTrace("CVD_ExtractCertInfoEx", ExtractEx(source, info));
}

uint32_t CVD_DoExtractCertInfo(void* /*context*/, const CVD_Certificate* certificate,
                               PKCCertInfo* info) {
  if (certificate == nullptr || info == nullptr) return PKC_ERR_INVALID_INPUT;
  std::memset(info, 0, sizeof *info);
  return kTrace("CVD_DoExtractCertInfo", AllFields(certificate, info));
}
