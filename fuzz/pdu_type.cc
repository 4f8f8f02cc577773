// The record type that one of the targets of pdu_fuzzer.cc is for.
#include "corvid/records.h"

extern const int32_t kFuzzedPdu;
const int32_t kFuzzedPdu = CORVID_PDU;
