// DER taken apart, and the variants of it that differ in one element.
#ifndef CORVID_TESTS_SUPPORT_SPOILED_H_
#define CORVID_TESTS_SUPPORT_SPOILED_H_

#include <optional>

#include "support/support.h"

namespace corvid::test {

struct Element {
  Octets identifier = {};
  Octets content = {};                 // of a primitive one, or of one whose parts are no DER
  std::vector<Element> parts = {};     // of a constructed one, or a string that holds DER
  std::optional<Octets> instead = {};  // what it is encoded as
};
// Of one element, whose parts need not be well-formed.
Element Parse(const Octets& der);
Octets Encode(const Element& element);

// Every variant of the DER with one element, at any depth and inside strings, that is replaced by
// NULL, left out, doubled, emptied, an octet longer, or of another first octet. None of octets that
// are no DER.
std::vector<Octets> Spoiled(const Octets& der);
// The same, not inside strings, and with what its type cares for: lengths that are no DER, other
// tags, signs and paddings, times, unused bits, additional parts and other orders.
std::vector<Octets> SpoiledEncodings(const Octets& der);

}  // namespace corvid::test

#endif  // CORVID_TESTS_SUPPORT_SPOILED_H_
