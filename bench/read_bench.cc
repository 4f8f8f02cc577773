// Reading: decode, whole record and name against peers and against the floor, which is what no
// implementation that fills the record can avoid.
#define OPENSSL_SUPPRESS_DEPRECATED  // the floor hashes without the cost of an algorithm context
#include <benchmark/benchmark.h>
#include <mbedtls/x509_crt.h>
#include <openssl/bio.h>
#include <openssl/sha.h>
#include <openssl/x509.h>

#include <cstdlib>
#include <cstring>

#include "bench/bench.h"
#include "corvid/asn.h"
#include "corvid/common.h"
#include "corvid/pkc.h"

namespace corvid::bench {
namespace {

// ---- decode --------------------------------------------------------------------------------

void DecodeCorvid(const Octets& der) {
  const BIN in = View(der);
  void* record = nullptr;
  if (CVD_ASN_DecodePDU(&record, &in, CVD_PDU_CERTIFICATE) != 0) std::abort();
  CVD_ASN_FreePDU(record, CVD_PDU_CERTIFICATE);
}

void DecodeOpenssl(const Octets& der) {
  const uint8_t* at = der.data();
  X509* certificate = d2i_X509(nullptr, &at, static_cast<long>(der.size()));
  if (certificate == nullptr) std::abort();
  X509_free(certificate);
}

void DecodeMbedtls(const Octets& der) {
  mbedtls_x509_crt certificate;
  mbedtls_x509_crt_init(&certificate);
  if (mbedtls_x509_crt_parse_der(&certificate, der.data(), der.size()) != 0) std::abort();
  mbedtls_x509_crt_free(&certificate);
}

// ---- whole record --------------------------------------------------------------------------

// Copy the DER, clear the record, hash, and write key and signature in hexadecimal.
void Floor(const Octets& der) {
  thread_local PKCCertInfo info;
  static const struct Decoded {
    Decoded() {
      const BIN in = View(ServerCertificate());
      void* decoded = nullptr;
      if (CVD_ASN_DecodePDU(&decoded, &in, CVD_PDU_CERTIFICATE) != 0) std::abort();
      certificate = static_cast<CVD_Certificate*>(decoded);
    }
    CVD_Certificate* certificate;
  } decoded;
  auto* copy = static_cast<uint8_t*>(std::malloc(der.size()));
  std::memcpy(copy, der.data(), der.size());
  std::memset(&info, 0, sizeof info);
  uint8_t digest[SHA_DIGEST_LENGTH];
  SHA_CTX context;
  SHA1_Init(&context);
  SHA1_Update(&context, copy, der.size());
  SHA1_Final(digest, &context);
  const auto hex = [](const CVD_BitString& bits, char(&field)[1024]) {
    const BIN octets{static_cast<int32_t>(bits.bits / 8), bits.data};
    const int32_t capacity = sizeof field;
    CVD_PKC_BIN_ToHex(field, &capacity, &octets);
  };
  hex(decoded.certificate->tbsCertificate.subjectPublicKeyInfo.subjectPublicKey, info.publicKeyHex);
  hex(decoded.certificate->signature, info.signatureHex);
  benchmark::DoNotOptimize(info);
  benchmark::DoNotOptimize(digest);
  std::free(copy);
}

void RecordCorvid(const Octets& der) {
  thread_local PKCCertInfo info;
  if (CVD_ExtractCertInfo(nullptr, nullptr, der.data(), static_cast<uint32_t>(der.size()), 1,
                          &info) != 0) {
    std::abort();
  }
  benchmark::DoNotOptimize(info);
}

void RecordOpenssl(const Octets& der) {
  const uint8_t* at = der.data();
  X509* certificate = d2i_X509(nullptr, &at, static_cast<long>(der.size()));
  BIO* out = BIO_new(BIO_s_mem());
  if (X509_print_ex(out, certificate, XN_FLAG_COMPAT, X509_FLAG_COMPAT) != 1) std::abort();
  BIO_free(out);
  X509_free(certificate);
}

void RecordMbedtls(const Octets& der) {  // a part of the record: no key, signature or digest
  static char text[16384];
  mbedtls_x509_crt certificate;
  mbedtls_x509_crt_init(&certificate);
  if (mbedtls_x509_crt_parse_der(&certificate, der.data(), der.size()) != 0) std::abort();
  if (mbedtls_x509_crt_info(text, sizeof text, "", &certificate) < 0) std::abort();
  mbedtls_x509_crt_free(&certificate);
}

// ---- subject -------------------------------------------------------------------------------

void SubjectCorvid(const Octets& der) {
  static const void* decoded = [&der] {
    const BIN in = View(der);
    void* record = nullptr;
    if (CVD_ASN_DecodePDU(&record, &in, CVD_PDU_CERTIFICATE) != 0) std::abort();
    return record;
  }();
  char* text = nullptr;
  if (CVD_GetRDNFromCert(nullptr, static_cast<const CVD_Certificate*>(decoded), &text) != 0) {
    std::abort();
  }
  benchmark::DoNotOptimize(text);
  CVD_free(text);
}

void SubjectOpenssl(const Octets& der) {
  static X509* const certificate = [&der] {
    const uint8_t* at = der.data();
    return d2i_X509(nullptr, &at, static_cast<long>(der.size()));
  }();
  char* text = X509_NAME_oneline(X509_get_subject_name(certificate), nullptr, 0);
  benchmark::DoNotOptimize(text);
  OPENSSL_free(text);
}

void SubjectMbedtls(const Octets& der) {
  static mbedtls_x509_crt certificate;
  static const int parsed = [&der] {
    mbedtls_x509_crt_init(&certificate);
    return mbedtls_x509_crt_parse_der(&certificate, der.data(), der.size());
  }();
  static char text[1024];
  if (parsed != 0 || mbedtls_x509_dn_gets(text, sizeof text, &certificate.subject) < 0) {
    std::abort();
  }
}

// ---- registration --------------------------------------------------------------------------

using Work = void (*)(const Octets& der);

void Measure(benchmark::State& state, Work work, const std::vector<Octets>& inputs) {
  for (const Octets& der : inputs) work(der);  // what is kept between calls is there
  const size_t before = Allocations();
  for (const Octets& der : inputs) work(der);
  const size_t allocations = Allocations() - before;
  for (auto _ : state) {
    for (const Octets& der : inputs) work(der);
  }
  state.counters["allocations"] =
      static_cast<double>(allocations) / static_cast<double>(inputs.size());
}

struct Row {
  const char* name;
  Work work;
};
constexpr Row kRows[] = {
    {"floor", Floor},
    {"decode/corvid", DecodeCorvid},
    {"decode/openssl", DecodeOpenssl},
    {"decode/mbedtls", DecodeMbedtls},
    {"record/corvid", RecordCorvid},
    {"record/openssl", RecordOpenssl},
    {"record/mbedtls", RecordMbedtls},
    {"subject/corvid", SubjectCorvid},
    {"subject/openssl", SubjectOpenssl},
    {"subject/mbedtls", SubjectMbedtls},
};

struct Shape {
  const char* name;
  Octets (*make)(size_t count);
};
constexpr Shape kShapes[] = {
    {"rdns", CertificateWithRdns},
    {"names", CertificateWithNames},
    {"extensions", CertificateWithExtensions},
};

const bool kRegistered = [] {
  setenv("TZ", "UTC0", 1);
  CVD_SetLocalePKC("ko_KR-UTF-8");
  for (const Row& row : kRows) {
    benchmark::RegisterBenchmark(row.name, [work = row.work](benchmark::State& state) {
      Measure(state, work, {ServerCertificate()});
    });
  }
  for (const Row& row : {Row{"floor", Floor}, Row{"decode/corvid", DecodeCorvid},
                         Row{"record/corvid", RecordCorvid}}) {
    for (const int threads : {1, 2}) {
      const std::string name = "threads/" + std::to_string(threads) + "/" + row.name;
      benchmark::RegisterBenchmark(name.c_str(),
                                   [work = row.work](benchmark::State& state) {
                                     Measure(state, work, {ServerCertificate()});
                                   })
          ->Threads(threads)
          ->UseRealTime();
    }
  }
  for (const Row& row : kRows) {
    if (row.work != DecodeCorvid && row.work != DecodeOpenssl && row.work != RecordCorvid &&
        row.work != RecordOpenssl) {
      continue;
    }
    benchmark::RegisterBenchmark(
        (std::string("roots/") + row.name).c_str(),
        [work = row.work](benchmark::State& state) { Measure(state, work, Roots()); });
  }
  for (const Shape& shape : kShapes) {
    for (const size_t count : {size_t{1000}, size_t{10000}}) {
      for (const Row& row : {Row{"decode", DecodeCorvid}, Row{"record", RecordCorvid}}) {
        const std::string name =
            std::string(shape.name) + "/" + row.name + "/" + std::to_string(count);
        benchmark::RegisterBenchmark(
            name.c_str(), [work = row.work, make = shape.make, count](benchmark::State& state) {
              Measure(state, work, {make(count)});
            });
      }
    }
  }
  return true;
}();

}  // namespace

const std::vector<Scaling> kScalings = {
    {"decode and release", "decode/corvid", 0.97},
    {"DER to full record", "record/corvid", 0.93},
};

const std::vector<Budget> kBudgets = {
    {"decode and release / floor", "decode/corvid", "floor", 0.30, 1},
    {"decode and release / Mbed TLS", "decode/corvid", "decode/mbedtls", 0, 0},
    {"decode and release / OpenSSL", "decode/corvid", "decode/openssl", 0, 0},
    {"DER to full record / floor", "record/corvid", "floor", 2.0, 14},
    {"DER to full record / Mbed TLS (part)", "record/corvid", "record/mbedtls", 0, 0},
    {"DER to full record / OpenSSL", "record/corvid", "record/openssl", 0, 0},
    {"subject to text / OpenSSL's one line", "subject/corvid", "subject/openssl", 0.60, 1},
    {"subject to text / Mbed TLS", "subject/corvid", "subject/mbedtls", 0, 0},
    {"verification, RSA-2048 / bare", "verify2048/corvid", "verify2048/bare", 1.10, 0},
    {"  another issuer each time", "verify2048/corvid_other_issuer", "verify2048/bare", 1.50, 0},
    {"  OpenSSL's own call", "verify2048/openssl", "verify2048/bare", 0, 0},
    {"verification, RSA-4096 / bare", "verify4096/corvid", "verify4096/bare", 1.04, 0},
    {"  another issuer each time", "verify4096/corvid_other_issuer", "verify4096/bare", 1.25, 0},
    {"  OpenSSL's own call", "verify4096/openssl", "verify4096/bare", 0, 0},
    {"issuing, RSA-2048 / bare", "issue2048/corvid", "issue2048/bare", 1.03, 0},
    {"  OpenSSL, template ready", "issue2048/openssl_ready", "issue2048/bare", 0, 0},
    {"  OpenSSL, from texts", "issue2048/openssl_texts", "issue2048/bare", 0, 0},
    {"issuing, RSA-4096 / bare", "issue4096/corvid", "issue4096/bare", 1.03, 0},
    {"  OpenSSL, template ready", "issue4096/openssl_ready", "issue4096/bare", 0, 0},
    {"  OpenSSL, from texts", "issue4096/openssl_texts", "issue4096/bare", 0, 0},
    {"Debian's roots, decode / OpenSSL", "roots/decode/corvid", "roots/decode/openssl", 0, 0},
    {"Debian's roots, record / OpenSSL", "roots/record/corvid", "roots/record/openssl", 0, 0},
};

const std::vector<Growth> kGrowths = {
    {"decode, RDNs", "rdns/decode/1000", "rdns/decode/10000", 1.05},
    {"decode, alternative names", "names/decode/1000", "names/decode/10000", 1.05},
    {"decode, extensions", "extensions/decode/1000", "extensions/decode/10000", 1.05},
    {"record, RDNs", "rdns/record/1000", "rdns/record/10000", 1.05},
    {"record, alternative names", "names/record/1000", "names/record/10000", 1.05},
    {"record, extensions", "extensions/record/1000", "extensions/record/10000", 1.05},
    {"revocation list, load", "crl_load/1000", "crl_load/10000", 1.05},
};

}  // namespace corvid::bench
