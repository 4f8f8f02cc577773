// certificatePolicies (RFC 5280 section 4.2.1.4): renders identifiers, CPS pointers and user
// notices as text, repairs one encoding fault that issued certificates have, and encodes a value
// with one policy. All policies are read before the first one is written, so a failure writes
// nothing.
#include "pkc/internal.h"

namespace corvid {
namespace {

constexpr Tracer kTrace{"suite_pkc_policy"};

// ---- reading -------------------------------------------------------------------------------

constexpr int32_t kRenderedPolicies = 10;
constexpr size_t kPolicyLength = 39;  // characters of an identifier that are shown
constexpr size_t kCpsLength = 199;
constexpr int32_t kNoticeSize = 200;

struct Policy {
  char identifier[kPolicyLength + 1];
  std::string_view cps;  // octets of the decoded record; null without a pointer
  bool has_notice;       // has an explicit text, which is in `notice`
  char notice[kNoticeSize];
};

struct Policies {
  NearDecoded<CVD_CertificatePolicies, CVD_PDU_CERTIFICATE_POLICIES> record;
  int32_t count = 0;
  Policy
      policy[kRenderedPolicies];  // filled as far as rendered; large, so never cleared as a whole
};

// The text up to a zero octet, as far as shown.
std::string_view UpToNul(const uint8_t* octets, size_t length) {
  const auto* text = reinterpret_cast<const char*>(octets);
  return {text, strnlen(text, length)};
}

// CPSuri ::= IA5String
[[nodiscard]] uint32_t ReadCps(Bytes der, Policy* policy) {
  Element uri;
  if (!ReadElement(der, 0, &uri) || uri.tag != kTagIa5String) return PKC_ERR_BAD_POLICIES;
  policy->cps = UpToNul(der.data() + uri.content, std::min(uri.length, kCpsLength));
  return 0;
}

bool IsDisplayText(uint8_t tag) {
  return tag == kTagVisibleString || tag == kTagBmpString || tag == kTagUtf8String;
}

// UserNotice ::= SEQUENCE { noticeRef SEQUENCE OPTIONAL, explicitText DisplayText OPTIONAL }.
// noticeRef is passed over. Lenient: an explicit text of another type, IA5String above all, counts
// as none.
[[nodiscard]] uint32_t ReadNotice(Bytes der, Policy* policy) {
  Element element;
  if (!ReadElement(der, 0, &element) || element.tag != kTagSequence) return PKC_ERR_BAD_POLICIES;
  size_t position = element.content;
  if (position < der.size() && der[position] == kTagSequence) {
    if (!ReadElement(der, position, &element)) return PKC_ERR_BAD_POLICIES;
    position = element.end;
  }
  if (position >= der.size() || !IsDisplayText(der[position])) return 0;
  int32_t count = kNoticeSize;
  const uint32_t status = CVD_PKC_ASNString_Decode(policy->notice, &count, der.data() + position,
                                                   static_cast<uint32_t>(der.size() - position));
  if (status != 0) return PKC_ERR_BAD_POLICIES;
  policy->has_notice = true;
  return 0;
}

// Other qualifiers than the two of RFC 5280 are passed over.
[[nodiscard]] uint32_t ReadQualifier(const CVD_PolicyQualifierInfoNode& node, Policy* policy) {
  if (IsOid<CVD_OID_QT_CPS>(node.policyQualifierId)) return ReadCps(View(node.qualifier), policy);
  if (IsOid<CVD_OID_QT_UNOTICE>(node.policyQualifierId)) {
    return ReadNotice(View(node.qualifier), policy);
  }
  return 0;
}

[[nodiscard]] uint32_t ReadPolicy(const CVD_PolicyInformationNode& node, Policy* policy) {
  DottedText dotted;
  if (const uint32_t status = dotted.Make(node.policyIdentifier); status != 0) return status;
  Text(policy->identifier, sizeof policy->identifier).Add(dotted.get());
  policy->cps = {};
  policy->has_notice = false;
  if ((node.present & 0x80) == 0) return 0;
  for (const auto* info = node.policyQualifiers; info != nullptr; info = info->next) {
    if (uint32_t status = ReadQualifier(*info, policy); status != 0) return status;
  }
  return 0;
}

// ---- the repair ----------------------------------------------------------------------------

constexpr size_t kLongestRepaired = 0x7F + 2;  // all lengths are single octets

// The octets that remain of the SEQUENCE at `position` when only its first element is kept; 0 when
// no SEQUENCE with more than one element begins there.
size_t KeptOctets(Bytes value, size_t position) {
  if (value[position] != kTagSequence || value.size() - position < 4) return 0;
  const size_t kept = value[position + 3] + 2U;
  return value[position + 1] > kept ? kept : 0;
}

// Some issuers end a policy with an empty policyQualifiers, which its SIZE (1..MAX) forbids. Writes
// the value without any qualifiers: every SEQUENCE that holds more than its first element, found
// octet by octet, keeps that element alone. Returns the length written, at most kLongestRepaired,
// or 0 when `value` does not end with an empty SEQUENCE or has a length that is not one octet or
// passes the end.
size_t WithoutQualifiers(Bytes value, uint8_t* out) {
  const size_t size = value.size();
  if (size < 6 || size > kLongestRepaired || value[1] != size - 2) return 0;
  if (value[size - 2] != kTagSequence || value[size - 1] != 0) return 0;
  size_t from = 2;
  size_t to = 2;
  while (from < size - 2) {
    const size_t kept = KeptOctets(value, from);
    if (kept == 0) {
      out[to++] = value[from++];
      continue;
    }
    const size_t length = value[from + 1];
    if (length > size - from - 2) return 0;
    out[to] = kTagSequence;
    out[to + 1] = static_cast<uint8_t>(kept);
    std::memcpy(out + to + 2, value.data() + from + 2, kept);
    from += 2 + length;
    to += 2 + kept;
  }
  std::memcpy(out + to, value.data() + from, size - from);
  to += size - from;
  out[0] = value[0];
  out[1] = static_cast<uint8_t>(to - 2);
  return to;
}

[[nodiscard]] uint32_t DecodeValue(const BIN& der, Policies* policies) {
  const uint32_t status = policies->record.Decode(der);
  if (status == 0) return 0;
  if (status == CVD_ASN_ERR_MALLOC) return PKC_ERR_BAD_POLICIES;  // nothing to repair
  uint8_t repaired[kLongestRepaired];
  const size_t length = WithoutQualifiers(View(der), repaired);
  if (length == 0 || policies->record.Decode(Borrow({repaired, length})) != 0) {
    return PKC_ERR_BAD_POLICIES;
  }
  return 0;
}

// Reads the policies that are rendered; those after them are counted.
[[nodiscard]] uint32_t ReadPolicies(const CVD_ExtensionNode* extensions, Policies* policies) {
  const CVD_Extension* extension = FindExtension<CVD_OID_CERTIFICATE_POLICIES>(extensions);
  if (extension == nullptr) return PKC_ERR_NO_EXTENSION;
  if (uint32_t status = DecodeValue(extension->extnValue, policies); status != 0) return status;
  for (const auto* node = policies->record->first; node != nullptr; node = node->next) {
    if (policies->count < kRenderedPolicies) {
      const uint32_t status = ReadPolicy(*node, &policies->policy[policies->count]);
      if (status != 0) return status;
    }
    ++policies->count;
  }
  return 0;
}

// ---- rendering -----------------------------------------------------------------------------

// One kind of text, entry by entry. It goes to the array's current end each time, because CPS
// pointers and notices may share an array; what it wrote itself decides the separator.
class Stream {
 public:
  Stream(char* out, int32_t capacity) : out_(out), capacity_(capacity) {}
  void Add(std::string_view entry) {
    Text text = Text::After(out_, capacity_);
    if (has_written_) text.Add('\n');
    text.Add(entry);
    has_written_ = has_written_ || !entry.empty();
  }

 private:
  char* out_;
  int32_t capacity_;
  bool has_written_ = false;
};

struct PolicyTexts {
  char* policies;
  int32_t policies_capacity;
  char* cps;
  int32_t cps_capacity;
  char* notice;
  int32_t notice_capacity;

  bool Refused() const {
    return policies == nullptr || cps == nullptr || notice == nullptr || policies_capacity < 2 ||
           cps_capacity < 2 || notice_capacity < 2;
  }
};

uint32_t RenderPolicies(int32_t* count, const PolicyTexts& out,
                        const CVD_ExtensionNode* extensions) {
  if (extensions == nullptr) return PKC_ERR_INVALID_INPUT;
  Policies policies;
  const uint32_t status =
      kTrace("CVD_PKC_CertPolicies_Decode", ReadPolicies(extensions, &policies));
  if (status != 0) return status;
  *count = policies.count;
  Stream cps(out.cps, out.cps_capacity);
  Stream notices(out.notice, out.notice_capacity);
  const auto rendered = static_cast<size_t>(std::min(policies.count, kRenderedPolicies));
  for (const Policy& policy : std::span(policies.policy).first(rendered)) {
    Text identifiers = Text::After(out.policies, out.policies_capacity);  // the arrays may be one
    if (!identifiers.empty()) identifiers.Add(',');
    identifiers.Add(policy.identifier);
    if (policy.cps.data() != nullptr) cps.Add(policy.cps);
    if (policy.has_notice) notices.Add(policy.notice);
  }
  return 0;
}

// ---- encoding ------------------------------------------------------------------------------

struct ScopedOid : CVD_OID {
  ScopedOid() : CVD_OID{0, nullptr} {}
  ScopedOid(const ScopedOid&) = delete;
  ScopedOid& operator=(const ScopedOid&) = delete;
  ~ScopedOid() { CVD_ASN_ResetOID(this); }
};

[[nodiscard]] uint32_t EncodeNotice(BIN* der, const char* text, uint32_t length) {
  if (length > INT32_MAX) return PKC_ERR_INVALID_INPUT;
  CVD_UserNotice notice;
  notice.present = 0x40;
  notice.noticeRef = {0, nullptr};
  notice.explicitText.choice = CVD_DISPLAY_TEXT_UTF8;
  char* utf8 = notice.explicitText.text;
  constexpr size_t kSize = sizeof notice.explicitText.text;
  const uint32_t status = CVD_PKC_UTF8_Encode(utf8, kSize, text, static_cast<int32_t>(length));
  if (status != 0) return status;
  const std::string_view written = utf8;
  if (written.size() == kSize - 1) utf8[WholeUtf8Length(written)] = '\0';  // it may have been cut
  return CVD_ASN_EncodePDU(der, &notice, CVD_PDU_USER_NOTICE);
}

[[nodiscard]] uint32_t EncodePolicies(BIN* der, const char* policy, const char* cps,
                                      const char* notice, uint32_t notice_length) {
  ScopedOid identifier;
  if (uint32_t status = CVD_ASN_DotVal2OID(&identifier, policy); status != 0) return status;
  CVD_PolicyInformationNode information{nullptr, 0, identifier, nullptr};
  CVD_PolicyQualifierInfoNode** end = &information.policyQualifiers;
  ScopedBin cps_der;
  ScopedBin notice_der;
  CVD_PolicyQualifierInfoNode cps_node;
  CVD_PolicyQualifierInfoNode notice_node;
  if (cps != nullptr) {
    const CVD_CPSuri uri{cps};
    const uint32_t status = CVD_ASN_EncodePDU(&cps_der, &uri, CVD_PDU_CPS_URI);
    if (status != 0) return status;
    cps_node = {nullptr, *CVD_ASN_GetOID(CVD_OID_QT_CPS), cps_der};
    *end = &cps_node;
    end = &cps_node.next;
  }
  if (notice != nullptr) {
    if (uint32_t status = EncodeNotice(&notice_der, notice, notice_length); status != 0) {
      return status;
    }
    notice_node = {nullptr, *CVD_ASN_GetOID(CVD_OID_QT_UNOTICE), notice_der};
    *end = &notice_node;
  }
  if (information.policyQualifiers != nullptr) information.present = 0x80;
  const CVD_CertificatePolicies policies{&information};
  return CVD_ASN_EncodePDU(der, &policies, CVD_PDU_CERTIFICATE_POLICIES);
}

}  // namespace
}  // namespace corvid

uint32_t CVD_PKC_CertPolicies_ToString(int32_t* count, char* policies, int32_t policiesCapacity,
                                       char* cps, int32_t cpsCapacity, char* notice,
                                       int32_t noticeCapacity,
                                       const CVD_ExtensionNode* extensions) {
  const corvid::PolicyTexts out{policies,    policiesCapacity, cps,
                                cpsCapacity, notice,           noticeCapacity};
  if (count == nullptr || out.Refused()) return PKC_ERR_INVALID_INPUT;
  return corvid::kTrace("CVD_PKC_CertPolicies_ToString",
                        corvid::RenderPolicies(count, out, extensions));
}

uint32_t CVD_GetPolicy(void* /*context*/, const CVD_ExtensionNode* extensions, int32_t* count,
                       char* policies, char* qualifiers) {
  return CVD_PKC_CertPolicies_ToString(count, policies, 1024, qualifiers, 201, qualifiers, 201,
                                       extensions);
}

uint32_t CVD_PKC_CertPolicies_Encode(BIN* der, const char* policy, const char* cps,
                                     uint32_t /*cpsLength*/, const char* notice,
                                     uint32_t noticeLength) {
  if (der == nullptr || policy == nullptr) return PKC_ERR_INVALID_INPUT;
  return corvid::kTrace("CVD_PKC_CertPolicies_Encode",
                        corvid::EncodePolicies(der, policy, cps, notice, noticeLength));
}
