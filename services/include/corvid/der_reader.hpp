// The one bounded DER header reader (X.690): whatever reads DER strictly stands on it. For our own
// libraries; not installed.
#ifndef CORVID_DER_READER_HPP_
#define CORVID_DER_READER_HPP_

#include <cstddef>
#include <cstdint>

#include "corvid/usual.hpp"

namespace corvid {

// The octets of a container that are not yet read.
struct DerCursor {
  const uint8_t* at;
  const uint8_t* end;

  bool empty() const { return at == end; }
  size_t size() const { return static_cast<size_t>(end - at); }
};

// One element: [begin, content) is its header, [content, end) its content octets.
struct DerElement {
  const uint8_t* begin;
  const uint8_t* content;
  const uint8_t* end;

  size_t length() const { return static_cast<size_t>(end - content); }
};

enum class DerFault : uint8_t {
  kNone,
  kTruncated,  // the element ends before its header or content does
  kLength,     // a length that is indefinite, not minimal, or over four octets
  kTag         // a malformed tag number over 30
};

// Skips the octets of a tag number over 30, of any size: base 128, no leading zero digit, and not
// one that the short form has (X.690 section 8.1.2.4).
[[nodiscard]] inline DerFault SkipDerTagNumber(const uint8_t** at, const uint8_t* end) {
  if (*at == end) return DerFault::kTruncated;
  const uint8_t first = *(*at)++;
  if (first == 0x80 || first < 31) return DerFault::kTag;
  for (uint8_t octet = first; (octet & 0x80) != 0;) {
    if (*at == end) return DerFault::kTruncated;
    octet = *(*at)++;
  }
  return DerFault::kNone;
}

// The headers that ReadDerElement does not read itself: tag numbers over 30, lengths of three or
// four octets, and those that are refused.
[[nodiscard, gnu::noinline]] inline DerFault ReadLongDerElement(DerCursor* in, DerElement* out) {
  const uint8_t* at = in->at;
  if (in->empty()) return DerFault::kTruncated;
  if ((*at++ & 0x1F) == 0x1F) {
    if (const DerFault fault = SkipDerTagNumber(&at, in->end); fault != DerFault::kNone) {
      return fault;
    }
  }
  if (at == in->end) return DerFault::kTruncated;
  size_t length = *at++;
  if (length >= 0x80) {
    const size_t octets = length & 0x7F;
    if (octets == 0 || octets > 4) return DerFault::kLength;
    if (static_cast<size_t>(in->end - at) < octets) return DerFault::kTruncated;
    length = 0;
    for (size_t i = 0; i < octets; ++i) length = length << 8 | *at++;
    if (length < 0x80 || length >> (8 * (octets - 1)) == 0) return DerFault::kLength;
  }
  if (static_cast<size_t>(in->end - at) < length) return DerFault::kTruncated;
  *out = {in->at, at, at + length};
  in->at = out->end;
  return DerFault::kNone;
}

// Takes the next element off `in`: definite lengths of the fewest octets (X.690 sections 8.1.3.3
// and 10.1), four octets of length at most, and no element that ends after its container. `*in` and
// `*out` are as they were after a fault.
[[nodiscard, gnu::always_inline]] inline DerFault ReadDerElement(DerCursor* in, DerElement* out) {
  const uint8_t* at = in->at;
  const size_t available = in->size();
  if (Rare(available < 2 || (at[0] & 0x1F) == 0x1F)) return ReadLongDerElement(in, out);
  size_t length = at[1];
  size_t header = 2;
  if (length >= 0x80) {
    header = length - 0x80 + 2;
    if (Rare(header > 4 || header < 3 || available < header)) {
      return ReadLongDerElement(in, out);
    }
    length = header == 3 ? at[2] : static_cast<size_t>(at[2] << 8 | at[3]);
    if (Rare(length < (header == 3 ? 0x80 : 0x100))) return DerFault::kLength;
  }
  if (Rare(available - header < length)) return DerFault::kTruncated;
  *out = {at, at + header, at + header + length};
  in->at = out->end;
  return DerFault::kNone;
}

}  // namespace corvid

#endif  // CORVID_DER_READER_HPP_
