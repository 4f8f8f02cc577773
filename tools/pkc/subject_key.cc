// Reading public keys.
#include "subject_key.h"

#include "der.h"
#include "given_certificate.h"
#include "input.h"

namespace corvid::tool {
namespace {

constexpr const char* kKey = "publicKey";

// SubjectPublicKeyInfo ::= SEQUENCE { algorithm AlgorithmIdentifier, subjectPublicKey BIT STRING }
// AlgorithmIdentifier ::= SEQUENCE { algorithm OBJECT IDENTIFIER, parameters ANY OPTIONAL }
// The record refers to `der`.
bool DecodeInfo(pkc::Octets der, CVD_SubjectPublicKeyInfo* info) {
  DerReader outer(der);
  Element sequence;
  if (!outer.Next(kTagSequence, &sequence) || !outer.empty()) return false;
  DerReader parts(sequence.content);
  Element algorithm;
  Element bits;
  if (!parts.Next(kTagSequence, &algorithm) || !parts.Next(kTagBitString, &bits) ||
      !parts.empty() || bits.content.empty() || bits.content[0] != 0) {
    return false;
  }
  DerReader identifier(algorithm.content);
  Element oid;
  Element parameters;
  if (!identifier.Next(kTagOid, &oid) || oid.content.size() > UINT16_MAX) return false;
  const bool has_parameters = identifier.Next(&parameters);
  if (!identifier.empty()) return false;
  const pkc::Octets key = bits.content.Slice(1);
  info->algorithm = {static_cast<uint8_t>(has_parameters ? 0x80 : 0),
                     {static_cast<uint16_t>(oid.content.size()), oid.content.data()},
                     parameters.whole.bin()};
  info->subjectPublicKey = {static_cast<uint32_t>(key.size()) * 8,
                            const_cast<uint8_t*>(key.data())};
  return true;
}

// CertificationRequest ::= SEQUENCE { certificationRequestInfo, signatureAlgorithm, signature }
// CertificationRequestInfo ::= SEQUENCE { version, subject, subjectPKInfo, attributes [0] }
struct RequestParts {
  pkc::Octets info;
  pkc::Octets key;
  CVD_OID algorithm;
  pkc::Octets signature;
};

bool DecodeRequest(pkc::Octets der, RequestParts* parts) {
  Element request;
  Element info;
  Element algorithm;
  Element signature;
  if (!DerReader(der).Next(kTagSequence, &request)) return false;
  DerReader outer(request.content);
  if (!outer.Next(kTagSequence, &info) || !outer.Next(kTagSequence, &algorithm) ||
      !outer.Next(kTagBitString, &signature) || !outer.empty()) {
    return false;
  }
  DerReader inner(info.content);
  Element element;
  Element key;
  const bool formed = inner.Next(kTagInteger, &element) && inner.Next(kTagSequence, &element) &&
                      inner.Next(kTagSequence, &key);
  CVD_SubjectPublicKeyInfo ignored;
  if (!formed || !DecodeInfo(key.whole, &ignored)) return false;  // may be another signed thing
  Element oid;
  if (!DerReader(algorithm.content).Next(kTagOid, &oid) || oid.content.size() > UINT16_MAX ||
      signature.content.size() < 2 || signature.content[0] != 0) {
    return false;
  }
  *parts = {info.whole,
            key.whole,
            {static_cast<uint16_t>(oid.content.size()), oid.content.data()},
            signature.content.Slice(1)};
  return true;
}

// RFC 2986 section 4.2: the signature shows that whoever asks has the private key.
bool FromRequest(const RequestParts& parts, std::string_view input, SubjectKey* subject_key,
                 Refusals* refusals) {
  if (!DecodeSubjectKey(parts.key, input, kKey, subject_key, refusals)) return false;
  const int32_t signID = CVD_PKC_ObjID_To_SignID(&parts.algorithm);
  pkc::Status status = PKC_ERR_UNKNOWN_SIGNID;
  if (signID != CVD_SIGN_UNKNOWN) {
    const BIN signature = parts.signature.bin();
    const BIN data = parts.info.bin();
    const BIN key = pkc::Octets(subject_key->octets).bin();
    const BIN parameters = pkc::Octets(subject_key->parameters).bin();
    const CVD_AlgorithmParameters domain{&parameters, {nullptr, nullptr}};
    status = CVD_CSP_VerifyMsgSignature(&signature, &data, &key, signID, &domain);
  }
  if (!status.ok()) refusals->Add(input, "signature of the certificate request", status);
  return status.ok();
}

// The base64 of the first PEM block with the label; false when there is no such block.
bool FindPem(std::string_view text, const std::string& label, std::string* base64) {
  const std::string begin = "-----BEGIN " + label + "-----";
  const size_t start = text.find(begin);
  if (start == std::string_view::npos) return false;
  const std::string_view rest = text.substr(start + begin.size());
  *base64 = rest.substr(0, rest.find("-----END " + label + "-----"));
  return true;
}

// PEM of keys and requests is read here, everything else as certificates are.
bool ReadDer(const std::string& path, std::string* der, Refusals* refusals) {
  pkc::Bin file;
  if (const pkc::Status status = pkc::ReadFile(path, &file); !status.ok()) {
    refusals->Add(path, kKey, status, kExitInput);
    return false;
  }
  for (const char* label : {"PUBLIC KEY", "CERTIFICATE REQUEST", "NEW CERTIFICATE REQUEST"}) {
    std::string base64;
    pkc::Bin octets;
    if (!FindPem(file.octets().text(), label, &base64)) continue;
    const pkc::Status status = pkc::DecodeBase64(base64.c_str(), &octets);
    if (!status.ok()) refusals->Add(path, kKey, status, kExitInput);
    *der = octets.octets().text();
    return status.ok();
  }
  return ReadOneDer(path, kKey, der, refusals);
}

}  // namespace

bool operator==(const SubjectKey& a, const SubjectKey& b) {
  return a.pkeyID == b.pkeyID && a.parameters == b.parameters && a.octets == b.octets;
}

bool MakeSubjectKey(const CVD_SubjectPublicKeyInfo& info, std::string_view input,
                    std::string_view key, SubjectKey* subject_key, Refusals* refusals) {
  BIN parameters{0, nullptr};
  BIN octets{0, nullptr};
  pkc::Status status =
      CVD_PKC_AsnSubPubKeyInfo_Decode(&subject_key->pkeyID, &parameters, &octets, &info);
  uint32_t bits = 0;
  if (status.ok()) {
    status = CVD_CSP_GetKeyLength(&bits, &octets, subject_key->pkeyID, &parameters);
  }
  const bool certified = subject_key->pkeyID == CVD_PKEY_RSA ||
                         subject_key->pkeyID == CVD_PKEY_DSA ||
                         subject_key->pkeyID == CVD_PKEY_KCDSA;
  if (status.ok() && !certified) status = PKC_ERR_UNKNOWN_PKEYID;
  if (!status.ok()) refusals->Add(input, key, status);
  subject_key->parameters = pkc::Octets(parameters).text();
  subject_key->octets = pkc::Octets(octets).text();
  return status.ok();
}

bool DecodeSubjectKey(pkc::Octets der, std::string_view input, std::string_view key,
                      SubjectKey* subject_key, Refusals* refusals) {
  CVD_SubjectPublicKeyInfo info;
  if (DecodeInfo(der, &info)) return MakeSubjectKey(info, input, key, subject_key, refusals);
  refusals->Add(input, key, "is no SubjectPublicKeyInfo");
  return false;
}

bool ReadSubjectKey(const std::string& path, SubjectKey* subject_key, Refusals* refusals) {
  std::string encoding;
  if (!ReadDer(path, &encoding, refusals)) return false;
  const pkc::Octets der = std::string_view(encoding);
  CVD_SubjectPublicKeyInfo info;
  if (DecodeInfo(der, &info)) return MakeSubjectKey(info, path, kKey, subject_key, refusals);
  RequestParts parts;
  if (DecodeRequest(der, &parts)) return FromRequest(parts, path, subject_key, refusals);
  pkc::Certificate certificate;
  if (const pkc::Status status = certificate.Decode(der); !status.ok()) {
    Problem problem = Undecoded(path, 0, der, status);
    problem.path = problem.path.empty() ? kKey : problem.path;
    refusals->Add(std::move(problem), kExitInput);
    return false;
  }
  return MakeSubjectKey(certificate->tbsCertificate.subjectPublicKeyInfo, path, kKey, subject_key,
                        refusals);
}

pkc::Octets FindSubjectPublicKeyInfo(pkc::Octets certificate) {
  Element element;
  if (!DerReader(certificate).Next(kTagSequence, &element)) return {};
  if (!DerReader(element.content).Next(kTagSequence, &element)) return {};
  // version [0] (or none), serialNumber, signature, issuer, validity, subject.
  DerReader fields(element.content);
  const int before = fields.tag() == kTagInteger ? 5 : 6;
  for (int i = 0; i < before; ++i) {
    if (!fields.Next(&element)) return {};
  }
  return fields.Next(kTagSequence, &element) ? element.whole : pkc::Octets();
}

}  // namespace corvid::tool
