/* Lists the alternative names of a certificate from their decoded record (RFC 5280 section
 * 4.2.1.6). */
#include "certificate.h"

#include <arpa/inet.h>
#include <corvid/asn.h>
#include <corvid/codec.h>
#include <corvid/common.h>

/* 1.2.410.200004.10.1.1, the other name of Korean certificates that carries the holder's name. */
static const uint8_t kIdentityData[] = {0x2A, 0x83, 0x1A, 0x8C, 0x9A, 0x44, 0x0A, 0x01, 0x01};

/* By choice, the context tag plus one. */
static const char* const kKinds[] = {"",
                                     "otherName",
                                     "rfc822Name",
                                     "dNSName",
                                     "x400Address",
                                     "directoryName",
                                     "ediPartyName",
                                     "uniformResourceIdentifier",
                                     "iPAddress",
                                     "registeredID"};

static bool IsIdentityData(const CVD_GeneralName* name) {
  if (name->choice != CVD_GENERAL_NAME_OTHER) return false;
  const CVD_OID* type = &name->name.otherName.typeId;
  return type->length == sizeof kIdentityData &&
         memcmp(type->data, kIdentityData, sizeof kIdentityData) == 0;
}

/* ---- the text of one name, appended to a buffer ------------------------------------------- */

static uint32_t Append(StrBuf* out, const char* text) {
  const size_t length = strlen(text);
  return length == 0 ? 0 : CVD_PKC_StrBuf_AddString(out, text, (uint32_t)length);
}

/* Appends and releases the text that a call has allocated, if it has. */
static uint32_t AppendTaken(StrBuf* out, uint32_t status, char* text) {
  if (status != 0) return status;
  status = Append(out, text);
  CVD_free(text);
  return status;
}

static uint32_t AppendOid(StrBuf* out, const CVD_OID* oid) {
  char* text = NULL;
  const uint32_t status = OidText(oid, &text);
  return AppendTaken(out, status, text);
}

/* As RFC 4514 section 2.4 shows what has no text. */
static uint32_t AppendHex(StrBuf* out, const uint8_t* octets, uint32_t length) {
  char* text = NULL;
  uint32_t status = Append(out, "#");
  if (status != 0 || length == 0) return status;
  status = CVD_BinToHex(octets, length, &text);
  return AppendTaken(out, status, text);
}

/* A string of a type that the library converts, when it surely is not cut; else its octets. */
static uint32_t AppendString(StrBuf* out, const BIN* der) {
  enum { kSurelyWhole = 134 }; /* a text has 201 octets; two of a BMPString may become three */
  char text[202];
  int32_t size = sizeof text;
  if (der->length <= kSurelyWhole &&
      CVD_PKC_ASNString_Decode(text, &size, der->data, (uint32_t)der->length) == 0) {
    return Append(out, text);
  }
  return AppendHex(out, der->data, (uint32_t)der->length);
}

/* "1.3.6.1.4.1.311.20.2.3=user@example.com" */
static uint32_t AppendOther(StrBuf* out, const CVD_OtherName* other) {
  uint32_t status = AppendOid(out, &other->typeId);
  if (status == 0) status = Append(out, "=");
  return status != 0 ? status : AppendString(out, &other->value);
}

/* The record has the holder's name in UTF-8. */
static uint32_t AppendHolder(StrBuf* out, const BIN* der) {
  void* record = NULL;
  uint32_t status = CVD_ASN_DecodePDU(&record, der, CVD_PDU_IDENTITY_DATA);
  if (status != 0) return status;
  const char* name = ((const CVD_IdentityData*)record)->realName;
  const size_t size = 2 * strlen(name) + 1; /* of the longest form in any set */
  char* text = CVD_malloc(size);
  status = text == NULL ? PKC_ERR_MALLOC : CVD_PKC_UTF8_Decode(text, (int32_t)size, name, 0);
  if (status == 0) status = Append(out, text);
  CVD_free(text);
  CVD_ASN_FreePDU(record, CVD_PDU_IDENTITY_DATA);
  return status;
}

static uint32_t AppendDirectoryName(StrBuf* out, const CVD_Name* name) {
  char* text = NULL;
  const uint32_t status = NameText(name, &text);
  return AppendTaken(out, status, text);
}

static uint32_t AppendAddress(StrBuf* out, const CVD_IPAddress* address) {
  char text[INET6_ADDRSTRLEN];
  if (address->length != 4 && address->length != 16) {
    return AppendHex(out, address->data, address->length);
  }
  inet_ntop(address->length == 4 ? AF_INET : AF_INET6, address->data, text, sizeof text);
  return Append(out, text);
}

static uint32_t AppendName(StrBuf* out, const CVD_GeneralName* name) {
  if (IsIdentityData(name)) return AppendHolder(out, &name->name.otherName.value);
  switch (name->choice) {
    case CVD_GENERAL_NAME_OTHER:
      return AppendOther(out, &name->name.otherName);
    case CVD_GENERAL_NAME_RFC822:
      return Append(out, name->name.rfc822Name);
    case CVD_GENERAL_NAME_DNS:
      return Append(out, name->name.dNSName);
    case CVD_GENERAL_NAME_X400:
      return AppendHex(out, name->name.x400Address.data, (uint32_t)name->name.x400Address.length);
    case CVD_GENERAL_NAME_DIRECTORY:
      return AppendDirectoryName(out, &name->name.directoryName);
    case CVD_GENERAL_NAME_EDI_PARTY:
      return AppendHex(out, name->name.ediPartyName.data, (uint32_t)name->name.ediPartyName.length);
    case CVD_GENERAL_NAME_URI:
      return Append(out, name->name.uniformResourceIdentifier);
    case CVD_GENERAL_NAME_IP:
      return AppendAddress(out, &name->name.iPAddress);
    case CVD_GENERAL_NAME_REGISTERED_ID:
      return AppendOid(out, &name->name.registeredID);
    default:
      return PKC_ERR_BAD_EXTENSION;
  }
}

/* ---- all names --------------------------------------------------------------------------- */

static uint32_t ShowName(const CVD_GeneralName* general, AltName* name) {
  enum { kCapacity = 64 };
  const size_t choice = general->choice < lengthof(kKinds) ? general->choice : 0;
  name->kind = IsIdentityData(general) ? "identityData" : kKinds[choice];
  name->text = NULL;
  StrBuf text;
  uint32_t status = CVD_PKC_StrBuf_Init(&text, kCapacity, 0);
  if (status != 0) return status;
  status = AppendName(&text, general);
  if (status == 0) {
    name->text = TryText(text.text, text.length);
    if (name->text == NULL) status = PKC_ERR_MALLOC;
  }
  CVD_PKC_StrBuf_Free(&text);
  return status;
}

/* A name that cannot be shown does not hide the others. */
static void ShowNames(const CVD_GeneralNameNode* first, AltNames* names) {
  size_t count = 0;
  for (const CVD_GeneralNameNode* node = first; node != NULL; node = node->next) ++count;
  names->names = TryAllocate(count * sizeof(AltName));
  if (names->names == NULL) {
    names->status = PKC_ERR_MALLOC;
    return;
  }
  for (const CVD_GeneralNameNode* node = first; node != NULL; node = node->next) {
    const uint32_t status = ShowName(&node->generalName, &names->names[names->count++]);
    if (status == 0) continue;
    if (names->status == 0 || IsMemoryStatus(status)) names->status = status;
    if (IsMemoryStatus(status)) return;
  }
}

uint32_t ReadAltNames(const BIN* der, AltNames* names) {
  memset(names, 0, sizeof *names);
  FollowServerEncoding();
  void* certificate = NULL;
  void* record = NULL;
  const uint32_t status = CVD_ASN_DecodePDU(&certificate, der, CVD_PDU_CERTIFICATE);
  if (status != 0) return status;
  names->status =
      DecodeExtension(certificate, CVD_OID_SUBJECT_ALT_NAME, CVD_PDU_GENERAL_NAMES, &record);
  if (record != NULL) ShowNames(((const CVD_GeneralNames*)record)->first, names);
  CVD_ASN_FreePDU(record, CVD_PDU_GENERAL_NAMES);
  CVD_ASN_FreePDU(certificate, CVD_PDU_CERTIFICATE);
  return 0;
}
