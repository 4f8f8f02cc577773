// A hundred thousand spoiled variants of real certificates, read by this library and by OpenSSL. A
// variant that one takes and the other refuses must belong to a reviewed class, whose mark is
// looked for in the variant itself; on a variant that both take they must agree. So must they on
// the certificates of the corpus, and take all of them.
#include <gtest/gtest.h>

#include <map>

#include "support/signing.h"

namespace corvid::test {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr size_t kOneOf = 97;  // variants
#else
constexpr size_t kOneOf = 4;
#endif
constexpr const char* kBoth = "both take it";

// ---- classes of disagreement ---------------------------------------------------------------

// The octets of a refused element: identifier, then where the content lies, as far as one length
// octet tells.
using Mark = bool (*)(Octets element);

bool IsLongerThanNecessary(Octets element) {
  if (element[1] == 0x80) return true;  // indefinite
  const size_t octets = element[1] & 0x7F;
  return element[1] > 0x80 && (octets > 4 || element[2] == 0 || (octets == 1 && element[2] < 0x80));
}
bool IsBerBoolean(Octets element) { return element[2] != 0 && element[2] != 0xFF; }
bool IsWide(Octets element) { return element[1] > 4; }
bool IsPadded(Octets element) {
  const size_t content = element[1] < 0x80 ? 2 : 2 + (element[1] & 0x7F);
  return element[content] != 0;
}
bool IsConstructedOrHigh(Octets element) {
  return element[0] == 0x24 || (element[0] & 0x1F) == 0x1F;
}
// OpenSSL keeps any text as a time; its own check of RFC 5280's forms tells which it should not.
bool IsNoTime(Octets element) {
  const std::string text(element.begin() + 2, element.begin() + 2 + element[1]);
  const size_t digits = element[0] == 0x17 ? 12 : 14;
  ASN1_TIME* time = ASN1_TIME_new();
  const bool valid =
      text.size() == digits + 1 && ASN1_TIME_set_string_X509(time, text.c_str()) == 1;
  ASN1_TIME_free(time);
  return !valid;
}

struct Class {
  uint32_t code;  // of this library's refusal
  Mark mark;
  const char* reason;
};
constexpr Class kRefusedHere[] = {
    {CVD_ASN_ERR_LENGTH, IsLongerThanNecessary, "OpenSSL reads BER's lengths"},
    {CVD_ASN_ERR_BOOLEAN, IsBerBoolean, "OpenSSL takes any octet for TRUE"},
    {CVD_ASN_ERR_BIT_STRING, IsPadded, "OpenSSL clears the unused bits"},
    {CVD_ASN_ERR_TIME, IsNoTime, "OpenSSL reads times when they are asked for"},
    {CVD_ASN_ERR_RANGE, IsWide, "a version wider than 32 bits"},
    {CVD_ASN_ERR_TAG, IsConstructedOrHigh, "BER's constructed strings, and tags of many octets"},
};

// The name of the class, or an empty text.
std::string ClassOfRefusal(const Octets& der) {
  CVD_ASNFailure failure{};
  if (CVD_ASN_GetDecodeFailure(&failure) != 0) return "";
  Octets element(der.begin() + failure.offset, der.end());
  element.resize(element.size() + 300);  // zeros for what is not there
  for (const Class& row : kRefusedHere) {
    if (row.code == failure.code && row.mark(element)) return row.reason;
  }
  return "";
}

// What lies in an ANY is one well-formed element here and no more: OpenSSL looks into it. With
// plain texts and parameters in their place, both must take the mutant.
void MakePlain(Element* element, bool in_name) {
  const bool attribute = in_name && element->identifier[0] == 0x30 && element->parts.size() == 2;
  const bool algorithm = !in_name && element->identifier[0] == 0x30 && element->parts.size() == 2 &&
                         element->parts[0].identifier[0] == 0x06 &&
                         element->parts[1].identifier[0] != 0x04;
  if (attribute) element->parts[1].instead = Hex("0C0178");
  if (algorithm) element->parts[1].instead = Hex("0500");
  if (attribute || algorithm) return;
  for (Element& part : element->parts) MakePlain(&part, in_name || part.identifier[0] == 0x31);
}

bool IsInsideAny(const Octets& der) {
  Element root = Parse(der);
  MakePlain(&root, false);
  const Octets plain = Encode(root);
  return Certificate(plain).status == 0 && ReadByOpenssl(plain) != nullptr;
}

// ---- what both must say --------------------------------------------------------------------

std::string HexOf(const uint8_t* data, size_t length) { return ToHex({data, data + length}); }

std::string HexOf(const ASN1_OBJECT* object) {
  return HexOf(OBJ_get0_data(object), OBJ_length(object));
}

using Lines = std::vector<std::string>;

void AddName(const CVD_Name& name, Lines* lines) {
  for (auto* rdn = name.rdnSequence; rdn != nullptr; rdn = rdn->next) {
    const CVD_AttributeTypeAndValueNode* node = rdn->relativeDistinguishedName;
    if (node != nullptr) lines->push_back("RDN");
    for (; node != nullptr; node = node->next) {
      lines->push_back(HexOf(node->type.data, node->type.length) + " " +
                       ToHex(OctetsOf(node->value)));
    }
  }
}
void AddName(const X509_NAME* name, Lines* lines) {
  int set = -1;
  for (int i = 0; i < X509_NAME_entry_count(name); ++i) {
    const X509_NAME_ENTRY* entry = X509_NAME_get_entry(name, i);
    if (X509_NAME_ENTRY_set(entry) != set) lines->push_back("RDN");
    set = X509_NAME_ENTRY_set(entry);
    lines->push_back(HexOf(X509_NAME_ENTRY_get_object(entry)) + " " +
                     ToHex(EncodedBy(i2d_ASN1_PRINTABLE, X509_NAME_ENTRY_get_data(entry))));
  }
}

int64_t Seconds(const CVD_Time& time) {
  return time.kind == CVD_TIME_UTC ? CVD_ASN_UTC2Time(&time.fields)
                                   : CVD_ASN_General2Time(&time.fields);
}
int64_t Seconds(const ASN1_TIME* time) {
  tm fields;
  return ASN1_TIME_to_tm(time, &fields) == 1 ? timegm(&fields) : -1;
}

Lines Ours(const CVD_Certificate& certificate) {
  const CVD_TBSCertificate& tbs = certificate.tbsCertificate;
  const Octets serial(tbs.serialNumber.data, tbs.serialNumber.data + tbs.serialNumber.length);
  Lines lines = {ToHex(Der(0x02, serial)), std::to_string(Seconds(tbs.notBefore)),
                 std::to_string(Seconds(tbs.notAfter))};
  AddName(tbs.issuer, &lines);
  AddName(tbs.subject, &lines);
  for (auto* node = tbs.extensions; node != nullptr; node = node->next) {
    const CVD_Extension& extension = node->extension;
    lines.push_back(HexOf(extension.extnID.data, extension.extnID.length) +
                    (extension.critical != 0 ? " critical " : " ") +
                    ToHex(OctetsOf(extension.extnValue)));
  }
  return lines;
}

Lines TheirLines(const X509* certificate) {
  Lines lines = {ToHex(EncodedBy(i2d_ASN1_INTEGER, X509_get0_serialNumber(certificate))),
                 std::to_string(Seconds(X509_get0_notBefore(certificate))),
                 std::to_string(Seconds(X509_get0_notAfter(certificate)))};
  AddName(X509_get_issuer_name(certificate), &lines);
  AddName(X509_get_subject_name(certificate), &lines);
  for (int i = 0; i < X509_get_ext_count(certificate); ++i) {
    X509_EXTENSION* extension = X509_get_ext(certificate, i);
    const ASN1_OCTET_STRING* value = X509_EXTENSION_get_data(extension);
    lines.push_back(
        HexOf(X509_EXTENSION_get_object(extension)) +
        (X509_EXTENSION_get_critical(extension) != 0 ? " critical " : " ") +
        HexOf(ASN1_STRING_get0_data(value), static_cast<size_t>(ASN1_STRING_length(value))));
  }
  return lines;
}

// The two lengths of the key, where both have one. For EC this library tells whole octets.
void CompareKeys(const CVD_Certificate& ours, X509* theirs) {
  const CVD_SubjectPublicKeyInfo& info = ours.tbsCertificate.subjectPublicKeyInfo;
  const int32_t number = CVD_PKC_ObjID_To_PkeyID(&info.algorithm.algorithm);
  const BIN key{static_cast<int32_t>(info.subjectPublicKey.bits / 8), info.subjectPublicKey.data};
  uint32_t bits = 0;
  const EVP_PKEY* pkey = X509_get0_pubkey(theirs);
  if (pkey == nullptr ||
      CVD_CSP_GetKeyLength(&bits, &key, number, &info.algorithm.parameters) != 0) {
    return;
  }
  const auto expected = static_cast<uint32_t>(EVP_PKEY_get_bits(pkey));
  EXPECT_EQ(bits, number == CVD_PKEY_EC && expected != 521 ? (expected + 7) / 8 * 8 : expected);
}

// ---- the test ------------------------------------------------------------------------------

void Compare(const Octets& der, std::map<std::string, int>* classes) {
  SCOPED_TRACE(ToHex(der));
  const Certificate ours(der);
  const auto theirs = ReadByOpenssl(der);
  if (ours.status != 0) {
    if (theirs == nullptr) return;
    const std::string name = ClassOfRefusal(der);
    EXPECT_NE(name, "") << "only OpenSSL takes it; here " << ours.status;
    ++(*classes)[name];
    return;
  }
  EXPECT_EQ(ours.Encode(), der);
  if (theirs == nullptr) {
    EXPECT_TRUE(IsInsideAny(der)) << "OpenSSL does not take it";
    ++(*classes)["OpenSSL looks into an ANY"];
    return;
  }
  ++(*classes)[kBoth];
  EXPECT_EQ(Ours(*ours.get()), TheirLines(theirs.get()));
  CompareKeys(*ours.get(), theirs.get());
}

TEST(Differential, EveryDisagreementWithOpensslIsKnown) {
  std::map<std::string, int> classes;
  size_t at = 0;
  int compared = 0;
  for (const auto& file : DebianRoots()) {
    const Octets root = ReadCertificate(file);
    ASSERT_EQ(Encode(Parse(root)), root) << file;
    for (const Octets& variant : SpoiledEncodings(root)) {
      if (++at % kOneOf != 0) continue;
      Compare(variant, &classes);
      ++compared;
      if (HasFailure()) return;
    }
  }
  EXPECT_GT(classes[kBoth], compared / 10) << "too few were compared";
  if (kOneOf == 4) {
    EXPECT_EQ(classes.size(), std::size(kRefusedHere) + 2) << "a class that does not happen";
  }
  for (const auto& [name, count] : classes) std::printf("%6d %s\n", count, name.c_str());
}

TEST(Differential, CertificatesOfTheCorpusSayTheSame) {
  const std::vector<std::filesystem::path> files = CorpusFiles("certs");
  if (files.empty()) GTEST_SKIP() << "without the corpus";
  std::map<std::string, int> classes;
  for (const auto& file : files) {
    SCOPED_TRACE(file);
    Compare(ReadCertificate(file), &classes);
  }
  EXPECT_EQ(classes.size(), classes.count(kBoth)) << "one takes it and the other does not";
}

}  // namespace
}  // namespace corvid::test
