// Asking a list about a certificate: whose certificates the list speaks of, which of them it covers
// (RFC 5280 sections 5.2.5 and 6.3.3), and whether it has the serial number. What the certificate
// tells is read where it lies: nothing here allocates, so no answer fails for a lack of memory.
#include <algorithm>
#include <string_view>

#include "services/crl/internal.h"

namespace corvid {
namespace {

enum : uint8_t {
  kTagBoolean = 0x01,
  kTagInteger = 0x02,
  kTagOid = 0x06,
  kTagSequence = 0x30,
  kTagSet = 0x31,
  kTagUri = 0x86,            // GeneralName [6]
  kTagDirectoryName = 0xA4,  // GeneralName [4]
  kTagFullName = 0xA0,       // DistributionPointName [0]
  kTagRelativeName = 0xA1,   // DistributionPointName [1]
  kTagPoint = 0xA0,          // DistributionPoint [0]
  kTagReasons = 0x81,        // DistributionPoint [1]
  kTagCrlIssuer = 0xA2       // DistributionPoint [2]
};

// Takes the next element when it is one with this tag.
[[nodiscard]] bool Take(DerCursor* in, uint8_t tag, DerElement* out) {
  return !in->empty() && *in->at == tag && ReadDerElement(in, out) == DerFault::kNone;
}

// Takes the element that the cursor holds and gives its content.
[[nodiscard]] bool TakeWhole(DerCursor* in, uint8_t tag) {
  DerElement element;
  if (!Take(in, tag, &element) || !in->empty()) return false;
  *in = ContentOf(element);
  return true;
}

template <int32_t kNumber>
const CVD_Extension* FindExtension(const CVD_Certificate& certificate) {
  const CVD_ExtensionNode* node = certificate.tbsCertificate.extensions;
  while (node != nullptr && !IsOid<kNumber>(node->extension.extnID)) node = node->next;
  return node == nullptr ? nullptr : &node->extension;
}

DerCursor ValueOf(const CVD_Extension& extension) {
  const Bytes value = View(extension.extnValue);
  return {value.data(), value.data() + value.size()};
}

// ---- names on the stack --------------------------------------------------------------------

// A Name put together without allocation. One with more parts than fit is not made, and so equals
// no other.
class StackName {
 public:
  // Begins with the RDNs of `name`.
  [[nodiscard]] bool Begin(const CVD_Name& name) {
    for (const CVD_RDNSequenceNode* node = name.rdnSequence; node != nullptr; node = node->next) {
      if (!AddRdn(node->relativeDistinguishedName)) return false;
    }
    return true;
  }
  // Adds an RDN of attributes that live longer than this name.
  [[nodiscard]] bool AddRdn(CVD_AttributeTypeAndValueNode* attributes) {
    if (rdn_count_ == std::size(rdns_)) return false;
    CVD_RDNSequenceNode* rdn = &rdns_[rdn_count_++];
    *rdn = {nullptr, attributes};
    *last_rdn_ = rdn;
    last_rdn_ = &rdn->next;
    return true;
  }
  // Adds an RDN whose attributes are the DER in `in`.
  [[nodiscard]] bool ReadRdn(DerCursor in) {
    CVD_AttributeTypeAndValueNode* first = nullptr;
    for (CVD_AttributeTypeAndValueNode** link = &first; !in.empty(); link = &(*link)->next) {
      if (attribute_count_ == std::size(attributes_)) return false;
      *link = &attributes_[attribute_count_++];
      if (!ReadAttribute(&in, *link)) return false;
    }
    return AddRdn(first);
  }
  // Adds the RDNs of a Name.
  [[nodiscard]] bool Read(DerCursor in) {
    if (!TakeWhole(&in, kTagSequence)) return false;
    DerElement rdn;
    while (!in.empty()) {
      if (!Take(&in, kTagSet, &rdn) || !ReadRdn(ContentOf(rdn))) return false;
    }
    return true;
  }
  const CVD_Name* get() {
    name_ = {CVD_NAME_RDN_SEQUENCE, 1, first_rdn_};
    return &name_;
  }

 private:
  static bool ReadAttribute(DerCursor* in, CVD_AttributeTypeAndValueNode* out) {
    DerElement attribute;
    DerElement type;
    DerElement value;
    if (!Take(in, kTagSequence, &attribute)) return false;
    DerCursor parts = ContentOf(attribute);
    if (!Take(&parts, kTagOid, &type) || type.length() > 0xFFFF) return false;
    if (ReadDerElement(&parts, &value) != DerFault::kNone || !parts.empty()) return false;
    *out = {nullptr,
            {static_cast<uint16_t>(type.length()), type.content},
            Borrow({value.begin, value.end})};
    return true;
  }

  CVD_Name name_;
  CVD_RDNSequenceNode* first_rdn_ = nullptr;
  CVD_RDNSequenceNode** last_rdn_ = &first_rdn_;
  size_t rdn_count_ = 0;
  size_t attribute_count_ = 0;
  CVD_RDNSequenceNode rdns_[64];
  CVD_AttributeTypeAndValueNode attributes_[64];
};

// ---- the list's distribution point ---------------------------------------------------------

const CVD_Name& IssuerOf(const CVD_CRL& crl) { return crl.list->tbsCertList.issuer; }

bool HasPoint(const CVD_CRL& crl) { return crl.idp != nullptr && (crl.idp->present & 0x80) != 0; }

bool IsPointName(const CVD_CRL& crl, const CVD_Name& name) {
  const CVD_DistributionPointName& point = crl.idp->distributionPoint;
  if (point.choice == CVD_DISTRIBUTION_POINT_FULL_NAME) {
    return HasDirectoryName(point.name.fullName, name);
  }
  StackName full;
  return full.Begin(IssuerOf(crl)) && full.AddRdn(point.name.nameRelativeToCRLIssuer) &&
         CVD_ASN_CmpName(full.get(), &name) == 0;
}

bool IsPointUri(const CVD_CRL& crl, std::string_view uri) {
  const CVD_DistributionPointName& point = crl.idp->distributionPoint;
  if (point.choice != CVD_DISTRIBUTION_POINT_FULL_NAME) return false;
  for (const CVD_GeneralNameNode* node = point.name.fullName; node != nullptr; node = node->next) {
    if (node->generalName.choice == CVD_GENERAL_NAME_URI &&
        uri == node->generalName.name.uniformResourceIdentifier) {
      return true;
    }
  }
  return false;
}

// How many names of a certificate may still be compared with the list's point. Each costs up to
// what the point has in octets; issued certificates take a thousandth of it.
class NamesLeft {
 public:
  explicit NamesLeft(const CVD_CRL& crl) : left_(kMostOctets / (crl.idp_octets + 1)) {}
  [[nodiscard]] bool Take() { return left_ != 0 && left_-- != 0; }

 private:
  static constexpr size_t kMostOctets = 1 << 20;
  size_t left_;
};

bool IsPointGeneralName(const CVD_CRL& crl, const DerElement& name) {
  if (*name.begin == kTagUri) {
    return IsPointUri(crl, {reinterpret_cast<const char*>(name.content), name.length()});
  }
  StackName directory;
  return *name.begin == kTagDirectoryName && directory.Read(ContentOf(name)) &&
         IsPointName(crl, *directory.get());
}

// ---- the certificate's distribution points (section 4.2.1.13) ------------------------------

struct DistributionPoint {
  DerElement name{};        // a DistributionPointName; null pointers when absent
  DerElement crl_issuer{};  // GeneralNames; the same
};

// DistributionPoint ::= SEQUENCE { distributionPoint [0] DistributionPointName OPTIONAL,
//                                  reasons [1] ReasonFlags OPTIONAL,
//                                  cRLIssuer [2] GeneralNames OPTIONAL }
// `reasons` is not looked at: a list of some reasons only does not load, and one of all reasons has
// those of the point.
[[nodiscard]] bool ReadPoint(DerCursor in, DistributionPoint* point) {
  DerElement element;
  if (!in.empty() && *in.at == kTagPoint) {
    if (!Take(&in, kTagPoint, &element)) return false;
    DerCursor inner = ContentOf(element);
    if (ReadDerElement(&inner, &point->name) != DerFault::kNone || !inner.empty()) return false;
  }
  if (!in.empty() && *in.at == kTagReasons && !Take(&in, kTagReasons, &element)) return false;
  return in.empty() || (Take(&in, kTagCrlIssuer, &point->crl_issuer) && in.empty());
}

// True when one of the general names passes `test`.
template <typename Test>
bool AnyName(DerCursor names, Test test) {
  DerElement name;
  while (!names.empty() && ReadDerElement(&names, &name) == DerFault::kNone) {
    if (test(name)) return true;
  }
  return false;
}

bool NamesListIssuer(const CVD_CRL& crl, const DerElement& name) {
  StackName directory;
  return *name.begin == kTagDirectoryName && directory.Read(ContentOf(name)) &&
         CVD_ASN_CmpName(directory.get(), &IssuerOf(crl)) == 0;
}

// A point that names a cRLIssuer is served by that issuer's lists, another one by those of the
// certificate's issuer. Where the list has a distribution point they must share a name; a point
// without a name of its own goes by the name of its cRLIssuer (section 6.3.3, step b, 2, i).
bool PointCovers(const CVD_CRL& crl, const DistributionPoint& point, bool own, NamesLeft* left) {
  const bool has_issuer = point.crl_issuer.begin != nullptr;
  const DerCursor issuers = ContentOf(point.crl_issuer);
  if (has_issuer ? !AnyName(issuers, [&](auto& name) { return NamesListIssuer(crl, name); })
                 : !own) {
    return false;
  }
  if (!HasPoint(crl)) return true;
  const auto is_point = [&](const DerElement& name) {
    return left->Take() && IsPointGeneralName(crl, name);
  };
  if (point.name.begin == nullptr) return AnyName(issuers, is_point);
  if (*point.name.begin == kTagFullName) return AnyName(ContentOf(point.name), is_point);
  // Relative to the issuer of the lists that serve the point, which is this list's.
  StackName full;
  return *point.name.begin == kTagRelativeName && left->Take() && full.Begin(IssuerOf(crl)) &&
         full.ReadRdn(ContentOf(point.name)) && IsPointName(crl, *full.get());
}

bool AnyPointCovers(const CVD_CRL& crl, const CVD_Certificate& certificate, bool own) {
  const CVD_Extension* extension = FindExtension<CVD_OID_CRL_DISTRIBUTION_POINTS>(certificate);
  if (extension == nullptr) return false;
  DerCursor in = ValueOf(*extension);
  if (!TakeWhole(&in, kTagSequence)) return false;
  NamesLeft left(crl);
  while (!in.empty()) {
    DerElement element;
    DistributionPoint point;
    if (!Take(&in, kTagSequence, &element) || !ReadPoint(ContentOf(element), &point)) return false;
    if (PointCovers(crl, point, own, &left)) return true;
  }
  return false;
}

// ---- the list's scope ----------------------------------------------------------------------

// BasicConstraints ::= SEQUENCE { cA BOOLEAN DEFAULT FALSE, pathLenConstraint INTEGER OPTIONAL }
// False for a value that is none.
[[nodiscard]] bool ReadCa(const CVD_Certificate& certificate, bool* ca) {
  *ca = false;
  const CVD_Extension* extension = FindExtension<CVD_OID_BASIC_CONSTRAINTS>(certificate);
  if (extension == nullptr) return true;
  DerCursor in = ValueOf(*extension);
  DerElement element;
  if (!TakeWhole(&in, kTagSequence)) return false;
  if (!in.empty() && *in.at == kTagBoolean) {
    if (!Take(&in, kTagBoolean, &element) || element.length() != 1) return false;
    *ca = *element.content != 0;
  }
  return in.empty() || (Take(&in, kTagInteger, &element) && in.empty());
}

// True when the list is about another kind of certificates. One that does not tell its kind is of
// none.
bool LeavesOutKind(const CVD_IssuingDistributionPoint& idp, const CVD_Certificate& certificate) {
  if (idp.onlyContainsAttributeCerts != 0) return true;
  if (idp.onlyContainsUserCerts == 0 && idp.onlyContainsCACerts == 0) return false;
  bool ca = false;
  return !ReadCa(certificate, &ca) || ca != (idp.onlyContainsCACerts != 0);
}

bool SpeaksOf(const CVD_CRL& crl, const CVD_Name& issuer) {
  return std::any_of(crl.issuers, crl.issuers + crl.issuer_count,
                     [&](const auto* names) { return HasDirectoryName(names->first, issuer); });
}

// 0 when the list covers the certificate; `own`: the list's issuer is the certificate's.
[[nodiscard]] uint32_t CheckScope(const CVD_CRL& crl, const CVD_Certificate& certificate,
                                  bool own) {
  if (!own && !IsIndirect(crl)) return CVD_CRL_ERR_ISSUER;
  if (crl.idp == nullptr) return 0;
  const bool covered = (own && !HasPoint(crl)) || AnyPointCovers(crl, certificate, own);
  if (!covered && !own && !SpeaksOf(crl, certificate.tbsCertificate.issuer)) {
    return CVD_CRL_ERR_ISSUER;
  }
  if (!covered && HasPoint(crl)) return CVD_CRL_ERR_SCOPE;
  return LeavesOutKind(*crl.idp, certificate) ? static_cast<uint32_t>(CVD_CRL_ERR_SCOPE) : 0;
}

uint32_t Query(const CVD_CRL& crl, const CVD_Certificate& certificate) {
  const CVD_TBSCertificate& tbs = certificate.tbsCertificate;
  const bool own = CVD_ASN_CmpName(&IssuerOf(crl), &tbs.issuer) == 0;
  if (const uint32_t status = CheckScope(crl, certificate, own); status != 0) return status;
  Bytes serial;
  if (tbs.serialNumber.data != nullptr) {
    serial = {tbs.serialNumber.data, tbs.serialNumber.length};
  }
  return HasEntry(crl, serial, tbs.issuer, own) ? 1 : 0;
}

}  // namespace
}  // namespace corvid

uint32_t CVD_IsCertRevoked(void* /*context*/, const CVD_CRL* crl,
                           const CVD_Certificate* certificate) {
  if (crl == nullptr || certificate == nullptr) return CVD_CRL_ERR_INVALID_INPUT;
  return corvid::Query(*crl, *certificate);
}
