// The length of a key in bits, from its octets alone: nothing is loaded, and no bounds of
// verification apply.
#include <algorithm>

#include "corvid/csp.h"
#include "internal.h"

namespace corvid {

bool TakeElement(Bytes* in, uint8_t tag, Bytes* content) {
  if (in->size() < 2 || (*in)[0] != tag) return false;
  size_t header = 2;
  size_t length = (*in)[1];
  if (length >= 0x80) {
    const size_t octets = length & 0x7F;
    if (octets == 0 || octets > 4 || in->size() - header < octets) return false;
    length = 0;
    for (size_t i = 0; i < octets; ++i) length = length << 8 | (*in)[header++];
    if (length < 0x80 || length >> (8 * (octets - 1)) == 0) return false;
  }
  if (in->size() - header < length) return false;
  *content = in->subspan(header, length);
  *in = in->subspan(header + length);
  return true;
}

bool TakeInteger(Bytes* in, Bytes* content) {
  if (!TakeElement(in, kTagInteger, content) || content->empty()) return false;
  if (content->size() == 1) return true;
  const bool high = (*content)[1] >= 0x80;
  return !((*content)[0] == 0x00 && !high) && !((*content)[0] == 0xFF && high);
}

bool TakePositive(Bytes* in, Bytes* number) {
  Bytes content;
  if (!TakeInteger(in, &content) || content[0] >= 0x80) return false;
  if (content[0] == 0) content = content.subspan(1);
  *number = content;
  return !content.empty();
}

bool ReadRsaKey(Bytes key, Bytes* modulus, Bytes* exponent) {
  Bytes sequence;
  return TakeElement(&key, kTagSequence, &sequence) && key.empty() &&
         TakePositive(&sequence, modulus) && TakePositive(&sequence, exponent) && sequence.empty();
}

namespace {

// No key comes near this; below it a length in bits fits 32 bits.
constexpr size_t kMostOctets = 1 << 28;

uint32_t RsaLength(Bytes key, Bytes /*parameters*/, uint32_t* bits) {
  Bytes modulus;
  Bytes exponent;
  if (!ReadRsaKey(key, &modulus, &exponent)) return CVD_CSP_ERR_BAD_KEY;
  *bits = static_cast<uint32_t>(BitLength(modulus));
  return 0;
}

// The key is an INTEGER; the parameters of all three kinds begin with p (RFC 3279 section 2.3).
uint32_t PrimeLength(Bytes key, Bytes parameters, uint32_t* bits) {
  Bytes public_value;
  if (!TakePositive(&key, &public_value) || !key.empty()) return CVD_CSP_ERR_BAD_KEY;
  Bytes sequence;
  Bytes p;
  if (!TakeElement(&parameters, kTagSequence, &sequence) || !parameters.empty() ||
      !TakePositive(&sequence, &p)) {
    return CVD_CSP_ERR_BAD_PARAMETERS;
  }
  *bits = static_cast<uint32_t>(BitLength(p));
  return 0;
}

// ECPoint: 04, 06 or 07 with both coordinates, 02 or 03 with one (SEC 1 section 2.3.3).
uint32_t PointLength(Bytes point, Bytes /*parameters*/, uint32_t* bits) {
  if (point.size() < 2) return CVD_CSP_ERR_BAD_KEY;
  size_t coordinate = point.size() - 1;
  switch (point[0]) {
    case 0x02:
    case 0x03:
      break;
    case 0x04:
    case 0x06:
    case 0x07:
      if (coordinate % 2 != 0) return CVD_CSP_ERR_BAD_KEY;
      coordinate /= 2;
      break;
    default:
      return CVD_CSP_ERR_BAD_KEY;
  }
  // The one field in use whose length is no multiple of 8 is that of P-521.
  *bits = coordinate == 66 ? 521 : static_cast<uint32_t>(8 * coordinate);
  return 0;
}

struct KeyLengthRow {
  int32_t pkeyID;
  uint32_t (*length)(Bytes key, Bytes parameters, uint32_t* bits);
};
constexpr KeyLengthRow kRows[] = {
    {CVD_PKEY_RSA, RsaLength},     {CVD_PKEY_DH, PrimeLength}, {CVD_PKEY_DSA, PrimeLength},
    {CVD_PKEY_KCDSA, PrimeLength}, {CVD_PKEY_EC, PointLength},
};

uint32_t KeyLength(Bytes key, int32_t pkeyID, Bytes parameters, uint32_t* bits) {
  const auto* row = std::find_if(std::begin(kRows), std::end(kRows),
                                 [&](const auto& r) { return r.pkeyID == pkeyID; });
  if (row == std::end(kRows)) return CVD_CSP_ERR_UNKNOWN_PKEYID;
  if (key.size() > kMostOctets) return CVD_CSP_ERR_BAD_KEY;
  if (parameters.size() > kMostOctets) return CVD_CSP_ERR_BAD_PARAMETERS;
  return row->length(key, parameters, bits);
}

}  // namespace
}  // namespace corvid

uint32_t CVD_CSP_GetKeyLength(uint32_t* bits, const BIN* key, int32_t pkeyID,
                              const BIN* parameters) {
  if (bits == nullptr || !corvid::IsReadable(key) ||
      (parameters != nullptr && !corvid::IsReadable(parameters))) {
    return CVD_CSP_ERR_INVALID_INPUT;
  }
  const corvid::Bytes none;  // null parameters are those of a key that has none
  return corvid::KeyLength(corvid::View(*key), pkeyID,
                           parameters == nullptr ? none : corvid::View(*parameters), bits);
}
