// The index of a list: rows of sixteen bytes, sorted by serial number and issuer and searched by
// halves.
#include <algorithm>
#include <cstring>

#include "services/crl/internal.h"

namespace corvid {
namespace {

Bytes EntriesOf(const CVD_CRL& crl) { return View(crl.list->tbsCertList.revokedCertificates); }

Bytes SerialAt(Bytes entries, uint32_t offset) {
  DerCursor in{entries.data() + offset, entries.data() + entries.size()};
  const DerElement serial = NextElement(&in);
  return {serial.content, serial.end};
}

// Below, at or above 0: where the serial number stands to the row's.
int CompareToRow(uint64_t key, Bytes serial, const IndexRow& row, Bytes entries) {
  if (key != row.key) return key < row.key ? -1 : 1;
  return CompareOctets(serial, SerialAt(entries, row.offset));
}

}  // namespace

int CompareOctets(Bytes a, Bytes b) {
  if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
  return a.empty() ? 0 : std::memcmp(a.data(), b.data(), a.size());
}

uint64_t KeyOf(Bytes serial) {
  uint64_t key = 0;
  for (const uint8_t octet : serial.last(std::min<size_t>(serial.size(), 8))) {
    key = key << 8 | octet;
  }
  return key;
}

void SortRows(CVD_CRL* crl) {
  const Bytes entries = EntriesOf(*crl);
  std::sort(crl->rows, crl->rows + crl->row_count, [entries](const IndexRow& a, const IndexRow& b) {
    if (a.key != b.key) return a.key < b.key;
    const int order = CompareOctets(SerialAt(entries, a.offset), SerialAt(entries, b.offset));
    return order != 0 ? order < 0 : a.issuer < b.issuer;
  });
}

bool HasDirectoryName(const CVD_GeneralNameNode* names, const CVD_Name& name) {
  for (const CVD_GeneralNameNode* node = names; node != nullptr; node = node->next) {
    const CVD_GeneralName& general = node->generalName;
    if (general.choice == CVD_GENERAL_NAME_DIRECTORY &&
        CVD_ASN_CmpName(&general.name.directoryName, &name) == 0) {
      return true;
    }
  }
  return false;
}

bool HasEntry(const CVD_CRL& crl, Bytes serial, const CVD_Name& issuer, bool own) {
  const uint64_t key = KeyOf(serial);
  const Bytes entries = EntriesOf(crl);
  const IndexRow* end = crl.rows + crl.row_count;
  const IndexRow* row = std::partition_point(
      static_cast<const IndexRow*>(crl.rows), end,
      [&](const IndexRow& r) { return CompareToRow(key, serial, r, entries) > 0; });
  const IndexRow* before = nullptr;
  for (; row != end && CompareToRow(key, serial, *row, entries) == 0; before = row++) {
    if (before != nullptr && before->issuer == row->issuer) continue;  // has been compared
    if (row->issuer == 0 ? own : HasDirectoryName(crl.issuers[row->issuer - 1]->first, issuer)) {
      return true;
    }
  }
  return false;
}

}  // namespace corvid
