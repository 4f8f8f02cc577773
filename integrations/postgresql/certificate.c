/* Reads single facts from a decoded certificate (RFC 5280 section 4). A fact that is absent is no
 * value; one that is there and cannot be shown has a status. */
#include "certificate.h"

#include <corvid/asn.h>
#include <corvid/codec.h>
#include <corvid/common.h>
#include <datatype/timestamp.h>
#include <utils/timestamp.h>

typedef struct Source {
  const BIN* der;
  const CVD_Certificate* certificate;
  const CVD_TBSCertificate* tbs;
} Source;

/* ---- what the alternative names need, too ------------------------------------------------ */

uint32_t NameText(const CVD_Name* name, char** text) {
  if (name->rdnSequence != NULL) return CVD_ExtractRDN(NULL, name, text);
  *text = CVD_calloc(1, 1);
  return *text != NULL ? 0 : PKC_ERR_MALLOC;
}

uint32_t OidText(const CVD_OID* oid, char** text) {
  enum { kMost = 2 * UINT16_MAX + 2 };
  if (CVD_ASN_OID2DotVal(text, oid) == 0) return 0;
  char* hex = CVD_malloc(kMost);
  if (hex == NULL) return PKC_ERR_MALLOC;
  const BIN octets = {oid->length, (uint8_t*)oid->data};
  const int32_t capacity = kMost - 1;
  hex[0] = '#';
  hex[1] = '\0';
  CVD_PKC_BIN_ToHex(hex + 1, &capacity, &octets);
  *text = hex;
  return 0;
}

uint32_t DecodeExtension(const CVD_Certificate* certificate, int32_t number, int32_t type,
                         void** record) {
  const CVD_Extension* extension =
      CVD_GetExtension(certificate->tbsCertificate.extensions, CVD_ASN_GetOID(number));
  return extension == NULL ? 0 : CVD_ASN_DecodePDU(record, &extension->extnValue, type);
}

/* ---- numbers, names, times --------------------------------------------------------------- */

static uint32_t ReadVersion(const Source* source, Value* value) {
  const int32_t version = (source->tbs->present & 0x80) != 0 ? source->tbs->version : 0;
  if (version == INT32_MAX) return PKC_ERR_BAD_CERT;
  return PutDatum(value, Int32GetDatum(version + 1));
}

static uint32_t ReadSerial(const Source* source, Value* value) {
  char* text = NULL;
  const uint32_t status = CVD_HugeToHexEx(&source->tbs->serialNumber, &text);
  return status != 0 ? status : TakeText(value, text);
}

static uint32_t PutName(Value* value, const CVD_Name* name) {
  char* text = NULL;
  const uint32_t status = NameText(name, &text);
  return status != 0 ? status : TakeText(value, text);
}

static uint32_t ReadIssuer(const Source* source, Value* value) {
  return PutName(value, &source->tbs->issuer);
}

static uint32_t ReadSubject(const Source* source, Value* value) {
  return PutName(value, &source->tbs->subject);
}

/* The years 0 to 9999 of a certificate all lie in the server's range. */
static uint32_t PutTime(Value* value, const CVD_Time* time) {
  static const int64 kEpochSeconds =
      (int64)(POSTGRES_EPOCH_JDATE - UNIX_EPOCH_JDATE) * SECS_PER_DAY;
  const int64 seconds = time->kind == CVD_TIME_UTC ? CVD_ASN_UTC2Time(&time->fields)
                                                   : CVD_ASN_General2Time(&time->fields);
  return PutDatum(value, TimestampTzGetDatum((seconds - kEpochSeconds) * USECS_PER_SEC));
}

static uint32_t ReadNotBefore(const Source* source, Value* value) {
  return PutTime(value, &source->tbs->notBefore);
}

static uint32_t ReadNotAfter(const Source* source, Value* value) {
  return PutTime(value, &source->tbs->notAfter);
}

/* ---- algorithms and keys ----------------------------------------------------------------- */

static uint32_t PutOid(Value* value, const CVD_OID* oid) {
  char* text = NULL;
  const uint32_t status = OidText(oid, &text);
  return status != 0 ? status : TakeText(value, text);
}

static uint32_t ReadSignatureAlgorithm(const Source* source, Value* value) {
  const CVD_OID* oid = &source->tbs->signature.algorithm;
  switch (CVD_PKC_ObjID_To_SignID(oid)) {
#define SIGN_NAME(number, constant, identifier, older, key, hash, name) \
  case number:                                                          \
    return PutText(value, name);
    CVD_SIGN_ALGORITHMS(SIGN_NAME)
#undef SIGN_NAME
    default:
      return PutOid(value, oid);
  }
}

static uint32_t ReadKeyAlgorithm(const Source* source, Value* value) {
  const CVD_OID* oid = &source->tbs->subjectPublicKeyInfo.algorithm.algorithm;
  const char* name = "";
  switch (CVD_PKC_ObjID_To_PkeyID(oid)) {
#define KEY_NAME(number, constant, identifier, older, text) \
  case number:                                              \
    name = text;                                            \
    break;
    CVD_KEY_ALGORITHMS(KEY_NAME)
#undef KEY_NAME
    default:
      break;
  }
  return name[0] != '\0' ? PutText(value, name) : PutOid(value, oid);
}

static BIN KeyOctets(const Source* source) {
  const CVD_BitString* key = &source->tbs->subjectPublicKeyInfo.subjectPublicKey;
  const BIN octets = {(int32_t)((key->bits + 7) / 8), key->data};
  return octets;
}

/* A key whose algorithm has no number has no length either; DSA and KCDSA keys may leave their
 * parameters to the issuer's (RFC 3279 section 2.3.2). */
static uint32_t ReadKeyBits(const Source* source, Value* value) {
  const CVD_AlgorithmIdentifier* algorithm = &source->tbs->subjectPublicKeyInfo.algorithm;
  const BIN key = KeyOctets(source);
  if (key.length == 0) return PKC_ERR_NO_PUBKEY;
  const int32_t pkeyID = CVD_PKC_ObjID_To_PkeyID(&algorithm->algorithm);
  const bool inherits = pkeyID == CVD_PKEY_DSA || pkeyID == CVD_PKEY_KCDSA;
  if (pkeyID == CVD_PKEY_UNKNOWN || (inherits && algorithm->parameters.length == 0)) return 0;
  uint32_t bits = 0;
  const uint32_t status = CVD_CSP_GetKeyLength(&bits, &key, pkeyID, &algorithm->parameters);
  return status != 0 ? status : PutDatum(value, Int32GetDatum((int32_t)bits));
}

static uint32_t ReadKeyId(const Source* source, Value* value) {
  const BIN key = KeyOctets(source);
  if (key.length == 0) return 0;
  BIN identifier = {0, NULL};
  const uint32_t status = CVD_PKC_SubKeyId_Compute(&identifier, &key);
  return status != 0 ? status : TakeOctets(value, &identifier);
}

/* ---- extensions -------------------------------------------------------------------------- */

static uint32_t PutCarriedKeyId(const Source* source, Value* value, int32_t number,
                                uint32_t (*decode)(BIN*, const BIN*)) {
  const CVD_Extension* extension =
      CVD_GetExtension(source->tbs->extensions, CVD_ASN_GetOID(number));
  if (extension == NULL) return 0;
  BIN identifier = {0, NULL};
  const uint32_t status = decode(&identifier, &extension->extnValue);
  if (status != 0 || identifier.length == 0) return status;
  return TakeOctets(value, &identifier);
}

static uint32_t ReadSubjectKeyId(const Source* source, Value* value) {
  return PutCarriedKeyId(source, value, CVD_OID_SUBJECT_KEY_IDENTIFIER, CVD_PKC_SubKeyId_Decode);
}

static uint32_t ReadAuthorityKeyId(const Source* source, Value* value) {
  return PutCarriedKeyId(source, value, CVD_OID_AUTHORITY_KEY_IDENTIFIER, CVD_PKC_AuthKeyId_Decode);
}

/* All absent when there is no extension. */
static uint32_t ReadConstraints(const Source* source, CVD_BasicConstraints* constraints) {
  void* record = NULL;
  const uint32_t status = DecodeExtension(source->certificate, CVD_OID_BASIC_CONSTRAINTS,
                                          CVD_PDU_BASIC_CONSTRAINTS, &record);
  memset(constraints, 0, sizeof *constraints);
  if (record != NULL) *constraints = *(const CVD_BasicConstraints*)record;
  CVD_ASN_FreePDU(record, CVD_PDU_BASIC_CONSTRAINTS);
  return status;
}

static uint32_t ReadIsCa(const Source* source, Value* value) {
  CVD_BasicConstraints constraints;
  const uint32_t status = ReadConstraints(source, &constraints);
  const bool is_ca = (constraints.present & 0x80) != 0 && constraints.cA != 0;
  return status != 0 ? status : PutDatum(value, BoolGetDatum(is_ca));
}

static uint32_t ReadPathLength(const Source* source, Value* value) {
  CVD_BasicConstraints constraints;
  const uint32_t status = ReadConstraints(source, &constraints);
  if (status != 0 || (constraints.present & 0x40) == 0) return status;
  return PutDatum(value, Int32GetDatum(constraints.pathLenConstraint));
}

/* By named bit (RFC 5280 section 4.2.1.3). */
static const char* const kUsageNames[] = {"digitalSignature", "nonRepudiation", "keyEncipherment",
                                          "dataEncipherment", "keyAgreement",   "keyCertSign",
                                          "cRLSign",          "encipherOnly",   "decipherOnly"};

/* The named bits, bit n as 1 << n; -1 when there is no keyUsage. */
static uint32_t UsageFlags(const Source* source, int32_t* flags) {
  void* record = NULL;
  const uint32_t status =
      DecodeExtension(source->certificate, CVD_OID_KEY_USAGE, CVD_PDU_KEY_USAGE, &record);
  if (record == NULL) return status;
  const uint16_t usage = ((const CVD_KeyUsage*)record)->usage;
  CVD_ASN_FreePDU(record, CVD_PDU_KEY_USAGE);
  *flags = 0;
  for (size_t bit = 0; bit < lengthof(kUsageNames); ++bit) {
    if ((usage & 0x8000 >> bit) != 0) *flags |= 1 << bit;
  }
  return 0;
}

static uint32_t ReadKeyUsageFlags(const Source* source, Value* value) {
  int32_t flags = -1;
  const uint32_t status = UsageFlags(source, &flags);
  return flags < 0 ? status : PutDatum(value, Int32GetDatum(flags));
}

/* Puts the text as the next item of a list that has room for it. */
static uint32_t AddItem(Value* list, int* used, const char* text) {
  struct varlena* item = TryText(text, strlen(text));
  if (item == NULL) return PKC_ERR_MALLOC;
  list->items[(*used)++] = PointerGetDatum(item);
  return 0;
}

static uint32_t ReadKeyUsage(const Source* source, Value* value) {
  int32_t flags = -1;
  uint32_t status = UsageFlags(source, &flags);
  if (flags < 0) return status;
  status = PutTextArray(value, lengthof(kUsageNames));
  int used = 0;
  for (size_t bit = 0; status == 0 && bit < lengthof(kUsageNames); ++bit) {
    if ((flags & 1 << bit) != 0) status = AddItem(value, &used, kUsageNames[bit]);
  }
  value->count = used;
  return status;
}

static const struct PurposeRow {
  int32_t number;
  const char* name;
} kPurposes[] = {
    {CVD_OID_KP_SERVER_AUTH, "id-kp-serverAuth"},
    {CVD_OID_KP_CLIENT_AUTH, "id-kp-clientAuth"},
    {CVD_OID_KP_CODE_SIGNING, "id-kp-codeSigning"},
    {CVD_OID_KP_EMAIL_PROTECTION, "id-kp-emailProtection"},
    {CVD_OID_KP_IPSEC_END_SYSTEM, "id-kp-ipsecEndSystem"},
    {CVD_OID_KP_IPSEC_TUNNEL, "id-kp-ipsecTunnel"},
    {CVD_OID_KP_IPSEC_USER, "id-kp-ipsecUser"},
    {CVD_OID_KP_TIME_STAMPING, "id-kp-timeStamping"},
    {CVD_OID_KP_OCSP_SIGNING, "id-kp-OCSPSigning"},
};

static uint32_t AddPurpose(Value* list, int* used, const CVD_OID* oid) {
  for (size_t i = 0; i < lengthof(kPurposes); ++i) {
    if (CVD_ASN_CmpOID(oid, CVD_ASN_GetOID(kPurposes[i].number)) == 0) {
      return AddItem(list, used, kPurposes[i].name);
    }
  }
  char* text = NULL;
  uint32_t status = OidText(oid, &text);
  if (status != 0) return status;
  status = AddItem(list, used, text);
  CVD_free(text);
  return status;
}

static uint32_t ReadExtendedKeyUsage(const Source* source, Value* value) {
  void* record = NULL;
  uint32_t status =
      DecodeExtension(source->certificate, CVD_OID_EXT_KEY_USAGE, CVD_PDU_EXT_KEY_USAGE, &record);
  if (record == NULL) return status;
  const CVD_KeyPurposeNode* first = ((const CVD_ExtKeyUsageSyntax*)record)->first;
  size_t count = 0;
  for (const CVD_KeyPurposeNode* node = first; node != NULL; node = node->next) ++count;
  status = PutTextArray(value, count);
  int used = 0;
  for (const CVD_KeyPurposeNode* node = first; status == 0 && node != NULL; node = node->next) {
    status = AddPurpose(value, &used, &node->keyPurposeId);
  }
  CVD_ASN_FreePDU(record, CVD_PDU_EXT_KEY_USAGE);
  return status;
}

/* ---- thumbprints ------------------------------------------------------------------------- */

static uint32_t PutDigest(const Source* source, Value* value, int32_t hashID) {
  BIN digest = {0, NULL};
  const uint32_t status = CVD_CSP_Hash(&digest, source->der, hashID);
  return status != 0 ? status : TakeOctets(value, &digest);
}

static uint32_t ReadSha1(const Source* source, Value* value) {
  return PutDigest(source, value, CVD_HASH_SHA1);
}

static uint32_t ReadSha256(const Source* source, Value* value) {
  return PutDigest(source, value, CVD_HASH_SHA256);
}

/* ---- all of them ------------------------------------------------------------------------- */

static const struct FieldRow {
  const char* name;
  uint32_t (*read)(const Source* source, Value* value);
} kFields[] = {
#define FIELD_ROW(column, reader) {#column, Read##reader},
    PKC_FIELDS(FIELD_ROW)
#undef FIELD_ROW
};

const char* FieldName(int field) { return kFields[field].name; }

uint32_t ReadFields(const BIN* der, int first, int count, Value* values) {
  memset(values, 0, (size_t)count * sizeof *values);
  FollowServerEncoding();
  void* record = NULL;
  const uint32_t status = CVD_ASN_DecodePDU(&record, der, CVD_PDU_CERTIFICATE);
  if (status != 0) return status;
  const CVD_Certificate* certificate = record;
  const Source source = {der, certificate, &certificate->tbsCertificate};
  for (int i = 0; i < count; ++i) {
    values[i].status = kFields[first + i].read(&source, &values[i]);
    if (values[i].status != 0) values[i].present = false;
  }
  CVD_ASN_FreePDU(record, CVD_PDU_CERTIFICATE);
  return 0;
}
