/* What a failure tells: the code and its reason, where in the DER it was, and the calls that it
 * went through. */
#include <corvid/asn.h>
#include <corvid/common.h>
#include <corvid/pkc.h>
#include <stdio.h>

static void PrintPlace(void) {
  CVD_ASNFailure failure;
  if (CVD_ASN_GetDecodeFailure(&failure) != 0) return;
  printf("octet %u, field %s: %u %s\n", failure.offset, failure.path, failure.code,
         CVD_PKC_GetErrorReason(failure.code, 1));
}

static void PrintTrace(void) {
  CVD_TraceEntry entry;
  for (uint32_t i = 0; CVD_Trace_Get(i, &entry) == 0; ++i) {
    printf("  %s: %d %s\n", entry.function, entry.code, entry.reason);
  }
  CVD_Trace_Clear();
}

int main(int argc, char** argv) {
  if (argc != 2) {
    fprintf(stderr, "usage: %s CERTIFICATE.der\n", argv[0]);
    return 2;
  }
  PKCCertInfo info;
  const uint32_t status = CVD_ExtractCertInfo(NULL, argv[1], NULL, 0, 0, &info);
  if (status == 0) {
    printf("%s\n", info.subjectDN);
    return 0;
  }
  printf("%u %s\n", status, CVD_PKC_GetErrorReason(status, 1));
  PrintPlace();
  PrintTrace();
  return 1;
}
