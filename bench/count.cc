// One operation so many times on a certificate, for instructions to be counted: count OPERATION
// TIMES FILE. The difference of two counts is the operation without the program's start.
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "corvid/asn.h"
#include "corvid/common.h"
#include "corvid/crl.h"
#include "corvid/io.h"
#include "corvid/pkc.h"

namespace {

struct Sample {
  BIN der{0, nullptr};
  CVD_Certificate* certificate = nullptr;
  char* subject = nullptr;
};

uint32_t Decode(const Sample& sample) {
  void* record = nullptr;
  const uint32_t status = CVD_ASN_DecodePDU(&record, &sample.der, CVD_PDU_CERTIFICATE);
  CVD_ASN_FreePDU(record, CVD_PDU_CERTIFICATE);
  return status;
}

uint32_t Record(const Sample& sample) {
  static PKCCertInfo info;
  return CVD_ExtractCertInfo(nullptr, nullptr, sample.der.data,
                             static_cast<uint32_t>(sample.der.length), 1, &info);
}

uint32_t Encode(const Sample& sample) {
  BIN der{0, nullptr};
  const uint32_t status = CVD_ASN_EncodePDU(&der, sample.certificate, CVD_PDU_CERTIFICATE);
  CVD_BIN_Reset(&der);
  return status;
}

uint32_t Subject(const Sample& sample) {
  char* text = nullptr;
  const uint32_t status = CVD_GetRDNFromCert(nullptr, sample.certificate, &text);
  CVD_free(text);
  return status;
}

uint32_t ParseName(const Sample& sample) {
  CVD_Name name{};
  const uint32_t status = CVD_ImplementRDN(nullptr, &name, sample.subject);
  CVD_NameFree(&name);
  return status;
}

uint32_t KeyIdentifier(const Sample& sample) {
  BIN id{0, nullptr};
  const uint32_t status = CVD_GenSubjectKeyID(nullptr, &sample.der, &id);
  CVD_BIN_Reset(&id);
  return status;
}

uint32_t Thumbprint(const Sample& sample) {
  char text[128];
  return CVD_PKC_GetCertThumbPrint(text, CVD_HASH_SHA256, &sample.der);
}

struct Operation {
  const char* name;
  uint32_t (*run)(const Sample& sample);
};
constexpr Operation kOperations[] = {
    {"decode", Decode},         {"record", Record},        {"encode", Encode},
    {"subject", Subject},       {"parse_name", ParseName}, {"key_identifier", KeyIdentifier},
    {"thumbprint", Thumbprint},
};

bool Load(const char* path, Sample* sample) {
  CVD_PKC_SetOption("locale", "ko_KR-UTF-8");
  return CVD_File_ReadBin(&sample->der, path) == 0 &&
         CVD_GetCertificateCtxBin(nullptr, &sample->der, &sample->certificate) == 0 &&
         CVD_GetRDNFromCert(nullptr, sample->certificate, &sample->subject) == 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 1) {
    for (const Operation& operation : kOperations) std::puts(operation.name);
    return 0;
  }
  Sample sample;
  if (argc != 4 || !Load(argv[3], &sample)) return 2;
  for (const Operation& operation : kOperations) {
    if (std::string_view(argv[1]) != operation.name) continue;
    for (long i = std::strtol(argv[2], nullptr, 10); i > 0; --i) {
      if (operation.run(sample) != 0) return 1;
    }
    return 0;
  }
  return 2;
}
