// What the files of the revocation-list library share: the loaded list with its index, holders, and
// the walk through DER that has been read before.
#ifndef CORVID_SERVICES_CRL_INTERNAL_H_
#define CORVID_SERVICES_CRL_INTERNAL_H_

#include <cstddef>
#include <cstdint>
#include <span>

#include "corvid/asn.h"
#include "corvid/common.h"
#include "corvid/crl.h"
#include "corvid/der_reader.hpp"
#include "corvid/holders.hpp"
#include "corvid/oid_octets.hpp"
#include "corvid/types.h"

namespace corvid {

// This library's code for a decoder's failure: `bad`, but for a lack of memory.
inline uint32_t DecodeStatus(uint32_t status, uint32_t bad) {
  if (status == 0) return 0;
  return status == CVD_ASN_ERR_MALLOC ? static_cast<uint32_t>(CVD_CRL_ERR_MALLOC) : bad;
}

// The next element of DER that was found well-formed before.
inline DerElement NextElement(DerCursor* in) {
  DerElement element{in->end, in->end, in->end};
  if (ReadDerElement(in, &element) != DerFault::kNone) in->at = in->end;
  return element;
}

inline DerCursor ContentOf(const DerElement& element) { return {element.content, element.end}; }

template <typename T>
class ScopedArray {  // `count` elements that are not initialised; null when memory was short
 public:
  ScopedArray() = default;
  ScopedArray(const ScopedArray&) = delete;
  ScopedArray& operator=(const ScopedArray&) = delete;
  ~ScopedArray() { CVD_free(data_); }
  [[nodiscard]] bool Allocate(size_t count) {
    data_ = static_cast<T*>(CVD_malloc(count * sizeof(T)));
    return data_ != nullptr;
  }
  T* get() const { return data_; }
  T& operator[](size_t index) const { return data_[index]; }

 private:
  T* data_ = nullptr;
};

// One revoking entry of the index.
struct IndexRow {
  uint64_t key;     // the serial number's last eight octets: the first ones often are all alike
  uint32_t offset;  // of the serial number's INTEGER in revokedCertificates
  uint32_t issuer;  // 0: the list's own; n: issuers[n - 1]
};

}  // namespace corvid

struct CVD_CRL {
  CVD_CertificateList* list;          // holds the DER of the entries
  CVD_IssuingDistributionPoint* idp;  // null: the list has none
  size_t idp_octets;                  // of its encoding
  uint32_t count;                     // entries, those without a row included
  uint32_t row_count;
  corvid::IndexRow* rows;  // sorted by key, serial number, issuer
  uint32_t issuer_count;
  CVD_GeneralNames** issuers;  // the certificateIssuer values, each once
};

namespace corvid {

// May the list speak of other issuers' certificates (RFC 5280 section 5.2.5)?
inline bool IsIndirect(const CVD_CRL& crl) {
  return crl.idp != nullptr && crl.idp->indirectCRL != 0;
}

// entries.cc: counts and checks the entries of `crl->list`, and indexes those that revoke.
[[nodiscard]] uint32_t IndexEntries(CVD_CRL* crl);

// index.cc: the key of the serial number with these content octets.
uint64_t KeyOf(Bytes serial);
// index.cc: sorts the rows by serial number, then by issuer. Serial numbers that share a key are
// compared, so that a list made of such costs no more than that.
void SortRows(CVD_CRL* crl);
// index.cc: true when an entry revokes the serial number of this issuer; `own`: the list's issuer.
bool HasEntry(const CVD_CRL& crl, Bytes serial, const CVD_Name& issuer, bool own);
// index.cc: true when one of the general names is this directoryName.
bool HasDirectoryName(const CVD_GeneralNameNode* names, const CVD_Name& name);
// index.cc: below, at or above 0: the shorter comes first, then the octets decide.
int CompareOctets(Bytes a, Bytes b);

}  // namespace corvid

#endif  // CORVID_SERVICES_CRL_INTERNAL_H_
