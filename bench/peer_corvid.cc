#include "bench/peer.h"
#include "corvid/asn.h"
#include "corvid/common.h"
#include "corvid/csp.h"
#include "corvid/pkc.h"

namespace corvid::bench {

CVD_Certificate* Decode(const Octets& der) {
  const BIN in = View(der);
  void* record = nullptr;
  Check(CVD_ASN_DecodePDU(&record, &in, CVD_PDU_CERTIFICATE) == 0);
  return static_cast<CVD_Certificate*>(record);
}

namespace {

bool DecodeAndRelease(const Octets& der) {
  const BIN in = View(der);
  void* record = nullptr;
  if (CVD_ASN_DecodePDU(&record, &in, CVD_PDU_CERTIFICATE) != 0) return false;
  CVD_ASN_FreePDU(record, CVD_PDU_CERTIFICATE);
  return true;
}

bool Record(const Octets& der) {
  thread_local PKCCertInfo info;
  const uint32_t status = CVD_ExtractCertInfo(nullptr, nullptr, der.data(),
                                              static_cast<uint32_t>(der.size()), 1, &info);
  benchmark::DoNotOptimize(info);
  return status == 0;
}

Work Subject(const Octets& der) {
  return [certificate = Decode(der)] {
    char* text = nullptr;
    const uint32_t status = CVD_GetRDNFromCert(nullptr, certificate, &text);
    benchmark::DoNotOptimize(text);
    CVD_free(text);
    return status == 0;
  };
}

Work Verify(const Octets& der) {
  return [certificate = Decode(der)] {
    return CVD_PKC_VerifySignature(certificate, certificate) == 0;
  };
}

Work Issue(const SelfSigned& issuer) {
  const BIN encoding = View(issuer.key);
  CVD_PrivateKey* key = nullptr;
  Check(CVD_CSP_LoadPrivateKey(&key, &encoding, nullptr) == 0);
  BIN public_key{0, nullptr};
  int32_t algorithm = 0;
  Check(CVD_CSP_GetPublicKey(key, &algorithm, nullptr, &public_key) == 0);
  return [key, public_key, certificate = Decode(issuer.certificate)] {
    PKCGenExtOptions options{};
    options.policy = kPolicy;
    options.crl = kListUrl;
    options.ocsp = kOcspUrl;
    PKCGenContext context{};
    context.signerAlgorithm = CVD_PKEY_RSA;
    context.signingKey = key;
    BIN der{0, nullptr};
    const uint32_t status = CVD_PKC_GenCertificate(&der, kSerial, CVD_SIGN_SHA256_RSA, kNotBefore,
                                                   kNotAfter, kSubjectName, CVD_PKEY_RSA, nullptr,
                                                   &public_key, certificate, &options, &context);
    CVD_BIN_Reset(&der);
    return status == 0;
  };
}

}  // namespace

const Peer kCorvid = {"corvid", DecodeAndRelease, Record, Subject, Verify, Issue};

}  // namespace corvid::bench
