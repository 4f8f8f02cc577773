/* The names of a certificate in the forms that the two options choose: the character set of the
 * text ("locale") and the case of the labels ("dncase"). */
#include <corvid/asn.h>
#include <corvid/common.h>
#include <corvid/io.h>
#include <corvid/pkc.h>
#include <stdio.h>
#include <string.h>

static uint32_t PrintNames(const CVD_Certificate* certificate) {
  char* subject = NULL;
  uint32_t status = CVD_GetRDNFromCert(NULL, certificate, &subject);
  if (status != 0) return status;

  char* issuer = NULL;
  status = CVD_GetIssuerRDNFromCert(NULL, certificate, &issuer);
  if (status == 0) {
    printf("%s (%zu bytes)\n  issued by %s\n", subject, strlen(subject), issuer);
    CVD_free(issuer);
  }
  CVD_free(subject);
  return status;
}

int main(int argc, char** argv) {
  if (argc != 2) {
    fprintf(stderr, "usage: %s CERTIFICATE.der\n", argv[0]);
    return 2;
  }
  static const char* const kForms[][2] = {
      {"ko_KR-UTF-8", "lower"}, {"ko_KR-UTF-8", "upper"}, {"ko_KR-euc", "lower"}};
  BIN der = {0, NULL};
  CVD_Certificate* certificate = NULL;

  uint32_t status = CVD_File_ReadBin(&der, argv[1]);
  if (status == 0) status = CVD_GetCertificateCtxBin(NULL, &der, &certificate);
  for (size_t i = 0; status == 0 && i < sizeof kForms / sizeof kForms[0]; ++i) {
    CVD_PKC_SetOption("locale", kForms[i][0]);
    CVD_PKC_SetOption("dncase", kForms[i][1]);
    printf("%s, %s: ", kForms[i][0], kForms[i][1]);
    status = PrintNames(certificate);
  }
  CVD_ASN_FreePDU(certificate, CVD_PDU_CERTIFICATE);
  CVD_BIN_Reset(&der);

  if (status == 0) return 0;
  fprintf(stderr, "%s: %u %s\n", argv[1], status, CVD_PKC_GetErrorReason(status, 1));
  return 1;
}
