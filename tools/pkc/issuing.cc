// Signing, and the checks of the result.
#include "issuing.h"

#include <optional>
#include <string>
#include <vector>

#include "as_request.h"
#include "certificate_checks.h"

namespace corvid::tool {
namespace {

const char* TextOf(const std::optional<std::string>& text) {
  return text ? text->c_str() : nullptr;
}

pkc::Status Sign(const Issuance& issuance, pkc::Bin* der) {
  const IssueRequest& request = issuance.request;
  const SubjectKey& key = issuance.subject_key;
  const BIN vid = request.vid ? pkc::Octets(*request.vid).bin() : BIN{0, nullptr};
  const BIN parameters = pkc::Octets(key.parameters).bin();
  const BIN octets = pkc::Octets(key.octets).bin();
  const PKCGenExtOptions options{TextOf(request.policy),       TextOf(request.cps),
                                 TextOf(request.notice),       TextOf(request.holder_name),
                                 request.vid ? &vid : nullptr, TextOf(request.crl),
                                 TextOf(request.ocsp)};
  const PKCGenContext context{issuance.signer.public_key.pkeyID, 0,
                              issuance.signer.key.get(),         0,
                              request.self_signed ? 1 : 0,       request.ca ? 1 : 0};
  return CVD_PKC_GenCertificate(der->out(), request.serial_number, request.signID,
                                request.not_before, request.not_after, request.subject.c_str(),
                                key.pkeyID, &parameters, &octets, issuance.issuer, &options,
                                &context);
}

bool HasSubject(const CVD_Name& subject, const std::string& text) {
  CVD_Name name{0, 0, nullptr};
  const bool same =
      CVD_ImplementRDN(nullptr, &name, text.c_str()) == 0 && CVD_ASN_CmpName(&name, &subject) == 0;
  CVD_NameFree(&name);
  return same;
}

struct TextRow {
  const char* key;
  std::optional<std::string> IssueRequest::*field;
};
constexpr TextRow kTexts[] = {
    {"policy", &IssueRequest::policy}, {"cps", &IssueRequest::cps},
    {"notice", &IssueRequest::notice}, {"holderName", &IssueRequest::holder_name},
    {"vid", &IssueRequest::vid},       {"crl", &IssueRequest::crl},
    {"ocsp", &IssueRequest::ocsp},
};

// The key of the first thing that a certificate, made a request again, does not ask for as the one
// that it was made from; null when there is none.
const char* FindDifference(const CVD_Certificate& certificate, pkc::Octets der,
                           const Issuance& issuance) {
  const IssueRequest& asked = issuance.request;
  const CVD_TBSCertificate& issuing =
      issuance.issuer != nullptr ? issuance.issuer->tbsCertificate : certificate.tbsCertificate;
  std::vector<RequestNote> notes;
  const IssueRequest given = MakeRequest(certificate, der, &notes);
  SubjectKey key;
  Refusals ignored;
  DecodeSubjectKey(pkc::Octets(*given.key_der), "", "", &key, &ignored);
  if (!HasSubject(certificate.tbsCertificate.subject, asked.subject)) return "subject";
  if (given.serial_number != asked.serial_number) return "serialNumber";
  if (given.not_before != asked.not_before || given.not_after != asked.not_after) {
    return "validity";
  }
  if (given.signID != asked.signID) return "signature";
  if (!(key == issuance.subject_key)) return "publicKey";
  if (CVD_ASN_CmpName(&certificate.tbsCertificate.issuer, &issuing.subject) != 0) return "issuer";
  if (given.ca != asked.ca) return "ca";
  for (const TextRow& row : kTexts) {
    if (given.*row.field != asked.*row.field) return row.key;
  }
  return nullptr;
}

void TellWeakness(const CVD_Certificate& certificate, std::string_view input) {
  Checks checks;
  CheckStrength(certificate, false, &checks);
  for (const Check& check : checks) {
    if (check.result == Result::kOk) continue;
    Problem problem;
    problem.input = input;
    problem.path = check.name;
    problem.reason = check.detail;
    TellAside("warning", problem);
  }
}

}  // namespace

bool Issue(const Issuance& issuance, std::string_view input, pkc::Bin* der, Refusals* refusals) {
  if (const pkc::Status status = Sign(issuance, der); !status.ok()) {
    refusals->Add(input, "", status);
    return false;
  }
  pkc::Certificate certificate;
  pkc::Status status = certificate.Decode(der->octets());
  if (status.ok()) {
    const CVD_Certificate* issuer = issuance.issuer != nullptr ? issuance.issuer : &*certificate;
    status = CVD_PKC_VerifySignature(&*certificate, issuer);
  }
  const char* difference =
      status.ok() ? FindDifference(*certificate, der->octets(), issuance) : nullptr;
  if (status.ok() && difference == nullptr) {
    TellWeakness(*certificate, input);
    return true;
  }
  der->out();
  const std::string key = "the signed certificate";
  if (difference == nullptr) {
    refusals->Add(input, key, status, kExitSystem);
  } else {
    refusals->Add(input, key, std::string("has another ") + difference, kExitSystem);
  }
  return false;
}

}  // namespace corvid::tool
