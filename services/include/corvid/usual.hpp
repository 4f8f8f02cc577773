// What the compiler is told about conditions. For our own libraries; not installed.
#ifndef CORVID_USUAL_HPP_
#define CORVID_USUAL_HPP_

namespace corvid {

// What holds of nearly every certificate, and what of nearly none. [[likely]] tells the compiler
// nine in ten: after twenty elements it takes the path of every certificate for a rare one, and
// makes it small instead of fast.
[[gnu::always_inline]] constexpr bool Usual(bool condition) {
  return __builtin_expect_with_probability(condition, true, 1.0) != 0;
}
[[gnu::always_inline]] constexpr bool Rare(bool condition) {
  return __builtin_expect_with_probability(condition, false, 1.0) != 0;
}

}  // namespace corvid

#endif  // CORVID_USUAL_HPP_
