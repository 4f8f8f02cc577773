// The checks of a chain that look at one certificate alone (RFC 5280 section 6.1), and how the
// result of any check is told. Nothing here reads files or writes output.
#ifndef CORVID_TOOLS_PKC_CERTIFICATE_CHECKS_H_
#define CORVID_TOOLS_PKC_CERTIFICATE_CHECKS_H_

#include <cstdint>
#include <string>
#include <vector>

#include "corvid/pkc.hpp"

namespace corvid::tool {

enum class Result : uint8_t { kOk, kWarning, kNo };

struct Check {
  const char* name;
  Result result;
  uint32_t code = 0;        // of the library; 0: the detail says all
  std::string detail = {};  // UTF-8; "" for nothing to add
};
using Checks = std::vector<Check>;

// Each appends its lines. Of a trust anchor only what its owner cannot have meant is refused: the
// signature and its algorithm do not count, constraints that are not critical are a warning.
void CheckVersion(const CVD_Certificate& certificate, Checks* checks);
void CheckAlgorithms(const CVD_Certificate& certificate, Checks* checks);
void CheckValidity(const CVD_Certificate& certificate, int64_t at, Checks* checks);
void CheckExtensions(const CVD_Certificate& certificate, bool anchor, Checks* checks);
// basicConstraints and keyUsage of a certificate that issues others.
void CheckIssuing(const CVD_Certificate& certificate, bool anchor, Checks* checks);
// `below`: the certificates that its pathLenConstraint counts.
void CheckPathLength(const CVD_Certificate& certificate, int32_t below, Checks* checks);
// `usage` is a number of CVD_CheckCertUsage.
void CheckUsage(const CVD_Certificate& certificate, int32_t usage, Checks* checks);
void CheckStrength(const CVD_Certificate& certificate, bool anchor, Checks* checks);

// True for MD2, MD5 and SHA-1.
bool HasWeakDigest(const CVD_OID& signature_algorithm);

// The octets of the key identifiers that a certificate carries; "" for none.
std::string SubjectKeyIdentifier(const CVD_Certificate& certificate);
std::string AuthorityKeyIdentifier(const CVD_Certificate& certificate);

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_CERTIFICATE_CHECKS_H_
