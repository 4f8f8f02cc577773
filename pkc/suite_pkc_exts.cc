// Finds extensions in a certificate's list and renders their values as text: flags (RFC 5280
// sections 4.2.1.3, 4.2.1.9, 4.2.1.12), general names and the extensions that carry them
// (sections 4.2.1.6, 4.2.1.7, 4.2.1.13, 4.2.2.1). A renderer writes straight into the caller's
// array and stops adding entries once it is full.
#include "corvid/codec.h"
#include "pkc/internal.h"

namespace corvid {
namespace {

constexpr Tracer kTrace{"suite_pkc_exts"};

bool IsRefused(const char* text, int32_t capacity, const CVD_ExtensionNode* extensions) {
  return text == nullptr || capacity < 2 || extensions == nullptr;
}

// ---- flags ---------------------------------------------------------------------------------

// Row n names bit n of the BIT STRING. Each name brings its comma; the last one is dropped.
constexpr Literal kCertTypeNames[] = {
    "sslClient,", "sslServer,", "NetscapeCertType_smime,", "objectSigning,", "provision,",
    "sslCA,",     "smimeCA,",   "objectSigningCA,",
};
constexpr Literal kKeyUsageNames[] = {
    "digitalSignature,", "nonRepudiation,", "keyEncipherment,",
    "dataEncipherment,", "keyAgreement,",   "keyCertSign,",
    "cRLSign,",          "encipherOnly,",   "decipherOnly,",
};

// Writes the names of the bits that are set in `word`, whose bit 0x8000 is bit 0. Returns them as a
// number in which bit n is 1 << n.
uint32_t WriteFlagNames(Text* text, std::span<const Literal> names, uint32_t word) {
  uint32_t flags = 0;
  for (uint32_t n = 0; n < names.size(); ++n) {
    if ((word & 0x8000U >> n) == 0) continue;
    text->Add(names[n]);
    flags |= 1U << n;
  }
  text->DropLast();
  return flags;
}

uint32_t RenderCertType(char* out, int32_t capacity, uint32_t* flags,
                        const CVD_ExtensionNode* extensions) {
  const CVD_Extension* extension = FindExtension<CVD_OID_NETSCAPE_CERT_TYPE>(extensions);
  if (extension == nullptr) return PKC_ERR_NO_EXTENSION;
  NearDecoded<CVD_NetscapeCertType, CVD_PDU_NETSCAPE_CERT_TYPE> value;
  if (value.Decode(extension->extnValue) != 0) return PKC_ERR_BAD_EXTENSION;
  Text text(out, capacity);
  WriteFlagNames(&text, kCertTypeNames, static_cast<uint32_t>(value->type) << 8);
  if (flags != nullptr) *flags = value->type;
  return 0;
}

// KeyUsage ::= BIT STRING. Lenient, so that a certificate stays readable: the count of unused bits
// is not looked at, and a string of more than two octets shows its first one.
uint32_t RenderKeyUsage(char* out, int32_t capacity, uint32_t* flags,
                        const CVD_ExtensionNode* extensions) {
  const CVD_Extension* extension = FindExtension<CVD_OID_KEY_USAGE>(extensions);
  if (extension == nullptr) return PKC_ERR_NO_EXTENSION;
  const Bytes der = View(extension->extnValue);
  Element bits;
  if (!ReadElement(der, 0, &bits) || bits.tag != kTagBitString || bits.length < 2) {
    return PKC_ERR_BAD_KEYUSAGE;
  }
  uint32_t word = static_cast<uint32_t>(der[bits.content + 1]) << 8;
  if (bits.length == 3) word |= der[bits.content + 2];
  Text text(out, capacity);
  const uint32_t named = WriteFlagNames(&text, kKeyUsageNames, word);
  if (flags != nullptr) *flags = named;
  return 0;
}

// ---- key purposes --------------------------------------------------------------------------

struct OidName {
  OidWords words;
  Literal name;
};

// Row n is the flag 1 << n.
constexpr OidName kKeyPurposes[] = {
    {kOidWords<CVD_OID_KP_SERVER_AUTH>, "id-kp-serverAuth"},
    {kOidWords<CVD_OID_KP_CLIENT_AUTH>, "id-kp-clientAuth"},
    {kOidWords<CVD_OID_KP_CODE_SIGNING>, "id-kp-codeSigning"},
    {kOidWords<CVD_OID_KP_EMAIL_PROTECTION>, "id-kp-emailProtection"},
    {kOidWords<CVD_OID_KP_IPSEC_END_SYSTEM>, "id-kp-ipsecEndSystem"},
    {kOidWords<CVD_OID_KP_IPSEC_TUNNEL>, "id-kp-ipsecTunnel"},
    {kOidWords<CVD_OID_KP_IPSEC_USER>, "id-kp-ipsecUser"},
    {kOidWords<CVD_OID_KP_TIME_STAMPING>, "id-kp-timeStamping"},
};
constexpr OidName kAccessMethods[] = {
    {kOidWords<CVD_OID_AD_OCSP>, "OCSP:"},
    {kOidWords<CVD_OID_AD_CA_ISSUERS>, "CA:"},
    {kOidWords<CVD_OID_QT_CPS>, "CPS:"},
};
constexpr OidName kOtherNameTypes[] = {
    {kOidWords<CVD_OID_IDENTITY_DATA>, "VID"},
    {kOidWords<CVD_OID_SURNAME>, "SN"},
};

// The row that names `oid`, or null.
const OidName* FindName(std::span<const OidName> rows, const CVD_OID& oid) {
  const OidWords words = WordsOf(oid);
  const auto row =
      std::find_if(rows.begin(), rows.end(), [&](const OidName& r) { return r.words == words; });
  return row == rows.end() ? nullptr : &*row;
}

// Adds the dotted text of an identifier. False, with nothing added, when it has none.
bool AddDotted(Text* text, const CVD_OID& oid) {
  DottedText dotted;
  if (dotted.Make(oid) != 0) return false;
  text->Add(dotted.get());
  return true;
}

// Adds one purpose and its comma; returns its flag.
uint32_t AddKeyPurpose(Text* text, const CVD_OID& purpose) {
  const OidName* row = FindName(kKeyPurposes, purpose);
  if (row == nullptr) {
    if (AddDotted(text, purpose)) text->Add(',');
    return 0;
  }
  text->Add(row->name);
  text->Add(',');
  return 1U << (row - kKeyPurposes);
}

uint32_t RenderExtKeyUsage(char* out, int32_t capacity, uint32_t* flags,
                           const CVD_ExtensionNode* extensions) {
  const CVD_Extension* extension = FindExtension<CVD_OID_EXT_KEY_USAGE>(extensions);
  if (extension == nullptr) return PKC_ERR_NO_EXTENSION;
  NearDecoded<CVD_ExtKeyUsageSyntax, CVD_PDU_EXT_KEY_USAGE> value;
  if (value.Decode(extension->extnValue) != 0) return PKC_ERR_BAD_EXTENSION;
  Text text(out, capacity);
  uint32_t named = 0;
  for (const CVD_KeyPurposeNode* node = value->first; node != nullptr; node = node->next) {
    named |= AddKeyPurpose(&text, node->keyPurposeId);
    if (text.Full()) break;
  }
  text.DropLast();
  if (flags != nullptr) *flags = named;
  return 0;
}

// ---- basic constraints ---------------------------------------------------------------------

uint32_t RenderBasicConstraints(char* out, int32_t capacity, const CVD_ExtensionNode* extensions) {
  const CVD_Extension* extension = FindExtension<CVD_OID_BASIC_CONSTRAINTS>(extensions);
  if (extension == nullptr) return PKC_ERR_NO_EXTENSION;
  NearDecoded<CVD_BasicConstraints, CVD_PDU_BASIC_CONSTRAINTS> value;
  if (value.Decode(extension->extnValue) != 0) return PKC_ERR_BAD_EXTENSION;
  Text text(out, capacity);
  const bool ca = (value->present & 0x80) != 0 && value->cA == 1;
  text.Add(ca ? Literal("Subject Type=CA") : Literal("Subject Type=End Entity"));
  if ((value->present & 0x40) != 0) {
    text.Add(Literal(", Path Length Constraint="));
    text.AddNumber(value->pathLenConstraint);
  } else if (ca) {
    text.Add(Literal(", Path Length Constraint=None"));
  }
  return 0;
}

// ---- general names: RFC 5280 section 4.2.1.6 -------------------------------------------------

// What was added before a failure stays. kRefused for a type without dotted text and for a name
// without value.
uint32_t AddOtherName(Text* text, const CVD_OtherName& name) {
  text->Add(Literal("ON="));
  if (const OidName* row = FindName(kOtherNameTypes, name.typeId); row != nullptr) {
    text->Add(row->name);
  } else if (!AddDotted(text, name.typeId)) {
    return kRefused;
  }
  if (name.value.data == nullptr) return kRefused;
  ScopedText hex;
  (void)CVD_BinToHex(name.value.data, static_cast<uint32_t>(name.value.length), hex.out());
  if (hex.empty()) return 0;  // the type alone is shown when there is no memory for the value
  text->Add('=');
  text->Add(hex.get());
  return 0;
}

uint32_t AddDirectoryName(Text* text, const CVD_Name& name) {
  ScopedText dn;
  if (uint32_t status = CVD_ExtractRDN(nullptr, &name, dn.out()); status != 0) return status;
  text->Add(Literal("DN="));
  text->Add(dn.get());
  return 0;
}

// Four octets are dotted; more, which an IPv6 address has, are written as characters up to a zero
// octet; fewer are no address.
void AddIpAddress(Text* text, const CVD_IPAddress& address) {
  if (address.length < 4) return;
  text->Add(Literal("IP="));
  if (address.length > 4) {
    const auto* characters = reinterpret_cast<const char*>(address.data);
    text->Add({characters, strnlen(characters, address.length)});
    return;
  }
  for (uint32_t i = 0; i < 4; ++i) {
    if (i > 0) text->Add('.');
    text->AddNumber(address.data[i]);
  }
}

void AddLabelled(Text* text, const Literal& label, const char* value) {
  text->Add(label);
  text->Add(value);
}

// Adds one name with its label; alternatives without a text form add nothing.
uint32_t AddGeneralName(Text* text, const CVD_GeneralName& name) {
  if (text->Room() < 2) return PKC_ERR_INVALID_INPUT;
  switch (name.choice) {
    case CVD_GENERAL_NAME_OTHER:
      return AddOtherName(text, name.name.otherName);
    case CVD_GENERAL_NAME_RFC822:
      AddLabelled(text, "RN=", name.name.rfc822Name);
      return 0;
    case CVD_GENERAL_NAME_DNS:
      AddLabelled(text, "DNS=", name.name.dNSName);
      return 0;
    case CVD_GENERAL_NAME_DIRECTORY:
      return AddDirectoryName(text, name.name.directoryName);
    case CVD_GENERAL_NAME_URI:
      AddLabelled(text, "URL=", name.name.uniformResourceIdentifier);
      return 0;
    case CVD_GENERAL_NAME_IP:
      AddIpAddress(text, name.name.iPAddress);
      return 0;
    default:
      return 0;
  }
}

// ---- authority information access: RFC 5280 section 4.2.2.1 ------------------------------------

uint32_t AddAccessDescription(Text* text, const CVD_AccessDescriptionNode& node) {
  if (!text->empty()) text->Add('\n');
  if (const OidName* row = FindName(kAccessMethods, node.accessMethod); row != nullptr) {
    text->Add(row->name);
  } else {
    text->Add(':');
    AddDotted(text, node.accessMethod);
  }
  return AddGeneralName(text, node.accessLocation);
}

uint32_t RenderAuthInfoAccess(char* out, int32_t capacity, const CVD_ExtensionNode* extensions) {
  const CVD_Extension* extension = FindExtension<CVD_OID_AUTHORITY_INFO_ACCESS>(extensions);
  if (extension == nullptr) return PKC_ERR_NO_EXTENSION;
  NearDecoded<CVD_AuthorityInfoAccessSyntax, CVD_PDU_AUTHORITY_INFO_ACCESS> value;
  if (value.Decode(extension->extnValue) != 0) return PKC_ERR_BAD_EXTENSION;
  Text text(out, capacity);
  const CVD_AccessDescriptionNode* node = value->first;
  for (; node != nullptr && !text.Full(); node = node->next) {
    if (uint32_t status = AddAccessDescription(&text, *node); status != 0) return status;
  }
  return 0;
}

// ---- CRL distribution points: RFC 5280 section 4.2.1.13 ----------------------------------------

// Row n is bit n of ReasonFlags. The reasons that came later, bits 7 and 8, are not shown.
constexpr Literal kReasonNames[] = {
    "unused|",     "keyCompromise|",        "cACompromise|",    "affiliationChanged|",
    "superseded|", "cessationOfOperation|", "certificateHold|",
};

// A name that cannot be rendered is left out; the others still tell where the list is.
void AddGeneralNames(Text* text, const CVD_GeneralNameNode* first) {
  for (const auto* node = first; node != nullptr && !text->Full(); node = node->next) {
    if (!text->empty()) text->Add('\n');
    (void)AddGeneralName(text, node->generalName);
  }
}

// Adds the one RDN without label, as the only one of a name.
void AddRelativeName(Text* text, CVD_AttributeTypeAndValueNode* rdn) {
  CVD_RDNSequenceNode node{nullptr, rdn};
  const CVD_Name name{CVD_NAME_RDN_SEQUENCE, 0, &node};
  ScopedText dn;
  if (CVD_ExtractRDN(nullptr, &name, dn.out()) == 0) text->Add(dn.get());
}

void AddReasons(Text* text, const CVD_ReasonFlags& reasons) {
  text->Add(Literal("reason"));
  for (uint32_t n = 0; n < std::size(kReasonNames); ++n) {
    if ((reasons.flags[0] & 0x80U >> n) != 0) text->Add(kReasonNames[n]);
  }
  text->Add('\n');
}

void AddDistributionPoint(Text* text, const CVD_DistributionPointNode& point) {
  if ((point.present & 0x80) != 0) {
    const CVD_DistributionPointName& name = point.distributionPoint;
    if (name.choice == CVD_DISTRIBUTION_POINT_FULL_NAME) {
      AddGeneralNames(text, name.name.fullName);
    } else if (name.choice == CVD_DISTRIBUTION_POINT_RELATIVE_NAME) {
      AddRelativeName(text, name.name.nameRelativeToCRLIssuer);
    }
  }
  if ((point.present & 0x40) != 0) AddReasons(text, point.reasons);
  if ((point.present & 0x20) != 0) AddGeneralNames(text, point.cRLIssuer);
}

uint32_t RenderCrlDistPoints(char* out, int32_t capacity, const CVD_ExtensionNode* extensions) {
  const CVD_Extension* extension = FindExtension<CVD_OID_CRL_DISTRIBUTION_POINTS>(extensions);
  if (extension == nullptr) return PKC_ERR_NO_EXTENSION;
  NearDecoded<CVD_CRLDistributionPoints, CVD_PDU_CRL_DISTRIBUTION_POINTS> value;
  if (value.Decode(extension->extnValue) != 0) return PKC_ERR_BAD_EXTENSION;
  Text text(out, capacity);
  const CVD_DistributionPointNode* node = value->first;
  for (; node != nullptr && !text.Full(); node = node->next) AddDistributionPoint(&text, *node);
  return 0;
}

// ---- alternative names: RFC 5280 sections 4.2.1.6 and 4.2.1.7 ----------------------------------

struct IdentityTexts {
  char* holder;
  int32_t holder_capacity;
  char* vid;
  int32_t vid_capacity;
  char* hash;
  int32_t hash_capacity;

  bool Wanted() const { return holder != nullptr && vid != nullptr && hash != nullptr; }
};

// Writes holder's name, hash name and VID of the identity data; without a VID the name alone.
uint32_t RenderIdentity(const IdentityTexts& out, const BIN& identity_data) {
  if (out.holder_capacity < 1) return PKC_ERR_INVALID_INPUT;
  auto size = static_cast<uint32_t>(out.holder_capacity);
  int32_t hash_id = 0;
  ScopedBin vid;
  uint32_t status = CVD_PKC_IdentityData_Decode(out.holder, &size, &hash_id, &vid, &identity_data);
  if (status != 0) return status;
  if (hash_id == 0 || vid.length == 0) return 0;
  if (out.hash_capacity < 1) return PKC_ERR_INVALID_INPUT;
  out.hash[0] = '\0';
  const char* name = HashName(hash_id);
  if (name == nullptr) return PKC_ERR_UNKNOWN_HASHID;
  pkc_strncpy(out.hash, name, static_cast<uint32_t>(out.hash_capacity));
  return WriteHex(out.vid, out.vid_capacity, View(vid));
}

uint32_t RenderAltName(char* out, int32_t capacity, const IdentityTexts& identity,
                       const CVD_Extension& extension) {
  NearDecoded<CVD_GeneralNames, CVD_PDU_GENERAL_NAMES> value;
  if (value.Decode(extension.extnValue) != 0) return PKC_ERR_BAD_EXTENSION;
  BIN identity_data{0, nullptr};  // of the last name that carries one
  Text text(out, capacity);
  const CVD_GeneralNameNode* node = value->first;
  for (; node != nullptr && !text.Full(); node = node->next) {
    const CVD_GeneralName& name = node->generalName;
    if (name.choice == CVD_GENERAL_NAME_OTHER &&
        IsOid<CVD_OID_IDENTITY_DATA>(name.name.otherName.typeId)) {
      identity_data = name.name.otherName.value;
    }
    if (!text.empty()) text.Add('\n');
    if (uint32_t status = AddGeneralName(&text, name); status != 0) return status;
  }
  const bool subject = IsOid<CVD_OID_SUBJECT_ALT_NAME>(extension.extnID);
  if (!subject || identity_data.length == 0 || !identity.Wanted()) return 0;
  return RenderIdentity(identity, identity_data);
}

}  // namespace
}  // namespace corvid

// ---- exported ------------------------------------------------------------------------------

const CVD_Extension* CVD_GetExtension(const CVD_ExtensionNode* extensions, const CVD_OID* oid) {
  if (oid == nullptr) return nullptr;
  for (const CVD_ExtensionNode* node = extensions; node != nullptr; node = node->next) {
    if (CVD_ASN_CmpOID(&node->extension.extnID, oid) == 0) return &node->extension;
  }
  return nullptr;
}

uint32_t CVD_PKC_NSCertType_ToString(char* text, int32_t capacity, uint32_t* flags,
                                     const CVD_ExtensionNode* extensions) {
  if (corvid::IsRefused(text, capacity, extensions)) return PKC_ERR_INVALID_INPUT;
  return corvid::kTrace("CVD_PKC_NSCertType_ToString",
                        corvid::RenderCertType(text, capacity, flags, extensions));
}

uint32_t CVD_PKC_KeyUsage_ToString(char* text, int32_t capacity, uint32_t* flags,
                                   const CVD_ExtensionNode* extensions) {
  if (corvid::IsRefused(text, capacity, extensions)) return PKC_ERR_INVALID_INPUT;
  return corvid::kTrace("CVD_PKC_KeyUsage_ToString",
                        corvid::RenderKeyUsage(text, capacity, flags, extensions));
}

uint32_t CVD_PKC_ExtKeyUsage_ToString(char* text, int32_t capacity, uint32_t* flags,
                                      const CVD_ExtensionNode* extensions) {
  if (corvid::IsRefused(text, capacity, extensions)) return PKC_ERR_INVALID_INPUT;
  return corvid::kTrace("CVD_PKC_ExtKeyUsage_ToString",
                        corvid::RenderExtKeyUsage(text, capacity, flags, extensions));
}

uint32_t CVD_PKC_BasicConsts_ToString(char* text, int32_t capacity,
                                      const CVD_ExtensionNode* extensions) {
  if (corvid::IsRefused(text, capacity, extensions)) return PKC_ERR_INVALID_INPUT;
  return corvid::kTrace("CVD_PKC_BasicConsts_ToString",
                        corvid::RenderBasicConstraints(text, capacity, extensions));
}

uint32_t CVD_PKC_AuthInfoAccess_ToString(char* text, int32_t capacity,
                                         const CVD_ExtensionNode* extensions) {
  if (corvid::IsRefused(text, capacity, extensions)) return PKC_ERR_INVALID_INPUT;
  return corvid::kTrace("CVD_PKC_AuthInfoAccess_ToString",
                        corvid::RenderAuthInfoAccess(text, capacity, extensions));
}

uint32_t CVD_PKC_CrlDistPoints_ToString(char* text, int32_t capacity,
                                        const CVD_ExtensionNode* extensions) {
  if (corvid::IsRefused(text, capacity, extensions)) return PKC_ERR_INVALID_INPUT;
  return corvid::kTrace("CVD_PKC_CrlDistPoints_ToString",
                        corvid::RenderCrlDistPoints(text, capacity, extensions));
}

uint32_t CVD_PKC_AltName_ToString(char* text, int32_t capacity, char* holderName,
                                  int32_t holderCapacity, char* vid, int32_t vidCapacity,
                                  char* hashName, int32_t hashCapacity,
                                  const CVD_ExtensionNode* node) {
  if (text == nullptr || capacity < 3 || node == nullptr) return PKC_ERR_INVALID_INPUT;
  const corvid::IdentityTexts identity{holderName,  holderCapacity, vid,
                                       vidCapacity, hashName,       hashCapacity};
  return corvid::kTrace("CVD_PKC_AltName_ToString",
                        corvid::RenderAltName(text, capacity, identity, node->extension));
}

uint32_t CVD_GetNetscapeCertType(void* /*context*/, const CVD_ExtensionNode* extensions,
                                 char* text) {
  return CVD_PKC_NSCertType_ToString(text, 200, nullptr, extensions);
}

uint32_t CVD_GetKeyUsage(void* /*context*/, const CVD_ExtensionNode* extensions, char* text) {
  return CVD_PKC_KeyUsage_ToString(text, 200, nullptr, extensions);
}

uint32_t CVD_GetExtKeyUsage(void* /*context*/, const CVD_ExtensionNode* extensions, char* text) {
  return CVD_PKC_ExtKeyUsage_ToString(text, 1024, nullptr, extensions);
}

uint32_t CVD_GetBC(void* /*context*/, const CVD_ExtensionNode* extensions, char* text) {
  return CVD_PKC_BasicConsts_ToString(text, 80, extensions);
}

uint32_t CVD_GetAIA(void* /*context*/, const CVD_ExtensionNode* extensions, char* text) {
  return CVD_PKC_AuthInfoAccess_ToString(text, 1024, extensions);
}

uint32_t CVD_GetDistributionPoints(void* /*context*/, const CVD_ExtensionNode* extensions,
                                   char* text) {
  return CVD_PKC_CrlDistPoints_ToString(text, 1024, extensions);
}

uint32_t CVD_GetAltName(void* /*context*/, const CVD_ExtensionNode* node, char* text) {
  return CVD_PKC_AltName_ToString(text, 1024, nullptr, 0, nullptr, 0, nullptr, 0, node);
}
