// Makes the report of one certificate from its decoded record: nothing is cut or left out, and a
// field that fails says so in its place while the rest stands.
#ifndef CORVID_TOOLS_PKC_REPORTER_H_
#define CORVID_TOOLS_PKC_REPORTER_H_

#include <string>
#include <string_view>
#include <vector>

#include "corvid/pkc.hpp"
#include "oid_names.h"
#include "problem.h"
#include "report.h"

namespace corvid::tool {

// The label of an attribute type in the one-line form of names ("cn"), or null.
const char* NameLabel(std::string_view dotted);

// One a thread: it keeps its memory from certificate to certificate.
class Reporter {
 public:
  // Where the certificate comes from; goes into the report and into every problem.
  struct Origin {
    std::string_view input;
    uint64_t certificate;
  };

  explicit Reporter(bool upper_labels) : upper_labels_(upper_labels) {}

  // Decodes the certificate and builds its report. False when it does not decode: there is no
  // report then, and one problem. Else `problems` are those of single fields.
  bool Read(const Origin& origin, pkc::Octets der);

  // One line for a name, whole, as the report has it.
  std::string NameText(const CVD_Name& name);

  const Report& report() const { return report_; }
  const std::vector<Problem>& problems() const { return problems_; }

 private:
  struct ExtensionRow;
  static const ExtensionRow kExtensionRows[];

  // The parts of a certificate (reporter.cc).
  void Certificate(const CVD_Certificate& certificate);
  void Serial(Key key, const char* label, const Huge& serial);
  void Time(Key key, const char* label, const CVD_Time& time);
  void PublicKey(const CVD_SubjectPublicKeyInfo& info);
  void KeyLength(const CVD_SubjectPublicKeyInfo& info);
  void KeyIdentifier(pkc::Octets key);
  void Fingerprints(pkc::Octets der);
  void Algorithm(Key key, const char* label, const CVD_AlgorithmIdentifier& algorithm);
  void BitString(Key key, const char* label, const CVD_BitString& bits);
  void Oid(Key key, const char* label, const CVD_OID& oid);
  void OidItems(const OidName& id);

  // Names (name_report.cc).
  void Name(Key key, const char* label, std::string_view field, const CVD_Name& name);
  void Attributes(std::string_view field, const CVD_AttributeTypeAndValueNode* first);
  void Attribute(std::string_view field, const CVD_AttributeTypeAndValueNode& attribute);
  bool IsPlain(const CVD_AttributeTypeAndValueNode& attribute);
  void AppendRdn(const CVD_AttributeTypeAndValueNode* first, std::string* text);

  // Extension values (extension_report.cc).
  void Extensions(const CVD_ExtensionNode* first);
  void ExtensionValue(const OidName& id, const CVD_Extension& extension);
  void RepairedPolicies(const CVD_Extension& extension);
  void AuthorityKeyIdentifier(const CVD_AuthorityKeyIdentifier& value);
  void SubjectKeyIdentifier(const CVD_SubjectKeyIdentifier& value);
  void KeyUsage(const CVD_KeyUsage& value);
  void NetscapeCertType(const CVD_NetscapeCertType& value);
  void BasicConstraints(const CVD_BasicConstraints& value);
  void ExtKeyUsage(const CVD_ExtKeyUsageSyntax& value);
  void AlternativeNames(const CVD_GeneralNames& value);
  void InfoAccess(const CVD_AuthorityInfoAccessSyntax& value);
  void DistributionPoints(const CVD_CRLDistributionPoints& value);
  void DistributionPoint(const CVD_DistributionPointNode& point);
  void Policies(const CVD_CertificatePolicies& value);
  void PolicyQualifier(const CVD_PolicyQualifierInfoNode& qualifier);
  void UserNotice(pkc::Octets der);
  void NoticeReference(pkc::Octets content);
  void NoticeNumber(pkc::Octets content);
  void FlagNames(Key key, const char* label, const char* const* names, size_t count,
                 pkc::Octets octets, uint32_t bits);
  void GeneralNames(Key key, const char* label, const CVD_GeneralNameNode* first);
  void GeneralName(const CVD_GeneralName& name);
  void OtherName(const CVD_OtherName& name);
  void IdentityData(const CVD_IdentityData& data);
  void UserInfo(const CVD_UserInfoNode& info);
  void IpAddress(pkc::Octets address);
  // A string of any type, or the DER of another value.
  void StringOrDer(Key key, const char* label, pkc::Octets der);

  // Of what is at hand, for problems.
  std::string Path() const;
  // Says in place, under `key`, that a field below the current path failed.
  void Fail(std::string_view field, pkc::Status status, Key key = "error");
  void Fail(Problem problem, Key key);

  template <typename Record, void (Reporter::*kShow)(const Record&)>
  pkc::Status DecodeAndShow(pkc::Octets der);

  static constexpr size_t kNoExtension = SIZE_MAX;

  bool upper_labels_;
  Report report_;
  OidNames oids_;
  std::vector<Problem> problems_;
  Origin origin_{};
  pkc::Octets der_;
  bool in_tbs_ = true;                  // the part that is signed
  size_t extension_ = kNoExtension;     // the index of the extension at hand
  std::vector<int64_t> value_offsets_;  // of all extensions, once one has failed
  std::string scratch_;
};

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_REPORTER_H_
