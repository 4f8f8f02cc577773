// The reviewed exceptions of the corpus tests. A row goes when its cause does: an exception that no
// longer happens fails the test.
#ifndef CORVID_TESTS_CORPUS_EXCEPTIONS_H_
#define CORVID_TESTS_CORPUS_EXCEPTIONS_H_

#include <cstdint>

#include "corvid/pkc.h"

namespace corvid::test {

struct Refusal {
  const char* name;
  uint32_t code;
  const char* reason;
};

// Certificates that a whole record refuses, beside those whose subject is empty
// (PKC_ERR_INVALID_INPUT; RFC 5280 section 4.1.2.6 allows it, the record has no text for it).
constexpr Refusal kRefusedRecords[] = {
    {"boringssl-pki/bad_key_usage.der", PKC_ERR_BAD_KEYUSAGE, "keyUsage without a bit"},
    {"boringssl-pki/bad_policy_qualifiers.der", PKC_ERR_BAD_POLICIES, "qualifier without value"},
    {"boringssl-pki/subjectaltname_trailing_data.der", PKC_ERR_BAD_EXTENSION,
     "octets after the GeneralNames"},
    {"botan/dn-empty-attribute-value-invalid-0.der", PKC_ERR_BAD_RDN, "empty attribute value"},
    {"ct-go/xf-ext-extended-key-usage-empty-oid.der", PKC_ERR_BAD_EXTENSION,
     "object identifier without octets"},
    {"ct-go/xf-ext-extended-key-usage-empty.der", PKC_ERR_BAD_EXTENSION, "extension without value"},
    {"zlint/CNPresentButEmpty.der", PKC_ERR_BAD_RDN, "empty attribute value"},
    {"zlint/IANDNSNull.der", PKC_ERR_BAD_EXTENSION, "NUL in a DNS name"},
    {"zlint/SANDNSNameNotFQDN.der", PKC_ERR_BAD_EXTENSION, "NUL in a DNS name"},
    {"zlint/SANDNSNull.der", PKC_ERR_BAD_EXTENSION, "NUL in a DNS name"},
    {"zlint/caBlankCountry.der", PKC_ERR_BAD_RDN, "country of another length than 2 or 3"},
    {"zlint/caSubjectEmpty.der", PKC_ERR_BAD_RDN, "empty attribute values"},
    {"zlint/only_meta_data_in_country_name.der", PKC_ERR_BAD_RDN,
     "country of another length than 2 or 3"},
    {"zlint/policyQualifiersOtherThanCpsNotPermittedValid.der", PKC_ERR_BAD_POLICIES,
     "CPS pointer that is no IA5String"},
    {"zlint/subjectCCorrectEncoding.der", PKC_ERR_BAD_RDN, "country of another length than 2 or 3"},
    {"zlint/subjectCNWrongEncoding.der", PKC_ERR_BAD_RDN, "UniversalString"},
    {"zlint/subjectInvalidCountry.der", PKC_ERR_BAD_RDN, "country of another length than 2 or 3"},
    {"zlint/subjectUID.der", PKC_ERR_BAD_RDN, "country in a TeletexString"},
};

struct Disagreement {
  const char* name;
  const char* field;
  const char* reason;
};

// Fields that differ from what OpenSSL says, beside the serial numbers that are
// negative (shown there by sign and magnitude, here by their octets).
constexpr Disagreement kDisagreements[] = {
    {"ct-go/xf-der-pubkey-rsa-nonminimal-int.der", "keyLength", "the key is no DER: no length"},
    {"ct-go/xf-pubkey-rsa-modulus-negative.der", "keyLength", "a negative modulus has no length"},
    {"zlint/multDupeExts.der", "authorityKeyId", "two of them: the record keeps the last"},
};

}  // namespace corvid::test

#endif  // CORVID_TESTS_CORPUS_EXCEPTIONS_H_
