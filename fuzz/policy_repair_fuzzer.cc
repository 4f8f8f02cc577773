// A certificatePolicies value as texts. Input: options, three capacities, DER. Contract: texts stay
// in their arrays and are terminated, a failure writes nothing, and a value that does not decode
// renders only when an empty SEQUENCE at its end is to blame: then as identifiers alone.
#include "fuzz/input.h"

namespace {

using corvid::fuzz::Array;
using corvid::fuzz::Require;
using corvid::pkc::Octets;

constexpr int32_t kUntouched = -77;
constexpr size_t kLongestRepaired = 129;

void CheckRepaired(Octets der, int32_t count, std::string_view cps, std::string_view notice) {
  Require(der.size() <= kLongestRepaired && der.text().ends_with(std::string_view("0\0", 2)),
          "only a value that ends with an empty SEQUENCE is repaired");
  Require(count > 0 && cps.empty() && notice.empty(), "repaired policies have no qualifiers");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  corvid::fuzz::Input input(data, size);
  corvid::fuzz::SetOptions(&input);
  Array arrays[] = {Array(1 + input.Octet()), Array(1 + input.Octet()), Array(1 + input.Octet())};
  for (Array& array : arrays) *array.data() = '\0';
  const Octets der = input.Rest();
  const CVD_ExtensionNode node{nullptr,
                               {0, *CVD_ASN_GetOID(CVD_OID_CERTIFICATE_POLICIES), 0, der.bin()}};
  int32_t count = kUntouched;
  const auto capacity = [&](size_t i) { return static_cast<int32_t>(arrays[i].capacity()); };
  const uint32_t status =
      CVD_PKC_CertPolicies_ToString(&count, arrays[0].data(), capacity(0), arrays[1].data(),
                                    capacity(1), arrays[2].data(), capacity(2), &node);
  const std::string_view policies = arrays[0].Text();
  const std::string_view cps = arrays[1].Text();
  const std::string_view notice = arrays[2].Text();
  if (status != 0) {
    Require(count == kUntouched && policies.empty() && cps.empty() && notice.empty(),
            "a failure writes nothing");
    return 0;
  }
  corvid::pkc::Decoded<CVD_CertificatePolicies> value;
  if (!value.Decode(der).ok()) {
    CheckRepaired(der, count, cps, notice);
    return 0;
  }
  int32_t policies_there = 0;
  for (const auto* policy = value->first; policy != nullptr; policy = policy->next) {
    ++policies_there;
  }
  Require(count == policies_there, "every policy is counted");
  return 0;
}
