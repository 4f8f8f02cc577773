// The names of object identifiers: a table sorted by dotted text, and a cache in front of it.
#include "oid_names.h"

#include <algorithm>
#include <iterator>

#include "escape.h"

namespace corvid::tool {
namespace {

struct Row {
  std::string_view dotted;
  std::string_view name;
};

// Sorted by the characters of the dotted text.
constexpr Row kNames[] = {
    {"0.9.2342.19200300.100.1.1", "userId"},
    {"0.9.2342.19200300.100.1.25", "domainComponent"},
    {"0.9.2342.19200300.100.1.3", "mail"},
    {"1.2.410.100001.5.7.101.1", "extString1"},
    {"1.2.410.100001.5.7.101.2", "extString2"},
    {"1.2.410.100001.5.7.101.3", "extString3"},
    {"1.2.410.100001.5.7.101.4", "corporationName"},
    {"1.2.410.200004.1.1", "kcdsa"},
    {"1.2.410.200004.1.2", "has160"},
    {"1.2.410.200004.1.21", "kcdsa1"},
    {"1.2.410.200004.1.22", "kcdsa1WithHAS160"},
    {"1.2.410.200004.1.23", "kcdsa1WithSHA1"},
    {"1.2.410.200004.1.27", "kcdsaWithSHA256"},
    {"1.2.410.200004.1.38", "kcdsa1WithSHA256"},
    {"1.2.410.200004.1.8", "kcdsaWithHAS160"},
    {"1.2.410.200004.1.9", "kcdsaWithSHA1"},
    {"1.2.410.200004.10.1.1", "identityData"},
    {"1.2.410.200004.10.1.1.1", "virtualID"},
    {"1.2.643.2.2.3", "gostR3411-94-with-gostR3410-2001"},
    {"1.2.643.7.1.1.1.1", "gostR3410-2012-256"},
    {"1.2.643.7.1.1.1.2", "gostR3410-2012-512"},
    {"1.2.643.7.1.1.3.2", "gostR3410-2012-with-gostR3411-2012-256"},
    {"1.2.643.7.1.1.3.3", "gostR3410-2012-with-gostR3411-2012-512"},
    {"1.2.840.10040.4.1", "id-dsa"},
    {"1.2.840.10040.4.3", "id-dsa-with-sha1"},
    {"1.2.840.10045.2.1", "id-ecPublicKey"},
    {"1.2.840.10045.3.1.1", "secp192r1"},
    {"1.2.840.10045.3.1.7", "secp256r1"},
    {"1.2.840.10045.4.1", "ecdsa-with-SHA1"},
    {"1.2.840.10045.4.3.1", "ecdsa-with-SHA224"},
    {"1.2.840.10045.4.3.2", "ecdsa-with-SHA256"},
    {"1.2.840.10045.4.3.3", "ecdsa-with-SHA384"},
    {"1.2.840.10045.4.3.4", "ecdsa-with-SHA512"},
    {"1.2.840.10046.2.1", "dhpublicnumber"},
    {"1.2.840.113549.1.1.1", "rsaEncryption"},
    {"1.2.840.113549.1.1.10", "id-RSASSA-PSS"},
    {"1.2.840.113549.1.1.11", "sha256WithRSAEncryption"},
    {"1.2.840.113549.1.1.12", "sha384WithRSAEncryption"},
    {"1.2.840.113549.1.1.13", "sha512WithRSAEncryption"},
    {"1.2.840.113549.1.1.14", "sha224WithRSAEncryption"},
    {"1.2.840.113549.1.1.2", "md2WithRSAEncryption"},
    {"1.2.840.113549.1.1.3", "md4WithRSAEncryption"},
    {"1.2.840.113549.1.1.4", "md5WithRSAEncryption"},
    {"1.2.840.113549.1.1.5", "sha1WithRSAEncryption"},
    {"1.2.840.113549.1.1.7", "id-RSAES-OAEP"},
    {"1.2.840.113549.1.1.8", "id-mgf1"},
    {"1.2.840.113549.1.9.1", "emailAddress"},
    {"1.2.840.113549.1.9.15", "smimeCapabilities"},
    {"1.2.840.113549.1.9.2", "unstructuredName"},
    {"1.2.840.113549.1.9.8", "unstructuredAddress"},
    {"1.2.840.113549.2.2", "md2"},
    {"1.2.840.113549.2.5", "md5"},
    {"1.3.101.110", "X25519"},
    {"1.3.101.112", "Ed25519"},
    {"1.3.101.113", "Ed448"},
    {"1.3.132.0.10", "secp256k1"},
    {"1.3.132.0.33", "secp224r1"},
    {"1.3.132.0.34", "secp384r1"},
    {"1.3.132.0.35", "secp521r1"},
    {"1.3.14.3.2.26", "sha1"},
    {"1.3.14.3.2.29", "sha1WithRSASignature"},
    {"1.3.36.3.3.2.8.1.1.11", "brainpoolP384r1"},
    {"1.3.36.3.3.2.8.1.1.13", "brainpoolP512r1"},
    {"1.3.36.3.3.2.8.1.1.7", "brainpoolP256r1"},
    {"1.3.6.1.4.1.11129.2.4.2", "signedCertificateTimestampList"},
    {"1.3.6.1.4.1.11129.2.4.3", "precertificatePoison"},
    {"1.3.6.1.4.1.311.10.3.12", "documentSigning"},
    {"1.3.6.1.4.1.311.10.3.4", "encryptedFileSystem"},
    {"1.3.6.1.4.1.311.20.2", "certificateTemplateName"},
    {"1.3.6.1.4.1.311.20.2.2", "smartcardLogon"},
    {"1.3.6.1.4.1.311.20.2.3", "userPrincipalName"},
    {"1.3.6.1.4.1.311.21.1", "caVersion"},
    {"1.3.6.1.4.1.311.21.10", "applicationCertPolicies"},
    {"1.3.6.1.4.1.311.21.2", "previousCaCertificateHash"},
    {"1.3.6.1.4.1.311.21.7", "certificateTemplate"},
    {"1.3.6.1.4.1.311.60.2.1.1", "jurisdictionLocalityName"},
    {"1.3.6.1.4.1.311.60.2.1.2", "jurisdictionStateOrProvinceName"},
    {"1.3.6.1.4.1.311.60.2.1.3", "jurisdictionCountryName"},
    {"1.3.6.1.5.5.7.1.1", "authorityInfoAccess"},
    {"1.3.6.1.5.5.7.1.11", "subjectInfoAccess"},
    {"1.3.6.1.5.5.7.1.12", "logotype"},
    {"1.3.6.1.5.5.7.1.2", "biometricInfo"},
    {"1.3.6.1.5.5.7.1.24", "tlsFeature"},
    {"1.3.6.1.5.5.7.1.3", "qcStatements"},
    {"1.3.6.1.5.5.7.1.7", "ipAddrBlocks"},
    {"1.3.6.1.5.5.7.1.8", "autonomousSysIds"},
    {"1.3.6.1.5.5.7.2.1", "id-qt-cps"},
    {"1.3.6.1.5.5.7.2.2", "id-qt-unotice"},
    {"1.3.6.1.5.5.7.3.1", "id-kp-serverAuth"},
    {"1.3.6.1.5.5.7.3.17", "id-kp-ipsecIKE"},
    {"1.3.6.1.5.5.7.3.2", "id-kp-clientAuth"},
    {"1.3.6.1.5.5.7.3.3", "id-kp-codeSigning"},
    {"1.3.6.1.5.5.7.3.36", "id-kp-documentSigning"},
    {"1.3.6.1.5.5.7.3.4", "id-kp-emailProtection"},
    {"1.3.6.1.5.5.7.3.5", "id-kp-ipsecEndSystem"},
    {"1.3.6.1.5.5.7.3.6", "id-kp-ipsecTunnel"},
    {"1.3.6.1.5.5.7.3.7", "id-kp-ipsecUser"},
    {"1.3.6.1.5.5.7.3.8", "id-kp-timeStamping"},
    {"1.3.6.1.5.5.7.3.9", "id-kp-OCSPSigning"},
    {"1.3.6.1.5.5.7.48.1", "id-ad-ocsp"},
    {"1.3.6.1.5.5.7.48.1.5", "ocspNoCheck"},
    {"1.3.6.1.5.5.7.48.2", "id-ad-caIssuers"},
    {"1.3.6.1.5.5.7.48.3", "id-ad-timeStamping"},
    {"1.3.6.1.5.5.7.48.5", "id-ad-caRepository"},
    {"1.3.6.1.5.5.7.8.5", "id-on-xmppAddr"},
    {"1.3.6.1.5.5.7.8.7", "id-on-dnsSRV"},
    {"1.3.6.1.5.5.7.8.9", "id-on-SmtpUTF8Mailbox"},
    {"1.3.6.1.5.5.7.9.1", "dateOfBirth"},
    {"1.3.6.1.5.5.7.9.2", "placeOfBirth"},
    {"1.3.6.1.5.5.7.9.3", "gender"},
    {"1.3.6.1.5.5.7.9.4", "countryOfCitizenship"},
    {"1.3.6.1.5.5.7.9.5", "countryOfResidence"},
    {"2.16.840.1.101.3.4.2.1", "sha256"},
    {"2.16.840.1.101.3.4.2.2", "sha384"},
    {"2.16.840.1.101.3.4.2.3", "sha512"},
    {"2.16.840.1.101.3.4.3.1", "id-dsa-with-sha224"},
    {"2.16.840.1.101.3.4.3.17", "id-ml-dsa-44"},
    {"2.16.840.1.101.3.4.3.18", "id-ml-dsa-65"},
    {"2.16.840.1.101.3.4.3.19", "id-ml-dsa-87"},
    {"2.16.840.1.101.3.4.3.2", "id-dsa-with-sha256"},
    {"2.16.840.1.113730.1.1", "netscapeCertType"},
    {"2.16.840.1.113730.1.12", "netscapeSslServerName"},
    {"2.16.840.1.113730.1.13", "netscapeComment"},
    {"2.16.840.1.113730.1.2", "netscapeBaseUrl"},
    {"2.16.840.1.113730.1.3", "netscapeRevocationUrl"},
    {"2.16.840.1.113730.1.4", "netscapeCaRevocationUrl"},
    {"2.16.840.1.113730.1.7", "netscapeRenewalUrl"},
    {"2.16.840.1.113730.1.8", "netscapeCaPolicyUrl"},
    {"2.16.840.1.113730.4.1", "netscapeServerGatedCrypto"},
    {"2.23.140.1.1", "extended-validation"},
    {"2.23.140.1.2.1", "domain-validated"},
    {"2.23.140.1.2.2", "organization-validated"},
    {"2.23.140.1.2.3", "individual-validated"},
    {"2.23.140.1.3", "extended-validation-code-signing"},
    {"2.23.140.1.31", "onion-extended-validation"},
    {"2.23.140.1.4.1", "code-signing"},
    {"2.23.140.3.1", "cabfOrganizationIdentifier"},
    {"2.5.29.14", "subjectKeyIdentifier"},
    {"2.5.29.15", "keyUsage"},
    {"2.5.29.16", "privateKeyUsagePeriod"},
    {"2.5.29.17", "subjectAltName"},
    {"2.5.29.18", "issuerAltName"},
    {"2.5.29.19", "basicConstraints"},
    {"2.5.29.30", "nameConstraints"},
    {"2.5.29.31", "cRLDistributionPoints"},
    {"2.5.29.32", "certificatePolicies"},
    {"2.5.29.32.0", "anyPolicy"},
    {"2.5.29.33", "policyMappings"},
    {"2.5.29.35", "authorityKeyIdentifier"},
    {"2.5.29.36", "policyConstraints"},
    {"2.5.29.37", "extKeyUsage"},
    {"2.5.29.37.0", "anyExtendedKeyUsage"},
    {"2.5.29.46", "freshestCRL"},
    {"2.5.29.54", "inhibitAnyPolicy"},
    {"2.5.29.9", "subjectDirectoryAttributes"},
    {"2.5.4.10", "organizationName"},
    {"2.5.4.11", "organizationalUnitName"},
    {"2.5.4.12", "title"},
    {"2.5.4.13", "description"},
    {"2.5.4.15", "businessCategory"},
    {"2.5.4.16", "postalAddress"},
    {"2.5.4.17", "postalCode"},
    {"2.5.4.18", "postOfficeBox"},
    {"2.5.4.20", "telephoneNumber"},
    {"2.5.4.3", "commonName"},
    {"2.5.4.4", "surname"},
    {"2.5.4.41", "name"},
    {"2.5.4.42", "givenName"},
    {"2.5.4.43", "initials"},
    {"2.5.4.44", "generationQualifier"},
    {"2.5.4.45", "x500UniqueIdentifier"},
    {"2.5.4.46", "dnQualifier"},
    {"2.5.4.5", "serialNumber"},
    {"2.5.4.51", "houseIdentifier"},
    {"2.5.4.6", "countryName"},
    {"2.5.4.65", "pseudonym"},
    {"2.5.4.7", "localityName"},
    {"2.5.4.72", "role"},
    {"2.5.4.8", "stateOrProvinceName"},
    {"2.5.4.9", "streetAddress"},
    {"2.5.4.97", "organizationIdentifier"},
};
constexpr bool Before(const Row& a, const Row& b) { return a.dotted < b.dotted; }
static_assert(std::is_sorted(std::begin(kNames), std::end(kNames), Before));

constexpr size_t kRemembered = 4096;

std::string_view FindName(std::string_view dotted) {
  const auto* row = std::lower_bound(std::begin(kNames), std::end(kNames), Row{dotted, {}}, Before);
  return row != std::end(kNames) && row->dotted == dotted ? row->name : std::string_view();
}

}  // namespace

const OidName& OidNames::Of(const CVD_OID& oid) {
  const std::string_view octets = pkc::Octets(oid).text();
  size_t place = octets.size();
  for (const char octet : octets.substr(octets.size() - std::min<size_t>(octets.size(), 3))) {
    place = 5 * place + static_cast<uint8_t>(octet);
  }
  const Known::value_type*& recent = recent_[place % recent_.size()];
  if (recent == nullptr || recent->first != octets) recent = &Find(oid, octets);
  return recent->second;
}

const OidNames::Known::value_type& OidNames::Find(const CVD_OID& oid, std::string_view octets) {
  if (const auto found = known_.find(octets); found != known_.end()) return *found;
  OidName entry;
  pkc::Text text;
  if (pkc::DottedText(oid, &text).ok()) {
    entry.dotted = text.view();
  } else {
    entry.dotted = '#';
    AppendHex(oid, &entry.dotted);
  }
  entry.name = FindName(entry.dotted);
  entry.title =
      entry.name.empty() ? entry.dotted : std::string(entry.name) + " (" + entry.dotted + ')';
  return *known_.emplace(octets, std::move(entry)).first;
}

void OidNames::Trim() {
  if (known_.size() <= kRemembered) return;
  known_.clear();
  recent_.fill(nullptr);
}

}  // namespace corvid::tool
