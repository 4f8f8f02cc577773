// Calls of exported functions with one argument that no caller may give.
#ifndef CORVID_TESTS_PROOF_REFUSALS_H_
#define CORVID_TESTS_PROOF_REFUSALS_H_

#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "proof/operations.h"

namespace corvid::test {

// What came of the calls that were not refused as usual: "CVD_BIN_Copy 1 null: 0".
using Unrefused = std::vector<std::string>;

inline bool IsRefusal(uint32_t status) { return status % 1000 == 1; }  // of each library

// A refusal writes no result and leaves no trace.
template <typename Function, typename Arguments>
void CallRefused(const std::string& call, Function function, const Arguments& arguments,
                 Results* out, Unrefused* unrefused) {
  Clear(out);
  CVD_Trace_Clear();
  const uint32_t status = std::apply(function, arguments);
  const bool clear = AreClear(*out);
  const bool octets = !call.ends_with("null");  // may be found wrong by a service, and later
  if (clear && (octets ? status != 0 : IsRefusal(status) && CVD_Trace_Count() == 0)) return;
  unrefused->push_back(call + ": " + std::to_string(status) +
                       (!clear                   ? ", written"
                        : CVD_Trace_Count() != 0 ? ", traced"
                                                 : ""));
  if (!clear) Release(out);
}

// Argument I: a null pointer; octets that are none or have an impossible length; no room for text.
template <size_t I, typename Function, typename... P>
void RefuseArgument(const char* name, Function function, const std::tuple<P...>& valid,
                    Results* out, Unrefused* unrefused) {
  using Arguments = std::tuple<P...>;
  using Parameter = std::tuple_element_t<I, Arguments>;
  const auto call = [&](const char* what, const Arguments& arguments) {
    CallRefused(std::string(name) + ' ' + std::to_string(I) + what, function, arguments, out,
                unrefused);
  };
  Arguments arguments = valid;
  if constexpr (std::is_pointer_v<Parameter>) {
    if (std::get<I>(valid) == nullptr) return;  // nothing is asked for
    std::get<I>(arguments) = nullptr;
    call(" null", arguments);
  }
  if constexpr (std::is_same_v<Parameter, const BIN*>) {
    const BIN& octets = *std::get<I>(valid);
    const BIN nowhere{5, nullptr};
    const BIN negative{-1, octets.data};
    std::get<I>(arguments) = &nowhere;
    call(" nowhere", arguments);
    std::get<I>(arguments) = &negative;
    call(" negative", arguments);
  }
  if constexpr (std::is_integral_v<Parameter>) {
    if (std::get<I>(valid) != static_cast<Parameter>(sizeof Results::texts[0])) return;
    std::get<I>(arguments) = 0;
    call(" no room", arguments);
  }
}

template <typename... P>
void RefuseEach(const char* name, uint32_t (*function)(P...),
                const std::type_identity_t<std::tuple<P...>>& valid, Results* out,
                Unrefused* unrefused) {
  [&]<size_t... I>(std::index_sequence<I...>) {
    (RefuseArgument<I>(name, function, valid, out, unrefused), ...);
  }
  (std::index_sequence_for<P...>());
}

}  // namespace corvid::test

#endif  // CORVID_TESTS_PROOF_REFUSALS_H_
