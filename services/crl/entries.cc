// The entries of a list: read once, indexed by serial number. A big list has a million entries of
// one or two forms, which are recognised here; all others are the ASN.1 library's business.
#include <algorithm>
#include <cstring>

#include "services/crl/internal.h"

namespace corvid {
namespace {

enum : uint8_t { kTagInteger = 0x02, kTagUtcTime = 0x17, kTagSequence = 0x30 };

constexpr int kNoReason = -1;
constexpr int kRemoveFromCrl = 8;  // RFC 5280 section 5.3.1

struct Entry {
  DerElement serial{};
  int reason = kNoReason;
  Bytes issuer{};  // the certificateIssuer value, empty when there is none
};

// ---- the usual forms -----------------------------------------------------------------------

// X.690 section 8.3.2, and no wider than a record holds.
bool IsUsualSerial(const DerElement& element) {
  const uint8_t* octets = element.content;
  if (*element.begin != kTagInteger || element.length() == 0 || element.length() > 0xFFFF) {
    return false;
  }
  return element.length() == 1 || (octets[0] != 0x00 && octets[0] != 0xFF) ||
         (octets[0] & 0x80) != (octets[1] & 0x80);
}

// A UTCTime of a day that every month has.
bool IsUsualTime(const DerElement& element) {
  const uint8_t* text = element.content;
  if (*element.begin != kTagUtcTime || element.length() != 13 || text[12] != 'Z') return false;
  int pairs[6];
  for (size_t i = 0; i < 6; ++i) {
    const int tens = text[2 * i] - '0';
    const int ones = text[2 * i + 1] - '0';
    if (tens < 0 || tens > 9 || ones < 0 || ones > 9) return false;
    pairs[i] = 10 * tens + ones;
  }
  return pairs[1] >= 1 && pairs[1] <= 12 && pairs[2] >= 1 && pairs[2] <= 28 && pairs[3] <= 23 &&
         pairs[4] <= 59 && pairs[5] <= 59;
}

// Extensions with a reasonCode that is not critical and nothing else, up to the reason itself.
constexpr uint8_t kReasonAlone[] = {0x30, 0x0C, 0x30, 0x0A, 0x06, 0x03, 0x55,
                                    0x1D, 0x15, 0x04, 0x03, 0x0A, 0x01};

// False for an entry that is not of the usual forms, which may be well-formed or not.
bool ReadUsualEntry(const DerElement& element, Entry* entry) {
  DerCursor in = ContentOf(element);
  DerElement date;
  if (ReadDerElement(&in, &entry->serial) != DerFault::kNone || !IsUsualSerial(entry->serial)) {
    return false;
  }
  if (ReadDerElement(&in, &date) != DerFault::kNone || !IsUsualTime(date)) return false;
  if (in.empty()) return true;
  if (in.size() != sizeof kReasonAlone + 1) return false;
  if (std::memcmp(in.at, kReasonAlone, sizeof kReasonAlone) != 0) return false;
  entry->reason = in.at[sizeof kReasonAlone];
  return true;
}

// ---- any other entry -----------------------------------------------------------------------

constexpr OidOctets kReasonCode{"2.5.29.21"};
constexpr OidOctets kCertificateIssuer{"2.5.29.29"};
constexpr OidWords kReasonCodeWords = WordsOf(kReasonCode.octets, kReasonCode.length);
constexpr OidWords kCertificateIssuerWords =
    WordsOf(kCertificateIssuer.octets, kCertificateIssuer.length);

// CRLReason ::= ENUMERATED. A reason that has no name revokes like the others.
bool ReadReason(Bytes value, int* reason) {
  if (value.size() != 3 || value[0] != 0x0A || value[1] != 0x01) return false;
  *reason = value[2];
  return true;
}

// `value` are the octets of the extension's value in the list itself.
[[nodiscard]] uint32_t ReadExtension(const CVD_Extension& extension, Bytes value, Entry* entry) {
  const OidWords words = WordsOf(extension.extnID);
  if (words == kReasonCodeWords) {
    const bool first = entry->reason == kNoReason;
    return first && ReadReason(value, &entry->reason)
               ? 0
               : static_cast<uint32_t>(CVD_CRL_ERR_BAD_ENTRY);
  }
  if (words == kCertificateIssuerWords) {
    if (!entry->issuer.empty() || value.empty()) return CVD_CRL_ERR_BAD_ENTRY;
    entry->issuer = value;
    return 0;
  }
  return extension.critical == 0 ? 0 : static_cast<uint32_t>(CVD_CRL_ERR_EXTENSION);
}

[[nodiscard]] uint32_t ReadAnyEntry(const DerElement& element, Entry* entry) {
  Decoded<CVD_RevokedCertificate, CVD_PDU_REVOKED_CERTIFICATE> record;
  const uint32_t status = record.Decode(Borrow({element.begin, element.end}));
  if (status != 0) return DecodeStatus(status, CVD_CRL_ERR_BAD_ENTRY);
  DerCursor in = ContentOf(element);
  *entry = {.serial = NextElement(&in)};
  static_cast<void>(NextElement(&in));  // revocationDate
  DerCursor extensions = ContentOf(NextElement(&in));
  for (const CVD_ExtensionNode* node = record->crlEntryExtensions; node != nullptr;
       node = node->next) {
    // The value is the last component: its octets are the last ones of the extension.
    const uint8_t* end = NextElement(&extensions).end;
    const size_t length = View(node->extension.extnValue).size();
    const uint32_t code = ReadExtension(node->extension, {end - length, length}, entry);
    if (code != 0) return code;
  }
  return 0;
}

// ---- certificateIssuer (RFC 5280 section 5.3.3) --------------------------------------------

// Collects the certificateIssuer values of a list and keeps each of them once. Most lists have
// none, and cost nothing here.
class IssuerTable {
 public:
  // The number that rows carry until Finish: n for the n-th value met, counted from 1. Entries
  // without a value have that of the entry before them, the first ones 0, the list's issuer.
  [[nodiscard]] uint32_t Add(Bytes value, const CVD_CRL& crl) {
    if (values_.get() == nullptr && !values_.Allocate(crl.count)) return CVD_CRL_ERR_MALLOC;
    if (count_ == 0 || CompareOctets(values_[count_ - 1].octets, value) != 0) {
      values_[count_++] = {value, 0};
    }
    return 0;
  }
  uint32_t current() const { return count_; }

  // Decodes the values into crl->issuers and numbers the rows by them.
  [[nodiscard]] uint32_t Finish(CVD_CRL* crl) {
    if (count_ == 0) return 0;
    ScopedArray<uint32_t> order;
    if (!order.Allocate(count_)) return CVD_CRL_ERR_MALLOC;
    for (uint32_t i = 0; i < count_; ++i) order[i] = i;
    std::sort(order.get(), order.get() + count_, [this](uint32_t a, uint32_t b) {
      return CompareOctets(values_[a].octets, values_[b].octets) < 0;
    });
    const uint32_t distinct = Number(order.get());
    crl->issuers = static_cast<CVD_GeneralNames**>(CVD_calloc(distinct, sizeof(*crl->issuers)));
    if (crl->issuers == nullptr) return CVD_CRL_ERR_MALLOC;
    crl->issuer_count = distinct;
    for (uint32_t i = 0; i < count_; ++i) {
      const uint32_t status = Decode(values_[i], crl);
      if (status != 0) return status;
    }
    for (IndexRow& row : std::span(crl->rows, crl->row_count)) {
      if (row.issuer != 0) row.issuer = values_[row.issuer - 1].number;
    }
    return 0;
  }

 private:
  struct Value {
    Bytes octets;
    uint32_t number;  // from 1, the same for equal octets
  };

  // Numbers the values, which `order` gives sorted; returns how many differ.
  uint32_t Number(const uint32_t* order) {
    uint32_t number = 0;
    for (uint32_t i = 0; i < count_; ++i) {
      Value& value = values_[order[i]];
      if (i == 0 || CompareOctets(values_[order[i - 1]].octets, value.octets) != 0) ++number;
      value.number = number;
    }
    return number;
  }

  // Only an indirect list may speak of other issuers than its own, and one that names none would
  // leave its entries without a certificate.
  [[nodiscard]] static uint32_t Decode(const Value& value, CVD_CRL* crl) {
    CVD_GeneralNames*& issuer = crl->issuers[value.number - 1];
    if (issuer != nullptr) return 0;
    Decoded<CVD_GeneralNames, CVD_PDU_GENERAL_NAMES> names;
    if (const uint32_t status = names.Decode(Borrow(value.octets)); status != 0) {
      return DecodeStatus(status, CVD_CRL_ERR_BAD_ENTRY);
    }
    const bool fits = IsIndirect(*crl)
                          ? HasAnyDirectoryName(names->first)
                          : HasDirectoryName(names->first, crl->list->tbsCertList.issuer);
    if (!fits) return CVD_CRL_ERR_BAD_ENTRY;
    issuer = names.Release();
    return 0;
  }

  static bool HasAnyDirectoryName(const CVD_GeneralNameNode* node) {
    while (node != nullptr && node->generalName.choice != CVD_GENERAL_NAME_DIRECTORY) {
      node = node->next;
    }
    return node != nullptr;
  }

  ScopedArray<Value> values_;
  uint32_t count_ = 0;
};

// ---- all entries ---------------------------------------------------------------------------

// Counts the entries, each of which is a SEQUENCE.
[[nodiscard]] uint32_t CountEntries(DerCursor in, uint32_t* count) {
  DerElement element;
  for (*count = 0; !in.empty(); ++*count) {
    if (ReadDerElement(&in, &element) != DerFault::kNone || *element.begin != kTagSequence) {
      return CVD_CRL_ERR_BAD_ENTRY;
    }
  }
  return 0;
}

[[nodiscard]] uint32_t FillRows(CVD_CRL* crl, DerCursor in, IssuerTable* issuers) {
  const uint8_t* entries = crl->list->tbsCertList.revokedCertificates.data;
  while (!in.empty()) {
    const DerElement element = NextElement(&in);
    Entry entry;
    if (!ReadUsualEntry(element, &entry)) {
      if (const uint32_t status = ReadAnyEntry(element, &entry); status != 0) return status;
    }
    if (!entry.issuer.empty()) {
      if (const uint32_t status = issuers->Add(entry.issuer, *crl); status != 0) return status;
    }
    if (entry.reason == kRemoveFromCrl) continue;  // revokes nothing: never looked for
    const DerElement& serial = entry.serial;
    crl->rows[crl->row_count++] = {KeyOf({serial.content, serial.end}),
                                   static_cast<uint32_t>(serial.begin - entries),
                                   issuers->current()};
  }
  return 0;
}

}  // namespace

uint32_t IndexEntries(CVD_CRL* crl) {
  const Bytes octets = View(crl->list->tbsCertList.revokedCertificates);
  DerCursor whole{octets.data(), octets.data() + octets.size()};
  if (whole.empty()) return 0;
  const DerCursor entries = ContentOf(NextElement(&whole));
  if (const uint32_t status = CountEntries(entries, &crl->count); status != 0) return status;
  if (crl->count == 0) return 0;
  crl->rows = static_cast<IndexRow*>(CVD_malloc(crl->count * sizeof(IndexRow)));
  if (crl->rows == nullptr) return CVD_CRL_ERR_MALLOC;
  IssuerTable issuers;
  if (const uint32_t status = FillRows(crl, entries, &issuers); status != 0) return status;
  if (const uint32_t status = issuers.Finish(crl); status != 0) return status;
  SortRows(crl);
  return 0;
}

}  // namespace corvid
