// The report of a certificate's fixed fields, its key and its digests (RFC 5280 section 4.1).
#include "reporter.h"

#include <iterator>

#include "der.h"
#include "time_text.h"

using std::string_view_literals::operator""sv;

namespace corvid::tool {

bool Reporter::Read(const Origin& origin, pkc::Octets der) {
  report_.Clear();
  problems_.clear();
  in_tbs_ = true;
  extension_ = kNoExtension;
  oids_.Trim();
  origin_ = origin;
  der_ = der;
  pkc::Certificate certificate;
  if (const pkc::Status status = certificate.Decode(der); !status.ok()) {
    problems_.push_back(Undecoded(origin.input, origin.certificate, der, status));
    return false;
  }
  Certificate(*certificate);
  return true;
}

void Reporter::Certificate(const CVD_Certificate& certificate) {
  const CVD_TBSCertificate& tbs = certificate.tbsCertificate;
  report_.Object(nullptr, nullptr);
  report_.Text("schema", nullptr, "corvid.certificate/1");
  report_.Text("input", nullptr, origin_.input);
  report_.Number("certificate", nullptr, static_cast<int64_t>(origin_.certificate));
  report_.Number("version", "Version", (tbs.present & 0x80) != 0 ? int64_t{tbs.version} + 1 : 1);
  Serial("serialNumber", "Serial number", tbs.serialNumber);
  Algorithm("signature", "Signature algorithm", tbs.signature);
  Name("issuer", "Issuer", "issuer", tbs.issuer);
  Time("notBefore", "Not before", tbs.notBefore);
  Time("notAfter", "Not after", tbs.notAfter);
  Name("subject", "Subject", "subject", tbs.subject);
  PublicKey(tbs.subjectPublicKeyInfo);
  if ((tbs.present & 0x40) != 0) {
    BitString("issuerUniqueID", "Issuer unique identifier", tbs.issuerUniqueID);
  }
  if ((tbs.present & 0x20) != 0) {
    BitString("subjectUniqueID", "Subject unique identifier", tbs.subjectUniqueID);
  }
  if ((tbs.present & 0x10) != 0) Extensions(tbs.extensions);
  in_tbs_ = false;
  // The algorithm outside the signed part must be the one inside (RFC 5280 section 4.1.1.2), so
  // people are told only of another.
  const bool same = pkc::Octets(tbs.signature.algorithm).text() ==
                        pkc::Octets(certificate.signatureAlgorithm.algorithm).text() &&
                    pkc::Octets(tbs.signature.parameters).text() ==
                        pkc::Octets(certificate.signatureAlgorithm.parameters).text();
  Algorithm("signatureAlgorithm", same ? nullptr : "Signed with another algorithm",
            certificate.signatureAlgorithm);
  BitString("signatureValue", "Signature", certificate.signature);
  Fingerprints(der_);
  report_.End();
}

// Two numbers with the same content octets but for a leading zero have one hexadecimal text, so a
// negative one is marked.
void Reporter::Serial(Key key, const char* label, const Huge& serial) {
  pkc::Text text;
  if (const pkc::Status status = pkc::SerialText(serial, &text); !status.ok()) {
    return Fail(key.view(), status);
  }
  const bool negative = serial.length > 0 && (serial.data[0] & 0x80) != 0;
  report_.Rendered(key, label, {text.view(), negative ? " (negative)" : ""});
}

void Reporter::Time(Key key, const char* label, const CVD_Time& time) {
  report_.Known(key, label, TimeText(pkc::Seconds(time)).view());
}

void Reporter::Oid(Key key, const char* label, const CVD_OID& oid) {
  const OidName& id = oids_.Of(oid);
  report_.Object(key, label, {id.title});
  OidItems(id);
  report_.End();
}

// The identifier and its name, in the group at hand.
void Reporter::OidItems(const OidName& id) {
  report_.Known("oid", nullptr, id.dotted);
  if (!id.name.empty()) report_.Known("name", nullptr, id.name);
}

// NULL parameters say nothing to people; those that are an identifier name a curve (RFC 5480
// section 2.1.1).
void Reporter::Algorithm(Key key, const char* label, const CVD_AlgorithmIdentifier& algorithm) {
  const OidName& id = oids_.Of(algorithm.algorithm);
  report_.Object(key, label, {label != nullptr ? std::string_view(id.title) : ""});
  OidItems(id);
  const pkc::Octets parameters = algorithm.parameters;
  if ((algorithm.present & 0x80) != 0) {
    Element element;
    const bool is_oid = DerReader(parameters).Next(kTagOid, &element);
    const bool shown = label != nullptr && !is_oid && parameters.text() != "\x05\x00"sv;
    report_.Octets("parameters", shown ? "Parameters" : nullptr, parameters);
    if (is_oid) {
      Oid("namedCurve", label != nullptr ? "Named curve" : nullptr,
          {static_cast<uint16_t>(element.content.size()), element.content.data()});
    }
  }
  report_.End();
}

void Reporter::BitString(Key key, const char* label, const CVD_BitString& bits) {
  if (bits.bits % 8 == 0) return report_.Octets(key, label, bits);
  report_.Object(key, label);
  report_.Octets("octets", "Octets", bits);
  report_.Number("bits", "Bits", bits.bits);
  report_.End();
}

void Reporter::PublicKey(const CVD_SubjectPublicKeyInfo& info) {
  report_.Object("subjectPublicKeyInfo", "Public key");
  Algorithm("algorithm", "Algorithm", info.algorithm);
  KeyLength(info);
  BitString("subjectPublicKey", "Key", info.subjectPublicKey);
  KeyIdentifier(info.subjectPublicKey);
  report_.End();
}

// A key whose algorithm has no number has no length either; DSA and KCDSA keys may leave their
// parameters to the issuer's (RFC 3279 section 2.3.2).
void Reporter::KeyLength(const CVD_SubjectPublicKeyInfo& info) {
  const pkc::Octets key = info.subjectPublicKey;
  constexpr std::string_view kField = "subjectPublicKeyInfo.subjectPublicKey";
  if (key.empty()) return Fail(kField, PKC_ERR_NO_PUBKEY);
  const int32_t pkey_id = CVD_PKC_ObjID_To_PkeyID(&info.algorithm.algorithm);
  const bool inherited = pkc::Octets(info.algorithm.parameters).empty() &&
                         (pkey_id == CVD_PKEY_DSA || pkey_id == CVD_PKEY_KCDSA);
  if (pkey_id == CVD_PKEY_UNKNOWN || inherited) return;
  uint32_t bits = 0;
  const BIN octets = key.bin();
  const pkc::Status status =
      CVD_CSP_GetKeyLength(&bits, &octets, pkey_id, &info.algorithm.parameters);
  if (!status.ok()) return Fail(kField, status);
  report_.Number("bits", "Bits", bits);
}

// RFC 5280 section 4.2.1.2, method (1). What the certificate carries stands with its extensions.
void Reporter::KeyIdentifier(pkc::Octets key) {
  if (key.empty()) return;
  pkc::Bin identifier;
  const BIN octets = key.bin();
  const pkc::Status status = CVD_PKC_SubKeyId_Compute(identifier.out(), &octets);
  if (!status.ok()) return Fail("computedKeyIdentifier", status, "computedKeyIdentifierError");
  report_.Octets("computedKeyIdentifier", "Computed key identifier", identifier.octets());
}

void Reporter::Fingerprints(pkc::Octets der) {
  struct Digest {
    int32_t hash_id;
    Key key;
    const char* label;
  };
  constexpr Digest kDigests[] = {{CVD_HASH_SHA1, "sha1", "SHA-1"},
                                 {CVD_HASH_SHA256, "sha256", "SHA-256"}};
  report_.Object("fingerprints", "Fingerprints");
  for (const Digest& digest : kDigests) {
    pkc::Bin octets;
    const pkc::Status status = pkc::Hash(digest.hash_id, der, &octets);
    if (status.ok()) {
      report_.Octets(digest.key, digest.label, octets.octets());
    } else {
      Fail("fingerprints", status, digest.key);
    }
  }
  report_.End();
}

std::string Reporter::Path() const {
  if (extension_ != kNoExtension) {
    return "tbsCertificate.extensions[" + std::to_string(extension_) + "].extnValue";
  }
  return in_tbs_ ? "tbsCertificate" : "";
}

void Reporter::Fail(std::string_view field, pkc::Status status, Key key) {
  Problem problem;
  problem.path = Path();
  if (!problem.path.empty()) problem.path += '.';
  problem.path += field;
  problem.code = status.code();
  problem.reason = ReasonOf(status);
  Fail(std::move(problem), key);
}

void Reporter::Fail(Problem problem, Key key) {
  problem.input = origin_.input;
  problem.certificate = origin_.certificate;
  const std::string code = std::to_string(static_cast<int32_t>(problem.code));
  report_.Object(key, "Error", {code, " ", problem.reason});
  report_.Text("path", nullptr, problem.path);
  if (problem.offset >= 0) report_.Number("offset", nullptr, problem.offset);
  report_.Number("code", nullptr, static_cast<int32_t>(problem.code));
  report_.Text("reason", nullptr, problem.reason);
  report_.End();
  problems_.push_back(std::move(problem));
}

}  // namespace corvid::tool
