// One record type. Contract: a value that decodes comes in one block of at most 32 times
// its length plus 8 KiB, and encodes back to the same octets, the signed part of a certificate or
// list as well. One that does not decode leaves the caller's record alone and tells where it was
// refused.
#include "corvid/der_reader.hpp"
#include "fuzz/input.h"

extern const int32_t kFuzzedPdu;  // CVD_PDU_*, of the target

namespace {

using corvid::fuzz::Require;
using corvid::pkc::Octets;

size_t g_allocated;

// The octets of the record's encoding as `type` must be `expected`.
void CheckEncoding(const void* record, int32_t type, Octets expected) {
  corvid::pkc::Bin der;
  Require(CVD_ASN_EncodePDU(der.out(), record, type) == 0, "what decodes can be encoded");
  Require(corvid::fuzz::Same(der.octets(), expected), "what decodes encodes back");
}

// The first element inside the outer one.
Octets SignedPart(Octets der) {
  corvid::DerCursor in{der.begin(), der.end()};
  corvid::DerElement element;
  Require(ReadDerElement(&in, &element) == corvid::DerFault::kNone, "what decodes is DER");
  in = {element.content, element.end};
  Require(ReadDerElement(&in, &element) == corvid::DerFault::kNone, "what decodes is DER");
  return {element.begin, static_cast<size_t>(element.end - element.begin)};
}

void CheckRecord(const void* record, Octets der) {
  Require(g_allocated <= 32 * der.size() + 8192, "the memory of a record is bounded");
  CheckEncoding(record, kFuzzedPdu, der);
  if (kFuzzedPdu == CVD_PDU_CERTIFICATE) {
    CheckEncoding(record, CVD_PDU_TBS_CERTIFICATE, SignedPart(der));
  }
  if (kFuzzedPdu == CVD_PDU_CERTIFICATE_LIST) {
    CheckEncoding(record, CVD_PDU_TBS_CERT_LIST, SignedPart(der));
  }
}

void CheckFailure(uint32_t status, Octets der) {
  CVD_ASNFailure failure;
  Require(CVD_ASN_GetDecodeFailure(&failure) == 0, "a failure is told");
  Require(failure.code == status, "the last failure is told");
  Require(failure.offset <= der.size(), "a failure lies within the input");
  Require(std::memchr(failure.path, 0, sizeof failure.path) != nullptr, "a path is terminated");
}

}  // namespace

// In the place of the toolkit's own; a decode makes one block at a time.
void* CVD_malloc(size_t size) {
  g_allocated = std::max(g_allocated, size);
  return std::malloc(size);
}

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Octets der(data, size);
  const BIN input = der.bin();
  void* record = &g_allocated;
  g_allocated = 0;
  const uint32_t status = CVD_ASN_DecodePDU(&record, &input, kFuzzedPdu);
  if (status == 0) {
    CheckRecord(record, der);
    CVD_ASN_FreePDU(record, kFuzzedPdu);
  } else {
    Require(record == &g_allocated, "a failed decode leaves the record alone");
    CheckFailure(status, der);
  }
  return 0;
}
