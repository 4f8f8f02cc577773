// The Korean identity-verification value (VID) and the identity data that carries it in a
// subjectAltName:
//   VID value    = H(H(DER(HashContent)))
//   VID          ::= SEQUENCE { hashAlg AlgorithmIdentifier, virtualID [0] EXPLICIT OCTET STRING }
//   IdentityData ::= SEQUENCE { realName UTF8String, userInfo SEQUENCE OF SEQUENCE { type, value }
//   }
#include "pkc/internal.h"

namespace corvid {
namespace {

constexpr Tracer kTrace{"suite_pkc_vid"};

// ---- computing -----------------------------------------------------------------------------

constexpr int32_t kShortestRandom = 20;         // octets
constexpr int32_t kLongestRandom = 0x1FFFFFFF;  // octets whose bits still count in 32 bits

// A ScopedBin that is cleared: the hash content holds the identification number, and its digest
// gives the VID away.
struct SecretBin : ScopedBin {
  SecretBin() = default;
  SecretBin(const SecretBin&) = delete;
  SecretBin& operator=(const SecretBin&) = delete;
  ~SecretBin() {
    if (data != nullptr) explicit_bzero(data, static_cast<size_t>(length));
  }
};

// The hashes that the scheme allows for a new VID; reading knows more.
bool MakesVids(int32_t hash_id) {
  return hash_id == CVD_HASH_SHA1 || hash_id == CVD_HASH_SHA256 || hash_id == CVD_HASH_SHA384 ||
         hash_id == CVD_HASH_SHA512;
}

uint32_t Compute(BIN* vid, int32_t hash_id, const char* idn, const BIN& random) {
  if (!MakesVids(hash_id)) return PKC_ERR_UNKNOWN_HASHID;
  if (random.length < kShortestRandom || random.length > kLongestRandom) {
    return PKC_ERR_INVALID_INPUT;
  }
  const CVD_VIDHashContent content{idn, {static_cast<uint32_t>(random.length) * 8, random.data}};
  SecretBin der;
  SecretBin digest;
  uint32_t status = CVD_ASN_EncodePDU(&der, &content, CVD_PDU_VID_HASH_CONTENT);
  if (status != 0) return status;
  if (status = CVD_CSP_Hash(&digest, &der, hash_id); status != 0) return status;
  return CVD_CSP_Hash(vid, &digest, hash_id);
}

uint32_t Verify(const BIN& vid, int32_t hash_id, const char* idn, const BIN& random) {
  ScopedBin computed;
  if (uint32_t status = CVD_PKC_ComputeVID(&computed, hash_id, idn, &random); status != 0) {
    return status;
  }
  if (vid.data == nullptr || !std::ranges::equal(View(vid), View(computed))) {
    return PKC_ERR_INVALID_VID;
  }
  return 0;
}

// ---- encoding ------------------------------------------------------------------------------

constexpr size_t kLongestName = 0x0FFFFFFF;  // bytes whose conversion fits the codec's lengths

[[nodiscard]] uint32_t EncodeVid(BIN* der, int32_t hash_id, const BIN& vid) {
  const CVD_OID* algorithm = CVD_PKC_HashID_To_ObjID(static_cast<uint32_t>(hash_id));
  if (algorithm == nullptr) return PKC_ERR_UNKNOWN_HASHID;
  const CVD_VID record{{0, *algorithm, {0, nullptr}}, vid};
  return CVD_ASN_EncodePDU(der, &record, CVD_PDU_VID);
}

// Converts a name, of which at most `size` - 1 bytes of UTF-8 are stored: whole characters, so that
// the stored name is valid.
[[nodiscard]] uint32_t ToUtf8(char* utf8, size_t size, std::string_view name) {
  if (name.empty()) {  // a length of 0 would mean another thing to the conversion
    utf8[0] = '\0';
    return 0;
  }
  const uint32_t status = CVD_PKC_UTF8_Encode(utf8, static_cast<int32_t>(size), name.data(),
                                              static_cast<int32_t>(name.size()));
  if (status != 0) return status;
  const std::string_view written = utf8;
  if (written.size() == size - 1 && written != name) utf8[WholeUtf8Length(written)] = '\0';
  return 0;
}

[[nodiscard]] uint32_t EncodeIdentityData(BIN* der, const char* name, uint32_t name_length,
                                          int32_t hash_id, const BIN& vid) {
  ScopedBin vid_der;
  const uint32_t encoded = kTrace("CVD_PKC_VID_Encode", EncodeVid(&vid_der, hash_id, vid));
  if (encoded != 0) return encoded;
  const std::string_view given(name, strnlen(name, name_length));
  if (given.size() > kLongestName) return PKC_ERR_INVALID_INPUT;
  // Twice the length that was given; six times what is there is all that a conversion can make.
  const size_t size = std::min(2 * size_t{name_length}, 6 * given.size() + 1);
  const ScopedBlock<char> utf8(size + 1);
  if (utf8.get() == nullptr) return PKC_ERR_MALLOC;
  if (uint32_t status = ToUtf8(utf8.get(), size, given); status != 0) return status;
  CVD_UserInfoNode info{nullptr, *CVD_ASN_GetOID(CVD_OID_VID), vid_der};
  const CVD_IdentityData record{0x80, utf8.get(), &info};
  return CVD_ASN_EncodePDU(der, &record, CVD_PDU_IDENTITY_DATA);
}

[[nodiscard]] uint32_t EncodeSubAltName(BIN* der, const char* name, uint32_t name_length,
                                        int32_t hash_id, const BIN& vid) {
  ScopedBin identity_data;
  const uint32_t status =
      kTrace("CVD_PKC_IdentityData_Encode",
             EncodeIdentityData(&identity_data, name, name_length, hash_id, vid));
  if (status != 0) return status;
  CVD_GeneralNameNode node{};
  node.generalName.choice = CVD_GENERAL_NAME_OTHER;
  node.generalName.name.otherName = {*CVD_ASN_GetOID(CVD_OID_IDENTITY_DATA), identity_data};
  const CVD_GeneralNames names{&node};
  return CVD_ASN_EncodePDU(der, &names, CVD_PDU_GENERAL_NAMES);
}

// ---- decoding ------------------------------------------------------------------------------

[[nodiscard]] bool ReadTagged(Bytes der, size_t position, uint8_t tag, Element* out) {
  return ReadElement(der, position, out) && out->tag == tag;
}

// Reads a VID. Lenient: algorithm parameters are passed over, the tag around the OCTET STRING is
// not looked at (issuers differ in it), and ends need only lie within the value.
[[nodiscard]] uint32_t ReadVid(Bytes der, int32_t* hash_id, BIN* vid) {
  Element element;
  Element algorithm;
  if (!ReadTagged(der, 0, kTagSequence, &element) ||
      !ReadTagged(der, element.content, kTagSequence, &algorithm) ||
      !ReadTagged(der, algorithm.content, kTagOid, &element) || element.length > UINT16_MAX) {
    return PKC_ERR_BAD_EXTENSION;
  }
  const CVD_OID oid{static_cast<uint16_t>(element.length), der.data() + element.content};
  *hash_id = CVD_PKC_ObjID_To_HashID(&oid);
  if (*hash_id < 0) return PKC_ERR_UNKNOWN_HASHID;
  if (!ReadElement(der, algorithm.end, &element) ||
      !ReadTagged(der, element.content, kTagOctetString, &element)) {
    return PKC_ERR_BAD_EXTENSION;
  }
  const BIN octets = Borrow(der.subspan(element.content, element.length));
  return CVD_BIN_Copy(vid, &octets);
}

const CVD_UserInfoNode* FindVid(const CVD_IdentityData& data) {
  if ((data.present & 0x80) == 0) return nullptr;
  const CVD_UserInfoNode* node = data.userInfo;
  while (node != nullptr && !IsOid<CVD_OID_VID>(node->type)) node = node->next;
  return node;
}

[[nodiscard]] uint32_t DecodeIdentityData(char* name, uint32_t* size, int32_t* hash_id, BIN* vid,
                                          const BIN& der) {
  NearDecoded<CVD_IdentityData, CVD_PDU_IDENTITY_DATA> data;
  if (uint32_t status = data.Decode(der); status != 0) return status;
  const auto capacity = static_cast<int32_t>(std::min<uint32_t>(*size, INT32_MAX));
  if (uint32_t status = CVD_PKC_UTF8_Decode(name, capacity, data->realName, 0); status != 0) {
    return status;
  }
  *size = static_cast<uint32_t>(std::strlen(name));
  const CVD_UserInfoNode* info = FindVid(*data);
  if (info == nullptr || info->value.length == 0) return 0;
  return kTrace("CVD_PKC_VID_Decode", ReadVid(View(info->value), hash_id, vid));
}

// The value of the first name that is identity data, or null.
const BIN* FindIdentityData(const CVD_GeneralNames& names) {
  for (const CVD_GeneralNameNode* node = names.first; node != nullptr; node = node->next) {
    if (node->generalName.choice != CVD_GENERAL_NAME_OTHER) continue;
    const CVD_OtherName& other = node->generalName.name.otherName;
    if (IsOid<CVD_OID_IDENTITY_DATA>(other.typeId)) return &other.value;
  }
  return nullptr;
}

[[nodiscard]] uint32_t ReadSubAltName(char* name, uint32_t* size, int32_t* hash_id, BIN* vid,
                                      const BIN& der) {
  NearDecoded<CVD_GeneralNames, CVD_PDU_GENERAL_NAMES> names;
  if (uint32_t status = names.Decode(der); status != 0) return status;
  const BIN* data = FindIdentityData(*names);
  if (data == nullptr || data->length == 0) return PKC_ERR_NO_VIDINFO;
  return CVD_PKC_IdentityData_Decode(name, size, hash_id, vid, data);
}

// ---- look-up -------------------------------------------------------------------------------

[[nodiscard]] uint32_t LookUp(char* name, uint32_t* size, int32_t* hash_id, BIN* vid,
                              const CVD_ExtensionNode* extensions) {
  const CVD_Extension* extension = FindExtension<CVD_OID_SUBJECT_ALT_NAME>(extensions);
  if (extension == nullptr) return PKC_ERR_NO_EXTENSION;
  return DecodeSubAltName(name, size, hash_id, vid, &extension->extnValue);
}

struct SizedText {
  char* text;
  uint32_t size;

  void Clear() const {
    if (size > 0) text[0] = '\0';
  }
};

// Without a VID entry the name is written alone: the other texts are empty.
[[nodiscard]] uint32_t RenderVid(SizedText name, SizedText vid_text, SizedText hash_name,
                                 const CVD_ExtensionNode* extensions) {
  int32_t hash_id = 0;
  ScopedBin vid;
  uint32_t status = LookUp(name.text, &name.size, &hash_id, &vid, extensions);
  if (status != 0) return status;
  hash_name.Clear();
  if (hash_id == 0) {
    vid_text.Clear();
    return 0;
  }
  const char* hash = HashName(hash_id);
  if (hash == nullptr) return PKC_ERR_UNKNOWN_HASHID;
  pkc_strncpy(hash_name.text, hash, hash_name.size);
  const auto capacity = static_cast<int32_t>(std::min<uint32_t>(vid_text.size, INT32_MAX));
  return WriteHex(vid_text.text, capacity, View(vid));
}

}  // namespace

uint32_t DecodeSubAltName(char* name, uint32_t* size, int32_t* hashID, BIN* vid, const BIN* der) {
  if (name == nullptr || size == nullptr || hashID == nullptr || vid == nullptr || der == nullptr ||
      der->data == nullptr) {
    return PKC_ERR_INVALID_INPUT;
  }
  return kTrace("CVD_PKC_SubAltName_Decode", ReadSubAltName(name, size, hashID, vid, *der));
}

}  // namespace corvid

uint32_t CVD_PKC_ComputeVID(BIN* vid, int32_t hashID, const char* idn, const BIN* random) {
  if (vid == nullptr || idn == nullptr || random == nullptr || random->data == nullptr) {
    return PKC_ERR_INVALID_INPUT;
  }
  return corvid::kTrace("CVD_PKC_ComputeVID", corvid::Compute(vid, hashID, idn, *random));
}

uint32_t CVD_PKC_VerifyVID(const BIN* vid, int32_t hashID, const char* idn, const BIN* random) {
  if (vid == nullptr || idn == nullptr || random == nullptr || random->data == nullptr) {
    return PKC_ERR_INVALID_INPUT;
  }
  return corvid::kTrace("CVD_PKC_VerifyVID", corvid::Verify(*vid, hashID, idn, *random));
}

uint32_t CVD_PKC_SubAltName_Encode(BIN* der, const char* name, uint32_t nameLength, int32_t hashID,
                                   const BIN* vid) {
  if (der == nullptr || name == nullptr || vid == nullptr || vid->data == nullptr) {
    return PKC_ERR_INVALID_INPUT;
  }
  return corvid::kTrace("CVD_PKC_SubAltName_Encode",
                        corvid::EncodeSubAltName(der, name, nameLength, hashID, *vid));
}

uint32_t CVD_PKC_IdentityData_Decode(char* name, uint32_t* size, int32_t* hashID, BIN* vid,
                                     const BIN* der) {
  if (name == nullptr || size == nullptr || hashID == nullptr || vid == nullptr || der == nullptr ||
      der->data == nullptr) {
    return PKC_ERR_INVALID_INPUT;
  }
  return corvid::kTrace("CVD_PKC_IdentityData_Decode",
                        corvid::DecodeIdentityData(name, size, hashID, vid, *der));
}

uint32_t CVD_PKC_GetVIDInfo(char* name, uint32_t* size, int32_t* hashID, BIN* vid,
                            const CVD_Certificate* certificate) {
  if (name == nullptr || size == nullptr || hashID == nullptr || vid == nullptr ||
      certificate == nullptr) {
    return PKC_ERR_INVALID_INPUT;
  }
  return corvid::kTrace(
      "CVD_PKC_GetVIDInfo",
      corvid::LookUp(name, size, hashID, vid, certificate->tbsCertificate.extensions));
}

uint32_t CVD_GetVID(char* name, uint32_t nameSize, char* vid, uint32_t vidSize, char* hashName,
                    uint32_t hashNameSize, const CVD_ExtensionNode* extensions) {
  if (name == nullptr || vid == nullptr || hashName == nullptr || extensions == nullptr) {
    return PKC_ERR_INVALID_INPUT;
  }
  return corvid::kTrace("CVD_GetVID", corvid::RenderVid({name, nameSize}, {vid, vidSize},
                                                        {hashName, hashNameSize}, extensions));
}
