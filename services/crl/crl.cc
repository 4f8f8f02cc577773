// The revocation-list library: its version and reasons, what a list says of itself, its release.
#include "corvid/crl.h"

#include "corvid/reason_table.hpp"
#include "services/crl/internal.h"

namespace corvid {
namespace {

constexpr ReasonRow kReasons[] = {
    {CVD_CRL_ERR_INVALID_INPUT, "invalid input"},
    {CVD_CRL_ERR_MALLOC, "malloc failed"},
    {CVD_CRL_ERR_BAD_LIST, "bad revocation list"},
    {CVD_CRL_ERR_BAD_ENTRY, "bad entry of revocation list"},
    {CVD_CRL_ERR_EXTENSION, "unknown critical extension of revocation list"},
    {CVD_CRL_ERR_DELTA, "delta revocation list"},
    {CVD_CRL_ERR_REASONS, "revocation list of some reasons only"},
    {CVD_CRL_ERR_ISSUER, "revocation list of another issuer"},
    {CVD_CRL_ERR_SCOPE, "certificate not covered by revocation list"},
    {CVD_CRL_ERR_ALGORITHM, "bad signature algorithm of revocation list"},
    {CVD_CRL_ERR_SIGNATURE, "invalid signature of revocation list"},
};

int64_t SecondsOf(const CVD_Time& time) {
  return time.kind == CVD_TIME_UTC ? CVD_ASN_UTC2Time(&time.fields)
                                   : CVD_ASN_General2Time(&time.fields);
}

}  // namespace
}  // namespace corvid

const char* CVD_GetVersionCRL(void) { return corvid::kVersionText; }

const char* CVD_GetErrReasonCRL(uint32_t code, int32_t /*selector*/) {
  return corvid::ReasonOf(corvid::kReasons, code);
}

uint32_t CVD_CRL_GetInfo(const CVD_CRL* crl, CVD_CRLInfo* info) {
  if (crl == nullptr || info == nullptr) return CVD_CRL_ERR_INVALID_INPUT;
  const CVD_TBSCertList& list = crl->list->tbsCertList;
  const bool has_next = (list.present & 0x40) != 0;
  *info = {corvid::SecondsOf(list.thisUpdate), has_next ? corvid::SecondsOf(list.nextUpdate) : -1,
           crl->count, &list.issuer};
  return 0;
}

void CVD_CRL_Free(CVD_CRL* crl) {
  if (crl == nullptr) return;
  for (uint32_t i = 0; i < crl->issuer_count; ++i) {
    CVD_ASN_FreePDU(crl->issuers[i], CVD_PDU_GENERAL_NAMES);
  }
  CVD_free(crl->issuers);
  CVD_free(crl->rows);
  CVD_ASN_FreePDU(crl->idp, CVD_PDU_ISSUING_DISTRIBUTION_POINT);
  CVD_ASN_FreePDU(crl->list, CVD_PDU_CERTIFICATE_LIST);
  CVD_free(crl);
}
