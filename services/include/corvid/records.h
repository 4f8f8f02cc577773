/* The decoded ASN.1 records, as CVD_ASN_DecodePDU makes them and CVD_ASN_EncodePDU reads them.
 *
 * - A record whose type has OPTIONAL or DEFAULT components begins with `present`: the first such
 *   component is bit 0x80, the next 0x40, and so on. A component whose bit is clear is absent,
 *   whatever its field holds; an encoded default has its bit set.
 * - SEQUENCE OF and SET OF are pointers to the first of a chain of nodes, in encoding order.
 * - A CHOICE is a small number, then the alternative.
 * - "DER of the value" means identifier, length and content octets; "contents" the content octets.
 * - Texts are NUL-terminated; a text that holds a NUL does not decode.
 * - An empty OCTET STRING, BIT STRING or ANY is {0, null}.
 * A decoded record owns everything it points at, and is released whole by CVD_ASN_FreePDU. */
#ifndef CORVID_RECORDS_H_
#define CORVID_RECORDS_H_

#include "corvid/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* PDU type ids: the last argument of the coding functions. */
enum {
  CVD_PDU_IA5_ATTRIBUTE = 133,             /* CVD_IA5Attribute */
  CVD_PDU_X520_COMMON_NAME = 166,          /* CVD_X520Name64 */
  CVD_PDU_X520_LOCALITY_NAME = 167,        /* CVD_X520Name128 */
  CVD_PDU_X520_STATE_NAME = 168,           /* CVD_X520Name128 */
  CVD_PDU_X520_ORGANIZATION_NAME = 169,    /* CVD_X520Name64 */
  CVD_PDU_X520_ORG_UNIT_NAME = 170,        /* CVD_X520Name64 */
  CVD_PDU_X520_TITLE = 171,                /* CVD_X520Name64 */
  CVD_PDU_X520_DN_QUALIFIER = 172,         /* CVD_X520DnQualifier */
  CVD_PDU_X520_COUNTRY_NAME = 173,         /* CVD_X520CountryName */
  CVD_PDU_EMAIL_ADDRESS = 174,             /* CVD_EmailAddress */
  CVD_PDU_CERTIFICATE = 177,               /* CVD_Certificate */
  CVD_PDU_TBS_CERTIFICATE = 178,           /* CVD_TBSCertificate */
  CVD_PDU_AUTHORITY_KEY_IDENTIFIER = 219,  /* CVD_AuthorityKeyIdentifier */
  CVD_PDU_SUBJECT_KEY_IDENTIFIER = 220,    /* CVD_SubjectKeyIdentifier */
  CVD_PDU_KEY_USAGE = 221,                 /* CVD_KeyUsage */
  CVD_PDU_CERTIFICATE_POLICIES = 223,      /* CVD_CertificatePolicies */
  CVD_PDU_CPS_URI = 224,                   /* CVD_CPSuri */
  CVD_PDU_USER_NOTICE = 225,               /* CVD_UserNotice */
  CVD_PDU_GENERAL_NAMES = 227,             /* CVD_GeneralNames */
  CVD_PDU_BASIC_CONSTRAINTS = 230,         /* CVD_BasicConstraints */
  CVD_PDU_CRL_DISTRIBUTION_POINTS = 233,   /* CVD_CRLDistributionPoints */
  CVD_PDU_EXT_KEY_USAGE = 234,             /* CVD_ExtKeyUsageSyntax */
  CVD_PDU_AUTHORITY_INFO_ACCESS = 235,     /* CVD_AuthorityInfoAccessSyntax */
  CVD_PDU_NETSCAPE_CERT_TYPE = 242,        /* CVD_NetscapeCertType */
  CVD_PDU_VID_HASH_CONTENT = 250,          /* CVD_VIDHashContent */
  CVD_PDU_IDENTITY_DATA = 253,             /* CVD_IdentityData */
  CVD_PDU_VID = 254,                       /* CVD_VID */
  CVD_PDU_CERTIFICATE_LIST = 301,          /* CVD_CertificateList */
  CVD_PDU_TBS_CERT_LIST = 302,             /* CVD_TBSCertList */
  CVD_PDU_REVOKED_CERTIFICATE = 303,       /* CVD_RevokedCertificate */
  CVD_PDU_ISSUING_DISTRIBUTION_POINT = 304 /* CVD_IssuingDistributionPoint */
};

/* ---- names: RFC 5280 section 4.1.2.4 ---------------------------------------------------- */

typedef struct CVD_AttributeTypeAndValueNode CVD_AttributeTypeAndValueNode;
struct CVD_AttributeTypeAndValueNode {
  CVD_AttributeTypeAndValueNode* next; /* of the same RDN */
  CVD_OID type;
  BIN value; /* DER of the value, of any string type */
};

typedef struct CVD_RDNSequenceNode CVD_RDNSequenceNode;
struct CVD_RDNSequenceNode {
  CVD_RDNSequenceNode* next;
  CVD_AttributeTypeAndValueNode* relativeDistinguishedName; /* null for an empty SET */
};

enum { CVD_NAME_RDN_SEQUENCE = 1 };

typedef struct CVD_Name {
  uint16_t choice;  /* CVD_NAME_RDN_SEQUENCE; 0 for a released name */
  uint16_t decoded; /* 1: the SETs keep their order when encoded; 0: they are sorted (X.690 11.6) */
  CVD_RDNSequenceNode* rdnSequence; /* null for no RDNs */
} CVD_Name;

/* ---- attribute values: RFC 5280 appendix A.1 ---------------------------------------------
 * Bounds count characters. The alternatives that a record can hold decode; others are refused. */

enum { CVD_DIRECTORY_STRING_PRINTABLE = 2, CVD_DIRECTORY_STRING_UTF8 = 4 };

/* DirectoryString of 64 characters at most: commonName, organizationName, organizationalUnitName,
 * title. */
typedef struct CVD_X520Name64 {
  uint16_t choice; /* CVD_DIRECTORY_STRING_* */
  char text[385];
} CVD_X520Name64;

/* DirectoryString of 128 characters at most: localityName, stateOrProvinceName. */
typedef struct CVD_X520Name128 {
  uint16_t choice; /* CVD_DIRECTORY_STRING_* */
  char text[769];
} CVD_X520Name128;

typedef struct CVD_X520DnQualifier { /* PrintableString */
  const char* text;
} CVD_X520DnQualifier;

typedef struct CVD_X520CountryName { /* PrintableString of two characters */
  char text[3];
} CVD_X520CountryName;

typedef struct CVD_EmailAddress { /* IA5String of 128 characters at most */
  char text[129];
} CVD_EmailAddress;

/* The value of domainComponent and uid: IA5String. */
typedef struct CVD_IA5Attribute {
  uint16_t choice; /* 1 */
  uint16_t reserved1;
  uint16_t length; /* octets of `text` */
  uint16_t reserved2;
  const char* text;
} CVD_IA5Attribute;

/* ---- certificates: RFC 5280 section 4.1 -------------------------------------------------- */

typedef struct CVD_AlgorithmIdentifier {
  uint8_t present; /* 0x80 parameters */
  CVD_OID algorithm;
  BIN parameters; /* DER of the value; for RSA 05 00 */
} CVD_AlgorithmIdentifier;

typedef struct CVD_SubjectPublicKeyInfo {
  CVD_AlgorithmIdentifier algorithm;
  CVD_BitString subjectPublicKey; /* for RSA the DER of RSAPublicKey */
} CVD_SubjectPublicKeyInfo;

typedef struct CVD_Extension {
  uint8_t present; /* 0x80 critical */
  CVD_OID extnID;
  uint8_t critical; /* 1 = TRUE; FALSE when absent */
  BIN extnValue;    /* contents of the OCTET STRING: the DER of the extension's own value */
} CVD_Extension;

typedef struct CVD_ExtensionNode CVD_ExtensionNode;
struct CVD_ExtensionNode {
  CVD_ExtensionNode* next;
  CVD_Extension extension;
};

typedef struct CVD_TBSCertificate {
  uint8_t present; /* 0x80 version, 0x40 issuerUniqueID, 0x20 subjectUniqueID, 0x10 extensions */
  int32_t version; /* 0 = v1, 1 = v2, 2 = v3; v1 when absent */
  Huge serialNumber;
  CVD_AlgorithmIdentifier signature;
  CVD_Name issuer;
  CVD_Time notBefore;
  CVD_Time notAfter;
  CVD_Name subject;
  CVD_SubjectPublicKeyInfo subjectPublicKeyInfo;
  CVD_BitString issuerUniqueID;
  CVD_BitString subjectUniqueID;
  CVD_ExtensionNode* extensions; /* null for none, also when present and empty */
} CVD_TBSCertificate;

/* Begins with its TBSCertificate: encoding one as CVD_PDU_TBS_CERTIFICATE gives the signed part. */
typedef struct CVD_Certificate {
  CVD_TBSCertificate tbsCertificate;
  CVD_AlgorithmIdentifier signatureAlgorithm;
  CVD_BitString signature;
} CVD_Certificate;

/* ---- general names: RFC 5280 section 4.2.1.6 --------------------------------------------- */

enum { /* the context tag plus one */
       CVD_GENERAL_NAME_OTHER = 1,
       CVD_GENERAL_NAME_RFC822 = 2,
       CVD_GENERAL_NAME_DNS = 3,
       CVD_GENERAL_NAME_X400 = 4,
       CVD_GENERAL_NAME_DIRECTORY = 5,
       CVD_GENERAL_NAME_EDI_PARTY = 6,
       CVD_GENERAL_NAME_URI = 7,
       CVD_GENERAL_NAME_IP = 8,
       CVD_GENERAL_NAME_REGISTERED_ID = 9
};

typedef struct CVD_OtherName {
  CVD_OID typeId;
  BIN value; /* DER of the value, without the [0] around it */
} CVD_OtherName;

typedef struct CVD_IPAddress {
  uint32_t length; /* octets: 4 or 16 in a well-made name */
  uint8_t* data;
} CVD_IPAddress;

typedef struct CVD_GeneralName {
  uint16_t choice; /* CVD_GENERAL_NAME_* */
  uint16_t reserved;
  union {
    CVD_OtherName otherName;
    const char* rfc822Name;
    const char* dNSName;
    BIN x400Address; /* contents */
    CVD_Name directoryName;
    BIN ediPartyName; /* contents */
    const char* uniformResourceIdentifier;
    CVD_IPAddress iPAddress;
    CVD_OID registeredID;
  } name;
} CVD_GeneralName;

typedef struct CVD_GeneralNameNode CVD_GeneralNameNode;
struct CVD_GeneralNameNode {
  CVD_GeneralNameNode* next;
  CVD_GeneralName generalName;
};

typedef struct CVD_GeneralNames { /* subjectAltName and issuerAltName */
  CVD_GeneralNameNode* first;
} CVD_GeneralNames;

/* ---- extension values: RFC 5280 section 4.2 ---------------------------------------------- */

typedef struct CVD_AuthorityKeyIdentifier { /* section 4.2.1.1 */
  uint8_t
      present; /* 0x80 keyIdentifier, 0x40 authorityCertIssuer, 0x20 authorityCertSerialNumber */
  BIN keyIdentifier;
  CVD_GeneralNameNode* authorityCertIssuer;
  Huge authorityCertSerialNumber;
} CVD_AuthorityKeyIdentifier;

typedef struct CVD_SubjectKeyIdentifier { /* section 4.2.1.2 */
  BIN keyIdentifier;
} CVD_SubjectKeyIdentifier;

/* The records of named bits show their first bits in place. A decoded one carries the whole string
 * behind them, so that it encodes back as it was; `data` null: the shown bits are encoded, without
 * trailing zero bits (X.690 section 11.2.2). */
typedef struct CVD_KeyUsage { /* section 4.2.1.3 */
  uint16_t usage;             /* named bit n is 0x8000 >> n */
  uint32_t bits;
  uint8_t* data;
} CVD_KeyUsage;

typedef struct CVD_NetscapeCertType {
  uint8_t type; /* named bit n is 0x80 >> n */
  uint32_t bits;
  uint8_t* data;
} CVD_NetscapeCertType;

typedef struct CVD_ReasonFlags { /* section 4.2.1.13 */
  uint8_t flags[2];              /* named bit n is 0x80 >> n % 8 of octet n / 8 */
  uint32_t bits;
  uint8_t* data;
} CVD_ReasonFlags;

typedef struct CVD_PolicyQualifierInfoNode CVD_PolicyQualifierInfoNode;
struct CVD_PolicyQualifierInfoNode { /* section 4.2.1.4 */
  CVD_PolicyQualifierInfoNode* next;
  CVD_OID policyQualifierId;
  BIN qualifier; /* DER of the value */
};

typedef struct CVD_PolicyInformationNode CVD_PolicyInformationNode;
struct CVD_PolicyInformationNode {
  CVD_PolicyInformationNode* next;
  uint8_t present; /* 0x80 policyQualifiers */
  CVD_OID policyIdentifier;
  CVD_PolicyQualifierInfoNode* policyQualifiers;
};

typedef struct CVD_CertificatePolicies {
  CVD_PolicyInformationNode* first;
} CVD_CertificatePolicies;

typedef struct CVD_CPSuri { /* IA5String */
  const char* text;
} CVD_CPSuri;

enum { CVD_DISPLAY_TEXT_VISIBLE = 1, CVD_DISPLAY_TEXT_UTF8 = 3 };

typedef struct CVD_DisplayText {
  uint16_t choice; /* CVD_DISPLAY_TEXT_* */
  char text[1200];
} CVD_DisplayText;

typedef struct CVD_UserNotice {
  uint8_t present; /* 0x80 noticeRef, 0x40 explicitText */
  BIN noticeRef;   /* DER of the NoticeReference */
  CVD_DisplayText explicitText;
} CVD_UserNotice;

typedef struct CVD_BasicConstraints { /* section 4.2.1.9 */
  uint8_t present;                    /* 0x80 cA, 0x40 pathLenConstraint */
  uint8_t cA;                         /* 1 = TRUE; FALSE when absent */
  int32_t pathLenConstraint;
} CVD_BasicConstraints;

typedef struct CVD_KeyPurposeNode CVD_KeyPurposeNode;
struct CVD_KeyPurposeNode { /* section 4.2.1.12 */
  CVD_KeyPurposeNode* next;
  CVD_OID keyPurposeId;
};

typedef struct CVD_ExtKeyUsageSyntax {
  CVD_KeyPurposeNode* first;
} CVD_ExtKeyUsageSyntax;

enum { CVD_DISTRIBUTION_POINT_FULL_NAME = 1, CVD_DISTRIBUTION_POINT_RELATIVE_NAME = 2 };

typedef struct CVD_DistributionPointName { /* section 4.2.1.13 */
  uint16_t choice;                         /* CVD_DISTRIBUTION_POINT_* */
  uint16_t decoded;                        /* as in CVD_Name, for the SET of the relative name */
  union {
    CVD_GeneralNameNode* fullName;
    CVD_AttributeTypeAndValueNode* nameRelativeToCRLIssuer; /* one RDN */
  } name;
} CVD_DistributionPointName;

typedef struct CVD_DistributionPointNode CVD_DistributionPointNode;
struct CVD_DistributionPointNode {
  CVD_DistributionPointNode* next;
  uint8_t present; /* 0x80 distributionPoint, 0x40 reasons, 0x20 cRLIssuer */
  CVD_DistributionPointName distributionPoint;
  CVD_ReasonFlags reasons;
  CVD_GeneralNameNode* cRLIssuer;
};

typedef struct CVD_CRLDistributionPoints {
  CVD_DistributionPointNode* first;
} CVD_CRLDistributionPoints;

typedef struct CVD_IssuingDistributionPoint { /* of revocation lists, section 5.2.5 */
  uint8_t present; /* 0x80 distributionPoint, 0x40, 0x20, 0x10, 0x08, 0x04: the others in order */
  CVD_DistributionPointName distributionPoint;
  uint8_t onlyContainsUserCerts; /* the flags: 1 = TRUE; FALSE when absent */
  uint8_t onlyContainsCACerts;
  CVD_ReasonFlags onlySomeReasons;
  uint8_t indirectCRL;
  uint8_t onlyContainsAttributeCerts;
} CVD_IssuingDistributionPoint;

typedef struct CVD_AccessDescriptionNode CVD_AccessDescriptionNode;
struct CVD_AccessDescriptionNode { /* section 4.2.2.1 */
  CVD_AccessDescriptionNode* next;
  CVD_OID accessMethod;
  CVD_GeneralName accessLocation;
};

typedef struct CVD_AuthorityInfoAccessSyntax {
  CVD_AccessDescriptionNode* first;
} CVD_AuthorityInfoAccessSyntax;

/* ---- revocation lists: RFC 5280 section 5.1 ------------------------------------------------ */

typedef struct CVD_RevokedCertificate {
  uint8_t present; /* 0x80 crlEntryExtensions */
  Huge userCertificate;
  CVD_Time revocationDate;
  CVD_ExtensionNode* crlEntryExtensions;
} CVD_RevokedCertificate;

typedef struct CVD_TBSCertList {
  uint8_t present; /* 0x80 version, 0x40 nextUpdate, 0x20 revokedCertificates, 0x10 crlExtensions */
  int32_t version; /* 1 = v2; v1 when absent */
  CVD_AlgorithmIdentifier signature;
  CVD_Name issuer;
  CVD_Time thisUpdate;
  CVD_Time nextUpdate;
  BIN revokedCertificates; /* DER of the SEQUENCE OF RevokedCertificate, whose elements are not read
                            */
  CVD_ExtensionNode* crlExtensions;
} CVD_TBSCertList;

/* Begins with its TBSCertList: encoding one as CVD_PDU_TBS_CERT_LIST gives the signed part. */
typedef struct CVD_CertificateList {
  CVD_TBSCertList tbsCertList;
  CVD_AlgorithmIdentifier signatureAlgorithm;
  CVD_BitString signature;
} CVD_CertificateList;

/* ---- Korean identity verification -------------------------------------------------------- */

/* HashContent ::= SEQUENCE { idn PrintableString, randomNum BIT STRING } */
typedef struct CVD_VIDHashContent {
  const char* idn;
  CVD_BitString randomNum;
} CVD_VIDHashContent;

/* VID ::= SEQUENCE { hashAlg AlgorithmIdentifier, virtualID [0] EXPLICIT OCTET STRING } */
typedef struct CVD_VID {
  CVD_AlgorithmIdentifier hashAlg;
  BIN virtualID; /* contents */
} CVD_VID;

typedef struct CVD_UserInfoNode CVD_UserInfoNode;
struct CVD_UserInfoNode {
  CVD_UserInfoNode* next;
  CVD_OID type;
  BIN value; /* DER of the value; for CVD_OID_VID of a VID */
};

/* IdentityData ::= SEQUENCE { realName UTF8String,
 *                             userInfo SEQUENCE OF SEQUENCE { type, value ANY } OPTIONAL } */
typedef struct CVD_IdentityData {
  uint8_t present;      /* 0x80 userInfo */
  const char* realName; /* UTF-8 */
  CVD_UserInfoNode* userInfo;
} CVD_IdentityData;

#ifdef __cplusplus
}
#endif

#endif /* CORVID_RECORDS_H_ */
