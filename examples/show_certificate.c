#include <corvid/pkc.h>
#include <stdio.h>

int main(int argc, char** argv) {
  const char* path = argc == 2 ? argv[1] : NULL; /* a DER file */
  PKCCertInfo info;
  CVD_PKC_SetOption("locale", "ko_KR-UTF-8");
  uint32_t status = CVD_ExtractCertInfo(NULL, path, NULL, 0, 0, &info);
  if (status != 0) {
    fprintf(stderr, "%u %s\n", status, CVD_PKC_GetErrorReason(status, 1));
    return 1;
  }
  printf("%s\nvalid until %s\n%s\n", info.subjectDN, info.notAfter, info.keyUsage);
  return 0;
}
