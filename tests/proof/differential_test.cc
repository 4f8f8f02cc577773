// A hundred thousand mutants of real certificates, read by this library and by OpenSSL. A mutant
// that one takes and the other refuses must belong to a reviewed class, whose mark is looked for in
// the mutant itself; on a mutant that both take they must agree.
#include <gtest/gtest.h>
#include <openssl/err.h>
#include <openssl/x509.h>

#include <array>
#include <map>
#include <memory>
#include <random>

#include "support/support.h"

namespace corvid::test {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kMutants = 4'000;
constexpr bool kMeetsEveryClass = false;  // too few for the rare ones
#else
constexpr int kMutants = 100'000;
constexpr bool kMeetsEveryClass = true;
#endif

// ---- mutants -------------------------------------------------------------------------------

struct Element {
  uint8_t tag = 0;
  Octets content = {};              // of a primitive one, or of one whose parts are no DER
  std::vector<Element> parts = {};  // of a constructed one
  Octets length = {};               // as it is written; empty: the shortest form
  Octets more_tag = {};             // of an identifier of many octets
};

// Reads one element, whose parts need not be well-formed.
bool Parse(const uint8_t** at, const uint8_t* end, Element* element) {
  const auto next = [&] { return *at == end ? uint8_t{0} : *(*at)++; };
  element->tag = next();
  if ((element->tag & 0x1F) == 0x1F) {
    do element->more_tag.push_back(next());
    while (element->more_tag.back() >= 0x80);
  }
  size_t length = next();
  if (length >= 0x80) {
    const size_t octets = length & 0x7F;
    length = 0;
    for (size_t i = 0; i < octets; ++i) length = length << 8 | next();
  }
  if (static_cast<size_t>(end - *at) < length) return false;
  const uint8_t* const content = *at;
  *at += length;
  bool has_parts = (element->tag & 0x20) != 0;
  for (const uint8_t* part = content; has_parts && part != *at;) {
    element->parts.emplace_back();
    has_parts = Parse(&part, *at, &element->parts.back());
  }
  if (has_parts) return true;
  element->parts.clear();
  element->content.assign(content, *at);
  return true;
}

Element Parse(const Octets& der) {
  const uint8_t* at = der.data();
  Element element;
  EXPECT_TRUE(Parse(&at, der.data() + der.size(), &element));
  return element;
}

Octets Encode(const Element& element) {
  Octets content = element.content;
  for (const Element& part : element.parts) content = Join({content, Encode(part)});
  Octets length = element.length;
  if (length.empty()) {
    length = Der(0, content);
    length = {length.begin() + 1, length.end() - static_cast<std::ptrdiff_t>(content.size())};
  }
  return Join({{element.tag}, element.more_tag, length, content});
}

class Mutator {
 public:
  explicit Mutator(uint32_t seed) : random_(seed) {}
  size_t Below(size_t count) { return random_() % count; }
  Octets Mutant(const std::vector<Element>& originals) {
    Element root = originals[Below(originals.size())];
    for (size_t left = Below(3) == 0 ? 2 : 1; left > 0; --left) Change(&root);
    Octets der = Encode(root);
    if (Below(100) == 0) der.push_back(0);
    if (Below(100) == 0) der.pop_back();
    return der;
  }

 private:
  static void Collect(Element* element, std::vector<Element*>* all) {
    all->push_back(element);
    for (Element& part : element->parts) Collect(&part, all);
  }
  template <size_t kSize>
  uint8_t OneOf(const uint8_t (&octets)[kSize]) {
    return octets[Below(kSize)];
  }
  uint8_t AnyOctet() { return static_cast<uint8_t>(Below(256)); }

  // Changes one element, a primitive one mostly by what its type cares for.
  void Change(Element* root) {
    std::vector<Element*> all;
    Collect(root, &all);
    Element* element = all[Below(all.size())];
    if (Below(4) != 0 && (element->tag & 0x20) == 0) return ChangeContent(element);
    switch (Below(4)) {
      case 0:
        return ChangeLength(element);
      case 1:
        element->tag = OneOf({0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x0A, 0x0C, 0x13, 0x17, 0x18,
                              0x1F, 0x24, 0x30, 0x31, 0x80, 0x81, 0xA0, 0xA1, 0xA3, 0xFF});
        return;
      case 2:
        return ChangeParts(all[Below(2) == 0 ? 0 : Below(all.size())]);
      default:
        if (element->content.empty()) return ChangeParts(element);
        element->content[Below(element->content.size())] ^= static_cast<uint8_t>(1U << Below(8));
    }
  }

  void ChangeLength(Element* element) {
    element->length.clear();
    const size_t size = Encode(*element).size();
    const size_t length = size - (size < 0x82 ? 2 : size < 0x103 ? 3 : 4);
    const auto low = static_cast<uint8_t>(length);
    const auto high = static_cast<uint8_t>(length >> 8);
    const std::array<Octets, 7> forms = {Octets{0x80},
                                         {0x81, low},
                                         {0x82, high, low},
                                         {0x84, 0, 0, high, low},
                                         {0x85, 0, 0, 0, high, low},
                                         {0x82, high, static_cast<uint8_t>(low + 1)},
                                         {0x82, high, static_cast<uint8_t>(low - 1)}};
    element->length = forms[Below(forms.size())];
  }

  void ChangeParts(Element* element) {
    std::vector<Element>& parts = element->parts;
    if (parts.empty()) {
      element->content.clear();
      return;
    }
    const size_t at = Below(parts.size());
    const auto position = parts.begin() + static_cast<std::ptrdiff_t>(at);
    switch (Below(4)) {
      case 0:
        parts.erase(position);
        return;
      case 1:
        parts.insert(position, Element(parts[Below(parts.size())]));
        return;
      case 2:
        std::swap(*position, parts[Below(parts.size())]);
        return;
      default:
        parts.insert(position, Element{.tag = OneOf({0x01, 0x02, 0x05, 0x30})});
    }
  }

  void ChangeContent(Element* element) {
    Octets& content = element->content;
    const auto insert = [&](size_t at, uint8_t octet) {
      content.insert(content.begin() + static_cast<std::ptrdiff_t>(at), octet);
    };
    switch (element->tag) {
      case 0x02:
      case 0x06:
        if (Below(4) == 0) {
          content = Octets(Below(30), AnyOctet());
          return;
        }
        if (Below(2) == 0 && !content.empty()) {
          content.back() ^= static_cast<uint8_t>(Below(128));
          return;
        }
        return insert(Below(3) == 0 ? Below(content.size() + 1) : 0,
                      OneOf({0x00, 0xFF, 0x80, 0x7F, 0x81}));
      case 0x17:
      case 0x18:
        element->tag = OneOf({0x17, 0x18});
        content = OctetsOf(std::string_view(kTimes[Below(std::size(kTimes))]));
        return;
      case 0x01:
        content = Octets(Below(3), AnyOctet());
        return;
      case 0x03:
        if (content.empty() || Below(3) == 0) return insert(0, OneOf({0, 1, 7, 8}));
        content[0] = static_cast<uint8_t>(Below(10));
        return;
      default:
        if (Below(2) == 0) {
          element->tag = OneOf({0x0C, 0x12, 0x13, 0x14, 0x16, 0x1A, 0x1C, 0x1E});
        } else {
          insert(Below(content.size() + 1), AnyOctet());
        }
    }
  }

  static constexpr const char* kTimes[] = {"260101000000Z",
                                           "2601010000Z",
                                           "260101000000",
                                           "260101000000+0900",
                                           "261301000000Z",
                                           "260229000000Z",
                                           "240229000000Z",
                                           "260132000000Z",
                                           "260431000000Z",
                                           "260101240000Z",
                                           "260101006000Z",
                                           "260101000060Z",
                                           "490101000000Z",
                                           "500101000000Z",
                                           "000229000000Z",
                                           "-60101000000Z",
                                           "20260101000000Z",
                                           "20260101000000.5Z",
                                           "202601010000Z",
                                           "19500101000000Z",
                                           "99991231235959Z",
                                           "00000101000000Z",
                                           "21000229000000Z",
                                           "20000229000000Z",
                                           "",
                                           "Z"};

  std::mt19937 random_;
};

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
  const bool attribute = in_name && element->tag == 0x30 && element->parts.size() == 2;
  const bool algorithm = !in_name && element->tag == 0x30 && element->parts.size() == 2 &&
                         element->parts[0].tag == 0x06 && element->parts[1].tag != 0x04;
  if (attribute) element->parts[1] = {.tag = 0x0C, .content = OctetsOf(std::string_view("x"))};
  if (algorithm) element->parts[1] = {.tag = 0x05};
  if (attribute || algorithm) return;
  for (Element& part : element->parts) MakePlain(&part, in_name || part.tag == 0x31);
}

struct Theirs {
  explicit Theirs(const Octets& der) {
    const uint8_t* at = der.data();
    certificate = d2i_X509(nullptr, &at, static_cast<long>(der.size()));
    taken = certificate != nullptr && at == der.data() + der.size();
    ERR_clear_error();
  }
  Theirs(const Theirs&) = delete;
  Theirs& operator=(const Theirs&) = delete;
  ~Theirs() { X509_free(certificate); }
  X509* certificate;
  bool taken;
};

bool IsInsideAny(const Octets& der) {
  Element root = Parse(der);
  MakePlain(&root, false);
  const Octets plain = Encode(root);
  return Certificate(plain).status == 0 && Theirs(plain).taken;
}

// ---- what both must say --------------------------------------------------------------------

std::string HexOf(const uint8_t* data, size_t length) { return ToHex({data, data + length}); }

template <typename Encoder, typename Value>
std::string HexOf(Encoder encoder, const Value* value) {
  uint8_t* der = nullptr;
  const int length = encoder(value, &der);
  const std::string hex = HexOf(der, static_cast<size_t>(std::max(length, 0)));
  OPENSSL_free(der);
  return hex;
}
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
                     HexOf(i2d_ASN1_PRINTABLE, X509_NAME_ENTRY_get_data(entry)));
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
  Lines lines = {HexOf(i2d_ASN1_INTEGER, X509_get0_serialNumber(certificate)),
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

TEST(Differential, EveryDisagreementWithOpensslIsKnown) {
  std::vector<Element> originals;
  for (const auto& file : DebianRoots()) {
    const Octets der = ReadCertificate(file);
    originals.push_back(Parse(der));
    ASSERT_EQ(Encode(originals.back()), der) << file;
  }
  Mutator mutator(20260131);
  std::map<std::string, int> classes;
  int both = 0;
  for (int i = 0; i < kMutants && !HasFailure(); ++i) {
    const Octets der = mutator.Mutant(originals);
    SCOPED_TRACE(ToHex(der));
    const Certificate ours(der);
    const Theirs theirs(der);
    if (ours.status != 0) {
      if (!theirs.taken) continue;
      const std::string name = ClassOfRefusal(der);
      EXPECT_NE(name, "") << "only OpenSSL takes it; here " << ours.status;
      ++classes[name];
      continue;
    }
    Output again;
    EXPECT_EQ(CVD_ASN_EncodePDU(&again, ours.get(), CVD_PDU_CERTIFICATE), 0u);
    EXPECT_EQ(again.octets(), der);
    if (!theirs.taken) {
      EXPECT_TRUE(IsInsideAny(der)) << "OpenSSL does not take it";
      ++classes["OpenSSL looks into an ANY"];
      continue;
    }
    ++both;
    EXPECT_EQ(Ours(*ours.get()), TheirLines(theirs.certificate));
    CompareKeys(*ours.get(), theirs.certificate);
  }
  EXPECT_GT(both, kMutants / 5) << "too few were compared";
  if (kMeetsEveryClass) {
    EXPECT_EQ(classes.size(), std::size(kRefusedHere) + 1) << "a class that does not happen";
  }
  for (const auto& [name, count] : classes) std::printf("%6d %s\n", count, name.c_str());
  std::printf("%6d of %d were taken by both\n", both, kMutants);
}

}  // namespace
}  // namespace corvid::test
