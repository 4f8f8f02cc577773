/* Issues a person's certificate: the CA's key signs, the public key is that of the person's key. */
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

/* A program clears the file's octets where they are a secret in the clear. */
static uint32_t ReadKey(const char* path, CVD_PrivateKey** key) {
  BIN file = {0, NULL};
  uint32_t status = CVD_File_ReadBin(&file, path);
  if (status == 0) status = CVD_CSP_LoadPrivateKey(key, &file, NULL);
  for (int32_t i = 0; i < file.length; ++i) ((volatile uint8_t*)file.data)[i] = 0;
  CVD_BIN_Reset(&file);
  return status;
}

static uint32_t Issue(BIN* der, CVD_PrivateKey* signer, const CVD_Certificate* issuer,
                      CVD_PrivateKey* person) {
  const PKCGenExtOptions options = {
      .policy = "1.2.410.200004.5.99.1.1",
      .cps = "http://www.example.com/cps.html",
      .crl = "http://crl.example.com/ca.crl",
      .ocsp = "http://ocsp.example.com/",
  };
  PKCGenContext context = {.signingKey = signer};
  const int64_t now = time(NULL);
  int32_t algorithm = CVD_PKEY_UNKNOWN;
  BIN parameters = {0, NULL}, public_key = {0, NULL};
  uint32_t status = CVD_CSP_GetPublicKey(signer, &context.signerAlgorithm, NULL, &public_key);
  CVD_BIN_Reset(&public_key);
  if (status == 0) status = CVD_CSP_GetPublicKey(person, &algorithm, &parameters, &public_key);
  if (status == 0) {
    status = CVD_PKC_GenCertificate(der, 4711, CVD_SIGN_SHA256_RSA, now, now + 365 * 86400LL,
                                    "cn=홍길동,ou=개인뱅킹,o=Example,c=KR", algorithm, &parameters,
                                    &public_key, issuer, &options, &context);
  }
  CVD_BIN_Reset(&parameters);
  CVD_BIN_Reset(&public_key);
  return status;
}

/* Nothing leaves that the issuer's certificate does not verify: the key may be another's. */
static uint32_t CheckAndPrint(const BIN* der, const CVD_Certificate* issuer) {
  CVD_Certificate* issued = NULL;
  char* subject = NULL;
  uint32_t status = CVD_GetCertificateCtxBin(NULL, der, &issued);
  if (status == 0) status = CVD_PKC_VerifySignature(issued, issuer);
  if (status == 0) status = CVD_GetRDNFromCert(NULL, issued, &subject);
  if (status == 0) printf("issued %s, %d octets\n", subject, der->length);
  CVD_free(subject);
  CVD_ASN_FreePDU(issued, CVD_PDU_CERTIFICATE);
  return status;
}

static int Write(const BIN* der, const char* path) {
  FILE* file = fopen(path, "wbx");
  if (file == NULL) return 0;
  const size_t written = fwrite(der->data, 1, (size_t)der->length, file);
  return fclose(file) == 0 && written == (size_t)der->length;
}

int main(int argc, char** argv) {
  if (argc != 5) {
    fprintf(stderr, "usage: %s CA.key CA.der PERSON.key NEW.der\n", argv[0]);
    return 2;
  }
  CVD_PKC_SetOption("locale", "ko_KR-UTF-8");
  CVD_PrivateKey *signer = NULL, *person = NULL;
  CVD_Certificate* issuer = NULL;
  BIN der = {0, NULL};
  uint32_t status = ReadKey(argv[1], &signer);
  if (status == 0) status = ReadCertificate(argv[2], &issuer);
  if (status == 0) status = ReadKey(argv[3], &person);
  if (status == 0) status = Issue(&der, signer, issuer, person);
  if (status == 0) status = CheckAndPrint(&der, issuer);
  const int written = status == 0 && Write(&der, argv[4]);
  CVD_BIN_Reset(&der);
  CVD_CSP_FreePrivateKey(person);
  CVD_ASN_FreePDU(issuer, CVD_PDU_CERTIFICATE);
  CVD_CSP_FreePrivateKey(signer);

  if (status != 0) fprintf(stderr, "%u %s\n", status, CVD_PKC_GetErrorReason(status, 1));
  if (status == 0 && !written) perror(argv[4]);
  return written ? 0 : 1;
}
