// Loading a list: DER or PEM text, the list's own extensions, then its entries.
#include <cstring>
#include <string_view>

#include "corvid/codec.h"
#include "services/crl/internal.h"

namespace corvid {
namespace {

// ---- PEM (RFC 7468 section 6) --------------------------------------------------------------

constexpr std::string_view kPemBegin = "-----BEGIN X509 CRL-----";
constexpr std::string_view kPemEnd = "-----END X509 CRL-----";

// The base64 text between the first pair of boundaries, whatever is written around them; empty when
// there is none.
std::string_view PemBody(Bytes octets) {
  std::string_view text(reinterpret_cast<const char*>(octets.data()), octets.size());
  const size_t begin = text.find(kPemBegin);
  if (begin == std::string_view::npos) return {};
  text.remove_prefix(begin + kPemBegin.size());
  const size_t end = text.find(kPemEnd);
  return end == std::string_view::npos ? std::string_view() : text.substr(0, end);
}

[[nodiscard]] uint32_t DecodePem(BIN* der, Bytes octets) {
  const std::string_view body = PemBody(octets);
  // A NUL would hide what stands after it.
  if (body.empty() || body.find('\0') != std::string_view::npos) return CVD_CRL_ERR_BAD_LIST;
  auto* text = static_cast<char*>(CVD_malloc(body.size() + 1));
  if (text == nullptr) return CVD_CRL_ERR_MALLOC;
  std::memcpy(text, body.data(), body.size());
  text[body.size()] = '\0';
  const uint32_t status = CVD_Base64ToBin(text, der);
  CVD_free(text);
  if (status == CVD_CODEC_ERR_MALLOC) return CVD_CRL_ERR_MALLOC;
  return status == 0 ? 0 : static_cast<uint32_t>(CVD_CRL_ERR_BAD_LIST);
}

// ---- the list's extensions (RFC 5280 section 5.2) ------------------------------------------

constexpr OidOctets kDeltaCrlIndicator{"2.5.29.27"};
constexpr OidOctets kIssuingDistributionPoint{"2.5.29.28"};

template <size_t kSize>
bool Is(const CVD_OID& oid, const OidOctets<kSize>& octets) {
  return oid.length == octets.length && std::memcmp(oid.data, octets.octets, octets.length) == 0;
}

// Each name of a certificate's points is compared with each of the list's: real lists have one or
// two.
constexpr size_t kMostPointNames = 64;

bool HasTooManyNames(const CVD_DistributionPointName& point) {
  if (point.choice != CVD_DISTRIBUTION_POINT_FULL_NAME) return false;
  size_t count = 0;
  for (const CVD_GeneralNameNode* node = point.name.fullName;
       node != nullptr && count <= kMostPointNames; node = node->next) {
    ++count;
  }
  return count > kMostPointNames;
}

[[nodiscard]] uint32_t ReadIssuingPoint(CVD_CRL* crl, const BIN& value) {
  if (crl->idp != nullptr) return CVD_CRL_ERR_BAD_LIST;
  Decoded<CVD_IssuingDistributionPoint, CVD_PDU_ISSUING_DISTRIBUTION_POINT> idp;
  if (const uint32_t status = idp.Decode(value); status != 0) {
    return DecodeStatus(status, CVD_CRL_ERR_BAD_LIST);
  }
  if ((idp->present & 0x10) != 0) return CVD_CRL_ERR_REASONS;
  const int kinds =
      idp->onlyContainsUserCerts + idp->onlyContainsCACerts + idp->onlyContainsAttributeCerts;
  if (kinds > 1 || idp->present == 0) return CVD_CRL_ERR_BAD_LIST;  // section 5.2.5
  if (HasTooManyNames(idp->distributionPoint)) return CVD_CRL_ERR_BAD_LIST;
  crl->idp = idp.Release();
  crl->idp_octets = View(value).size();
  return 0;
}

[[nodiscard]] uint32_t ReadExtension(CVD_CRL* crl, const CVD_Extension& extension) {
  if (Is(extension.extnID, kDeltaCrlIndicator)) return CVD_CRL_ERR_DELTA;
  if (Is(extension.extnID, kIssuingDistributionPoint)) {
    return ReadIssuingPoint(crl, extension.extnValue);
  }
  return extension.critical == 0 ? 0 : static_cast<uint32_t>(CVD_CRL_ERR_EXTENSION);
}

// ---- the whole list ------------------------------------------------------------------------

constexpr int32_t kVersion2 = 1;

class ScopedCrl {  // a list that is being loaded
 public:
  ScopedCrl() : crl_(static_cast<CVD_CRL*>(CVD_calloc(1, sizeof(CVD_CRL)))) {}
  ScopedCrl(const ScopedCrl&) = delete;
  ScopedCrl& operator=(const ScopedCrl&) = delete;
  ~ScopedCrl() { CVD_CRL_Free(crl_); }
  CVD_CRL* get() const { return crl_; }
  CVD_CRL* Release() {
    CVD_CRL* crl = crl_;
    crl_ = nullptr;
    return crl;
  }

 private:
  CVD_CRL* crl_;
};

[[nodiscard]] uint32_t ReadList(CVD_CRL* crl, const BIN& der) {
  Decoded<CVD_CertificateList, CVD_PDU_CERTIFICATE_LIST> list;
  if (const uint32_t status = list.Decode(der); status != 0) {
    return DecodeStatus(status, CVD_CRL_ERR_BAD_LIST);
  }
  crl->list = list.Release();
  const CVD_TBSCertList& tbs = crl->list->tbsCertList;
  if (tbs.version < 0 || tbs.version > kVersion2) return CVD_CRL_ERR_BAD_LIST;
  for (const CVD_ExtensionNode* node = tbs.crlExtensions; node != nullptr; node = node->next) {
    if (const uint32_t status = ReadExtension(crl, node->extension); status != 0) return status;
  }
  return IndexEntries(crl);
}

[[nodiscard]] uint32_t Load(CVD_CRL** out, const BIN& encoding) {
  const Bytes octets = View(encoding);
  constexpr uint8_t kSequenceTag = 0x30;
  ScopedBin body;
  const bool is_der = !octets.empty() && octets[0] == kSequenceTag;
  if (!is_der) {
    if (const uint32_t status = DecodePem(&body, octets); status != 0) return status;
  }
  ScopedCrl crl;
  if (crl.get() == nullptr) return CVD_CRL_ERR_MALLOC;
  if (const uint32_t status = ReadList(crl.get(), is_der ? encoding : body); status != 0) {
    return status;
  }
  *out = crl.Release();
  return 0;
}

}  // namespace
}  // namespace corvid

uint32_t CVD_CRL_Load(CVD_CRL** crl, const BIN* encoding) {
  if (crl == nullptr || encoding == nullptr || encoding->length < 0 ||
      (encoding->data == nullptr && encoding->length > 0)) {
    return CVD_CRL_ERR_INVALID_INPUT;
  }
  return corvid::Load(crl, *encoding);
}
