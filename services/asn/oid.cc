// Object identifiers: the catalogue, comparison, and the dotted text.
#include <array>
#include <cstring>

#include "corvid/asn.h"
#include "corvid/common.h"
#include "corvid/oid_octets.hpp"
#include "services/asn/der.h"

namespace corvid::asn {
namespace {

// The records of the catalogue, found by number: a number that is not there has no octets.
constexpr int32_t kNumbers = 361;

constexpr std::array<CVD_OID, kNumbers> MakeCatalogue() {
  std::array<CVD_OID, kNumbers> catalogue{};
#define CORVID_ENTRY(number, name, dotted) \
  catalogue[number] = {CatalogueOid<number>::kOctets.length, CatalogueOid<number>::kOctets.octets};
  CVD_OID_CATALOGUE(CORVID_ENTRY)
#undef CORVID_ENTRY
  return catalogue;
}

constexpr std::array<CVD_OID, kNumbers> kCatalogue = MakeCatalogue();

__extension__ using Number = unsigned __int128;  // a subidentifier that has a text

template <typename Unsigned>
size_t PutDecimal(Unsigned number, char* out) {
  size_t count = 1;
  for (Unsigned rest = number / 10; rest != 0; rest /= 10) ++count;
  for (size_t i = count; i-- > 0; number /= 10) {
    out[i] = static_cast<char>('0' + static_cast<int>(number % 10));
  }
  return count;
}

// Writes a number in decimal; the usual widths are not divided as 128 bits.
size_t PutNumber(Number number, char* out) {
  return number > UINT64_MAX ? PutDecimal(number, out)
                             : PutDecimal(static_cast<uint64_t>(number), out);
}

// One subidentifier from `*at` on; false when it is wider than a Number.
bool TakeNumber(const uint8_t** at, const uint8_t* end, Number* number) {
  *number = 0;
  while (*at != end) {
    const uint8_t octet = *(*at)++;
    if (*number >> 121 != 0) return false;
    *number = *number << 7 | (octet & 0x7F);
    if ((octet & 0x80) == 0) return true;
  }
  return false;
}

// The dotted text into `text`, which holds DottedSize characters. Returns its length, or 0.
size_t WriteDotted(const CVD_OID& oid, char* text) {
  const uint8_t* at = oid.data;
  const uint8_t* end = oid.data + oid.length;
  Number number = 0;
  if (!TakeNumber(&at, end, &number)) return 0;
  // X.690 section 8.19.4: the first subidentifier holds two numbers.
  const int root = number < 40 ? 0 : number < 80 ? 1 : 2;
  text[0] = static_cast<char>('0' + root);
  text[1] = '.';
  size_t length = 2 + PutNumber(number - static_cast<Number>(40 * root), text + 2);
  while (at != end) {
    text[length++] = '.';
    if (*at < 10) {  // most of them
      text[length++] = static_cast<char>('0' + *at++);
      continue;
    }
    if (!TakeNumber(&at, end, &number)) return 0;
    length += PutNumber(number, text + length);
  }
  text[length] = '\0';
  return length;
}

// The length of the dotted text, at most: an octet of a subidentifier is three digits at most, each
// subidentifier has a dot, the first another number.
size_t DottedSize(const CVD_OID& oid) { return size_t{4} * oid.length + 4; }

// One number of dotted text: digits up to a dot or the end, within 64 bits.
bool ParseNumber(const char** at, uint64_t* number) {
  *number = 0;
  const char* begin = *at;
  for (; **at >= '0' && **at <= '9'; ++*at) {
    if (__builtin_mul_overflow(*number, uint64_t{10}, number) ||
        __builtin_add_overflow(*number, static_cast<uint64_t>(**at - '0'), number)) {
      return false;
    }
  }
  return *at != begin && (**at == '.' || **at == '\0');
}

size_t PutSubidentifier(Number number, uint8_t* out) {
  size_t octets = 1;
  for (Number rest = number >> 7; rest != 0; rest >>= 7) ++octets;
  for (size_t i = octets; i-- > 0; number >>= 7) {
    out[i] = static_cast<uint8_t>((number & 0x7F) | (i + 1 == octets ? 0x00 : 0x80));
  }
  return octets;
}

// The content octets of dotted text into `out`, which holds as many octets as the text has
// characters. Returns their number, 0 when the text is no identifier.
size_t ParseDotted(const char* text, uint8_t* out) {
  uint64_t first = 0;
  uint64_t number = 0;
  const char* at = text;
  if (!ParseNumber(&at, &first) || first > 2 || *at++ != '.') return 0;
  if (!ParseNumber(&at, &number) || (first < 2 && number > 39)) return 0;
  size_t length = PutSubidentifier(Number{number} + 40 * first, out);
  while (*at == '.') {
    ++at;
    if (!ParseNumber(&at, &number)) return 0;
    length += PutSubidentifier(number, out + length);
  }
  return *at == '\0' && length <= kShortLimit ? length : 0;
}

}  // namespace
}  // namespace corvid::asn

const CVD_OID* CVD_ASN_GetOID(int32_t number) {
  using corvid::asn::kCatalogue;
  if (number < 0 || number >= corvid::asn::kNumbers) return nullptr;
  const CVD_OID* oid = &kCatalogue[static_cast<size_t>(number)];
  return oid->length == 0 ? nullptr : oid;
}

int32_t CVD_ASN_CmpOID(const CVD_OID* a, const CVD_OID* b) {
  if (a == nullptr || b == nullptr || a->length != b->length) return 1;
  if (a->length == 0) return 0;
  if (a->data == nullptr || b->data == nullptr) return 1;
  return std::memcmp(a->data, b->data, a->length) == 0 ? 0 : 1;
}

uint32_t CVD_ASN_OID2DotVal(char** text, const CVD_OID* oid) {
  using namespace corvid::asn;
  if (text == nullptr || oid == nullptr || oid->data == nullptr) return CVD_ASN_ERR_INVALID_INPUT;
  if (const uint32_t status = CheckOid(oid->data, oid->length); status != 0) return status;
  auto count = static_cast<uint32_t>(DottedSize(*oid));
  auto* dotted = static_cast<char*>(CVD_malloc(count));
  if (dotted == nullptr) return CVD_ASN_ERR_MALLOC;
  if (const uint32_t status = CVD_ASN_OID2DotValInto(dotted, &count, oid); status != 0) {
    CVD_free(dotted);
    return status;
  }
  *text = dotted;
  return 0;
}

uint32_t CVD_ASN_OID2DotValInto(char* out, uint32_t* count, const CVD_OID* oid) {
  using namespace corvid::asn;
  if (out == nullptr || count == nullptr || oid == nullptr || oid->data == nullptr ||
      DottedSize(*oid) > *count) {
    return CVD_ASN_ERR_INVALID_INPUT;
  }
  if (const uint32_t status = CheckOid(oid->data, oid->length); status != 0) return status;
  const size_t length = WriteDotted(*oid, out);
  if (length == 0) return CVD_ASN_ERR_OID;
  *count = static_cast<uint32_t>(length);
  return 0;
}

uint32_t CVD_ASN_DotVal2OID(CVD_OID* oid, const char* text) {
  if (oid == nullptr || text == nullptr) return CVD_ASN_ERR_INVALID_INPUT;
  auto* octets = static_cast<uint8_t*>(CVD_malloc(std::strlen(text) + 1));
  if (octets == nullptr) return CVD_ASN_ERR_MALLOC;
  const size_t length = corvid::asn::ParseDotted(text, octets);
  if (length == 0) {
    CVD_free(octets);
    return CVD_ASN_ERR_OID;
  }
  std::memset(oid, 0, sizeof *oid);  // the octets beside the length are compared and copied, too
  oid->length = static_cast<uint16_t>(length);
  oid->data = octets;
  return 0;
}

void CVD_ASN_ResetOID(CVD_OID* oid) {
  if (oid == nullptr) return;
  CVD_free(const_cast<uint8_t*>(oid->data));
  std::memset(oid, 0, sizeof *oid);
}
