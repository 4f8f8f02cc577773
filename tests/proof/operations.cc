#include "proof/operations.h"

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <utility>

#include "proof/refusals.h"

namespace corvid::test {

// ---- samples -------------------------------------------------------------------------------

static CVD_Certificate* Decode(const BIN& der) {
  void* record = nullptr;
  static_cast<void>(CVD_ASN_DecodePDU(&record, &der, CVD_PDU_CERTIFICATE));
  return static_cast<CVD_Certificate*>(record);
}

Sample::Sample(Inputs inputs)
    : in(std::move(inputs)), certificate(Decode(der)), issuer(Decode(View(in.issuer))) {
  if (certificate != nullptr) extensions = certificate->tbsCertificate.extensions;
  static_cast<void>(CVD_CRL_Load(&crl, &list));
  static_cast<void>(CVD_CSP_LoadPrivateKey(&key, &private_key, nullptr));
}

Sample::~Sample() {
  CVD_ASN_FreePDU(certificate, CVD_PDU_CERTIFICATE);
  CVD_ASN_FreePDU(issuer, CVD_PDU_CERTIFICATE);
  CVD_CRL_Free(crl);
  CVD_CSP_FreePrivateKey(key);
}

const CVD_ExtensionNode* Sample::Node(int32_t oid) const {
  const CVD_ExtensionNode* node = extensions;
  while (node != nullptr && CVD_ASN_CmpOID(&node->extension.extnID, CVD_ASN_GetOID(oid)) != 0) {
    node = node->next;
  }
  return node;
}

// ---- results -------------------------------------------------------------------------------

void Clear(Results* results) {
  std::memset(results, 0, sizeof *results);
  results->number = -7;
  std::memset(results->texts, 0x5A, sizeof results->texts);
  for (char* text : results->texts) text[0] = '\0';
}

std::string Describe(const Results& results) {
  std::string all;
  const auto add = [&all](const void* data, size_t length) {
    if (length > 0) all.append(static_cast<const char*>(data), length);
    all += '|';
  };
  for (const BIN& bin : results.bin) add(bin.data, static_cast<size_t>(bin.length));
  if (results.text != nullptr) add(results.text, std::strlen(results.text));
  if (results.record != nullptr) {
    BIN der{0, nullptr};
    static_cast<void>(CVD_ASN_EncodePDU(&der, results.record, results.pdu));
    add(der.data, static_cast<size_t>(der.length));
    CVD_BIN_Reset(&der);
  }
  for (auto* rdn = results.name.rdnSequence; rdn != nullptr; rdn = rdn->next) {
    for (auto* node = rdn->relativeDistinguishedName; node != nullptr; node = node->next) {
      add(node->type.data, node->type.length);
      add(node->value.data, static_cast<size_t>(node->value.length));
    }
  }
  for (const CVD_BIN_LIST* list : results.lists) {
    for (; list != nullptr; list = list->next) add(list->data, list->length);
  }
  add(results.buffer.text, results.buffer.length);
  add(results.oid.data, results.oid.length);
  add(results.huge.data, results.huge.length);
  CVD_CRLInfo info{};
  if (results.crl != nullptr && CVD_CRL_GetInfo(results.crl, &info) == 0) {
    add(&info.count, sizeof info.count);
  }
  add(&results.number, sizeof results.number);
  add(&results.flags, sizeof results.flags);
  add(results.texts, sizeof results.texts);
  add(&results.info, sizeof results.info);
  return all;
}

// Member by member: what stands between the members is anybody's.
bool AreClear(const Results& results) {
  static const std::string kClear = [] {
    const auto clear = std::make_unique<Results>();
    Clear(clear.get());
    return Describe(*clear);
  }();
  return Describe(results) == kClear;
}

void Release(Results* results) {
  for (BIN& bin : results->bin) CVD_BIN_Reset(&bin);
  CVD_free(results->text);
  CVD_ASN_FreePDU(results->record, results->pdu);
  CVD_NameFree(&results->name);
  for (CVD_BIN_LIST* list : results->lists) CVD_BIN_LIST_Free(list);
  CVD_PKC_StrBuf_Free(&results->buffer);
  CVD_ASN_ResetOID(&results->oid);
  CVD_free(results->huge.data);
  CVD_CRL_Free(results->crl);
  CVD_CSP_FreePrivateKey(results->key);
}

// ---- operations ----------------------------------------------------------------------------

namespace {

constexpr uint32_t kFailed = static_cast<uint32_t>(-1);
constexpr uint32_t kMalloc = PKC_ERR_MALLOC;
constexpr uint32_t kAsn = CVD_ASN_ERR_MALLOC;
constexpr uint32_t kCodec = CVD_CODEC_ERR_MALLOC;
constexpr uint32_t kCsp = CVD_CSP_ERR_MALLOC;
constexpr uint32_t kCrl = CVD_CRL_ERR_MALLOC;
constexpr uint32_t kIo = CVD_IO_ERR_MALLOC;
constexpr uint32_t kRead = CVD_IO_ERR_READ;
// Some refusals are the same whatever the reason.
constexpr uint32_t kCertificate = PKC_ERR_BAD_CERT;
constexpr uint32_t kName = PKC_ERR_BAD_RDN;
constexpr uint32_t kExtension = PKC_ERR_BAD_EXTENSION;
constexpr uint32_t kPolicies = PKC_ERR_BAD_POLICIES;
constexpr uint32_t kAuthority = PKC_ERR_BAD_AUTHKEYID;
constexpr uint32_t kNoNode = PKC_ERR_INVALID_INPUT;

// A text that a function returns; null is a failure.
uint32_t Keep(Results* out, const char* text) {
  if (text == nullptr) return kFailed;
  pkc_strncpy(out->texts[0], text, sizeof out->texts[0]);
  return 0;
}

const CVD_Name* SubjectOf(const Sample& in) {
  return in.certificate == nullptr ? nullptr : &in.certificate->tbsCertificate.subject;
}
const CVD_Name* IssuersNameOf(const Sample& in) {
  return in.issuer == nullptr ? nullptr : &in.issuer->tbsCertificate.subject;
}
const Huge* SerialOf(const Sample& in) {
  return in.certificate == nullptr ? nullptr : &in.certificate->tbsCertificate.serialNumber;
}
const CVD_OID* AlgorithmOf(const Sample& in) {
  return in.certificate == nullptr ? nullptr : &in.certificate->signatureAlgorithm.algorithm;
}
const CVD_Extension* ExtensionOf(const Sample& in, int32_t oid) {
  const CVD_ExtensionNode* node = in.Node(oid);
  return node == nullptr ? nullptr : &node->extension;
}

// Decodes the value as each type, and encodes what that gives.
uint32_t DecodeAsEachType(const Sample& in, Results* out) {
  uint32_t decoded = 0;
  uint32_t failure = 0;
  for (int32_t type = CVD_PDU_IA5_ATTRIBUTE; type <= CVD_PDU_ISSUING_DISTRIBUTION_POINT; ++type) {
    void* record = nullptr;
    BIN der{0, nullptr};
    uint32_t status = CVD_ASN_DecodePDU(&record, &in.value, type);
    if (status == CVD_ASN_ERR_MALLOC) failure = status;
    if (status == 0) status = CVD_ASN_EncodePDU(&der, record, type);
    if (status == CVD_ASN_ERR_MALLOC) failure = status;
    if (status == 0) ++decoded;
    CVD_BIN_Reset(&der);
    CVD_ASN_FreePDU(record, type);
  }
  if (failure == 0) out->flags = decoded;
  return failure;
}

uint32_t VerifyMessage(const Sample& in) {
  if (in.certificate == nullptr || in.issuer == nullptr) return kFailed;
  const auto octets = [](const CVD_BitString& bits) {
    return BIN{static_cast<int32_t>(bits.bits / 8), bits.data};
  };
  const CVD_SubjectPublicKeyInfo& info = in.issuer->tbsCertificate.subjectPublicKeyInfo;
  const BIN key = octets(info.subjectPublicKey);
  const BIN signature = octets(in.certificate->signature);
  BIN data{0, nullptr};
  uint32_t status = CVD_ASN_EncodePDU(&data, in.certificate, CVD_PDU_TBS_CERTIFICATE);
  if (status != 0) return status;
  const CVD_AlgorithmParameters parameters{&info.algorithm.parameters, {}};
  const int32_t algorithm = CVD_PKC_ObjID_To_SignID(AlgorithmOf(in));
  status = CVD_CSP_VerifyMsgSignature(&signature, &data, &key, algorithm, &parameters);
  CVD_BIN_Reset(&data);
  return status;
}

// Of a signature by the sample's own key, which is a DSA key in one of the samples.
uint32_t VerifyOwnMessage(const Sample& in) {
  BIN parameters{0, nullptr};
  BIN key{0, nullptr};
  BIN signature{0, nullptr};
  int32_t type = 0;
  uint32_t status = CVD_CSP_GetPublicKey(in.key, &type, &parameters, &key);
  if (status == 0) {
    status = CVD_CSP_ComputeMsgSignature(&signature, &in.der, in.key, in.in.sign, nullptr);
  }
  if (status == 0) {
    const CVD_AlgorithmParameters given{&parameters, {}};
    status = CVD_CSP_VerifyMsgSignature(&signature, &in.der, &key, in.in.sign, &given);
  }
  for (BIN* bin : {&parameters, &key, &signature}) CVD_BIN_Reset(bin);
  return status;
}

uint32_t KeyLength(const Sample& in, Results* out) {
  if (in.certificate == nullptr) return kFailed;
  const CVD_SubjectPublicKeyInfo& info = in.certificate->tbsCertificate.subjectPublicKeyInfo;
  const BIN key{static_cast<int32_t>(info.subjectPublicKey.bits / 8), info.subjectPublicKey.data};
  return CVD_CSP_GetKeyLength(&out->flags, &key, CVD_PKC_ObjID_To_PkeyID(&info.algorithm.algorithm),
                              &info.algorithm.parameters);
}

// Every hash; the digests stand in one text.
uint32_t HashByEach(const Sample& in, Results* out) {
  size_t length = 0;
  for (int32_t hash = CVD_HASH_MD2; hash <= CVD_HASH_SHA512; ++hash) {
    BIN digest{0, nullptr};
    const uint32_t status = CVD_CSP_Hash(&digest, &in.der, hash);
    if (status == CVD_CSP_ERR_MALLOC) return status;
    if (status != 0) continue;
    std::memcpy(out->texts[0] + length, digest.data, static_cast<size_t>(digest.length));
    length += static_cast<size_t>(digest.length);
    CVD_BIN_Reset(&digest);
  }
  return 0;
}

uint32_t AddToBuffer(const Sample& in, Results* out) {
  StrBuf* const buffer = &out->buffer;
  uint32_t status = CVD_PKC_StrBuf_Init(buffer, 8, 8);
  if (status != 0) {
    *buffer = {};
    return status;
  }
  status = CVD_PKC_StrBuf_AddString(buffer, "begin ", 6);
  if (status == 0) {
    status = CVD_PKC_StrBuf_AddString(buffer, in.in.name.data(),
                                      static_cast<uint32_t>(in.in.name.size()));
  }
  const bool kept = std::strncmp(CVD_PKC_StrBuf_GetString(buffer), "begin ", 6) == 0;
  if (!kept || (status != 0 && CVD_PKC_StrBuf_GetLength(buffer) != 6)) return kFailed;
  if (status == 0) return 0;
  CVD_PKC_StrBuf_Free(buffer);
  *buffer = {};
  return status;
}

uint32_t NewBuffer() {
  StrBuf* buffer = CVD_PKC_StrBuf_New(0, 0);
  CVD_PKC_StrBuf_Free(buffer);
  return buffer == nullptr ? kMalloc : 0;
}

uint32_t ConvertTimes(const Sample& in, Results* out) {
  if (in.certificate == nullptr) return kFailed;
  CVD_TimeFields fields;
  const int64_t time = CVD_ASN_UTC2Time(&in.certificate->tbsCertificate.notBefore.fields);
  CVD_ASN_Time2UTC(&fields, time);
  out->number = static_cast<int32_t>(CVD_ASN_General2Time(&fields) - time);
  return 0;
}

uint32_t UseTrace() {
  CVD_TraceEntry entry;
  CVD_Trace_PutError("function", 1, "reason", "file", 2);
  const uint32_t status = CVD_Trace_Get(CVD_Trace_Count() - 1, &entry);
  CVD_Trace_Clear();
  return status != 0 ? status : CVD_Trace_Lost();
}

uint32_t UseTextFunctions(const Sample& in, Results* out) {
  char* const text = out->texts[1];
  constexpr uint32_t kSize = sizeof out->texts[1];
  pkc_strncpy(text, in.in.name.c_str(), kSize);
  out->flags = pkc_strncat(text, kSize, 0, in.in.local.c_str());
  char* position = nullptr;
  for (char* at = text; pkc_strtok(at, ",", &position) != nullptr; at = nullptr) ++out->number;
  const int64_t time = 0;
  struct tm fields;
  if (pkc_localtime(&time, &fields) == nullptr) return kFailed;
  out->number += pkc_strncasecmp(text, in.in.name.c_str(), kSize);
  return pkc_snprintf(out->texts[2], kSize, "%s %d", text, 7) < 0 ? kFailed : 0;
}

uint32_t ConvertNumbers(Results* out) {
  for (int32_t i = -1; i < 30; ++i) {
    const auto number = static_cast<uint32_t>(i);
    out->number += CVD_PKC_SignID_To_PkeyID(number) + CVD_PKC_SignID_To_HashID(i);
    out->number += CVD_PKC_ObjID_To_SignID(CVD_PKC_SignID_To_ObjID(number));
    out->number += CVD_PKC_ObjID_To_PkeyID(CVD_PKC_PkeyID_To_ObjID(number));
    out->number += CVD_PKC_ObjID_To_HashID(CVD_PKC_HashID_To_ObjID(number));
  }
  return id_corporationName.length == 0 ? kFailed : 0;
}

uint32_t ReadOptions(Results* out) {
  const char* locale = CVD_PKC_GetOption("locale");
  return CVD_PKC_GetOption("none") != nullptr ? kFailed : Keep(out, locale);
}

// Sets what is set already: nothing changes for other operations.
uint32_t SetOptions() {
  const int32_t refused = CVD_PKC_SetOption("none", "") + CVD_SetLocalePKC("none") +
                          static_cast<int32_t>(CVD_Codec_SetLocalCodeSet("none"));
  return refused == 3003 - 2 ? 0 : kFailed;
}

uint32_t AskVersions(Results* out) {
  for (const char* version :
       {CVD_ASN_GetVersion(), CVD_Codec_GetVersion(), CVD_CSP_GetVersion(), CVD_GetVersionCRL(),
        CVD_IO_GetVersion(), CVD_PKC_GetVersion(), CVD_GetVersionPKC()}) {
    if (Keep(out, version) != 0 || CVD_PKC_CheckVersion(version) != 0) return kFailed;
  }
  return 0;
}

uint32_t AskReasons(Results* out) {
  for (const char* reason : {CVD_ASN_GetErrorReason(kAsn, 1), CVD_Codec_GetErrorReason(kCodec, 1),
                             CVD_CSP_GetErrorReason(kCsp, 1), CVD_GetErrReasonCRL(kCrl, 1),
                             CVD_IO_GetErrorReason(kIo, 1), CVD_PKC_GetErrorReason(kMalloc, 1),
                             CVD_GetErrReasonPKC(kMalloc, 1)}) {
    if (Keep(out, reason) != 0 || *reason == '\0') return kFailed;
  }
  return 0;
}

uint32_t DecodeUnits(const Sample& in, Results* out) {
  const uint16_t units[] = {0x41, 0xAC00, 0xAC01, 0};
  return CVD_DecodeBMPStr(in.in.local.empty() ? 1 : 4, units, out->texts[0]);
}

// Writes more than the results' texts hold.
uint32_t ConvertText(const Sample& in, Results* out) {
  std::vector<char> area(2 * in.in.utf8.size() + 1);
  const uint32_t status =
      CVD_ConvCodeSet("ko_KR-UTF-8", "ko_KR-euc", in.in.utf8.c_str(), area.data());
  return status != 0 ? status : Keep(out, area.data());
}

// A DSA signature is another each time, so that it is not kept for comparison.
uint32_t Sign(const Sample& in, Results* out) {
  const uint32_t status =
      CVD_CSP_ComputeMsgSignature(&out->bin[0], &in.der, in.key, in.in.sign, nullptr);
  if (status == 0 && in.in.sign == CVD_SIGN_SHA1_DSA) CVD_BIN_Reset(&out->bin[0]);
  return status;
}

// The two policies' texts go on after texts.
uint32_t RenderPolicies(const Sample& in, Results* out) {
  for (int i = 0; i < 3; ++i) pkc_strncpy(out->texts[i], "begun", sizeof out->texts[i]);
  const uint32_t status = CVD_PKC_CertPolicies_ToString(
      &out->number, out->texts[0], 1024, out->texts[1], 1024, out->texts[2], 1024, in.extensions);
  const auto* renewed = reinterpret_cast<const uint8_t*>(out->texts[0]);
  if (status != 0 && std::strcmp(out->texts[0], "begun") != 0) return *renewed;
  return status;
}

uint32_t ConvertKeyInfo(const Sample& in, Results* out) {
  CVD_SubjectPublicKeyInfo info;
  BIN parameters{0, nullptr};
  BIN key{0, nullptr};
  const uint32_t status =
      CVD_PKC_AsnSubPubKeyInfo_Encode(&info, CVD_PKEY_DSA, &in.kcdsa_parameters, &in.rsa_key);
  if (status != 0) return status;
  return CVD_PKC_AsnSubPubKeyInfo_Decode(&out->number, &parameters, &key, &info);
}

uint32_t EncodeTemplate(const Sample& in, Results* out) {
  if (in.certificate == nullptr) return kFailed;
  const CVD_TBSCertificate& tbs = in.certificate->tbsCertificate;
  const CVD_Extension* usage = ExtensionOf(in, CVD_OID_KEY_USAGE);
  PKCCertTemplate certificate{};
  certificate.serialNumber = tbs.serialNumber;
  certificate.signatureAlgorithm = CVD_SIGN_SHA256_RSA;
  certificate.issuer = &tbs.issuer;
  certificate.subject = &tbs.subject;
  certificate.keyAlgorithm = CVD_PKEY_RSA;
  certificate.publicKey = in.rsa_key;
  if (usage != nullptr) certificate.extensions[PKC_SLOT_KEY_USAGE] = &usage->extnValue;
  return CVD_PKC_Cert_Encode(&out->bin[0], &certificate, CVD_PKEY_RSA, nullptr, in.key);
}

uint32_t IssueRequest(const Sample& in, Results* out) {
  const Inputs& text = in.in;
  const PKCGenExtOptions options{
      text.dotted.c_str(), text.base64.c_str(), text.holder.c_str(), text.holder.c_str(), &in.vid,
      text.base64.c_str(), text.base64.c_str()};
  const PKCGenContext context{CVD_PKEY_RSA, 0, in.key, 0, 0, 1};
  return CVD_PKC_GenCertificate(&out->bin[0], 7, CVD_SIGN_SHA256_RSA, 1767225600, 1798761600,
                                text.name.c_str(), CVD_PKEY_RSA, nullptr, &in.rsa_key, in.issuer,
                                &options, &context);
}

// ---- the table -----------------------------------------------------------------------------

// What calls that are refused do not look at, or leave as it is.
template <typename Value>
Value g_unused{};
int32_t g_room = sizeof Results::texts[0];
uint32_t g_size = sizeof Results::texts[0];

// A row of a function with a status, and one of functions in any expression that gives one.
#define OF(function, arguments, ...) \
  ANY(#function, function arguments, REFUSING(function, arguments), __VA_ARGS__)
#define ROW(functions, expression, ...) ANY(functions, expression, nullptr, __VA_ARGS__)
#define ANY(functions, expression, refuse, after, ...)   \
  {                                                      \
    functions, After::after, {__VA_ARGS__},              \
        [](const Sample& in, Results* out) -> uint32_t { \
          static_cast<void>(in);                         \
          static_cast<void>(out);                        \
          return expression;                             \
        },                                               \
        refuse                                           \
  }
#define REFUSING(function, arguments)                                           \
  [](const Sample& in, Results* out, Unrefused* unrefused) {                    \
    static_cast<void>(in);                                                      \
    RefuseEach(#function, function, std::make_tuple arguments, out, unrefused); \
  }
// Of the fields of a record that end it.
#define RECORD kMalloc, kName, kExtension, kPolicies
#define NUMBER(expression) (out->number = (expression), out->number < 0 ? kFailed : 0)
#define TEXT(n) out->texts[n], sizeof out->texts[n]
#define OCTETS(bin) (bin).data, static_cast<uint32_t>((bin).length)
#define NAMED(text) (text).data(), static_cast<uint32_t>((text).size())

// clang-format off
const Operation kOperations[] = {
    // The toolkit.
    OF(CVD_BIN_Copy, (&out->bin[0], &in.der), kUntouched, kMalloc),
    OF(CVD_BIN_LIST_Add, (&out->lists[0], &in.der), kUntouched, kMalloc),
    ROW("CVD_BIN_LIST_Free CVD_BIN_Reset", (CVD_BIN_LIST_Free(nullptr), CVD_BIN_Reset(nullptr), 0),
        kNever),
    OF(CVD_HugeToHexEx, (SerialOf(in), &out->text), kUntouched, kMalloc),
    OF(CVD_HugeToNumEx, (SerialOf(in), &out->flags), kNever),
    OF(CVD_NumToHugeEx, (1000, &out->huge), kUntouched, kMalloc),
    ROW("CVD_Trace_Clear CVD_Trace_Count CVD_Trace_Get CVD_Trace_Lost CVD_Trace_PutError",
        UseTrace(), kNever),

    // Records, identifiers, times.
    ROW("CVD_ASN_CmpName", NUMBER(CVD_ASN_CmpName(SubjectOf(in), IssuersNameOf(in))), kNever),
    ROW("CVD_ASN_CmpOID", static_cast<uint32_t>(CVD_ASN_CmpOID(AlgorithmOf(in), AlgorithmOf(in))),
        kNever),
    ROW("CVD_ASN_DecodePDU CVD_ASN_DecodePDUInto", DecodeAsEachType(in, out), kUntouched, kAsn),
    OF(CVD_ASN_DotVal2OID, (&out->oid, in.in.dotted.c_str()), kUntouched, kAsn),
    OF(CVD_ASN_EncodePDU, (&out->bin[0], in.certificate, CVD_PDU_CERTIFICATE), kUntouched, kAsn),
    ROW("CVD_ASN_FreePDU CVD_ASN_ResetOID", (CVD_ASN_FreePDU(nullptr, 0), CVD_ASN_ResetOID(nullptr),
        0), kNever),
    ROW("CVD_ASN_General2Time CVD_ASN_Time2UTC CVD_ASN_UTC2Time", ConvertTimes(in, out), kNever),
    ROW("CVD_ASN_GetDecodeFailure",
        CVD_ASN_GetDecodeFailure(nullptr) == CVD_ASN_ERR_INVALID_INPUT ? 0 : kFailed, kNever),
    ROW("CVD_ASN_OID2DotVal CVD_ASN_OID2DotValInto",
        CVD_ASN_OID2DotVal(&out->text, AlgorithmOf(in)), kUntouched, kAsn),

    // Texts.
    OF(CVD_Base64ToBin, (in.in.base64.c_str(), &out->bin[0]), kUntouched, kCodec),
    OF(CVD_BinToBase64, (&in.der, &out->text), kUntouched, kCodec),
    OF(CVD_BinToHex, (OCTETS(in.der), &out->text), kUntouched, kCodec),
    ROW("CVD_ConvCodeSet", ConvertText(in, out), kUntouched, kCodec),
    ROW("CVD_DecodeBMPStr", DecodeUnits(in, out), kUntouched, kCodec),
    OF(CVD_EncodeUTF8, (in.in.local.c_str(), &out->text, &out->flags), kUntouched, kCodec),

    // Cryptography, files, revocation lists.
    ROW("CVD_CSP_GetKeyLength", KeyLength(in, out), kNever),
    ROW("CVD_CSP_Hash CVD_CSP_HashInto", HashByEach(in, out), kPartial, kCsp),
    ROW("CVD_CSP_VerifyMsgSignature", VerifyMessage(in), kUntouched, kAsn, kCsp),
    ROW("CVD_CSP_VerifyMsgSignature", VerifyOwnMessage(in), kUntouched, kCsp),
    OF(CVD_CSP_LoadPrivateKey, (&out->key, &in.private_key, nullptr), kUntouched, kCsp),
    OF(CVD_CSP_LoadPrivateKey, (&out->key, &in.encrypted_key, "secret"), kUntouched, kCsp),
    ROW("CVD_CSP_FreePrivateKey", (CVD_CSP_FreePrivateKey(nullptr), 0), kNever),
    OF(CVD_CSP_GetPublicKey, (in.key, &out->number, &out->bin[0], &out->bin[1]), kUntouched, kCsp),
    ROW("CVD_CSP_ComputeMsgSignature", Sign(in, out), kUntouched, kCsp),
    OF(CVD_File_ReadBin, (&out->bin[0], in.in.path.c_str()), kUntouched, kIo, kRead),
    ROW("CVD_CRL_Free", (CVD_CRL_Free(nullptr), 0), kNever),
    ROW("CVD_CRL_GetInfo", [&] { CVD_CRLInfo info; return CVD_CRL_GetInfo(in.crl, &info); }(),
        kNever),
    OF(CVD_CRL_Load, (&out->crl, &in.list), kUntouched, kCrl),
    OF(CVD_CRL_Load, (&out->crl, &in.pem_list), kUntouched, kCrl),
    OF(CVD_CRL_VerifySignature, (in.crl, in.issuer), kUntouched, kAsn, kCsp),
    OF(CVD_IsCertRevoked, (nullptr, in.crl, in.certificate), kNever),

    // Versions, reasons, options.
    ROW("CVD_ASN_GetVersion CVD_CSP_GetVersion CVD_Codec_GetVersion CVD_GetVersionCRL "
        "CVD_GetVersionPKC CVD_IO_GetVersion CVD_PKC_CheckVersion CVD_PKC_GetVersion",
        AskVersions(out), kNever),
    ROW("CVD_ASN_GetErrorReason CVD_CSP_GetErrorReason CVD_Codec_GetErrorReason "
        "CVD_GetErrReasonCRL CVD_GetErrReasonPKC CVD_IO_GetErrorReason CVD_PKC_GetErrorReason",
        AskReasons(out), kNever),
    ROW("CVD_PKC_GetOption", ReadOptions(out), kNever),
    ROW("CVD_Codec_SetLocalCodeSet CVD_PKC_SetOption CVD_SetLocalePKC", SetOptions(), kNever),

    // Growable and bounded text.
    ROW("CVD_PKC_StrBuf_AddString CVD_PKC_StrBuf_GetString CVD_PKC_StrBuf_GetLength "
        "CVD_PKC_StrBuf_Init",
        AddToBuffer(in, out), kUntouched, kMalloc),
    ROW("CVD_PKC_StrBuf_New CVD_PKC_StrBuf_Free", NewBuffer(), kUntouched, kMalloc),
    ROW("pkc_localtime pkc_snprintf pkc_strncasecmp pkc_strncat pkc_strncpy pkc_strtok",
        UseTextFunctions(in, out), kNever),
    OF(CVD_PKC_UTF8_Decode, (TEXT(0), in.in.utf8.c_str(), 0), kUntouched, kMalloc, kCodec),
    OF(CVD_PKC_UTF8_Encode, (TEXT(0), in.in.local.c_str(), 0), kUntouched, kMalloc, kCodec),
    ROW("CVD_PKC_ASNString_Decode", (out->number = sizeof out->texts[0],
        CVD_PKC_ASNString_Decode(out->texts[0], &out->number, OCTETS(in.string))), kPartial,
        kMalloc, kCodec),
    ROW("CVD_PKC_BIN_ToHex", (out->number = sizeof out->texts[0], CVD_PKC_BIN_ToHex(out->texts[0],
        &out->number, &in.der)), kNever),

    // Records of a certificate.
    OF(CVD_ExtractCertInfo, (nullptr, nullptr, OCTETS(in.der), 1, &out->info.info), kLess, RECORD,
        kAsn),
    OF(CVD_ExtractCertInfo, (nullptr, in.in.path.c_str(), nullptr, 0, 0, &out->info.info), kLess,
        kMalloc, kName, kIo, kRead),
    OF(CVD_ExtractCertInfoEx, (nullptr, nullptr, OCTETS(in.der), 1, &out->info), kLess, RECORD,
        kAsn, kCodec, kAuthority),
    OF(CVD_DoExtractCertInfo, (nullptr, in.certificate, &out->info.info), kLess, RECORD),
    OF(CVD_ExtractCertInfoNoExt, (nullptr, in.certificate, &out->info.info), kLess, kMalloc, kName),
    OF(CVD_ExtractCertExtension, (nullptr, in.certificate, &out->info.info), kLess, RECORD),
    ROW("CVD_GetCertificateCtxBin", [&] {
      CVD_Certificate* record = nullptr;
      const uint32_t status = CVD_GetCertificateCtxBin(nullptr, &in.der, &record);
      out->record = record;
      if (status == 0) out->pdu = CVD_PDU_CERTIFICATE;
      return status;
    }(), kUntouched, kCertificate),
    OF(CVD_Decode_KCDSA_Parameters, (&in.kcdsa_parameters, &out->info), kPartial, kCodec),
    OF(CVD_Decode_RSAPublicKey, (OCTETS(in.rsa_key), &out->info), kUntouched, kCodec),
    OF(CVD_PKC_GetPubKeyInfo, (&out->number, &out->bin[0], &out->bin[1], in.certificate), kPartial,
        kMalloc),
    OF(CVD_GetSubPubKeyInfo, (&out->bin[0], &out->number, &out->bin[1], &in.der), kUntouched, kAsn,
        kMalloc),
    OF(CVD_GetCertPubKey, (&out->bin[0], &in.der), kUntouched, kAsn, kMalloc),
    OF(CVD_PKC_GetCertThumbPrint, (out->texts[0], CVD_HASH_SHA256, &in.der), kUntouched, kCsp,
        kCodec),
    OF(CVD_PKC_GetCertThumbPrintExcludeSig, (out->texts[0], CVD_HASH_HAS160, &in.der), kUntouched,
        kAsn, kCsp, kCodec),
    ROW("CVD_PKC_HashID_To_ObjID CVD_PKC_ObjID_To_HashID CVD_PKC_ObjID_To_PkeyID "
        "CVD_PKC_ObjID_To_SignID CVD_PKC_PkeyID_To_ObjID CVD_PKC_SignID_To_HashID "
        "CVD_PKC_SignID_To_ObjID CVD_PKC_SignID_To_PkeyID CVD_ASN_GetOID id_corporationName",
        ConvertNumbers(out), kNever),
    OF(CVD_PKC_GetHashAlg, (&out->flags, &in.pem), kUntouched, kMalloc, kAsn, kCodec),
    OF(CVD_PKC_GetSignAlg, (&out->flags, &in.der), kUntouched, kMalloc, kAsn),

    // Names.
    OF(CVD_ExtractRDN, (nullptr, SubjectOf(in), &out->text), kUntouched, kMalloc, kName),
    OF(CVD_GetRDNFromCert, (nullptr, in.certificate, &out->text), kUntouched, kMalloc, kName),
    OF(CVD_GetIssuerRDNFromCert, (nullptr, in.certificate, &out->text), kUntouched, kMalloc, kName),
    OF(CVD_ExtractDN, (nullptr, &in.der, &out->text), kUntouched, kMalloc, kName, kAsn),
    OF(CVD_ImplementRDN, (nullptr, &out->name, in.in.name.c_str()), kUntouched, kMalloc, kAsn,
        kCodec, kNoNode),
    OF(CVD_GetAttrTypeAndValue, (in.in.attribute.data(),
        static_cast<int32_t>(in.in.attribute.size()), &out->lists[0], &out->lists[1]), kUntouched,
        kMalloc),
    ROW("CVD_NameFree", (CVD_NameFree(nullptr), 0), kNever),

    // Extensions.
    ROW("CVD_GetExtension", CVD_GetExtension(in.extensions,
        CVD_ASN_GetOID(CVD_OID_VID)) == nullptr ? 0 : kFailed, kNever),
    OF(CVD_PKC_NSCertType_ToString, (TEXT(0), &out->flags, in.extensions), kNever),
    OF(CVD_PKC_KeyUsage_ToString, (TEXT(0), &out->flags, in.extensions), kNever),
    OF(CVD_PKC_ExtKeyUsage_ToString, (TEXT(0), &out->flags, in.extensions), kLess, kExtension),
    OF(CVD_PKC_BasicConsts_ToString, (TEXT(0), in.extensions), kNever),
    OF(CVD_PKC_AuthInfoAccess_ToString, (TEXT(0), in.extensions), kLess, kExtension, kMalloc, kName),
    OF(CVD_PKC_CrlDistPoints_ToString, (TEXT(0), in.extensions), kLess, kExtension),
    OF(CVD_PKC_AltName_ToString, (TEXT(0), TEXT(1), TEXT(2), TEXT(3),
        in.Node(CVD_OID_SUBJECT_ALT_NAME)), kLess, kExtension, kMalloc, kName),
    ROW("CVD_PKC_CertPolicies_ToString", RenderPolicies(in, out), kPartial, kPolicies),
    OF(CVD_GetNetscapeCertType, (nullptr, in.extensions, out->texts[0]), kNever),
    OF(CVD_GetKeyUsage, (nullptr, in.extensions, out->texts[0]), kNever),
    OF(CVD_GetExtKeyUsage, (nullptr, in.extensions, out->texts[0]), kLess, kExtension),
    OF(CVD_GetBC, (nullptr, in.extensions, out->texts[0]), kNever),
    OF(CVD_GetAIA, (nullptr, in.extensions, out->texts[0]), kLess, kExtension, kMalloc, kName),
    OF(CVD_GetDistributionPoints, (nullptr, in.extensions, out->texts[0]), kLess, kExtension),
    OF(CVD_GetAltName, (nullptr, in.Node(CVD_OID_ISSUER_ALT_NAME), out->texts[0]), kLess,
        kExtension, kMalloc, kName),
    OF(CVD_GetPolicy, (nullptr, in.extensions, &out->number, out->texts[0], out->texts[1]),
        kUntouched, kPolicies),
    OF(CVD_PKC_CertPolicies_Encode, (&out->bin[0], in.in.dotted.c_str(), in.in.base64.c_str(), 0,
        NAMED(in.in.local)), kUntouched, kAsn, kMalloc, kCodec),

    // Key identifiers.
    OF(CVD_PKC_SubKeyId_Compute, (&out->bin[0], &in.rsa_key), kUntouched, kCsp),
    OF(CVD_PKC_SubKeyId_Decode, (&out->bin[0], &in.subject_key_id), kUntouched, kMalloc),
    OF(CVD_PKC_SubKeyId_Encode, (&out->bin[0], &in.rsa_key), kUntouched, kCsp, kAsn),
    OF(CVD_PKC_SubKeyId_ToString, (TEXT(0), in.extensions), kNever),
    OF(CVD_PKC_AuthKeyId_Decode, (&out->bin[0], &in.authority_key_id), kUntouched, kMalloc),
    OF(CVD_PKC_AuthKeyId_Encode, (&out->bin[0], &in.rsa_key), kUntouched, kCsp, kAsn),
    OF(CVD_PKC_AuthKeyId_ToString, (TEXT(0), in.extensions), kNever),
    OF(CVD_GetSubjectKeyIDv, (nullptr, in.certificate, &out->bin[0]), kUntouched, kMalloc),
    OF(CVD_GenSubjectKeyID, (nullptr, &in.der, &out->bin[0]), kUntouched, kAsn, kMalloc),
    OF(CVD_GetSubjectKeyID, (nullptr, &in.der, &out->bin[0]), kUntouched, kAsn, kMalloc),
    OF(CVD_GetSubjectKeyIDBin, (nullptr, &in.der, &out->bin[0]), kUntouched, kAsn, kMalloc),
    OF(CVD_GetSubjectKeyId, (nullptr, in.extensions, out->texts[0]), kNever),
    OF(CVD_GetAuthorityKeyId, (nullptr, in.extensions, out->texts[0]), kNever),

    // Checks.
    OF(CVD_PKC_VerifyTime, (in.certificate, 1790000000), kNever),
    ROW("CVD_IsCertTimeValid", NUMBER(CVD_IsCertTimeValid(in.certificate)), kNever),
    OF(CVD_PKC_VerifySignature, (in.certificate, in.issuer), kUntouched, kAsn, kMalloc, kCsp),
    OF(CVD_CheckSignature, (nullptr, in.certificate, in.issuer), kUntouched, kAsn, kMalloc, kCsp),
    OF(CVD_CertCheck, (nullptr, nullptr, in.crl, in.certificate, in.issuer, 0x0011), kUntouched,
        PKC_ERR_INVALID_SIGNATURE),
    ROW("CVD_CheckCaOrNot", NUMBER(CVD_CheckCaOrNot(nullptr, in.certificate)), kNever),
    OF(CVD_CheckKeyUsage, (nullptr, ExtensionOf(in, CVD_OID_KEY_USAGE), 0xFFFF), kNever),
    OF(CVD_CheckExtKeyUsage, (nullptr, ExtensionOf(in, CVD_OID_EXT_KEY_USAGE),
        CVD_ASN_GetOID(CVD_OID_KP_SERVER_AUTH)), kUntouched, kAsn),
    OF(CVD_CheckCertUsage, (nullptr, in.certificate, 7), kUntouched, kFailed),

    // Identity verification.
    OF(CVD_PKC_ComputeVID, (&out->bin[0], CVD_HASH_SHA256, "1234561234567", &in.subject_key_id),
        kUntouched, kAsn, kCsp),
    OF(CVD_PKC_VerifyVID, (&in.vid, CVD_HASH_SHA256, "1234561234567", &in.subject_key_id),
        kUntouched, kAsn, kCsp),
    OF(CVD_PKC_SubAltName_Encode, (&out->bin[0], NAMED(in.in.local), CVD_HASH_SHA256, &in.vid),
        kUntouched, kAsn, kMalloc, kCodec),
    ROW("CVD_PKC_IdentityData_Decode", (out->flags = sizeof out->texts[0],
        CVD_PKC_IdentityData_Decode(out->texts[0], &out->flags, &out->number, &out->bin[0],
        &in.identity_data)), kPartial, kMalloc, kCodec),
    ROW("CVD_PKC_GetVIDInfo", (out->flags = sizeof out->texts[0], CVD_PKC_GetVIDInfo(out->texts[0],
        &out->flags, &out->number, &out->bin[0], in.certificate)), kPartial, kAsn, kMalloc, kCodec),
    OF(CVD_GetVID, (TEXT(0), TEXT(1), TEXT(2), in.extensions), kPartial, kAsn, kMalloc, kCodec),
    OF(CVD_PKC_GetVIDHashAlg, (&out->number, &in.der), kPartial, kAsn, kMalloc, kCodec),

    // Issuing.
    ROW("CVD_PKC_AsnSubPubKeyInfo_Encode CVD_PKC_AsnSubPubKeyInfo_Decode", ConvertKeyInfo(in, out),
        kNever),
    ROW("CVD_PKC_Cert_Encode", EncodeTemplate(in, out), kUntouched, kMalloc, kAsn, kCsp),
    ROW("CVD_PKC_GenCertificate", IssueRequest(in, out), kUntouched, kMalloc, kAsn, kCodec, kCsp,
        kNoNode),
};

// Functions whose operations stand in rows of another form.
void (*const kRefuseOthers[])(const Sample& in, Results* out, Unrefused* unrefused) = {
    REFUSING(CVD_ASN_DecodePDU, (&out->record, &in.der, CVD_PDU_CERTIFICATE)),
    REFUSING(CVD_ASN_DecodePDUInto, (&out->record, &in.der, CVD_PDU_CERTIFICATE, out->texts,
        sizeof out->texts)),
    REFUSING(CVD_ASN_OID2DotValInto, (out->texts[0], &g_size, AlgorithmOf(in))),
    REFUSING(CVD_CRL_GetInfo, (in.crl, &g_unused<CVD_CRLInfo>)),
    REFUSING(CVD_CSP_ComputeMsgSignature, (&out->bin[0], &in.der, in.key, in.in.sign, nullptr)),
    REFUSING(CVD_CSP_GetKeyLength, (&out->flags, &in.rsa_key, CVD_PKEY_DSA, &in.kcdsa_parameters)),
    REFUSING(CVD_CSP_Hash, (&out->bin[0], &in.der, CVD_HASH_SHA256)),
    REFUSING(CVD_CSP_HashInto, (reinterpret_cast<uint8_t*>(out->texts[0]), &g_size, &in.der,
        CVD_HASH_SHA256)),
    REFUSING(CVD_CSP_VerifyMsgSignature, (&in.der, &in.der, &in.rsa_key, in.in.sign, nullptr)),
    REFUSING(CVD_ConvCodeSet, ("ko_KR-UTF-8", "ko_KR-euc", "a", out->texts[0])),
    REFUSING(CVD_DecodeBMPStr, (1, &g_unused<uint16_t>, out->texts[0])),
    REFUSING(CVD_GetCertificateCtxBin, (nullptr, &in.der, &g_unused<CVD_Certificate*>)),
    REFUSING(CVD_PKC_ASNString_Decode, (out->texts[0], &g_room, OCTETS(in.string))),
    REFUSING(CVD_PKC_AsnSubPubKeyInfo_Decode, (&out->number, &out->bin[0], &out->bin[1],
        &in.certificate->tbsCertificate.subjectPublicKeyInfo)),
    REFUSING(CVD_PKC_AsnSubPubKeyInfo_Encode, (&g_unused<CVD_SubjectPublicKeyInfo>, CVD_PKEY_DSA,
        &in.kcdsa_parameters, &in.rsa_key)),
    REFUSING(CVD_PKC_BIN_ToHex, (out->texts[0], &g_room, &in.der)),
    REFUSING(CVD_PKC_Cert_Encode, (&out->bin[0], &g_unused<PKCCertTemplate>, CVD_PKEY_RSA, nullptr,
        in.key)),
    REFUSING(CVD_PKC_CertPolicies_ToString, (&out->number, TEXT(0), TEXT(1), TEXT(2),
        in.extensions)),
    REFUSING(CVD_PKC_GenCertificate, (&out->bin[0], 7, CVD_SIGN_SHA256_RSA, 0, 1, "cn=a",
        CVD_PKEY_RSA, nullptr, &in.rsa_key, in.issuer, &g_unused<PKCGenExtOptions>,
        &g_unused<PKCGenContext>)),
    REFUSING(CVD_PKC_GetVIDInfo, (out->texts[0], &g_size, &out->number, &out->bin[0],
        in.certificate)),
    REFUSING(CVD_PKC_IdentityData_Decode, (out->texts[0], &g_size, &out->number, &out->bin[0],
        &in.identity_data)),
    REFUSING(CVD_PKC_StrBuf_AddString, (&out->buffer, "a", 1)),
    REFUSING(CVD_PKC_StrBuf_Init, (&out->buffer, 8, 8)),
    REFUSING(CVD_Trace_Get, (0, &g_unused<CVD_TraceEntry>)),
};
// clang-format on

}  // namespace

std::vector<std::string> RefuseArguments(const Sample& sample) {
  std::vector<std::string> unrefused;
  const auto results = std::make_unique<Results>();
  for (const Operation& operation : kOperations) {
    if (operation.refuse != nullptr) operation.refuse(sample, results.get(), &unrefused);
  }
  for (const auto refuse : kRefuseOthers) refuse(sample, results.get(), &unrefused);
  return unrefused;
}

std::span<const Operation> Operations() { return kOperations; }

}  // namespace corvid::test
