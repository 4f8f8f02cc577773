// The library's version and the reasons of its codes.
#include "corvid/asn.h"

#include "corvid/reason_table.hpp"

namespace {

constexpr corvid::ReasonRow kReasons[] = {
    {CVD_ASN_ERR_INVALID_INPUT, "invalid input"},
    {CVD_ASN_ERR_MALLOC, "malloc failed"},
    {CVD_ASN_ERR_UNKNOWN_TYPE, "unknown PDU type"},
    {CVD_ASN_ERR_TRUNCATED, "element ends before its content does"},
    {CVD_ASN_ERR_LENGTH, "length is indefinite, not minimal or too long"},
    {CVD_ASN_ERR_TAG, "required element is missing or another"},
    {CVD_ASN_ERR_TRAILING, "octets left over after the value"},
    {CVD_ASN_ERR_BOOLEAN, "boolean is neither 00 nor FF"},
    {CVD_ASN_ERR_INTEGER, "integer is empty or not minimal"},
    {CVD_ASN_ERR_RANGE, "value is too wide"},
    {CVD_ASN_ERR_OID, "malformed object identifier"},
    {CVD_ASN_ERR_BIT_STRING, "malformed bit string"},
    {CVD_ASN_ERR_TIME, "time is not in DER form or does not exist"},
    {CVD_ASN_ERR_TEXT, "text is not valid in its string type"},
    {CVD_ASN_ERR_TEXT_LENGTH, "text has too many or too few characters"},
    {CVD_ASN_ERR_ALTERNATIVE, "alternative is not supported"},
    {CVD_ASN_ERR_EMPTY, "list is empty"},
};

}  // namespace

const char* CVD_ASN_GetVersion(void) { return corvid::kVersionText; }

const char* CVD_ASN_GetErrorReason(uint32_t code, int32_t /*selector*/) {
  return corvid::ReasonOf(kReasons, code);
}
