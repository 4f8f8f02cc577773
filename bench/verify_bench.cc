// Checking: a certificate's signature against the bare public-key operation with a prepared key and
// against OpenSSL's own call; revocation lists of a million entries.
#include <benchmark/benchmark.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

#include <memory>

#include "bench/bench.h"
#include "corvid/asn.h"
#include "corvid/crl.h"
#include "corvid/pkc.h"

namespace corvid::bench {
namespace {

CVD_Certificate* Decode(const Octets& der) {
  const BIN in = View(der);
  void* record = nullptr;
  Check(CVD_ASN_DecodePDU(&record, &in, CVD_PDU_CERTIFICATE) == 0);
  return static_cast<CVD_Certificate*>(record);
}

// A self-signed certificate in every form that the rows need.
struct Signed {
  explicit Signed(int bits) : der(SelfSigned(bits)), record(Decode(der)) {
    const uint8_t* at = der.data();
    x509 = d2i_X509(nullptr, &at, static_cast<long>(der.size()));
    key = X509_get0_pubkey(x509);
    uint8_t* tbs = nullptr;
    const int length = i2d_re_X509_tbs(x509, &tbs);
    Check(length > 0 && EVP_Digest(tbs, static_cast<size_t>(length), digest, nullptr, EVP_sha256(),
                                   nullptr) == 1);
    OPENSSL_free(tbs);
    context = EVP_PKEY_CTX_new(key, nullptr);
    Check(EVP_PKEY_verify_init(context) == 1 &&
          EVP_PKEY_CTX_set_rsa_padding(context, RSA_PKCS1_PADDING) == 1 &&
          EVP_PKEY_CTX_set_signature_md(context, EVP_sha256()) == 1);
  }
  Octets der;
  CVD_Certificate* record;
  X509* x509;
  EVP_PKEY* key;
  EVP_PKEY_CTX* context;
  uint8_t digest[32];
};

template <int kBits>
const Signed& One() {
  static const Signed certificate(kBits);
  return certificate;
}
template <int kBits>
const Signed& Another() {
  static const Signed certificate(kBits);
  return certificate;
}

void Verify(const Signed& certificate) {
  Check(CVD_PKC_VerifySignature(certificate.record, certificate.record) == 0);
}

template <int kBits>
void SameIssuer(benchmark::State& state) {
  for (auto _ : state) Verify(One<kBits>());
  state.counters["allocations"] = 0;
}

// Each issuer is another than the one before.
template <int kBits>
void OtherIssuer(benchmark::State& state) {
  const Signed* certificates[] = {&One<kBits>(), &Another<kBits>()};
  size_t next = 0;
  for (auto _ : state) Verify(*certificates[next++ % 2]);
  state.counters["allocations"] = 0;
}

template <int kBits>
void BareOperation(benchmark::State& state) {
  const Signed& one = One<kBits>();
  const CVD_BitString& signature = one.record->signature;
  for (auto _ : state) {
    Check(EVP_PKEY_verify(one.context, signature.data, signature.bits / 8, one.digest,
                          sizeof one.digest) == 1);
  }
  state.counters["allocations"] = 0;
}

template <int kBits>
void OpensslVerify(benchmark::State& state) {
  for (auto _ : state) Check(X509_verify(One<kBits>().x509, One<kBits>().key) == 1);
  state.counters["allocations"] = 0;
}

BENCHMARK(SameIssuer<2048>)->Name("verify2048/corvid");
BENCHMARK(OtherIssuer<2048>)->Name("verify2048/corvid_other_issuer");
BENCHMARK(BareOperation<2048>)->Name("verify2048/bare");
BENCHMARK(OpensslVerify<2048>)->Name("verify2048/openssl");
BENCHMARK(SameIssuer<4096>)->Name("verify4096/corvid");
BENCHMARK(OtherIssuer<4096>)->Name("verify4096/corvid_other_issuer");
BENCHMARK(BareOperation<4096>)->Name("verify4096/bare");
BENCHMARK(OpensslVerify<4096>)->Name("verify4096/openssl");

// ---- revocation lists ----------------------------------------------------------------------

CVD_CRL* Load(const Octets& der) {
  const BIN in = View(der);
  CVD_CRL* list = nullptr;
  Check(CVD_CRL_Load(&list, &in) == 0);
  return list;
}

void LoadList(benchmark::State& state) {
  const Octets der = RevocationList(static_cast<size_t>(state.range(0)));
  for (auto _ : state) CVD_CRL_Free(Load(der));
  state.counters["allocations"] = 0;
}

// Looks up a certificate that the list does not hold: the whole way down the index.
void LookUp(benchmark::State& state) {
  static const CVD_Certificate* const certificate = Decode(ServerCertificate());
  CVD_CRL* const list = Load(RevocationList(static_cast<size_t>(state.range(0))));
  const size_t before = Allocations();
  Check(CVD_IsCertRevoked(nullptr, list, certificate) == 0);
  state.counters["allocations"] = static_cast<double>(Allocations() - before);
  for (auto _ : state) benchmark::DoNotOptimize(CVD_IsCertRevoked(nullptr, list, certificate));
  CVD_CRL_Free(list);
}

BENCHMARK(LoadList)->Name("crl_load")->Arg(1000)->Arg(10000)->Arg(1000000);
BENCHMARK(LookUp)->Name("crl_lookup")->Arg(1000)->Arg(1000000);

}  // namespace
}  // namespace corvid::bench
