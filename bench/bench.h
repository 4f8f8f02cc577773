// What the benchmarks share: certificates, and how a work is timed.
#ifndef CORVID_BENCH_BENCH_H_
#define CORVID_BENCH_BENCH_H_

#include <benchmark/benchmark.h>
#include <openssl/types.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "corvid/records.h"
#include "corvid/types.h"

namespace corvid::bench {

using Octets = std::vector<uint8_t>;

inline BIN View(const Octets& octets) {
  return {static_cast<int32_t>(octets.size()), const_cast<uint8_t*>(octets.data())};
}

// A server certificate with ten extensions and a name of six attributes, RSA-2048, made once by
// OpenSSL.
const Octets& ServerCertificate();
// A certificate signed with its own new RSA key, and that key in PKCS#8.
struct SelfSigned {
  explicit SelfSigned(int bits);
  Octets certificate;
  Octets key;
};
// A revocation list of the server certificate's issuer, with `count` serial numbers of 16 octets;
// its signature verifies nothing.
Octets RevocationList(size_t count);
// Certificates of the server certificate's issuer, by name: alike but for their serial numbers, and
// none of them has signed anything.
std::vector<Octets> IssuerCandidates(size_t count);
// The roots of the machine's trust store.
const std::vector<Octets>& Roots();
// Every certificate of the collection beside the checkout, once; none without it.
const std::vector<Octets>& Corpus();
// Certificates of so many elements of one kind.
Octets CertificateWithRdns(size_t count);
Octets CertificateWithNames(size_t count);
Octets CertificateWithPolicies(size_t count);
Octets CertificateWithExtensions(size_t count);

// Never released.
CVD_Certificate* Decode(const Octets& der);

// Ends the program: no certificate, no figure.
void Check(bool done);

// Add to a certificate of OpenSSL's from texts.
void AddAttribute(X509_NAME* name, const char* type, const std::string& value);
void AddExtension(X509* certificate, const char* name, const char* value);
// The issuer of all that is made here.
void AddIssuer(X509_NAME* name);

// Heap blocks that this thread has asked for.
size_t Allocations();

// False when the library refuses the input.
using Work = std::function<bool()>;

// Times the work, which must succeed, and counts the heap blocks of one run after the first.
void Measure(benchmark::State& state, const Work& work);
// Registers a benchmark of the work, which is prepared each time that the benchmark runs.
benchmark::internal::Benchmark* Register(const std::string& name, std::function<Work()> prepare);

}  // namespace corvid::bench

#endif  // CORVID_BENCH_BENCH_H_
