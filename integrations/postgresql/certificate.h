/* The facts of a certificate, one row each: a column of pkc_certificate_info and a function. */
#ifndef CORVID_PKC_POSTGRESQL_CERTIFICATE_H_
#define CORVID_PKC_POSTGRESQL_CERTIFICATE_H_

#include "values.h"

/* The columns of pkc_certificate_info in their order, each read by Read<Reader> and given by the
 * function pkc_<column>. */
/* clang-format off */
#define PKC_FIELDS(ROW) \
  ROW(version, Version) \
  ROW(serial, Serial) \
  ROW(signature_algorithm, SignatureAlgorithm) \
  ROW(issuer, Issuer) \
  ROW(not_before, NotBefore) \
  ROW(not_after, NotAfter) \
  ROW(subject, Subject) \
  ROW(key_algorithm, KeyAlgorithm) \
  ROW(key_bits, KeyBits) \
  ROW(key_id, KeyId) \
  ROW(subject_key_id, SubjectKeyId) \
  ROW(authority_key_id, AuthorityKeyId) \
  ROW(is_ca, IsCa) \
  ROW(path_length, PathLength) \
  ROW(key_usage, KeyUsage) \
  ROW(key_usage_flags, KeyUsageFlags) \
  ROW(extended_key_usage, ExtendedKeyUsage) \
  ROW(sha1, Sha1) \
  ROW(sha256, Sha256)
/* clang-format on */

enum {
#define FIELD_NUMBER(column, reader) kField_##column,
  PKC_FIELDS(FIELD_NUMBER)
#undef FIELD_NUMBER
      kFieldCount
};

/* One name of a subjectAltName. */
typedef struct AltName {
  const char* kind;     /* the alternative in RFC 5280 section 4.2.1.6 */
  struct varlena* text; /* null when it cannot be shown */
} AltName;

typedef struct AltNames {
  uint32_t status; /* of the first failure: of the extension, or of a name in it */
  size_t count;
  AltName* names;
} AltNames;

/* Decodes and puts `count` fields from `first` on. The decoder's status: when it is not 0, no value
 * is present. Never jumps; `values` are cleared first. */
uint32_t ReadFields(const BIN* der, int first, int count, Value* values);
/* The name of a column. */
const char* FieldName(int field);

/* Decodes and lists the alternative names in the same way. */
uint32_t ReadAltNames(const BIN* der, AltNames* names);

/* The name's text in one line, allocated; an empty name has the empty text. */
uint32_t NameText(const CVD_Name* name, char** text);
/* The dotted text of an identifier, or # and its octets, allocated. */
uint32_t OidText(const CVD_OID* oid, char** text);
/* Decodes an extension's value; `*record` stays null when the certificate has none. */
uint32_t DecodeExtension(const CVD_Certificate* certificate, int32_t number, int32_t type,
                         void** record);

#endif
