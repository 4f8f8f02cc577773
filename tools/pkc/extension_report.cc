// The report of a certificate's extensions (RFC 5280 section 4.2): a row an identifier, a function
// a type. What has no row, or does not decode, is shown in hexadecimal.
#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <iterator>

#include "der.h"
#include "reporter.h"

namespace corvid::tool {
namespace {

constexpr const char* kKeyUsageNames[] = {"digitalSignature", "nonRepudiation", "keyEncipherment",
                                          "dataEncipherment", "keyAgreement",   "keyCertSign",
                                          "cRLSign",          "encipherOnly",   "decipherOnly"};
constexpr const char* kNetscapeTypeNames[] = {"sslClient", "sslServer",      "smime",
                                              nullptr,     "objectSigning",  "sslCA",
                                              "smimeCA",   "objectSigningCA"};
constexpr const char* kReasonNames[] = {
    "unused",      "keyCompromise",        "cACompromise",    "affiliationChanged",
    "superseded",  "cessationOfOperation", "certificateHold", "privilegeWithdrawn",
    "aACompromise"};

// Where the values of a certificate's extensions begin in its DER.
std::vector<int64_t> FindExtensionValues(pkc::Octets der) {
  std::vector<int64_t> offsets;
  Element element;
  if (!DerReader(der).Next(kTagSequence, &element)) return offsets;
  if (!DerReader(element.content).Next(kTagSequence, &element)) return offsets;
  DerReader fields(element.content);
  do {
    if (!fields.Next(&element)) return offsets;
  } while (element.tag != kTagExtensions);
  if (!DerReader(element.content).Next(kTagSequence, &element)) return offsets;
  DerReader extensions(element.content);
  while (extensions.Next(kTagSequence, &element)) {
    DerReader parts(element.content);
    Element value;
    while (parts.Next(&value) && value.tag != kTagOctetString) {
    }
    offsets.push_back(value.content.data() - der.data());
  }
  return offsets;
}

}  // namespace

struct Reporter::ExtensionRow {
  std::string_view dotted;
  pkc::Status (Reporter::*show)(pkc::Octets);  // null: one string
};

template <typename Record, void (Reporter::*kShow)(const Record&)>
pkc::Status Reporter::DecodeAndShow(pkc::Octets der) {
  pkc::Decoded<Record> record;
  if (const pkc::Status status = record.Decode(der); !status.ok()) return status;
  (this->*kShow)(*record);
  return {};
}

#define CORVID_SHOW(record, function) &Reporter::DecodeAndShow<CVD_##record, &Reporter::function>
const Reporter::ExtensionRow Reporter::kExtensionRows[] = {
    {"2.5.29.35", CORVID_SHOW(AuthorityKeyIdentifier, AuthorityKeyIdentifier)},
    {"2.5.29.14", CORVID_SHOW(SubjectKeyIdentifier, SubjectKeyIdentifier)},
    {"2.5.29.15", CORVID_SHOW(KeyUsage, KeyUsage)},
    {"2.5.29.32", CORVID_SHOW(CertificatePolicies, Policies)},
    {"2.5.29.17", CORVID_SHOW(GeneralNames, AlternativeNames)},
    {"2.5.29.18", CORVID_SHOW(GeneralNames, AlternativeNames)},
    {"2.5.29.19", CORVID_SHOW(BasicConstraints, BasicConstraints)},
    {"2.5.29.31", CORVID_SHOW(CRLDistributionPoints, DistributionPoints)},
    {"2.5.29.46", CORVID_SHOW(CRLDistributionPoints, DistributionPoints)},
    {"2.5.29.37", CORVID_SHOW(ExtKeyUsageSyntax, ExtKeyUsage)},
    {"1.3.6.1.5.5.7.1.1", CORVID_SHOW(AuthorityInfoAccessSyntax, InfoAccess)},
    {"1.3.6.1.5.5.7.1.11", CORVID_SHOW(AuthorityInfoAccessSyntax, InfoAccess)},
    {"2.16.840.1.113730.1.1", CORVID_SHOW(NetscapeCertType, NetscapeCertType)},
    {"2.16.840.1.113730.1.2", nullptr},
    {"2.16.840.1.113730.1.3", nullptr},
    {"2.16.840.1.113730.1.4", nullptr},
    {"2.16.840.1.113730.1.7", nullptr},
    {"2.16.840.1.113730.1.8", nullptr},
    {"2.16.840.1.113730.1.12", nullptr},
    {"2.16.840.1.113730.1.13", nullptr},
    {"1.2.410.100001.5.7.101.1", nullptr},
    {"1.2.410.100001.5.7.101.2", nullptr},
    {"1.2.410.100001.5.7.101.3", nullptr},
    {"1.2.410.100001.5.7.101.4", nullptr},
};
#undef CORVID_SHOW

void Reporter::Extensions(const CVD_ExtensionNode* first) {
  report_.List("extensions", "Extensions", {first == nullptr ? "(none)" : ""});
  extension_ = 0;
  value_offsets_.clear();
  for (const auto& node : pkc::Nodes(first)) {
    const CVD_Extension& extension = node.extension;
    const OidName& id = oids_.Of(extension.extnID);
    report_.Object(nullptr, nullptr, {id.title, extension.critical != 0 ? ", critical" : ""});
    OidItems(id);
    report_.Flag("critical", nullptr, extension.critical != 0);
    ExtensionValue(id, extension);
    report_.End();
    ++extension_;
  }
  extension_ = kNoExtension;
  report_.End();
}

void Reporter::ExtensionValue(const OidName& id, const CVD_Extension& extension) {
  const auto* row = std::find_if(std::begin(kExtensionRows), std::end(kExtensionRows),
                                 [&](const ExtensionRow& r) { return r.dotted == id.dotted; });
  if (row == std::end(kExtensionRows)) {
    return report_.Octets("der", "Value", extension.extnValue);
  }
  if (row->show == nullptr) return StringOrDer("value", "Value", extension.extnValue);
  const pkc::Status status = (this->*row->show)(extension.extnValue);
  if (status.ok()) return;
  const CVD_ASNFailure failure = pkc::DecodeFailure(status);
  Problem problem;
  if (value_offsets_.empty()) value_offsets_ = FindExtensionValues(der_);
  if (extension_ < value_offsets_.size()) {
    problem.offset = value_offsets_[extension_] + failure.offset;
  }
  problem.path = Path();
  if (failure.path[0] != '\0') {
    if (failure.path[0] != '[') problem.path += '.';
    problem.path += failure.path;
  }
  problem.code = status.code();
  problem.reason = ReasonOf(status);
  Fail(std::move(problem), "error");
  if (row->dotted == "2.5.29.32") RepairedPolicies(extension);
  report_.Octets("der", "Value", extension.extnValue);
}

// The library's renderer reads one known defect of issued policies that the decoder refuses.
void Reporter::RepairedPolicies(const CVD_Extension& extension) {
  CVD_ExtensionNode node{nullptr, extension};
  int32_t count = 0;
  std::array<char, 1024> policies{};
  std::array<char, 1024> qualifiers{};
  if (CVD_GetPolicy(nullptr, &node, &count, policies.data(), qualifiers.data()) != 0) return;
  report_.Rendered("renderedPolicies", "Policies, as repaired", {policies.data()});
}

void Reporter::StringOrDer(Key key, const char* label, pkc::Octets der) {
  const StringValue value = DecodeString(der);
  if (value.type != nullptr && value.status.ok()) return report_.Text(key, label, value.text);
  report_.Octets("der", label, der);
  if (!value.status.ok()) Fail(key.view(), value.status);
}

// ---- flags and identifiers -----------------------------------------------------------------

void Reporter::FlagNames(Key key, const char* label, const char* const* names, size_t count,
                         pkc::Octets octets, uint32_t bits) {
  constexpr uint32_t kMostBits = 64;  // of longer strings a list would be all too long
  if (bits > kMostBits) return report_.Octets(key, label, octets);
  scratch_.clear();
  const auto for_each = [&](auto&& use) {
    std::string unnamed;
    for (uint32_t bit = 0; bit < bits && bit / 8 < octets.size(); ++bit) {
      if ((octets[bit / 8] & 0x80U >> bit % 8) == 0) continue;
      const bool named = bit < count && names[bit] != nullptr;
      if (!named) unnamed = "bit " + std::to_string(bit);
      use(named ? std::string_view(names[bit]) : std::string_view(unnamed));
    }
  };
  for_each([&](std::string_view name) {
    scratch_ += scratch_.empty() ? "" : ", ";
    scratch_ += name;
  });
  report_.List(key, label, {scratch_.empty() ? "(none)" : std::string_view(scratch_)});
  for_each([&](std::string_view name) { report_.Known(nullptr, nullptr, name); });
  report_.End();
}

void Reporter::KeyUsage(const CVD_KeyUsage& value) {
  FlagNames("keyUsage", "Usage", kKeyUsageNames, std::size(kKeyUsageNames),
            {value.data, (size_t{value.bits} + 7) / 8}, value.bits);
}

void Reporter::NetscapeCertType(const CVD_NetscapeCertType& value) {
  FlagNames("types", "Types", kNetscapeTypeNames, std::size(kNetscapeTypeNames),
            {value.data, (size_t{value.bits} + 7) / 8}, value.bits);
}

void Reporter::BasicConstraints(const CVD_BasicConstraints& value) {
  report_.Flag("cA", "CA", (value.present & 0x80) != 0 && value.cA != 0);
  if ((value.present & 0x40) != 0) {
    report_.Number("pathLenConstraint", "Path length", value.pathLenConstraint);
  }
}

void Reporter::ExtKeyUsage(const CVD_ExtKeyUsageSyntax& value) {
  report_.List("purposes", nullptr);
  for (const auto& purpose : pkc::Nodes(value.first)) {
    Oid(nullptr, "Purpose", purpose.keyPurposeId);
  }
  report_.End();
}

void Reporter::SubjectKeyIdentifier(const CVD_SubjectKeyIdentifier& value) {
  report_.Octets("keyIdentifier", "Key identifier", value.keyIdentifier);
}

void Reporter::AuthorityKeyIdentifier(const CVD_AuthorityKeyIdentifier& value) {
  if ((value.present & 0x80) != 0) {
    report_.Octets("keyIdentifier", "Key identifier", value.keyIdentifier);
  }
  if ((value.present & 0x40) != 0) {
    GeneralNames("authorityCertIssuer", "Issuer of the authority", value.authorityCertIssuer);
  }
  if ((value.present & 0x20) != 0) {
    Serial("authorityCertSerialNumber", "Serial of the authority", value.authorityCertSerialNumber);
  }
}

// ---- certificate policies ------------------------------------------------------------------

void Reporter::Policies(const CVD_CertificatePolicies& value) {
  report_.List("policies", nullptr);
  for (const auto& policy : pkc::Nodes(value.first)) {
    const OidName& id = oids_.Of(policy.policyIdentifier);
    report_.Object(nullptr, "Policy", {id.title});
    OidItems(id);
    if ((policy.present & 0x80) != 0) {
      report_.List("qualifiers", nullptr);
      for (const auto& qualifier : pkc::Nodes(policy.policyQualifiers)) PolicyQualifier(qualifier);
      report_.End();
    }
    report_.End();
  }
  report_.End();
}

void Reporter::PolicyQualifier(const CVD_PolicyQualifierInfoNode& qualifier) {
  const OidName& id = oids_.Of(qualifier.policyQualifierId);
  const bool notice = id.dotted == "1.3.6.1.5.5.7.2.2";
  report_.Object(nullptr, notice ? "User notice" : nullptr);
  OidItems(id);
  if (notice) {
    UserNotice(qualifier.qualifier);
  } else if (id.dotted == "1.3.6.1.5.5.7.2.1") {
    StringOrDer("cPSuri", "CPS", qualifier.qualifier);
  } else {
    report_.Octets("der", id.label(), qualifier.qualifier);
  }
  report_.End();
}

// UserNotice ::= SEQUENCE { noticeRef NoticeReference OPTIONAL, explicitText DisplayText OPTIONAL }
// Read here, because the library's record leaves the reference and some string types out.
void Reporter::UserNotice(pkc::Octets der) {
  Element notice;
  if (!DerReader(der).Next(kTagSequence, &notice)) {
    report_.Octets("der", "Value", der);
    return Fail("userNotice", PKC_ERR_BAD_POLICIES);
  }
  DerReader parts(notice.content);
  Element reference;
  Element text;
  const bool has_reference = parts.Next(kTagSequence, &reference);
  const bool has_text = parts.Next(&text);
  if (!parts.empty()) {
    report_.Octets("der", "Value", der);
    return Fail("userNotice", PKC_ERR_BAD_POLICIES);
  }
  if (has_reference) NoticeReference(reference.content);
  if (has_text) StringOrDer("explicitText", "Text", text.whole);
}

// NoticeReference ::= SEQUENCE { organization DisplayText, noticeNumbers SEQUENCE OF INTEGER }
void Reporter::NoticeReference(pkc::Octets content) {
  DerReader parts(content);
  Element organization;
  Element numbers;
  report_.Object("noticeRef", nullptr);
  if (!parts.Next(&organization) || !parts.Next(kTagSequence, &numbers) || !parts.empty()) {
    report_.Octets("der", "Reference", content);
    Fail("noticeRef", PKC_ERR_BAD_POLICIES);
    return report_.End();
  }
  StringOrDer("organization", "Organization", organization.whole);
  DerReader list(numbers.content);
  report_.List("noticeNumbers", nullptr);
  for (Element number; list.Next(&number);) {
    NoticeNumber(number.content);
  }
  report_.End();
  if (!list.empty()) Fail("noticeNumbers", PKC_ERR_BAD_POLICIES);
  report_.End();
}

void Reporter::NoticeNumber(pkc::Octets content) {
  if (content.empty() || content.size() > 8) {
    return report_.Octets(nullptr, "Notice number, hex", content);
  }
  uint64_t number = (content[0] & 0x80) != 0 ? ~uint64_t{0} : 0;
  for (const uint8_t octet : content) number = number << 8 | octet;
  report_.Number(nullptr, "Notice number", static_cast<int64_t>(number));
}

// ---- names ---------------------------------------------------------------------------------

void Reporter::AlternativeNames(const CVD_GeneralNames& value) {
  GeneralNames("names", nullptr, value.first);
}

void Reporter::GeneralNames(Key key, const char* label, const CVD_GeneralNameNode* first) {
  report_.List(key, label);
  for (const auto& node : pkc::Nodes(first)) {
    report_.Object(nullptr, nullptr);
    GeneralName(node.generalName);
    report_.End();
  }
  report_.End();
}

void Reporter::GeneralName(const CVD_GeneralName& name) {
  constexpr const char* kTypes[] = {"",
                                    "otherName",
                                    "rfc822Name",
                                    "dNSName",
                                    "x400Address",
                                    "directoryName",
                                    "ediPartyName",
                                    "uniformResourceIdentifier",
                                    "iPAddress",
                                    "registeredID"};
  report_.Known("type", nullptr, kTypes[name.choice < std::size(kTypes) ? name.choice : 0]);
  switch (name.choice) {
    case CVD_GENERAL_NAME_OTHER:
      return OtherName(name.name.otherName);
    case CVD_GENERAL_NAME_RFC822:
      return report_.Text("value", "Mail", name.name.rfc822Name);
    case CVD_GENERAL_NAME_DNS:
      return report_.Text("value", "DNS", name.name.dNSName);
    case CVD_GENERAL_NAME_X400:
      return report_.Octets("contents", "X.400 address", name.name.x400Address);
    case CVD_GENERAL_NAME_DIRECTORY:
      return Name("value", "Directory name", "directoryName", name.name.directoryName);
    case CVD_GENERAL_NAME_EDI_PARTY:
      return report_.Octets("contents", "EDI party", name.name.ediPartyName);
    case CVD_GENERAL_NAME_URI:
      return report_.Text("value", "URI", name.name.uniformResourceIdentifier);
    case CVD_GENERAL_NAME_IP:
      return IpAddress(name.name.iPAddress);
    case CVD_GENERAL_NAME_REGISTERED_ID:
      return Oid("value", "Registered ID", name.name.registeredID);
    default:
      return;
  }
}

// An address, or an address and its mask (RFC 5280 section 4.2.1.10); other sizes as octets.
void Reporter::IpAddress(pkc::Octets address) {
  const size_t size = address.size();
  const bool masked = size == 8 || size == 32;
  if (size != 4 && size != 16 && !masked) return report_.Octets("octets", "IP", address);
  const size_t part = masked ? size / 2 : size;
  const int family = part == 4 ? AF_INET : AF_INET6;
  std::array<char, INET6_ADDRSTRLEN> text{};
  std::array<char, INET6_ADDRSTRLEN> mask{};
  inet_ntop(family, address.data(), text.data(), text.size());
  if (masked) inet_ntop(family, address.data() + part, mask.data(), mask.size());
  report_.Rendered("value", "IP", {text.data(), masked ? "/" : "", mask.data()});
}

void Reporter::OtherName(const CVD_OtherName& name) {
  const OidName& id = oids_.Of(name.typeId);
  OidItems(id);
  if (id.dotted != "1.2.410.200004.10.1.1") {
    const char* label = id.label();
    return StringOrDer("value", label, name.value);
  }
  pkc::Decoded<CVD_IdentityData> data;
  if (const pkc::Status status = data.Decode(name.value); !status.ok()) {
    report_.Octets("der", "Identity data", name.value);
    return Fail("identityData", status);
  }
  IdentityData(*data);
}

void Reporter::IdentityData(const CVD_IdentityData& data) {
  report_.Object("identityData", "Identity data");
  report_.Text("realName", "Name", data.realName);
  report_.List("userInfo", nullptr);
  if ((data.present & 0x80) != 0) {
    for (const auto& info : pkc::Nodes(data.userInfo)) UserInfo(info);
  }
  report_.End();
  report_.End();
}

void Reporter::UserInfo(const CVD_UserInfoNode& info) {
  const OidName& id = oids_.Of(info.type);
  report_.Object(nullptr, nullptr);
  OidItems(id);
  pkc::Decoded<CVD_VID> vid;
  const bool is_vid = id.dotted == "1.2.410.200004.10.1.1.1";
  const pkc::Status status = is_vid ? vid.Decode(info.value) : pkc::Status();
  if (vid) {
    Algorithm("hashAlg", "VID hash", vid->hashAlg);
    report_.Octets("virtualID", "VID", vid->virtualID);
  } else {
    report_.Octets("der", id.label(), info.value);
    if (!status.ok()) Fail("virtualID", status);
  }
  report_.End();
}

void Reporter::InfoAccess(const CVD_AuthorityInfoAccessSyntax& value) {
  report_.List("accessDescriptions", nullptr);
  for (const auto& access : pkc::Nodes(value.first)) {
    const OidName& id = oids_.Of(access.accessMethod);
    report_.Object(nullptr, nullptr, {id.title});
    OidItems(id);
    report_.Object("accessLocation", nullptr);
    GeneralName(access.accessLocation);
    report_.End();
    report_.End();
  }
  report_.End();
}

void Reporter::DistributionPoints(const CVD_CRLDistributionPoints& value) {
  report_.List("distributionPoints", nullptr);
  for (const auto& point : pkc::Nodes(value.first)) {
    report_.Object(nullptr, "Distribution point");
    DistributionPoint(point);
    report_.End();
  }
  report_.End();
}

void Reporter::DistributionPoint(const CVD_DistributionPointNode& point) {
  const CVD_DistributionPointName& name = point.distributionPoint;
  if ((point.present & 0x80) != 0) {
    if (name.choice == CVD_DISTRIBUTION_POINT_FULL_NAME) {
      GeneralNames("fullName", nullptr, name.name.fullName);
    } else {
      report_.List("nameRelativeToCRLIssuer", "Relative name");
      Attributes("nameRelativeToCRLIssuer", name.name.nameRelativeToCRLIssuer);
      report_.End();
    }
  }
  if ((point.present & 0x40) != 0) {
    FlagNames("reasons", "Reasons", kReasonNames, std::size(kReasonNames),
              {point.reasons.data, (size_t{point.reasons.bits} + 7) / 8}, point.reasons.bits);
  }
  if ((point.present & 0x20) != 0) GeneralNames("cRLIssuer", "CRL issuer", point.cRLIssuer);
}

}  // namespace corvid::tool
