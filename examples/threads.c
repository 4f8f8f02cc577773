/* Threads share decoded certificates and need no lock; only the options are set before they
 * start. */
#include <corvid/asn.h>
#include <corvid/common.h>
#include <corvid/io.h>
#include <corvid/pkc.h>
#include <pthread.h>
#include <stdio.h>

enum { THREADS = 4, ROUNDS = 1000 };

static void* Render(void* argument) {
  const CVD_Certificate* certificate = argument;
  PKCCertInfo info;
  for (int i = 0; i < ROUNDS; ++i) {
    if (CVD_DoExtractCertInfo(NULL, certificate, &info) != 0) return NULL;
  }
  return argument;
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
  CVD_BIN_Reset(&der);
  if (status != 0) {
    fprintf(stderr, "%s: %u %s\n", argv[1], status, CVD_PKC_GetErrorReason(status, 1));
    return 1;
  }

  pthread_t threads[THREADS];
  int started = 0, finished = 0;
  while (started < THREADS && pthread_create(&threads[started], NULL, Render, certificate) == 0) {
    ++started;
  }
  for (int i = 0; i < started; ++i) {
    void* result = NULL;
    pthread_join(threads[i], &result);
    if (result != NULL) ++finished;
  }
  CVD_ASN_FreePDU(certificate, CVD_PDU_CERTIFICATE);
  printf("%d threads, %d records each\n", finished, ROUNDS);
  return finished == THREADS ? 0 : 1;
}
