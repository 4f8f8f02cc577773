/* The extensions of a certificate: the whole list by identifier, then those that the library knows
 * as text, and one as a record. */
#include <corvid/asn.h>
#include <corvid/common.h>
#include <corvid/io.h>
#include <corvid/pkc.h>
#include <stdio.h>

static void PrintList(const CVD_ExtensionNode* extensions) {
  for (const CVD_ExtensionNode* node = extensions; node != NULL; node = node->next) {
    const CVD_Extension* extension = &node->extension;
    const int critical = (extension->present & 0x80) != 0 && extension->critical != 0;
    char* oid = NULL;
    if (CVD_ASN_OID2DotVal(&oid, &extension->extnID) != 0) continue;
    printf("%s%s, %d octets\n", oid, critical ? " critical" : "", extension->extnValue.length);
    CVD_free(oid);
  }
}

static void PrintTexts(const CVD_ExtensionNode* extensions) {
  char text[1024];
  uint32_t flags = 0;
  if (CVD_PKC_KeyUsage_ToString(text, sizeof text, &flags, extensions) == 0) {
    printf("key usage %s (0x%x)\n", text, flags);
  }
  if (CVD_PKC_ExtKeyUsage_ToString(text, sizeof text, NULL, extensions) == 0) {
    printf("purposes %s\n", text);
  }
  if (CVD_PKC_CrlDistPoints_ToString(text, sizeof text, extensions) == 0) {
    printf("revocation list %s\n", text);
  }
  /* The policy renderer appends to the texts that it is given. */
  char policies[1024] = "", cps[201] = "", notice[201] = "";
  int32_t count = 0;
  if (CVD_PKC_CertPolicies_ToString(&count, policies, sizeof policies, cps, sizeof cps, notice,
                                    sizeof notice, extensions) == 0) {
    printf("%d policy: %s\n%s\n%s\n", count, policies, cps, notice);
  }
}

/* What no renderer writes is in the decoded record of the extension's value. */
static void PrintAlternativeNames(const CVD_ExtensionNode* extensions) {
  const CVD_Extension* found =
      CVD_GetExtension(extensions, CVD_ASN_GetOID(CVD_OID_SUBJECT_ALT_NAME));
  void* record = NULL;
  if (found == NULL || CVD_ASN_DecodePDU(&record, &found->extnValue, CVD_PDU_GENERAL_NAMES) != 0) {
    return;
  }
  const CVD_GeneralNames* names = record;
  for (const CVD_GeneralNameNode* node = names->first; node != NULL; node = node->next) {
    if (node->generalName.choice != CVD_GENERAL_NAME_RFC822) continue;
    printf("mail %s\n", node->generalName.name.rfc822Name);
  }
  CVD_ASN_FreePDU(record, CVD_PDU_GENERAL_NAMES);
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
  if (status == 0) {
    PrintList(certificate->tbsCertificate.extensions);
    PrintTexts(certificate->tbsCertificate.extensions);
    PrintAlternativeNames(certificate->tbsCertificate.extensions);
  }
  CVD_ASN_FreePDU(certificate, CVD_PDU_CERTIFICATE);
  CVD_BIN_Reset(&der);

  if (status == 0) return 0;
  fprintf(stderr, "%s: %u %s\n", argv[1], status, CVD_PKC_GetErrorReason(status, 1));
  return 1;
}
