// Options and version; the rows of the numberings; public keys and key parameters;
// thumbprints. The information records are in suite_pkc_info.cc.
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "corvid/asn.h"
#include "corvid/codec.h"
#include "corvid/common.h"
#include "corvid/crl.h"
#include "corvid/csp.h"
#include "corvid/io.h"
#include "corvid/pkc.h"
#include "pkc/internal.h"

namespace corvid {

const KeyRow* KeyRowOf(const CVD_OID& oid) {
  if (oid.data == nullptr || oid.length == 0) return nullptr;
  const OidWords words = WordsOf(oid);
  for (const KeyRow& row : kKeyRows) {
    if (words == row.words || words == row.older) return &row;
  }
  return nullptr;
}

const SignRow* SignRowOf(const CVD_OID& oid) {
  if (oid.data == nullptr || oid.length == 0) return nullptr;
  const OidWords words = WordsOf(oid);
  for (const SignRow& row : kSignRows) {
    if (words == row.words || words == row.older) return &row;
  }
  return nullptr;
}

const char* HashName(int32_t hashID) {
  for (const HashRow& row : kHashRows) {
    if (row.hashID == hashID) return row.name;
  }
  return nullptr;
}

}  // namespace corvid

namespace {

constexpr corvid::Tracer kTrace{"suite_pkc"};

// ---- options -------------------------------------------------------------------------------

constexpr const char* kLocales[] = {"ko_KR-euc", "ko_KR-UTF-8", "ja_JP-EUC", "ja_JP-SJIS",
                                    "ja_JP-UTF-8"};
constexpr const char* kCases[] = {"upper", "lower"};

// The one record that outlives a call. Written by CVD_PKC_SetOption only, from the literals above.
struct {
  char locale[40] = "ko_KR-euc";
  char dncase[10] = "lower";
} constinit g_pkc_options;

// Copies the literal that equals `value` into the option; null when none does.
template <size_t kSize, size_t kChoices>
const char* Choose(char (&option)[kSize], const char* const (&choices)[kChoices],
                   const char* value) {
  for (const char* choice : choices) {
    if (std::strcmp(choice, value) == 0) return std::strcpy(option, choice);
  }
  return nullptr;
}

// ---- versions ------------------------------------------------------------------------------

constexpr char kVersion[] = "1.7.0.0";

// One number as "%d" reads it, and where it ends; null when there is none. What does not fit is the
// nearest that does.
const char* TakeNumber(const char* text, int32_t* number) {
  char* end = nullptr;
  const long long wide = std::strtoll(text, &end, 10);
  if (end == text) return nullptr;
  *number = static_cast<int32_t>(
      std::clamp<long long>(wide, INT32_MIN, INT32_MAX));  // strtoll saturates beyond its own width
  return end;
}

// "a.b.c.d" as one number, two decimal places each. What is missing counts as 0.
int64_t VersionNumber(const char* text) {
  int64_t version = 0;
  for (int i = 0; i < 4; ++i) {
    int32_t number = 0;
    if (text != nullptr && i > 0) text = *text == '.' ? text + 1 : nullptr;
    if (text != nullptr) text = TakeNumber(text, &number);
    version = version * 100 + number;
  }
  return version;
}

struct RequiredLibrary {
  const char* (*version)();
  int64_t above;
};
constexpr RequiredLibrary kRequiredLibraries[] = {
    {CVD_ASN_GetVersion, 1050109}, {CVD_Codec_GetVersion, 1050004}, {CVD_CSP_GetVersion, 1050010},
    {CVD_IO_GetVersion, 1050100},  {CVD_GetVersionCRL, 1050001},
};

// ---- numberings ----------------------------------------------------------------------------

// The row of a number, or null.
template <typename Row, size_t kCount>
const Row* RowOfNumber(const Row (&rows)[kCount], int32_t Row::*number, int64_t wanted) {
  for (const Row& row : rows) {
    if (row.*number == wanted) return &row;
  }
  return nullptr;
}

// ---- public keys ---------------------------------------------------------------------------

uint32_t PublicKeyInfo(const CVD_Certificate& certificate, int32_t* pkey_id, BIN* parameters,
                       BIN* public_key) {
  const CVD_SubjectPublicKeyInfo& info = certificate.tbsCertificate.subjectPublicKeyInfo;
  *pkey_id = CVD_PKC_ObjID_To_PkeyID(&info.algorithm.algorithm);
  if (*pkey_id == CVD_PKEY_UNKNOWN) return PKC_ERR_UNKNOWN_PKEYID;
  const bool has_parameters =
      parameters != nullptr && *pkey_id != CVD_PKEY_RSA && (info.algorithm.present & 0x80) != 0;
  corvid::ScopedBin parameters_copy;
  if (has_parameters) {
    const uint32_t status = CVD_BIN_Copy(&parameters_copy, &info.algorithm.parameters);
    if (status != 0) return status;
  }
  const BIN key = corvid::Borrow(corvid::WholeOctets(info.subjectPublicKey));
  if (const uint32_t status = CVD_BIN_Copy(public_key, &key); status != 0) return status;
  if (has_parameters) *parameters = parameters_copy.Release();
  return 0;
}

uint32_t PublicKeyOf(const BIN& der, BIN* public_key, int32_t* pkey_id, BIN* parameters) {
  corvid::DecodedCertificate certificate;
  if (const uint32_t status = certificate.Decode(der); status != 0) return status;
  int32_t number = 0;
  const uint32_t status = CVD_PKC_GetPubKeyInfo(&number, parameters, public_key, certificate.get());
  if (status == 0 && pkey_id != nullptr) *pkey_id = number;
  return status;
}

// ---- key parameters ------------------------------------------------------------------------

using corvid::Bytes;
using corvid::Element;

constexpr uint32_t Negative(int32_t code) { return static_cast<uint32_t>(code); }

// Copies the base64 text of `octets`, without terminator, into a field that was cleared.
uint32_t PutBase64(Bytes octets, size_t limit, uint32_t too_long, char* field) {
  corvid::ScopedText text;
  const BIN bin = corvid::Borrow(octets);
  if (const uint32_t status = CVD_BinToBase64(&bin, text.out()); status != 0) return status;
  const size_t length = std::strlen(text.get());
  if (length > limit) return too_long;
  std::memcpy(field, text.get(), length);
  return 0;
}

// One element that a reader expects, the codes when it is not there or not inside the input, and
// the field that shows its contents.
struct ExpectedElement {
  uint8_t tag;
  int32_t wrong_tag;
  int32_t overrun;
  char (PKCCertInfoEx::*field)[1024];  // null: only the header is taken
};

// Takes the element at `*position`, shows it, and leaves `*position` at its end, or at its contents
// when it is not shown. Ends are compared with the input's, not with an enclosing SEQUENCE's.
uint32_t Take(Bytes in, const ExpectedElement& expected, size_t* position, PKCCertInfoEx* info) {
  if (*position >= in.size() || in[*position] != expected.tag) return Negative(expected.wrong_tag);
  Element element;
  if (!corvid::ReadElement(in, *position, &element)) return Negative(expected.overrun);
  if (expected.field == nullptr) {
    *position = element.content;
    return 0;
  }
  *position = element.end;
  return PutBase64(in.subspan(element.content, element.length), 1023, Negative(-7),
                   info->*expected.field);
}

uint32_t TakeAll(Bytes in, std::span<const ExpectedElement> expected, size_t* position,
                 PKCCertInfoEx* info) {
  for (const ExpectedElement& element : expected) {
    if (const uint32_t status = Take(in, element, position, info); status != 0) return status;
  }
  return 0;
}

constexpr ExpectedElement kDomainParameters[] = {
    {corvid::kTagSequence, -21, -22, nullptr},
    {corvid::kTagInteger, -23, -24, &PKCCertInfoEx::kcdsaP},
    {corvid::kTagInteger, -25, -26, &PKCCertInfoEx::kcdsaQ},
    {corvid::kTagInteger, -27, -28, &PKCCertInfoEx::kcdsaG},
};
constexpr ExpectedElement kCofactor[] = {
    {corvid::kTagInteger, -29, -30, &PKCCertInfoEx::kcdsaJ},
};
constexpr ExpectedElement kValidation[] = {
    {corvid::kTagSequence, -31, -32, nullptr},
    {corvid::kTagOctetString, -33, -34, &PKCCertInfoEx::kcdsaSeed},
    {corvid::kTagInteger, -35, -36, &PKCCertInfoEx::kcdsaCount},
};

// SEQUENCE { p, q, g INTEGER, j INTEGER OPTIONAL,
//            SEQUENCE { seed OCTET STRING, count INTEGER } OPTIONAL }
uint32_t KcdsaParameters(Bytes in, PKCCertInfoEx* info) {
  size_t position = 0;
  uint32_t status = TakeAll(in, kDomainParameters, &position, info);
  const auto next_is = [&](uint8_t tag) { return position < in.size() && in[position] == tag; };
  if (status == 0 && next_is(corvid::kTagInteger)) {
    status = TakeAll(in, kCofactor, &position, info);
  }
  if (status == 0 && next_is(corvid::kTagSequence)) {
    status = TakeAll(in, kValidation, &position, info);
  }
  return status;
}

// RSAPublicKey ::= SEQUENCE { modulus INTEGER, publicExponent INTEGER }, RFC 8017 appendix A.1.1.
// The exponent is not read: keys with an unusual one must still show their modulus.
uint32_t RsaModulus(Bytes in, PKCCertInfoEx* info) {
  Element sequence;
  Element modulus;
  if (in.empty() || in[0] != corvid::kTagSequence) return Negative(-11);
  if (!corvid::ReadElement(in, 0, &sequence)) return Negative(-12);
  if (sequence.content >= in.size() || in[sequence.content] != corvid::kTagInteger) {
    return Negative(-13);
  }
  if (!corvid::ReadElement(in, sequence.content, &modulus)) return Negative(-12);
  return PutBase64(in.subspan(modulus.content, modulus.length), 999, Negative(-5),
                   info->rsaModulus);
}

// ---- thumbprints ---------------------------------------------------------------------------

// Copies the base64 text of a digest, without terminator.
uint32_t ThumbPrint(char* out, int32_t hash_id, const BIN& octets) {
  corvid::ScopedBin digest;
  if (const uint32_t status = CVD_CSP_Hash(&digest, &octets, hash_id); status != 0) return status;
  corvid::ScopedText text;
  if (const uint32_t status = CVD_BinToBase64(&digest, text.out()); status != 0) return status;
  std::memcpy(out, text.get(), std::strlen(text.get()));
  return 0;
}

}  // namespace

const CVD_OID id_corporationName{corvid::kCorporationName.length, corvid::kCorporationName.octets};

const char* CVD_PKC_GetOption(const char* name) {
  if (name == nullptr) return nullptr;
  const std::string_view option(name);
  if (option == "locale") return g_pkc_options.locale;
  if (option == "dncase") return g_pkc_options.dncase;
  return nullptr;
}

int32_t CVD_PKC_SetOption(const char* name, const char* value) {
  if (name == nullptr || value == nullptr) return -1;
  if (std::strcmp(name, "locale") == 0) {
    const char* locale = Choose(g_pkc_options.locale, kLocales, value);
    if (locale == nullptr) return -1;
    CVD_Codec_SetLocalCodeSet(locale);  // knows every name of the list
    return 0;
  }
  if (std::strcmp(name, "dncase") == 0) {
    return Choose(g_pkc_options.dncase, kCases, value) == nullptr ? -1 : 0;
  }
  return -1;
}

int32_t CVD_SetLocalePKC(const char* locale) { return CVD_PKC_SetOption("locale", locale); }

const char* CVD_PKC_GetVersion(void) { return kVersion; }

const char* CVD_GetVersionPKC(void) { return CVD_PKC_GetVersion(); }

int32_t CVD_PKC_CheckVersion(const char* required) {
  if (required != nullptr && VersionNumber(kVersion) < VersionNumber(required)) return -1;
  for (const RequiredLibrary& library : kRequiredLibraries) {
    if (VersionNumber(library.version()) <= library.above) return -1;
  }
  return 0;
}

const CVD_OID* CVD_PKC_PkeyID_To_ObjID(uint32_t pkeyID) {
  const corvid::KeyRow* row = RowOfNumber(corvid::kKeyRows, &corvid::KeyRow::pkeyID, pkeyID);
  return row == nullptr ? nullptr : CVD_ASN_GetOID(row->oid);
}

int32_t CVD_PKC_ObjID_To_PkeyID(const CVD_OID* oid) {
  const corvid::KeyRow* row = oid == nullptr ? nullptr : corvid::KeyRowOf(*oid);
  return row == nullptr ? CVD_PKEY_UNKNOWN : row->pkeyID;
}

const CVD_OID* CVD_PKC_HashID_To_ObjID(uint32_t hashID) {
  const corvid::HashRow* row = RowOfNumber(corvid::kHashRows, &corvid::HashRow::hashID, hashID);
  return row == nullptr ? nullptr : CVD_ASN_GetOID(row->oid);
}

int32_t CVD_PKC_ObjID_To_HashID(const CVD_OID* oid) {
  if (oid == nullptr || oid->data == nullptr) return CVD_HASH_UNKNOWN;
  const corvid::OidWords words = corvid::WordsOf(*oid);
  for (const corvid::HashRow& row : corvid::kHashRows) {
    if (words == row.words) return row.hashID;
  }
  return CVD_HASH_UNKNOWN;
}

uint32_t CVD_PKC_GetPubKeyInfo(int32_t* pkeyID, BIN* parameters, BIN* publicKey,
                               const CVD_Certificate* certificate) {
  if (pkeyID == nullptr || publicKey == nullptr || certificate == nullptr) {
    return PKC_ERR_INVALID_INPUT;
  }
  return kTrace("CVD_PKC_GetPubKeyInfo",
                PublicKeyInfo(*certificate, pkeyID, parameters, publicKey));
}

uint32_t CVD_GetSubPubKeyInfo(BIN* publicKey, int32_t* pkeyID, BIN* parameters,
                              const BIN* certificate) {
  if (publicKey == nullptr || certificate == nullptr || certificate->data == nullptr) {
    return PKC_ERR_INVALID_INPUT;
  }
  return kTrace("CVD_GetSubPubKeyInfo", PublicKeyOf(*certificate, publicKey, pkeyID, parameters));
}

uint32_t CVD_GetCertPubKey(BIN* publicKey, const BIN* certificate) {
  if (publicKey == nullptr || certificate == nullptr || certificate->data == nullptr) {
    return PKC_ERR_INVALID_INPUT;
  }
  return kTrace("CVD_GetCertPubKey", PublicKeyOf(*certificate, publicKey, nullptr, nullptr));
}

uint32_t CVD_Decode_KCDSA_Parameters(const BIN* parameters, PKCCertInfoEx* info) {
  if (info == nullptr || parameters == nullptr || parameters->data == nullptr) {
    return PKC_ERR_INVALID_INPUT;
  }
  return kTrace("CVD_Decode_KCDSA_Parameters", KcdsaParameters(corvid::View(*parameters), info));
}

uint32_t CVD_Decode_RSAPublicKey(const uint8_t* der, uint32_t length, PKCCertInfoEx* info) {
  if (der == nullptr || info == nullptr) return PKC_ERR_INVALID_INPUT;
  return kTrace("CVD_Decode_RSAPublicKey", RsaModulus({der, length}, info));
}

uint32_t CVD_PKC_GetCertThumbPrint(char* out, int32_t hashID, const BIN* certificate) {
  if (out == nullptr || certificate == nullptr || certificate->data == nullptr) {
    return PKC_ERR_INVALID_INPUT;
  }
  return ThumbPrint(out, hashID, *certificate);
}

uint32_t CVD_PKC_GetCertThumbPrintExcludeSig(char* out, int32_t hashID, const BIN* certificate) {
  if (out == nullptr || certificate == nullptr || certificate->data == nullptr) {
    return PKC_ERR_INVALID_INPUT;
  }
  corvid::DecodedCertificate decoded;
  if (const uint32_t status = decoded.Decode(*certificate); status != 0) return status;
  corvid::ScopedBin signed_part;
  const uint32_t status = CVD_ASN_EncodePDU(&signed_part, decoded.get(), CVD_PDU_TBS_CERTIFICATE);
  return status != 0 ? status : ThumbPrint(out, hashID, signed_part);
}
