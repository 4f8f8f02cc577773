// What the benchmarks share: certificates, allocation counts, and the budgets that the report
// shows.
#ifndef CORVID_BENCH_BENCH_H_
#define CORVID_BENCH_BENCH_H_

#include <openssl/types.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "corvid/types.h"

namespace corvid::bench {

using Octets = std::vector<uint8_t>;

inline BIN View(const Octets& octets) {
  return {static_cast<int32_t>(octets.size()), const_cast<uint8_t*>(octets.data())};
}

// A server certificate with ten extensions and a name of six attributes, RSA-2048, made once by
// OpenSSL.
const Octets& ServerCertificate();
// A self-signed certificate with a new RSA key.
Octets SelfSigned(int bits);
// A revocation list of the server certificate's issuer, with `count` serial numbers of 16 octets;
// its signature verifies nothing.
Octets RevocationList(size_t count);
// The roots of the machine's trust store.
const std::vector<Octets>& Roots();
// A certificate whose subject has `count` RDNs, or which has `count` alternative names or
// extensions.
Octets CertificateWithRdns(size_t count);
Octets CertificateWithNames(size_t count);
Octets CertificateWithExtensions(size_t count);

// Ends the program: no certificate, no figure.
void Check(bool done);

// Add to a certificate of OpenSSL's from texts.
void AddAttribute(X509_NAME* name, const char* type, const std::string& value);
void AddExtension(X509* certificate, const char* name, const char* value);
// The issuer of all that is made here.
void AddIssuer(X509* certificate);

// Heap blocks asked for since the program began, by anybody.
size_t Allocations();

// One line of the report: the median of `ours` over the median of `reference`.
struct Budget {
  const char* work;
  const char* ours;
  const char* reference;
  double most;      // the ratio allowed; 0: shown only
  int allocations;  // allowed a call; 0: shown only
};
// How the time for ten times as many elements may grow: log10 of the ratio.
struct Growth {
  const char* work;
  const char* few;
  const char* many;
  double most;
};
// What two threads gain over one, as a part of what the floor itself gains.
struct Scaling {
  const char* work;
  const char* ours;
  double least;
};
extern const std::vector<Budget> kBudgets;
extern const std::vector<Growth> kGrowths;
extern const std::vector<Scaling> kScalings;

}  // namespace corvid::bench

#endif  // CORVID_BENCH_BENCH_H_
