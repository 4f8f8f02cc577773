/* Memory and text of the server for results, without its way of raising errors. */
#include "values.h"

#include <catalog/pg_type_d.h>
#include <corvid/asn.h>
#include <corvid/codec.h>
#include <corvid/common.h>
#include <mb/pg_wchar.h>
#include <utils/array.h>
#include <utils/memutils.h>

/* The encodings that the library writes. In every other one a text is written in UTF-8, of which
 * SQL_ASCII takes all and the rest what is ASCII. */
static const struct EncodingRow {
  int encoding;
  const char* locale;
} kEncodings[] = {
    {PG_UTF8, "ko_KR-UTF-8"},
    {PG_EUC_KR, "ko_KR-euc"},
    {PG_EUC_JP, "ja_JP-EUC"},
};

/* Not at loading: a library that the postmaster has preloaded is loaded before any database. */
void FollowServerEncoding(void) {
  static int followed = -1;
  const int encoding = GetDatabaseEncoding();
  if (encoding == followed) return;
  const char* locale = kEncodings[0].locale;
  for (size_t i = 0; i < lengthof(kEncodings); ++i) {
    if (kEncodings[i].encoding == encoding) locale = kEncodings[i].locale;
  }
  CVD_PKC_SetOption("locale", locale);
  followed = encoding;
}

/* ---- memory ------------------------------------------------------------------------------ */

void* TryAllocate(size_t size) {
  return palloc_extended(size, MCXT_ALLOC_NO_OOM | MCXT_ALLOC_HUGE);
}

static struct varlena* TryVarlena(size_t length) {
  if (length > MaxAllocSize - VARHDRSZ) return NULL;
  struct varlena* result = TryAllocate(VARHDRSZ + length);
  if (result != NULL) SET_VARSIZE(result, VARHDRSZ + length);
  return result;
}

static struct varlena* TryOctets(const void* octets, size_t length) {
  struct varlena* result = TryVarlena(length);
  if (result != NULL && length > 0) memcpy(VARDATA(result), octets, length);
  return result;
}

/* ---- text -------------------------------------------------------------------------------- */

/* Octets at the front of `text` that are characters of the database's encoding. */
static int ValidPrefix(const char* text, int length) {
  const int encoding = GetDatabaseEncoding();
  for (size_t i = 0; i < lengthof(kEncodings); ++i) {
    if (kEncodings[i].encoding == encoding) return pg_encoding_verifymbstr(encoding, text, length);
  }
  if (encoding == PG_SQL_ASCII) return pg_encoding_verifymbstr(PG_UTF8, text, length);
  int valid = 0;
  while (valid < length && text[valid] != '\0' && !IS_HIGHBIT_SET(text[valid])) ++valid;
  return valid;
}

/* Octets to be escaped where no character begins: in the sets of two octets a lead octet takes its
 * trail octet along, so that the next character is found. */
static int InvalidPrefix(const char* text, int length) {
  enum { kLeastTrail = 0x41 }; /* of code page 949 */
  const int encoding = GetDatabaseEncoding();
  const bool pairs = encoding == PG_EUC_KR || encoding == PG_EUC_JP;
  if (!pairs || length < 2 || !IS_HIGHBIT_SET(text[0])) return 1;
  return (unsigned char)text[1] >= kLeastTrail ? 2 : 1;
}

/* Writes the text with its escapes, or only measures it when `out` is null. Returns its length. */
static size_t EscapeText(const char* text, int length, char* out) {
  enum { kEscape = 4 };
  static const char kDigits[] = "0123456789abcdef";
  size_t written = 0;
  while (length > 0) {
    const int valid = ValidPrefix(text, length);
    if (out != NULL) memcpy(out + written, text, (size_t)valid);
    written += (size_t)valid;
    text += valid;
    length -= valid;
    if (length == 0) break;
    const int invalid = InvalidPrefix(text, length);
    for (int i = 0; i < invalid; ++i, written += kEscape) {
      if (out == NULL) continue;
      const unsigned char octet = (unsigned char)text[i];
      const char escape[kEscape] = {'\\', 'x', kDigits[octet >> 4], kDigits[octet & 15]};
      memcpy(out + written, escape, kEscape);
    }
    text += invalid;
    length -= invalid;
  }
  return written;
}

struct varlena* TryText(const char* text, size_t length) {
  if (length > MaxAllocSize) return NULL;
  if (ValidPrefix(text, (int)length) == (int)length) return TryOctets(text, length);
  struct varlena* result = TryVarlena(EscapeText(text, (int)length, NULL));
  if (result != NULL) EscapeText(text, (int)length, VARDATA(result));
  return result;
}

/* ---- values ------------------------------------------------------------------------------ */

uint32_t PutDatum(Value* value, Datum datum) {
  value->datum = datum;
  value->present = true;
  return 0;
}

static uint32_t PutVarlena(Value* value, struct varlena* octets) {
  return octets == NULL ? PKC_ERR_MALLOC : PutDatum(value, PointerGetDatum(octets));
}

uint32_t PutOctets(Value* value, const void* octets, size_t length) {
  return PutVarlena(value, TryOctets(octets, length));
}

uint32_t PutText(Value* value, const char* text) {
  return PutVarlena(value, TryText(text, strlen(text)));
}

uint32_t TakeOctets(Value* value, BIN* octets) {
  const uint32_t status = PutOctets(value, octets->data, (size_t)octets->length);
  CVD_BIN_Reset(octets);
  return status;
}

uint32_t TakeText(Value* value, char* text) {
  const uint32_t status = PutText(value, text);
  CVD_free(text);
  return status;
}

uint32_t PutTextArray(Value* value, size_t count) {
  Datum* items = TryAllocate((count + 1) * sizeof(Datum));
  if (items == NULL) return PKC_ERR_MALLOC;
  memset(items, 0, count * sizeof(Datum));
  value->items = items;
  value->count = (int)count;
  value->present = true;
  return 0;
}

bool IsMemoryStatus(uint32_t status) {
  return status == PKC_ERR_MALLOC || status == CVD_ASN_ERR_MALLOC ||
         status == CVD_CODEC_ERR_MALLOC || status == CVD_CSP_ERR_MALLOC;
}

void RaiseIfMemoryIsShort(uint32_t status) {
  if (!IsMemoryStatus(status)) return;
  ereport(ERROR, errcode(ERRCODE_OUT_OF_MEMORY),
          errmsg("out of memory while reading a certificate"));
}

Datum ValueDatum(const Value* value) {
  if (value->items == NULL) return value->datum;
  return PointerGetDatum(
      construct_array(value->items, value->count, TEXTOID, -1, false, TYPALIGN_INT));
}
