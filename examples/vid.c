/* Proves that a certificate belongs to a person: its identification value (VID) is computed again
 * from the person's number and the random value that came with the private key. */
#include <corvid/asn.h>
#include <corvid/common.h>
#include <corvid/io.h>
#include <corvid/pkc.h>
#include <stdio.h>

/* The values that the sample certificate was made with. A program reads them from where they are
 * kept secret. */
static const char kIdentificationNumber[] = "1234561234567";
static uint8_t random_octets[] = {1,  2,  3,  4,  5,  6,  7,  8,  9,  10,
                                  11, 12, 13, 14, 15, 16, 17, 18, 19, 20};

static uint32_t CheckHolder(const CVD_Certificate* certificate) {
  const BIN random = {sizeof random_octets, random_octets};
  char name[64];
  uint32_t size = sizeof name;
  int32_t hashID = CVD_HASH_UNKNOWN;
  BIN vid = {0, NULL};
  uint32_t status = CVD_PKC_GetVIDInfo(name, &size, &hashID, &vid, certificate);
  if (status != 0) return status;

  printf("holder %s, VID of %d octets\n", name, vid.length);
  status = CVD_PKC_VerifyVID(&vid, hashID, kIdentificationNumber, &random);
  printf("with the right number: %s\n", status == 0 ? "verified" : "different");
  const uint32_t other = CVD_PKC_VerifyVID(&vid, hashID, "1234561234568", &random);
  printf("with another number: %s\n", other == PKC_ERR_INVALID_VID ? "different" : "verified");
  CVD_BIN_Reset(&vid);
  return status;
}

int main(int argc, char** argv) {
  if (argc != 2) {
    fprintf(stderr, "usage: %s CERTIFICATE.der\n", argv[0]);
    return 2;
  }
  CVD_PKC_SetOption("locale", "ko_KR-UTF-8");
  BIN der = {0, NULL};
  CVD_Certificate* certificate = NULL;
  uint32_t status = CVD_File_ReadBin(&der, argv[1]);
  if (status == 0) status = CVD_GetCertificateCtxBin(NULL, &der, &certificate);
  if (status == 0) status = CheckHolder(certificate);
  CVD_ASN_FreePDU(certificate, CVD_PDU_CERTIFICATE);
  CVD_BIN_Reset(&der);

  if (status == 0) return 0;
  fprintf(stderr, "%s: %u %s\n", argv[1], status, CVD_PKC_GetErrorReason(status, 1));
  return 1;
}
