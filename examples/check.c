/* Checks a certificate against its issuer and the issuer's revocation list. */
#include <corvid/asn.h>
#include <corvid/common.h>
#include <corvid/io.h>
#include <corvid/pkc.h>
#include <stdio.h>
#include <time.h>

static uint32_t ReadCertificate(const char* path, CVD_Certificate** certificate) {
  BIN der = {0, NULL};
  uint32_t status = CVD_File_ReadBin(&der, path);
  if (status == 0) status = CVD_GetCertificateCtxBin(NULL, &der, certificate);
  CVD_BIN_Reset(&der);
  return status;
}

static uint32_t ReadList(const char* path, CVD_CRL** list) {
  BIN encoding = {0, NULL};
  uint32_t status = CVD_File_ReadBin(&encoding, path);
  if (status == 0) status = CVD_CRL_Load(list, &encoding);
  CVD_BIN_Reset(&encoding);
  return status;
}

/* A list that is forged, stale or another CA's says nothing. */
static uint32_t CheckList(const CVD_CRL* list, const CVD_Certificate* issuer) {
  uint32_t status = CVD_CRL_VerifySignature(list, issuer);
  if (status != 0) return status;
  CVD_CRLInfo info;
  status = CVD_CRL_GetInfo(list, &info);
  if (status != 0) return status;
  const int64_t now = time(NULL);
  const int current = info.thisUpdate <= now && (info.nextUpdate < 0 || now <= info.nextUpdate);
  return current ? 0 : PKC_ERR_INVALID_TIME;
}

static uint32_t Check(const CVD_Certificate* certificate, const CVD_Certificate* issuer,
                      const CVD_CRL* list) {
  /* The names and the issuer's right to issue are the caller's part. */
  if (CVD_ASN_CmpName(&certificate->tbsCertificate.issuer, &issuer->tbsCertificate.subject) != 0 ||
      CVD_CheckCaOrNot(NULL, issuer) != 1) {
    return PKC_ERR_BAD_CERT;
  }
  uint32_t status = CheckList(list, issuer);
  if (status != 0) return status;
  /* So is a list that does not speak of this certificate: it would not revoke it. */
  status = CVD_IsCertRevoked(NULL, list, certificate);
  if (status > 1) return status;
  return CVD_CertCheck(
      NULL, NULL, list, certificate, issuer,
      PKC_CHECK_SIGNATURE | PKC_CHECK_REVOKED | PKC_CHECK_TIME | PKC_CHECK_ISSUER_TIME);
}

int main(int argc, char** argv) {
  if (argc != 4) {
    fprintf(stderr, "usage: %s CERTIFICATE.der ISSUER.der LIST.crl\n", argv[0]);
    return 2;
  }
  CVD_Certificate* certificate = NULL;
  CVD_Certificate* issuer = NULL;
  CVD_CRL* list = NULL;
  uint32_t status = ReadCertificate(argv[1], &certificate);
  if (status == 0) status = ReadCertificate(argv[2], &issuer);
  if (status == 0) status = ReadList(argv[3], &list);
  if (status == 0) status = Check(certificate, issuer, list);
  CVD_CRL_Free(list);
  CVD_ASN_FreePDU(issuer, CVD_PDU_CERTIFICATE);
  CVD_ASN_FreePDU(certificate, CVD_PDU_CERTIFICATE);

  printf("%s: %u %s\n", argv[1], status, status == 0 ? "good" : CVD_PKC_GetErrorReason(status, 1));
  return status == 0 ? 0 : 1;
}
