// The fields of a certificate that a row may have.
#ifndef CORVID_TOOLS_PKC_SHOW_FIELDS_H_
#define CORVID_TOOLS_PKC_SHOW_FIELDS_H_

#include "fields.h"

namespace corvid::tool {

constexpr Field kShowFields[] = {
    {"input", "input"},
    {"certificate", "certificate"},
    {"version", "version"},
    {"serialNumber", "serialNumber"},
    {"subject", "subject.text"},
    {"issuer", "issuer.text"},
    {"notBefore", "notBefore"},
    {"notAfter", "notAfter"},
    {"signature", "signature"},
    {"keyAlgorithm", "subjectPublicKeyInfo.algorithm"},
    {"keyBits", "subjectPublicKeyInfo.bits"},
    {"curve", "subjectPublicKeyInfo.algorithm.namedCurve"},
    {"sha1", "fingerprints.sha1"},
    {"sha256", "fingerprints.sha256"},
    {"subjectKeyIdentifier", "extensions.subjectKeyIdentifier.keyIdentifier"},
    {"authorityKeyIdentifier", "extensions.authorityKeyIdentifier.keyIdentifier"},
    {"computedKeyIdentifier", "subjectPublicKeyInfo.computedKeyIdentifier"},
    {"ca", "extensions.basicConstraints.cA"},
    {"pathLength", "extensions.basicConstraints.pathLenConstraint"},
    {"keyUsage", "extensions.keyUsage.keyUsage"},
    {"extendedKeyUsage", "extensions.extKeyUsage.purposes"},
    {"names", "extensions.subjectAltName.names"},
    {"policies", "extensions.certificatePolicies.policies.*.oid"},
    {"crl", "extensions.cRLDistributionPoints.distributionPoints.*.fullName.*.value"},
    {"ocsp", "extensions.authorityInfoAccess.accessDescriptions.id-ad-ocsp.accessLocation.value"},
    {"caIssuers",
     "extensions.authorityInfoAccess.accessDescriptions.id-ad-caIssuers.accessLocation.value"},
    kCodeField,
    kReasonField,
    kOffsetField,
    kPathField,
    kLineField,
};

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_SHOW_FIELDS_H_
