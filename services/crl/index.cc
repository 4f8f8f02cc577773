// The index of a list: rows of sixteen bytes, sorted by serial number and issuer and searched by
// halves.
#include <algorithm>
#include <bit>
#include <cstring>
#include <numeric>
#include <span>

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

// Puts the rows into buckets by their keys' distance from the lowest key, a few rows into each, and
// sorts every bucket: the serial numbers of a list are spread evenly, or follow one another.
// Comparisons alone would take twice as long for each row of a list of ten times as many. False,
// with nothing done, when memory is short.
template <typename Less>
bool SortByDistance(std::span<IndexRow> rows, const Less& less) {
  const auto [low, high] = std::minmax_element(
      rows.begin(), rows.end(), [](const IndexRow& a, const IndexRow& b) { return a.key < b.key; });
  const uint64_t lowest = low->key;
  const auto width = [](uint64_t number) { return static_cast<int>(std::bit_width(number)); };
  const int shift = std::max(0, width(high->key - lowest) - width(rows.size() / 8));
  const auto bucket = [=](const IndexRow& row) { return (row.key - lowest) >> shift; };
  const size_t count = bucket(*high) + 1;
  ScopedArray<uint32_t> memory;
  if (!memory.Allocate(2 * count)) return false;
  std::fill_n(memory.get(), 2 * count, 0);
  const std::span ends(memory.get(), count);
  const std::span next(memory.get() + count, count);  // where the bucket's next row goes
  for (const IndexRow& row : rows) ++ends[bucket(row)];
  std::inclusive_scan(ends.begin(), ends.end(), ends.begin());
  std::copy(ends.begin(), ends.end() - 1, next.begin() + 1);
  for (size_t i = 0; i < count; ++i) {
    const size_t begin = i == 0 ? 0 : ends[i - 1];
    while (next[i] < ends[i]) {
      IndexRow& row = rows[next[i]];
      std::swap(row, rows[next[bucket(row)]++]);  // to its bucket; in its own, with itself
    }
    std::sort(rows.begin() + static_cast<ptrdiff_t>(begin),
              rows.begin() + static_cast<ptrdiff_t>(ends[i]), less);
  }
  return true;
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
  constexpr size_t kFewRows = 64;
  const Bytes entries = EntriesOf(*crl);
  const auto less = [entries](const IndexRow& a, const IndexRow& b) {
    if (a.key != b.key) return a.key < b.key;
    const int order = CompareOctets(SerialAt(entries, a.offset), SerialAt(entries, b.offset));
    return order != 0 ? order < 0 : a.issuer < b.issuer;
  };
  const std::span rows(crl->rows, crl->row_count);
  if (rows.size() > kFewRows && SortByDistance(rows, less)) return;
  std::sort(rows.begin(), rows.end(), less);
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
