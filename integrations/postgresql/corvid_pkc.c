/* The functions of the extension. Each detoasts its arguments, lets the library read and release
 * what it has read, and only then builds what PostgreSQL wants: no error of the server crosses a
 * frame that holds something of the library. */
#include "certificate.h"

#include <access/detoast.h>
#include <access/htup_details.h>
#include <corvid/asn.h>
#include <corvid/csp.h>
#include <corvid/io.h>
#include <corvid/pkc.h>
#include <fmgr.h>
#include <funcapi.h>
#include <utils/builtins.h>
#include <utils/timestamp.h>

PG_MODULE_MAGIC;

/* The server's name for it. NOLINTNEXTLINE(bugprone-reserved-identifier) */
void _PG_init(void);

void _PG_init(void) {
  if (CVD_PKC_CheckVersion(CORVID_REQUIRED) == 0) return;
  ereport(ERROR, errcode(ERRCODE_FEATURE_NOT_SUPPORTED),
          errmsg("the installed libraries of Corvid PKC are older than %s", CORVID_REQUIRED));
}

/* The octets of a bytea. False, without looking at more than its size, when they are too many to be
 * a certificate. May raise. */
static bool GetOctets(Datum argument, BIN* octets) {
  if (toast_raw_datum_size(argument) - VARHDRSZ > CVD_IO_FILE_LIMIT) return false;
  bytea* value = DatumGetByteaPP(argument);
  octets->length = (int32_t)VARSIZE_ANY_EXHDR(value);
  octets->data = (uint8_t*)VARDATA_ANY(value);
  return true;
}

/* Puts fields of the bytea, and raises when memory was short. False when it does not decode. */
static bool GetFields(Datum argument, int first, int count, Value* values) {
  BIN der;
  if (!GetOctets(argument, &der)) return false;
  const uint32_t status = ReadFields(&der, first, count, values);
  RaiseIfMemoryIsShort(status);
  for (int i = 0; status == 0 && i < count; ++i) RaiseIfMemoryIsShort(values[i].status);
  return status == 0;
}

/* ---- one fact ---------------------------------------------------------------------------- */

static Datum OneField(FunctionCallInfo fcinfo, int field) {
  Value value;
  if (!GetFields(PG_GETARG_DATUM(0), field, 1, &value) || !value.present) PG_RETURN_NULL();
  return ValueDatum(&value);
}

#define FIELD_FUNCTION(column, reader) \
  PG_FUNCTION_INFO_V1(pkc_##column);   \
  Datum pkc_##column(PG_FUNCTION_ARGS) { return OneField(fcinfo, kField_##column); }
PKC_FIELDS(FIELD_FUNCTION)
#undef FIELD_FUNCTION

/* ---- all facts --------------------------------------------------------------------------- */

PG_FUNCTION_INFO_V1(pkc_info);
Datum pkc_info(PG_FUNCTION_ARGS) {
  TupleDesc type;
  if (get_call_result_type(fcinfo, NULL, &type) != TYPEFUNC_COMPOSITE ||
      type->natts != kFieldCount) {
    ereport(ERROR, errcode(ERRCODE_DATATYPE_MISMATCH),
            errmsg("pkc_info gives %d columns; update the extension", kFieldCount));
  }
  Value values[kFieldCount];
  if (!GetFields(PG_GETARG_DATUM(0), 0, kFieldCount, values)) PG_RETURN_NULL();
  Datum columns[kFieldCount];
  bool nulls[kFieldCount];
  for (int i = 0; i < kFieldCount; ++i) {
    nulls[i] = !values[i].present;
    columns[i] = nulls[i] ? 0 : ValueDatum(&values[i]);
  }
  return HeapTupleGetDatum(heap_form_tuple(BlessTupleDesc(type), columns, nulls));
}

/* ---- why a fact is missing ---------------------------------------------------------------- */

/* The text of pkc_error; `place` says where, and may be empty. */
static Datum ErrorText(uint32_t code, const char* place) {
  const char* reason = CVD_PKC_GetErrorReason(code, 1);
  if (code == CVD_IO_ERR_TOO_LARGE) reason = "larger than 64 MiB";
  if (reason[0] == '\0') reason = "refused";
  return PointerGetDatum(cstring_to_text(psprintf("%d %s%s", (int)(int32_t)code, reason, place)));
}

static Datum DecodeErrorText(uint32_t code) {
  CVD_ASNFailure failure = {0, 0, ""};
  if (CVD_ASN_GetDecodeFailure(&failure) != 0 || failure.code != code) return ErrorText(code, "");
  return ErrorText(code, psprintf(" at octet %u%s%s", failure.offset,
                                  failure.path[0] != '\0' ? " " : "", failure.path));
}

PG_FUNCTION_INFO_V1(pkc_error);
Datum pkc_error(PG_FUNCTION_ARGS) {
  BIN der;
  if (!GetOctets(PG_GETARG_DATUM(0), &der)) return ErrorText(CVD_IO_ERR_TOO_LARGE, "");
  Value values[kFieldCount];
  uint32_t status = ReadFields(&der, 0, kFieldCount, values);
  RaiseIfMemoryIsShort(status);
  if (status != 0) return DecodeErrorText(status);
  for (int i = 0; i < kFieldCount; ++i) {
    RaiseIfMemoryIsShort(values[i].status);
    if (values[i].status != 0) {
      return ErrorText(values[i].status, psprintf(" in %s", FieldName(i)));
    }
  }
  AltNames names;
  status = ReadAltNames(&der, &names);
  if (status == 0) status = names.status;
  RaiseIfMemoryIsShort(status);
  if (status != 0) return ErrorText(status, " in names");
  PG_RETURN_NULL();
}

/* ---- questions --------------------------------------------------------------------------- */

/* The ends of the validity period belong to it (RFC 5280 section 4.1.2.5). */
PG_FUNCTION_INFO_V1(pkc_valid_at);
Datum pkc_valid_at(PG_FUNCTION_ARGS) {
  enum { kCount = kField_not_after - kField_not_before + 1 };
  const TimestampTz at = PG_GETARG_TIMESTAMPTZ(1);
  Value times[kCount];
  if (!GetFields(PG_GETARG_DATUM(0), kField_not_before, kCount, times)) PG_RETURN_NULL();
  PG_RETURN_BOOL(at >= DatumGetTimestampTz(times[0].datum) &&
                 at <= DatumGetTimestampTz(times[kCount - 1].datum));
}

static uint32_t VerifySignature(const BIN* der, const BIN* issuer_der) {
  void* certificate = NULL;
  void* issuer = NULL;
  uint32_t status = CVD_ASN_DecodePDU(&certificate, der, CVD_PDU_CERTIFICATE);
  if (status == 0) status = CVD_ASN_DecodePDU(&issuer, issuer_der, CVD_PDU_CERTIFICATE);
  if (status == 0) status = CVD_PKC_VerifySignature(certificate, issuer);
  CVD_ASN_FreePDU(certificate, CVD_PDU_CERTIFICATE);
  CVD_ASN_FreePDU(issuer, CVD_PDU_CERTIFICATE);
  return status;
}

/* A signature that is no value of its algorithm was made by nobody; of an algorithm or a key that
 * is not known, nothing can be said. */
PG_FUNCTION_INFO_V1(pkc_signed_by);
Datum pkc_signed_by(PG_FUNCTION_ARGS) {
  BIN der;
  BIN issuer_der;
  if (!GetOctets(PG_GETARG_DATUM(0), &der) || !GetOctets(PG_GETARG_DATUM(1), &issuer_der)) {
    PG_RETURN_NULL();
  }
  const uint32_t status = VerifySignature(&der, &issuer_der);
  RaiseIfMemoryIsShort(status);
  switch (status) {
    case 0:
      PG_RETURN_BOOL(true);
    case PKC_ERR_INVALID_SIGNATURE:
    case CVD_CSP_ERR_BAD_SIGNATURE:
      PG_RETURN_BOOL(false);
    default:
      PG_RETURN_NULL();
  }
}

/* ---- alternative names ------------------------------------------------------------------- */

/* Reads all names on the first call, into the memory that lives until the last. */
static void BeginNames(FunctionCallInfo fcinfo) {
  FuncCallContext* context = SRF_FIRSTCALL_INIT();
  MemoryContext outer = MemoryContextSwitchTo(context->multi_call_memory_ctx);
  TupleDesc type;
  if (get_call_result_type(fcinfo, NULL, &type) != TYPEFUNC_COMPOSITE) {
    ereport(ERROR, errcode(ERRCODE_FEATURE_NOT_SUPPORTED),
            errmsg("pkc_names is called where no row can be taken"));
  }
  context->tuple_desc = BlessTupleDesc(type);
  BIN der;
  AltNames* names = palloc0(sizeof *names);
  if (GetOctets(PG_GETARG_DATUM(0), &der)) {
    RaiseIfMemoryIsShort(ReadAltNames(&der, names));
    RaiseIfMemoryIsShort(names->status);
  }
  context->user_fctx = names;
  context->max_calls = names->count;
  MemoryContextSwitchTo(outer);
}

PG_FUNCTION_INFO_V1(pkc_names);
Datum pkc_names(PG_FUNCTION_ARGS) {
  if (SRF_IS_FIRSTCALL()) BeginNames(fcinfo);
  FuncCallContext* context = SRF_PERCALL_SETUP();
  if (context->call_cntr >= context->max_calls) SRF_RETURN_DONE(context);
  const AltName* name = &((const AltNames*)context->user_fctx)->names[context->call_cntr];
  const Datum columns[] = {CStringGetTextDatum(name->kind), PointerGetDatum(name->text)};
  const bool nulls[] = {false, name->text == NULL};
  HeapTuple row = heap_form_tuple(context->tuple_desc, (Datum*)columns, (bool*)nulls);
  SRF_RETURN_NEXT(context, HeapTupleGetDatum(row));
}

/* ---- the library ------------------------------------------------------------------------- */

PG_FUNCTION_INFO_V1(pkc_library_version);
Datum pkc_library_version(PG_FUNCTION_ARGS) {
  (void)fcinfo;
  return CStringGetTextDatum(CVD_PKC_GetVersion());
}
