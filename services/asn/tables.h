// The rows of every record, each block below the ASN.1 that it holds. To add a record: its struct
// in corvid/records.h, its rows here, and a row of kPdus.
#ifndef CORVID_ASN_TABLES_H_
#define CORVID_ASN_TABLES_H_

#include "services/asn/schema.h"

namespace corvid::asn {

// AttributeTypeAndValue ::= SEQUENCE { type OBJECT IDENTIFIER, value ANY }
inline constexpr Row kAttributeRows[] = {
    ROW(CVD_AttributeTypeAndValueNode, type, kOid, kOidTag),
    ROW(CVD_AttributeTypeAndValueNode, value, kAny, kNoTag),
};
inline constexpr Schema kAttribute{Form::kFields, kAttributeRows,
                                   sizeof(CVD_AttributeTypeAndValueNode)};
inline constexpr Row kAttributeElement[] = {
    WHOLE(CVD_AttributeTypeAndValueNode, kRecord, kSequenceTag, .of = &kAttribute)};

// RelativeDistinguishedName ::= SET OF AttributeTypeAndValue. Lenient: issued names have empty
// ones, and unsorted ones.
inline constexpr Schema kAttributes{.form = Form::kElements,
                                    .rows = kAttributeElement,
                                    .size = sizeof(CVD_AttributeTypeAndValueNode),
                                    .set = true};

// RDNSequence ::= SEQUENCE OF RelativeDistinguishedName
inline constexpr Row kRdnElement[] = {MakeRow<Kind::kList, CVD_AttributeTypeAndValueNode*>(
    "", offsetof(CVD_RDNSequenceNode, relativeDistinguishedName), kSetTag,
    RowOptions{.of = &kAttributes})};
inline constexpr Schema kRdnSequence{Form::kElements, kRdnElement, sizeof(CVD_RDNSequenceNode)};

// Name ::= CHOICE { rdnSequence RDNSequence }
inline constexpr Row kNameRows[] = {MakeRow<Kind::kList, CVD_RDNSequenceNode*>(
    "", offsetof(CVD_Name, rdnSequence), kSequenceTag,
    RowOptions{.number = CVD_NAME_RDN_SEQUENCE, .of = &kRdnSequence})};
inline constexpr Schema kName{
    .form = Form::kAlternatives, .rows = kNameRows, .size = sizeof(CVD_Name), .ordered = true};

// DirectoryString ::= CHOICE { ..., printableString, ..., utf8String, ... } of at most 64 or 128
// characters (RFC 5280 appendix A.1)
inline constexpr Row kName64Rows[] = {
    ROW(CVD_X520Name64, text, kInlineText, kPrintableStringTag,
        .number = CVD_DIRECTORY_STRING_PRINTABLE, .bound = 64,
        .characters = Characters::kPrintable),
    ROW(CVD_X520Name64, text, kInlineText, kUtf8StringTag, .number = CVD_DIRECTORY_STRING_UTF8,
        .bound = 64, .characters = Characters::kUtf8),
};
inline constexpr Schema kName64{Form::kAlternatives, kName64Rows, sizeof(CVD_X520Name64)};
inline constexpr Row kName128Rows[] = {
    ROW(CVD_X520Name128, text, kInlineText, kPrintableStringTag,
        .number = CVD_DIRECTORY_STRING_PRINTABLE, .bound = 128,
        .characters = Characters::kPrintable),
    ROW(CVD_X520Name128, text, kInlineText, kUtf8StringTag, .number = CVD_DIRECTORY_STRING_UTF8,
        .bound = 128, .characters = Characters::kUtf8),
};
inline constexpr Schema kName128{Form::kAlternatives, kName128Rows, sizeof(CVD_X520Name128)};

// AlgorithmIdentifier ::= SEQUENCE { algorithm OBJECT IDENTIFIER, parameters ANY OPTIONAL }
inline constexpr Row kAlgorithmRows[] = {
    ROW(CVD_AlgorithmIdentifier, algorithm, kOid, kOidTag),
    ROW(CVD_AlgorithmIdentifier, parameters, kAny, kNoTag, .bit = 0x80),
};
inline constexpr Schema kAlgorithm{Form::kFields, kAlgorithmRows, sizeof(CVD_AlgorithmIdentifier)};

// SubjectPublicKeyInfo ::= SEQUENCE { algorithm AlgorithmIdentifier, subjectPublicKey BIT STRING }
inline constexpr Row kPublicKeyInfoRows[] = {
    ROW(CVD_SubjectPublicKeyInfo, algorithm, kRecord, kSequenceTag, .of = &kAlgorithm),
    ROW(CVD_SubjectPublicKeyInfo, subjectPublicKey, kBitString, kBitStringTag),
};
inline constexpr Schema kPublicKeyInfo{Form::kFields, kPublicKeyInfoRows,
                                       sizeof(CVD_SubjectPublicKeyInfo)};

// Extension ::= SEQUENCE { extnID OBJECT IDENTIFIER, critical BOOLEAN DEFAULT FALSE,
//                          extnValue OCTET STRING }
inline constexpr Row kExtensionRows[] = {
    ROW(CVD_Extension, extnID, kOid, kOidTag),
    ROW(CVD_Extension, critical, kBoolean, kBooleanTag, .bit = 0x80),
    ROW(CVD_Extension, extnValue, kOctets, kOctetStringTag),
};
inline constexpr Schema kExtension{Form::kFields, kExtensionRows, sizeof(CVD_Extension)};
inline constexpr Row kExtensionElement[] = {MakeRow<Kind::kRecord, CVD_Extension>(
    "", offsetof(CVD_ExtensionNode, extension), kSequenceTag, RowOptions{.of = &kExtension})};
// Extensions ::= SEQUENCE OF Extension. Lenient: an empty one is present and empty.
inline constexpr Schema kExtensions{Form::kElements, kExtensionElement, sizeof(CVD_ExtensionNode)};

// Validity ::= SEQUENCE { notBefore Time, notAfter Time }, kept in the certificate's record
inline constexpr Row kValidityRows[] = {
    ROW(CVD_TBSCertificate, notBefore, kTime, kNoTag),
    ROW(CVD_TBSCertificate, notAfter, kTime, kNoTag),
};
inline constexpr Schema kValidity{Form::kFields, kValidityRows, sizeof(CVD_TBSCertificate)};

// TBSCertificate ::= SEQUENCE { version [0] EXPLICIT INTEGER DEFAULT v1, serialNumber INTEGER,
//   signature AlgorithmIdentifier, issuer Name, validity Validity, subject Name,
//   subjectPublicKeyInfo SubjectPublicKeyInfo, issuerUniqueID [1] IMPLICIT BIT STRING OPTIONAL,
//   subjectUniqueID [2] IMPLICIT BIT STRING OPTIONAL, extensions [3] EXPLICIT Extensions OPTIONAL }
inline constexpr Row kTbsRows[] = {
    ROW(CVD_TBSCertificate, version, kInteger, kIntegerTag, .bit = 0x80,
        .explicit_tag = ContextConstructed(0)),
    ROW(CVD_TBSCertificate, serialNumber, kHuge, kIntegerTag),
    ROW(CVD_TBSCertificate, signature, kRecord, kSequenceTag, .of = &kAlgorithm),
    ROW(CVD_TBSCertificate, issuer, kChoice, kNoTag, .of = &kName),
    MakeRow<Kind::kRecord, CVD_TBSCertificate>("validity", 0, kSequenceTag,
                                               RowOptions{.of = &kValidity}),
    ROW(CVD_TBSCertificate, subject, kChoice, kNoTag, .of = &kName),
    ROW(CVD_TBSCertificate, subjectPublicKeyInfo, kRecord, kSequenceTag, .of = &kPublicKeyInfo),
    ROW(CVD_TBSCertificate, issuerUniqueID, kBitString, Context(1), .bit = 0x40),
    ROW(CVD_TBSCertificate, subjectUniqueID, kBitString, Context(2), .bit = 0x20),
    ROW(CVD_TBSCertificate, extensions, kList, kSequenceTag, .bit = 0x10,
        .explicit_tag = ContextConstructed(3), .of = &kExtensions),
};
inline constexpr Schema kTbs{Form::kFields, kTbsRows, sizeof(CVD_TBSCertificate)};

// Certificate ::= SEQUENCE { tbsCertificate TBSCertificate,
//                            signatureAlgorithm AlgorithmIdentifier, signature BIT STRING }
inline constexpr Row kCertificateRows[] = {
    ROW(CVD_Certificate, tbsCertificate, kRecord, kSequenceTag, .of = &kTbs),
    ROW(CVD_Certificate, signatureAlgorithm, kRecord, kSequenceTag, .of = &kAlgorithm),
    ROW(CVD_Certificate, signature, kBitString, kBitStringTag),
};
inline constexpr Schema kCertificate{Form::kFields, kCertificateRows, sizeof(CVD_Certificate)};

// RevokedCertificate ::= SEQUENCE { userCertificate INTEGER, revocationDate Time,
//                                   crlEntryExtensions Extensions OPTIONAL }
inline constexpr Row kRevokedRows[] = {
    ROW(CVD_RevokedCertificate, userCertificate, kHuge, kIntegerTag),
    ROW(CVD_RevokedCertificate, revocationDate, kTime, kNoTag),
    ROW(CVD_RevokedCertificate, crlEntryExtensions, kList, kSequenceTag, .bit = 0x80,
        .of = &kExtensions),
};
inline constexpr Schema kRevoked{Form::kFields, kRevokedRows, sizeof(CVD_RevokedCertificate)};

// TBSCertList ::= SEQUENCE { version INTEGER OPTIONAL, signature AlgorithmIdentifier, issuer Name,
//   thisUpdate Time, nextUpdate Time OPTIONAL, revokedCertificates SEQUENCE OF ... OPTIONAL,
//   crlExtensions [0] EXPLICIT Extensions OPTIONAL }
inline constexpr Row kTbsCertListRows[] = {
    ROW(CVD_TBSCertList, version, kInteger, kIntegerTag, .bit = 0x80),
    ROW(CVD_TBSCertList, signature, kRecord, kSequenceTag, .of = &kAlgorithm),
    ROW(CVD_TBSCertList, issuer, kChoice, kNoTag, .of = &kName),
    ROW(CVD_TBSCertList, thisUpdate, kTime, kNoTag),
    ROW(CVD_TBSCertList, nextUpdate, kTime, kNoTag, .bit = 0x40),
    ROW(CVD_TBSCertList, revokedCertificates, kAny, kSequenceTag, .bit = 0x20),
    ROW(CVD_TBSCertList, crlExtensions, kList, kSequenceTag, .bit = 0x10,
        .explicit_tag = ContextConstructed(0), .of = &kExtensions),
};
inline constexpr Schema kTbsCertList{Form::kFields, kTbsCertListRows, sizeof(CVD_TBSCertList)};

// CertificateList ::= SEQUENCE { tbsCertList TBSCertList, signatureAlgorithm AlgorithmIdentifier,
//                                signature BIT STRING }
inline constexpr Row kCertListRows[] = {
    ROW(CVD_CertificateList, tbsCertList, kRecord, kSequenceTag, .of = &kTbsCertList),
    ROW(CVD_CertificateList, signatureAlgorithm, kRecord, kSequenceTag, .of = &kAlgorithm),
    ROW(CVD_CertificateList, signature, kBitString, kBitStringTag),
};
inline constexpr Schema kCertList{Form::kFields, kCertListRows, sizeof(CVD_CertificateList)};

// OtherName ::= SEQUENCE { type-id OBJECT IDENTIFIER, value [0] EXPLICIT ANY }
inline constexpr Row kOtherNameRows[] = {
    ROW(CVD_OtherName, typeId, kOid, kOidTag),
    ROW(CVD_OtherName, value, kAny, kNoTag, .explicit_tag = ContextConstructed(0)),
};
inline constexpr Schema kOtherName{Form::kFields, kOtherNameRows, sizeof(CVD_OtherName)};

// GeneralName ::= CHOICE { [0] to [8], IMPLICIT but for the Name }. A text's NUL is written over
// the header that follows, so no whole element (kAny) may follow a text.
inline constexpr Row kGeneralNameRows[] = {
    ROW(CVD_GeneralName, name.otherName, kRecord, ContextConstructed(0),
        .number = CVD_GENERAL_NAME_OTHER, .of = &kOtherName),
    ROW(CVD_GeneralName, name.rfc822Name, kText, Context(1), .number = CVD_GENERAL_NAME_RFC822),
    ROW(CVD_GeneralName, name.dNSName, kText, Context(2), .number = CVD_GENERAL_NAME_DNS),
    ROW(CVD_GeneralName, name.x400Address, kOctets, ContextConstructed(3),
        .number = CVD_GENERAL_NAME_X400),
    ROW(CVD_GeneralName, name.directoryName, kChoice, kNoTag, .explicit_tag = ContextConstructed(4),
        .number = CVD_GENERAL_NAME_DIRECTORY, .of = &kName),
    ROW(CVD_GeneralName, name.ediPartyName, kOctets, ContextConstructed(5),
        .number = CVD_GENERAL_NAME_EDI_PARTY),
    ROW(CVD_GeneralName, name.uniformResourceIdentifier, kText, Context(6),
        .number = CVD_GENERAL_NAME_URI),
    ROW(CVD_GeneralName, name.iPAddress, kOctets, Context(7), .number = CVD_GENERAL_NAME_IP),
    ROW(CVD_GeneralName, name.registeredID, kOid, Context(8),
        .number = CVD_GENERAL_NAME_REGISTERED_ID),
};
inline constexpr Schema kGeneralName{Form::kAlternatives, kGeneralNameRows,
                                     sizeof(CVD_GeneralName)};
inline constexpr Row kGeneralNameElement[] = {MakeRow<Kind::kChoice, CVD_GeneralName>(
    "", offsetof(CVD_GeneralNameNode, generalName), kNoTag, RowOptions{.of = &kGeneralName})};
// GeneralNames ::= SEQUENCE OF GeneralName. Lenient: issued certificates have empty ones.
inline constexpr Schema kGeneralNames{Form::kElements, kGeneralNameElement,
                                      sizeof(CVD_GeneralNameNode)};

// AuthorityKeyIdentifier ::= SEQUENCE { keyIdentifier [0] OCTET STRING OPTIONAL,
//   authorityCertIssuer [1] GeneralNames OPTIONAL, authorityCertSerialNumber [2] INTEGER OPTIONAL }
inline constexpr Row kAuthorityKeyIdentifierRows[] = {
    ROW(CVD_AuthorityKeyIdentifier, keyIdentifier, kOctets, Context(0), .bit = 0x80),
    ROW(CVD_AuthorityKeyIdentifier, authorityCertIssuer, kList, ContextConstructed(1), .bit = 0x40,
        .of = &kGeneralNames),
    ROW(CVD_AuthorityKeyIdentifier, authorityCertSerialNumber, kHuge, Context(2), .bit = 0x20),
};
inline constexpr Schema kAuthorityKeyIdentifier{Form::kFields, kAuthorityKeyIdentifierRows,
                                                sizeof(CVD_AuthorityKeyIdentifier)};

// PolicyQualifierInfo ::= SEQUENCE { policyQualifierId OBJECT IDENTIFIER, qualifier ANY }
inline constexpr Row kQualifierRows[] = {
    ROW(CVD_PolicyQualifierInfoNode, policyQualifierId, kOid, kOidTag),
    ROW(CVD_PolicyQualifierInfoNode, qualifier, kAny, kNoTag),
};
inline constexpr Schema kQualifier{Form::kFields, kQualifierRows,
                                   sizeof(CVD_PolicyQualifierInfoNode)};
inline constexpr Row kQualifierElement[] = {
    WHOLE(CVD_PolicyQualifierInfoNode, kRecord, kSequenceTag, .of = &kQualifier)};
inline constexpr Schema kQualifiers{.form = Form::kElements,
                                    .rows = kQualifierElement,
                                    .size = sizeof(CVD_PolicyQualifierInfoNode),
                                    .some = true};

// PolicyInformation ::= SEQUENCE { policyIdentifier OBJECT IDENTIFIER,
//   policyQualifiers SEQUENCE SIZE (1..MAX) OF PolicyQualifierInfo OPTIONAL }
inline constexpr Row kPolicyRows[] = {
    ROW(CVD_PolicyInformationNode, policyIdentifier, kOid, kOidTag),
    ROW(CVD_PolicyInformationNode, policyQualifiers, kList, kSequenceTag, .bit = 0x80,
        .of = &kQualifiers),
};
inline constexpr Schema kPolicy{Form::kFields, kPolicyRows, sizeof(CVD_PolicyInformationNode),
                                offsetof(CVD_PolicyInformationNode, present)};
inline constexpr Row kPolicyElement[] = {
    WHOLE(CVD_PolicyInformationNode, kRecord, kSequenceTag, .of = &kPolicy)};
inline constexpr Schema kPolicies{Form::kElements, kPolicyElement,
                                  sizeof(CVD_PolicyInformationNode)};

// DisplayText ::= CHOICE { ..., visibleString, ..., utf8String }
inline constexpr Row kDisplayTextRows[] = {
    ROW(CVD_DisplayText, text, kInlineText, kVisibleStringTag, .number = CVD_DISPLAY_TEXT_VISIBLE,
        .bound = sizeof(CVD_DisplayText::text) - 1, .characters = Characters::kVisible),
    ROW(CVD_DisplayText, text, kInlineText, kUtf8StringTag, .number = CVD_DISPLAY_TEXT_UTF8,
        .bound = sizeof(CVD_DisplayText::text) - 1, .characters = Characters::kUtf8),
};
inline constexpr Schema kDisplayText{Form::kAlternatives, kDisplayTextRows,
                                     sizeof(CVD_DisplayText)};

// UserNotice ::= SEQUENCE { noticeRef NoticeReference OPTIONAL, explicitText DisplayText OPTIONAL }
inline constexpr Row kUserNoticeRows[] = {
    ROW(CVD_UserNotice, noticeRef, kAny, kSequenceTag, .bit = 0x80),
    ROW(CVD_UserNotice, explicitText, kChoice, kNoTag, .bit = 0x40, .of = &kDisplayText),
};
inline constexpr Schema kUserNotice{Form::kFields, kUserNoticeRows, sizeof(CVD_UserNotice)};

// BasicConstraints ::= SEQUENCE { cA BOOLEAN DEFAULT FALSE, pathLenConstraint INTEGER OPTIONAL }
inline constexpr Row kBasicConstraintsRows[] = {
    ROW(CVD_BasicConstraints, cA, kBoolean, kBooleanTag, .bit = 0x80),
    ROW(CVD_BasicConstraints, pathLenConstraint, kInteger, kIntegerTag, .bit = 0x40),
};
inline constexpr Schema kBasicConstraints{Form::kFields, kBasicConstraintsRows,
                                          sizeof(CVD_BasicConstraints)};

// ExtKeyUsageSyntax ::= SEQUENCE OF KeyPurposeId
inline constexpr Row kKeyPurposeElement[] = {MakeRow<Kind::kOid, CVD_OID>(
    "", offsetof(CVD_KeyPurposeNode, keyPurposeId), kOidTag, RowOptions{})};
inline constexpr Schema kKeyPurposes{Form::kElements, kKeyPurposeElement,
                                     sizeof(CVD_KeyPurposeNode)};

// DistributionPointName ::= CHOICE { fullName [0] GeneralNames,
//                                    nameRelativeToCRLIssuer [1] RelativeDistinguishedName }
inline constexpr Row kPointNameRows[] = {
    ROW(CVD_DistributionPointName, name.fullName, kList, ContextConstructed(0),
        .number = CVD_DISTRIBUTION_POINT_FULL_NAME, .of = &kGeneralNames),
    ROW(CVD_DistributionPointName, name.nameRelativeToCRLIssuer, kList, ContextConstructed(1),
        .number = CVD_DISTRIBUTION_POINT_RELATIVE_NAME, .of = &kAttributes),
};
static_assert(offsetof(CVD_DistributionPointName, decoded) == 2 &&
              offsetof(CVD_Name, decoded) == 2);
inline constexpr Schema kPointName{.form = Form::kAlternatives,
                                   .rows = kPointNameRows,
                                   .size = sizeof(CVD_DistributionPointName),
                                   .ordered = true};

// DistributionPoint ::= SEQUENCE { distributionPoint [0] DistributionPointName OPTIONAL,
//   reasons [1] ReasonFlags OPTIONAL, cRLIssuer [2] GeneralNames OPTIONAL }
inline constexpr Row kDistributionPointRows[] = {
    ROW(CVD_DistributionPointNode, distributionPoint, kChoice, kNoTag, .bit = 0x80,
        .explicit_tag = ContextConstructed(0), .of = &kPointName),
    ROW(CVD_DistributionPointNode, reasons, kNamedBits, Context(1), .bit = 0x40, .shown = 2),
    ROW(CVD_DistributionPointNode, cRLIssuer, kList, ContextConstructed(2), .bit = 0x20,
        .of = &kGeneralNames),
};
inline constexpr Schema kDistributionPoint{Form::kFields, kDistributionPointRows,
                                           sizeof(CVD_DistributionPointNode),
                                           offsetof(CVD_DistributionPointNode, present)};
inline constexpr Row kDistributionPointElement[] = {
    WHOLE(CVD_DistributionPointNode, kRecord, kSequenceTag, .of = &kDistributionPoint)};
inline constexpr Schema kDistributionPoints{Form::kElements, kDistributionPointElement,
                                            sizeof(CVD_DistributionPointNode)};

// IssuingDistributionPoint ::= SEQUENCE { distributionPoint [0] DistributionPointName OPTIONAL,
//   onlyContainsUserCerts [1] BOOLEAN DEFAULT FALSE, onlyContainsCACerts [2] BOOLEAN DEFAULT FALSE,
//   onlySomeReasons [3] ReasonFlags OPTIONAL, indirectCRL [4] BOOLEAN DEFAULT FALSE,
//   onlyContainsAttributeCerts [5] BOOLEAN DEFAULT FALSE }
inline constexpr Row kIssuingPointRows[] = {
    ROW(CVD_IssuingDistributionPoint, distributionPoint, kChoice, kNoTag, .bit = 0x80,
        .explicit_tag = ContextConstructed(0), .of = &kPointName),
    ROW(CVD_IssuingDistributionPoint, onlyContainsUserCerts, kBoolean, Context(1), .bit = 0x40),
    ROW(CVD_IssuingDistributionPoint, onlyContainsCACerts, kBoolean, Context(2), .bit = 0x20),
    ROW(CVD_IssuingDistributionPoint, onlySomeReasons, kNamedBits, Context(3), .bit = 0x10,
        .shown = 2),
    ROW(CVD_IssuingDistributionPoint, indirectCRL, kBoolean, Context(4), .bit = 0x08),
    ROW(CVD_IssuingDistributionPoint, onlyContainsAttributeCerts, kBoolean, Context(5),
        .bit = 0x04),
};
inline constexpr Schema kIssuingPoint{Form::kFields, kIssuingPointRows,
                                      sizeof(CVD_IssuingDistributionPoint)};

// AccessDescription ::= SEQUENCE { accessMethod OBJECT IDENTIFIER, accessLocation GeneralName }
inline constexpr Row kAccessRows[] = {
    ROW(CVD_AccessDescriptionNode, accessMethod, kOid, kOidTag),
    ROW(CVD_AccessDescriptionNode, accessLocation, kChoice, kNoTag, .of = &kGeneralName),
};
inline constexpr Schema kAccess{Form::kFields, kAccessRows, sizeof(CVD_AccessDescriptionNode)};
inline constexpr Row kAccessElement[] = {
    WHOLE(CVD_AccessDescriptionNode, kRecord, kSequenceTag, .of = &kAccess)};
inline constexpr Schema kAccessDescriptions{Form::kElements, kAccessElement,
                                            sizeof(CVD_AccessDescriptionNode)};

// HashContent ::= SEQUENCE { idn PrintableString, randomNum BIT STRING }
inline constexpr Row kHashContentRows[] = {
    ROW(CVD_VIDHashContent, idn, kText, kPrintableStringTag, .only = true,
        .characters = Characters::kPrintable),
    ROW(CVD_VIDHashContent, randomNum, kBitString, kBitStringTag),
};
inline constexpr Schema kHashContent{Form::kFields, kHashContentRows, sizeof(CVD_VIDHashContent)};

// VID ::= SEQUENCE { hashAlg AlgorithmIdentifier, virtualID [0] EXPLICIT OCTET STRING }
inline constexpr Row kVidRows[] = {
    ROW(CVD_VID, hashAlg, kRecord, kSequenceTag, .of = &kAlgorithm),
    ROW(CVD_VID, virtualID, kOctets, kOctetStringTag, .explicit_tag = ContextConstructed(0),
        .only = true),
};
inline constexpr Schema kVid{Form::kFields, kVidRows, sizeof(CVD_VID)};

// SEQUENCE OF SEQUENCE { type OBJECT IDENTIFIER, value ANY }
inline constexpr Row kUserInfoRows[] = {
    ROW(CVD_UserInfoNode, type, kOid, kOidTag),
    ROW(CVD_UserInfoNode, value, kAny, kNoTag),
};
inline constexpr Schema kUserInfo{Form::kFields, kUserInfoRows, sizeof(CVD_UserInfoNode)};
inline constexpr Row kUserInfoElement[] = {
    WHOLE(CVD_UserInfoNode, kRecord, kSequenceTag, .of = &kUserInfo)};
inline constexpr Schema kUserInfos{Form::kElements, kUserInfoElement, sizeof(CVD_UserInfoNode)};

// IdentityData ::= SEQUENCE { realName UTF8String, userInfo ... OPTIONAL }
inline constexpr Row kIdentityDataRows[] = {
    ROW(CVD_IdentityData, realName, kText, kUtf8StringTag, .characters = Characters::kUtf8),
    ROW(CVD_IdentityData, userInfo, kList, kSequenceTag, .bit = 0x80, .of = &kUserInfos),
};
inline constexpr Schema kIdentityData{Form::kFields, kIdentityDataRows, sizeof(CVD_IdentityData)};

// ---- PDU types -----------------------------------------------------------------------------

// A list as a whole value: its elements are told by their index alone.
#define LIST(Record, tag, ...)                                                    \
  MakeRow<Kind::kList, decltype(Record::first)>("", offsetof(Record, first), tag, \
                                                RowOptions{__VA_ARGS__})

// PDU(type, struct, row): every type with the one row of its whole value.
/* clang-format off */
#define CORVID_PDUS(PDU) \
  PDU(CVD_PDU_IA5_ATTRIBUTE, CVD_IA5Attribute, WHOLE(CVD_IA5Attribute, kCountedText, kIa5StringTag, .only = true)) \
  PDU(CVD_PDU_X520_COMMON_NAME, CVD_X520Name64, WHOLE(CVD_X520Name64, kChoice, kNoTag, .of = &kName64)) \
  PDU(CVD_PDU_X520_LOCALITY_NAME, CVD_X520Name128, WHOLE(CVD_X520Name128, kChoice, kNoTag, .of = &kName128)) \
  PDU(CVD_PDU_X520_STATE_NAME, CVD_X520Name128, WHOLE(CVD_X520Name128, kChoice, kNoTag, .of = &kName128)) \
  PDU(CVD_PDU_X520_ORGANIZATION_NAME, CVD_X520Name64, WHOLE(CVD_X520Name64, kChoice, kNoTag, .of = &kName64)) \
  PDU(CVD_PDU_X520_ORG_UNIT_NAME, CVD_X520Name64, WHOLE(CVD_X520Name64, kChoice, kNoTag, .of = &kName64)) \
  PDU(CVD_PDU_X520_TITLE, CVD_X520Name64, WHOLE(CVD_X520Name64, kChoice, kNoTag, .of = &kName64)) \
  PDU(CVD_PDU_X520_DN_QUALIFIER, CVD_X520DnQualifier, ROW(CVD_X520DnQualifier, text, kText, kPrintableStringTag, .only = true)) \
  PDU(CVD_PDU_X520_COUNTRY_NAME, CVD_X520CountryName, ROW(CVD_X520CountryName, text, kInlineText, kPrintableStringTag, .bound = 2, .exact = true, .only = true)) \
  PDU(CVD_PDU_EMAIL_ADDRESS, CVD_EmailAddress, ROW(CVD_EmailAddress, text, kInlineText, kIa5StringTag, .bound = 128, .only = true)) \
  PDU(CVD_PDU_CERTIFICATE, CVD_Certificate, WHOLE(CVD_Certificate, kRecord, kSequenceTag, .of = &kCertificate)) \
  PDU(CVD_PDU_TBS_CERTIFICATE, CVD_TBSCertificate, WHOLE(CVD_TBSCertificate, kRecord, kSequenceTag, .of = &kTbs)) \
  PDU(CVD_PDU_AUTHORITY_KEY_IDENTIFIER, CVD_AuthorityKeyIdentifier, WHOLE(CVD_AuthorityKeyIdentifier, kRecord, kSequenceTag, .of = &kAuthorityKeyIdentifier)) \
  PDU(CVD_PDU_SUBJECT_KEY_IDENTIFIER, CVD_SubjectKeyIdentifier, ROW(CVD_SubjectKeyIdentifier, keyIdentifier, kOctets, kOctetStringTag, .only = true)) \
  PDU(CVD_PDU_KEY_USAGE, CVD_KeyUsage, WHOLE(CVD_KeyUsage, kNamedBits, kBitStringTag, .shown = 2, .word = true)) \
  PDU(CVD_PDU_CERTIFICATE_POLICIES, CVD_CertificatePolicies, LIST(CVD_CertificatePolicies, kSequenceTag, .of = &kPolicies)) \
  PDU(CVD_PDU_CPS_URI, CVD_CPSuri, ROW(CVD_CPSuri, text, kText, kIa5StringTag, .only = true)) \
  PDU(CVD_PDU_USER_NOTICE, CVD_UserNotice, WHOLE(CVD_UserNotice, kRecord, kSequenceTag, .of = &kUserNotice)) \
  PDU(CVD_PDU_GENERAL_NAMES, CVD_GeneralNames, LIST(CVD_GeneralNames, kSequenceTag, .of = &kGeneralNames)) \
  PDU(CVD_PDU_BASIC_CONSTRAINTS, CVD_BasicConstraints, WHOLE(CVD_BasicConstraints, kRecord, kSequenceTag, .of = &kBasicConstraints)) \
  PDU(CVD_PDU_CRL_DISTRIBUTION_POINTS, CVD_CRLDistributionPoints, LIST(CVD_CRLDistributionPoints, kSequenceTag, .of = &kDistributionPoints)) \
  PDU(CVD_PDU_EXT_KEY_USAGE, CVD_ExtKeyUsageSyntax, LIST(CVD_ExtKeyUsageSyntax, kSequenceTag, .of = &kKeyPurposes)) \
  PDU(CVD_PDU_AUTHORITY_INFO_ACCESS, CVD_AuthorityInfoAccessSyntax, LIST(CVD_AuthorityInfoAccessSyntax, kSequenceTag, .of = &kAccessDescriptions)) \
  PDU(CVD_PDU_NETSCAPE_CERT_TYPE, CVD_NetscapeCertType, WHOLE(CVD_NetscapeCertType, kNamedBits, kBitStringTag, .shown = 1)) \
  PDU(CVD_PDU_VID_HASH_CONTENT, CVD_VIDHashContent, WHOLE(CVD_VIDHashContent, kRecord, kSequenceTag, .of = &kHashContent)) \
  PDU(CVD_PDU_IDENTITY_DATA, CVD_IdentityData, WHOLE(CVD_IdentityData, kRecord, kSequenceTag, .of = &kIdentityData)) \
  PDU(CVD_PDU_VID, CVD_VID, WHOLE(CVD_VID, kRecord, kSequenceTag, .of = &kVid)) \
  PDU(CVD_PDU_CERTIFICATE_LIST, CVD_CertificateList, WHOLE(CVD_CertificateList, kRecord, kSequenceTag, .of = &kCertList)) \
  PDU(CVD_PDU_TBS_CERT_LIST, CVD_TBSCertList, WHOLE(CVD_TBSCertList, kRecord, kSequenceTag, .of = &kTbsCertList)) \
  PDU(CVD_PDU_REVOKED_CERTIFICATE, CVD_RevokedCertificate, WHOLE(CVD_RevokedCertificate, kRecord, kSequenceTag, .of = &kRevoked)) \
  PDU(CVD_PDU_ISSUING_DISTRIBUTION_POINT, CVD_IssuingDistributionPoint, WHOLE(CVD_IssuingDistributionPoint, kRecord, kSequenceTag, .of = &kIssuingPoint))
/* clang-format on */

template <int32_t kType>
struct Pdu;

// The row of a type, as a schema of its own for the engine.
#define CORVID_PDU_ROOT(type, Record, ...)                              \
  template <>                                                           \
  struct Pdu<type> {                                                    \
    static constexpr Row kRow[] = {__VA_ARGS__};                        \
    static constexpr Schema kRoot{Form::kFields, kRow, sizeof(Record)}; \
    static_assert(LayoutHolds(kRoot));                                  \
  };
CORVID_PDUS(CORVID_PDU_ROOT)
#undef CORVID_PDU_ROOT

static_assert(LayoutHolds(kAttribute) && LayoutHolds(kAttributes) && LayoutHolds(kRdnSequence) &&
              LayoutHolds(kName) && LayoutHolds(kName64) && LayoutHolds(kName128) &&
              LayoutHolds(kAlgorithm) && LayoutHolds(kPublicKeyInfo) && LayoutHolds(kExtension) &&
              LayoutHolds(kExtensions) && LayoutHolds(kTbs) && LayoutHolds(kCertificate) &&
              LayoutHolds(kOtherName) && LayoutHolds(kGeneralName) && LayoutHolds(kGeneralNames) &&
              LayoutHolds(kAuthorityKeyIdentifier) && LayoutHolds(kQualifier) &&
              LayoutHolds(kQualifiers) && LayoutHolds(kPolicy) && LayoutHolds(kPolicies) &&
              LayoutHolds(kDisplayText) && LayoutHolds(kUserNotice) &&
              LayoutHolds(kBasicConstraints) && LayoutHolds(kKeyPurposes) &&
              LayoutHolds(kPointName) && LayoutHolds(kDistributionPoint) &&
              LayoutHolds(kDistributionPoints) && LayoutHolds(kAccess) &&
              LayoutHolds(kAccessDescriptions) && LayoutHolds(kHashContent) && LayoutHolds(kVid) &&
              LayoutHolds(kUserInfo) && LayoutHolds(kUserInfos) && LayoutHolds(kIdentityData) &&
              LayoutHolds(kRevoked) && LayoutHolds(kTbsCertList) && LayoutHolds(kCertList) &&
              LayoutHolds(kIssuingPoint));

}  // namespace corvid::asn

#endif  // CORVID_ASN_TABLES_H_
