// The libraries that are measured side by side, ours among them, each in a file of its own.
#ifndef CORVID_BENCH_PEER_H_
#define CORVID_BENCH_PEER_H_

#include "bench/bench.h"

namespace corvid::bench {

// Null is a work of which the library has no equal. What a work uses again and again, a decoded
// certificate or a key, is prepared when the work is asked for.
struct Peer {
  const char* name;
  bool (*decode)(const Octets& der) = nullptr;  // and release
  bool (*record)(const Octets& der) = nullptr;  // from DER to the fullest record or text
  Work (*subject)(const Octets& der) = nullptr;
  Work (*verify)(const Octets& self_signed) = nullptr;
  Work (*issue)(const SelfSigned& issuer) = nullptr;  // from texts to DER
};

extern const Peer kCorvid;
extern const Peer kOpenssl;
extern const Peer kOpensslRfc2253;   // its other form of a name
extern const Peer kOpensslTemplate;  // signs a certificate that is ready
extern const Peer kBare;             // the operations with a key, which nobody can avoid
extern const Peer kMbedtls;
extern const Peer kGnutls;
extern const Peer kBotan;

inline const Peer* const kPeers[] = {&kCorvid, &kOpenssl,        &kMbedtls,         &kGnutls,
                                     &kBotan,  &kOpensslRfc2253, &kOpensslTemplate, &kBare};

// What is issued.
inline constexpr int64_t kNotBefore = 1767225600;  // 2026-01-01 00:00:00 UTC
inline constexpr int64_t kNotAfter = 1798761600;   // 2027-01-01 00:00:00 UTC
inline constexpr uint32_t kSerial = 0x12345678;
inline constexpr char kIssuerName[] =
    "CN=Example TLS Issuing CA 2026,O=Example Trust Services,C=US";
inline constexpr char kSubjectName[] = "CN=User,OU=Web Services,O=Example Corporation,C=KR";
inline constexpr char kPolicy[] = "1.2.410.200004.5.2.1.2";
inline constexpr char kListUrl[] = "http://crl.example.com/ca.crl";
inline constexpr char kOcspUrl[] = "http://ocsp.example.com";

}  // namespace corvid::bench

#endif  // CORVID_BENCH_PEER_H_
