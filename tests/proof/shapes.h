// Inputs of one repeated element, or of one huge one: what costs the most that an input of its size
// can.
#ifndef CORVID_TESTS_PROOF_SHAPES_H_
#define CORVID_TESTS_PROOF_SHAPES_H_

#include <span>

#include "proof/operations.h"

namespace corvid::test {

struct Shape {
  const char* name;
  Inputs (*make)(size_t count);  // of so many elements, or octets
};
std::span<const Shape> Shapes();

// The inputs of as many elements as fit a size in octets, by which the largest of them is measured.
Inputs Largest(const Shape& shape, size_t size);

}  // namespace corvid::test

#endif  // CORVID_TESTS_PROOF_SHAPES_H_
