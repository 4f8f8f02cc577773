// Makes the request for a certificate like a given one. Each part of the certificate fills its keys
// of the request, or leaves a note.
#include <algorithm>
#include <iterator>

#include "as_request.h"
#include "certificate_checks.h"
#include "der.h"
#include "escape.h"
#include "oid_names.h"
#include "refusals.h"
#include "reporter.h"
#include "request_checks.h"
#include "subject_key.h"

namespace corvid::tool {
namespace {

// The value of an attribute as a subject's text has it: hexadecimal escapes can stand everywhere,
// other ones not.
std::string EscapedValue(std::string_view value) {
  std::string text;
  for (size_t at = 0; at < value.size(); ++at) {
    const char c = value[at];
    const bool edge = c == ' ' && (at == 0 || at + 1 == value.size());
    if (edge || static_cast<uint8_t>(c) < 0x20 ||
        std::string_view("\\,=+<>;").find(c) != std::string_view::npos) {
      text.push_back('\\');
      AppendHex(value.substr(at, 1), &text);
    } else {
      text.push_back(c);
    }
  }
  return text;
}

// What a library that issues it makes of an attribute's text.
std::string EncodedValue(const std::string& text) {
  CVD_Name name{0, 0, nullptr};
  std::string value;
  if (CVD_ImplementRDN(nullptr, &name, text.c_str()) == 0) {
    value = pkc::Octets(name.rdnSequence->relativeDistinguishedName->value).text();
  }
  CVD_NameFree(&name);
  return value;
}

bool Is(const CVD_OID& oid, int32_t number) {
  return CVD_ASN_CmpOID(&oid, CVD_ASN_GetOID(number)) == 0;
}

struct KeyUsageRow {
  int32_t pkeyID;
  uint16_t end_entity;
  uint16_t ca;
};
// What the library gives to the kinds of certificates.
constexpr KeyUsageRow kKeyUsages[] = {{CVD_PKEY_RSA, 0xF000, 0xE600},
                                      {CVD_PKEY_DSA, 0xC000, 0xC600},
                                      {CVD_PKEY_KCDSA, 0xC000, 0xC600}};

class Maker {
 public:
  Maker(const CVD_Certificate& certificate, pkc::Octets der, std::vector<RequestNote>* notes)
      : certificate_(certificate), tbs_(certificate.tbsCertificate), der_(der), notes_(*notes) {}

  IssueRequest Make() {
    Version();
    SerialNumber();
    SignatureAlgorithm();
    Subject();
    request_.not_before = pkc::Seconds(tbs_.notBefore);
    request_.not_after = pkc::Seconds(tbs_.notAfter);
    PublicKey();
    request_.self_signed =
        CVD_ASN_CmpName(&tbs_.issuer, &tbs_.subject) == 0 &&
        CVD_PKC_VerifySignature(&certificate_, &certificate_) != PKC_ERR_INVALID_SIGNATURE;
    request_.ca = CVD_CheckCaOrNot(nullptr, &certificate_) == 1;
    for (const auto& node : pkc::Nodes(tbs_.extensions)) Extension(node.extension);
    DropWhatIsRefused();
    return std::move(request_);
  }

 private:
  struct ExtensionRow {
    int32_t number;
    bool critical;  // as the library issues it
    void (Maker::*read)(const CVD_Extension&);
  };
  static const ExtensionRow kRows[];

  void Note(std::string_view key, std::string text) {
    notes_.push_back({std::string(key), std::move(text)});
  }

  // ---- fixed fields ------------------------------------------------------------------------

  void Version() {
    constexpr int32_t kVersion3 = 2;
    if (tbs_.version != kVersion3) Note("version", "becomes 3");
    if ((tbs_.present & 0x60) != 0) Note("uniqueIdentifiers", "are left out");
  }

  void SerialNumber() {
    const pkc::Octets octets = tbs_.serialNumber;
    const bool negative = !octets.empty() && (octets[0] & 0x80) != 0;
    const bool fits = octets.size() <= 4 || (octets.size() == 5 && octets[0] == 0);
    if (fits && !negative) CVD_HugeToNumEx(&tbs_.serialNumber, &request_.serial_number);
    if (request_.serial_number == 0) Note("serialNumber", "becomes a random one of 32 bits");
  }

  void SignatureAlgorithm() {
    const int32_t signID = CVD_PKC_ObjID_To_SignID(&tbs_.signature.algorithm);
    if (DefaultSignature(KeyOfSignature(signID)) != 0) {
      request_.signID = signID;
    } else {
      Note("signature", oids_.Of(tbs_.signature.algorithm).title + " cannot be made");
    }
  }

  void PublicKey() {
    SubjectKey key;
    Refusals refusals;
    request_.key_der = FindSubjectPublicKeyInfo(der_).text();
    DecodeSubjectKey(pkc::Octets(*request_.key_der), "", "", &key, &refusals);
    pkeyID_ = key.pkeyID;
    for (const Problem& problem : refusals.problems()) {
      Note("publicKey", "will be refused: " + problem.reason);
    }
  }

  // ---- the subject -------------------------------------------------------------------------

  // The text begins with what is encoded last.
  void Subject() {
    bool same_types = true;
    for (const auto& rdn : pkc::Nodes(tbs_.subject.rdnSequence)) {
      std::string component;
      for (const auto& attribute : pkc::Nodes(rdn.relativeDistinguishedName)) {
        std::string text;
        if (!Attribute(attribute, &text)) continue;
        same_types = same_types && EncodedValue(text) == pkc::Octets(attribute.value).text();
        if (!component.empty()) text.append("+").append(component);
        component = std::move(text);
      }
      if (component.empty()) continue;
      request_.subject = request_.subject.empty() ? component : component + ',' + request_.subject;
    }
    if (request_.subject.empty()) Note("subject", "is empty, and must be written by hand");
    if (!same_types) Note("subject", "changes the string types of values");
  }

  bool Attribute(const CVD_AttributeTypeAndValueNode& attribute, std::string* text) {
    const OidName& id = oids_.Of(attribute.type);
    const char* label = NameLabel(id.dotted);
    const StringValue value = DecodeString(attribute.value);
    if (label == nullptr || value.type == nullptr || !value.status.ok()) {
      Note("subject", id.title + " is left out");
      return false;
    }
    *text = std::string(label) + '=' + EscapedValue(value.text);
    Refusals refusals;
    CheckSubject(*text, "", "", &refusals);
    if (refusals.empty()) return true;
    Note("subject", id.title + " is left out: " + refusals.problems().front().reason);
    return false;
  }

  // ---- extensions --------------------------------------------------------------------------

  void Extension(const CVD_Extension& extension);

  template <typename Record>
  bool Decode(const CVD_Extension& extension, pkc::Decoded<Record>* record) {
    const pkc::Status status = record->Decode(extension.extnValue);
    if (!status.ok()) Note(title_, "is left out: " + ReasonOf(status));
    return status.ok();
  }

  // Fills a key that is still empty; what comes later finds no place.
  void Fill(std::optional<std::string>* field, std::string text, const char* what) {
    if (field->has_value()) return Note(title_, std::string(what) + " after the first is left out");
    *field = std::move(text);
  }

  void KeyUsage(const CVD_Extension& extension) {
    pkc::Decoded<CVD_KeyUsage> usage;
    if (!Decode(extension, &usage)) return;
    const auto* row = std::find_if(std::begin(kKeyUsages), std::end(kKeyUsages),
                                   [&](const KeyUsageRow& r) { return r.pkeyID == pkeyID_; });
    const bool same =
        row != std::end(kKeyUsages) && usage->usage == (request_.ca ? row->ca : row->end_entity);
    if (!same) Note(title_, "becomes that of the certificate's kind");
  }

  void BasicConstraints(const CVD_Extension& extension) {
    pkc::Decoded<CVD_BasicConstraints> constraints;
    if (!Decode(extension, &constraints)) return;
    if ((constraints->present & 0x40) != 0) Note(title_, "loses pathLenConstraint");
  }

  void Policies(const CVD_Extension& extension) {
    pkc::Decoded<CVD_CertificatePolicies> policies;
    if (!Decode(extension, &policies)) return;
    for (const auto& policy : pkc::Nodes(policies->first)) {
      if (request_.policy) return Note(title_, "policies after the first are left out");
      request_.policy = oids_.Of(policy.policyIdentifier).dotted;
      if ((policy.present & 0x80) == 0) continue;
      for (const auto& qualifier : pkc::Nodes(policy.policyQualifiers)) Qualifier(qualifier);
    }
  }

  void Qualifier(const CVD_PolicyQualifierInfoNode& qualifier) {
    if (Is(qualifier.policyQualifierId, CVD_OID_QT_CPS)) {
      return String(qualifier.qualifier, &request_.cps, "a CPS pointer");
    }
    Element notice;
    if (!Is(qualifier.policyQualifierId, CVD_OID_QT_UNOTICE) ||
        !DerReader(qualifier.qualifier).Next(kTagSequence, &notice)) {
      return Note(title_, "a qualifier is left out");
    }
    DerReader parts(notice.content);
    Element reference;
    Element text;
    if (parts.Next(kTagSequence, &reference)) Note(title_, "a notice reference is left out");
    if (parts.Next(&text)) String(text.whole, &request_.notice, "a user notice");
  }

  void String(pkc::Octets der, std::optional<std::string>* field, const char* what) {
    const StringValue value = DecodeString(der);
    const bool carried =
        value.type != nullptr && value.status.ok() && value.text.find('\0') == std::string::npos;
    if (carried) return Fill(field, value.text, what);
    Note(title_, std::string(what) + " is left out");
  }

  // A request's VID is one of SHA-1 and stands beside a name.
  void AlternativeName(const CVD_Extension& extension) {
    pkc::Decoded<CVD_GeneralNames> names;
    if (!Decode(extension, &names)) return;
    bool others = false;
    for (const auto& node : pkc::Nodes(names->first)) {
      const bool identity = node.generalName.choice == CVD_GENERAL_NAME_OTHER &&
                            Is(node.generalName.name.otherName.typeId, CVD_OID_IDENTITY_DATA);
      others = others || !identity;
      if (identity) Identity();
    }
    if (others) Note(title_, "names beside identity data are left out");
  }

  void Identity() {
    std::vector<char> name(der_.size() + 1);
    auto size = static_cast<uint32_t>(name.size());
    int32_t hashID = 0;
    pkc::Bin vid;
    const pkc::Status status =
        CVD_PKC_GetVIDInfo(name.data(), &size, &hashID, vid.out(), &certificate_);
    if (!status.ok() || hashID != CVD_HASH_SHA1) {
      return Note(title_, "identity data without a VID of SHA-1 is left out");
    }
    Fill(&request_.holder_name, name.data(), "identity data");
    request_.vid = vid.octets().text();
  }

  void DistributionPoints(const CVD_Extension& extension) {
    pkc::Decoded<CVD_CRLDistributionPoints> points;
    if (!Decode(extension, &points)) return;
    for (const auto& point : pkc::Nodes(points->first)) {
      if ((point.present & 0x60) != 0) Note(title_, "reasons and issuers of lists are left out");
      const bool named = (point.present & 0x80) != 0 &&
                         point.distributionPoint.choice == CVD_DISTRIBUTION_POINT_FULL_NAME;
      if (!named) {
        Note(title_, "a point without a URI is left out");
        continue;
      }
      for (const auto& node : pkc::Nodes(point.distributionPoint.name.fullName)) {
        Uri(node.generalName, &request_.crl, "a point");
      }
    }
  }

  void InfoAccess(const CVD_Extension& extension) {
    pkc::Decoded<CVD_AuthorityInfoAccessSyntax> access;
    if (!Decode(extension, &access)) return;
    for (const auto& node : pkc::Nodes(access->first)) {
      if (Is(node.accessMethod, CVD_OID_AD_OCSP)) {
        Uri(node.accessLocation, &request_.ocsp, "an OCSP address");
      } else {
        Note(title_, oids_.Of(node.accessMethod).title + " is left out");
      }
    }
  }

  void Uri(const CVD_GeneralName& name, std::optional<std::string>* field, const char* what) {
    if (name.choice != CVD_GENERAL_NAME_URI) {
      return Note(title_, std::string(what) + " without a URI is left out");
    }
    Fill(field, name.name.uniformResourceIdentifier, what);
  }

  // ---- what pkc issue would refuse -----------------------------------------------------------

  void DropWhatIsRefused() {
    Refusals refusals;
    CheckRequest(request_, "", &refusals);
    for (const Problem& problem : refusals.problems()) Drop(problem.path, problem.reason);
  }

  void Drop(const std::string& key, const std::string& reason) {
    if (key == "validity") return ReplaceValidity(reason);
    if (key == "subject") return;  // told already
    Note(key, "is left out: " + reason);
    if (key == "policy") request_.policy.reset();
    if (key == "policy" || key == "cps") request_.cps.reset();
    if (key == "policy" || key == "notice") request_.notice.reset();
    if (key == "holderName" || key == "vid") request_.holder_name.reset();
    if (key == "holderName" || key == "vid") request_.vid.reset();
    if (key == "crl") request_.crl.reset();
    if (key == "ocsp") request_.ocsp.reset();
  }

  void ReplaceValidity(const std::string& reason) {
    constexpr int64_t kFirst = 946684800;  // 2000-01-01T00:00:00Z
    constexpr int64_t kLast = 2524607999;  // 2049-12-31T23:59:59Z
    request_.not_before = std::clamp(request_.not_before, kFirst, kLast);
    request_.not_after = std::clamp(request_.not_after, request_.not_before, kLast);
    Note("validity", reason + ", and is cut");
  }

  const CVD_Certificate& certificate_;
  const CVD_TBSCertificate& tbs_;
  pkc::Octets der_;
  std::vector<RequestNote>& notes_;
  OidNames oids_;
  IssueRequest request_;
  int32_t pkeyID_ = CVD_PKEY_UNKNOWN;
  std::string title_;  // of the extension at hand
};

const Maker::ExtensionRow Maker::kRows[] = {
    {CVD_OID_AUTHORITY_KEY_IDENTIFIER, false, nullptr},
    {CVD_OID_SUBJECT_KEY_IDENTIFIER, false, nullptr},
    {CVD_OID_KEY_USAGE, true, &Maker::KeyUsage},
    {CVD_OID_CERTIFICATE_POLICIES, false, &Maker::Policies},
    {CVD_OID_SUBJECT_ALT_NAME, false, &Maker::AlternativeName},
    {CVD_OID_BASIC_CONSTRAINTS, true, &Maker::BasicConstraints},
    {CVD_OID_CRL_DISTRIBUTION_POINTS, false, &Maker::DistributionPoints},
    {CVD_OID_AUTHORITY_INFO_ACCESS, false, &Maker::InfoAccess},
};

void Maker::Extension(const CVD_Extension& extension) {
  const auto* row = std::find_if(std::begin(kRows), std::end(kRows), [&](const ExtensionRow& r) {
    return Is(extension.extnID, r.number);
  });
  const std::string& title = oids_.Of(extension.extnID).title;
  if (row == std::end(kRows)) return Note(title, "is left out");
  // Certificates that are no CA's get none.
  if (row->number == CVD_OID_BASIC_CONSTRAINTS && !request_.ca) return;
  const bool critical = extension.critical != 0;
  if (critical != row->critical) Note(title, critical ? "loses critical" : "becomes critical");
  title_ = title;
  if (row->read != nullptr) (this->*row->read)(extension);
}

}  // namespace

IssueRequest MakeRequest(const CVD_Certificate& certificate, pkc::Octets der,
                         std::vector<RequestNote>* notes) {
  return Maker(certificate, der, notes).Make();
}

}  // namespace corvid::tool
