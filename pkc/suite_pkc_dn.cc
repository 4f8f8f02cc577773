// Distinguished names as one line of text.
//
// A certificate's record holds two names of four to six short ASCII values each, so values are
// copied and looked through for special octets in one go, sixteen octets at a time, straight into
// the text that the caller gets. Whatever is not that plain takes the way through the decoder.
#include "pkc/internal.h"

namespace corvid {

bool NameText::Reserve(size_t octets) {
  const uint64_t needed = uint64_t{buffer_.length} + octets + 1;
  if (needed <= buffer_.capacity) return true;
  const uint64_t doubled = 2 * uint64_t{buffer_.capacity};
  const uint64_t capacity = std::max((needed / kStep + 1) * kStep, doubled);
  if (buffer_.text != near_) return ResizeStrBuf(&buffer_, capacity) == 0;
  StrBuf grown{};
  if (ResizeStrBuf(&grown, capacity) != 0) return false;
  std::memcpy(grown.text, buffer_.text, buffer_.length);
  grown.length = buffer_.length;
  buffer_ = grown;
  return true;
}

namespace {

constexpr Tracer kTrace{"suite_pkc_dn"};

// ---- building a name -----------------------------------------------------------------------

// "cn=", copied as a whole and advanced by its length.
struct Label {
  char text[16] = {};
  size_t length = 0;

  template <size_t kSize>
  consteval Label(const char (&label)[kSize]) {  // NOLINT(google-explicit-constructor)
    static_assert(kSize < sizeof text);
    for (; length + 1 < kSize; ++length) text[length] = label[length];
    text[length++] = '=';
  }
  // Octets to reserve for a label, a value of at most `octets`, and the separator.
  static constexpr size_t Room(size_t octets) { return sizeof text + octets + 1; }
  char* Write(char* out) const {
    std::memcpy(out, text, sizeof text);
    return out + length;
  }
};

// ---- escaping: RFC 2253 section 2.4, by octets ----------------------------------------------

using Lanes = uint8_t __attribute__((vector_size(16)));
using Words = uint64_t __attribute__((vector_size(16)));

bool IsEscaped(uint8_t c) {
  return c < 0x20 || c == '+' || c == ',' || (c >= ';' && c <= '>') || c == '\\';
}

// IsEscaped of sixteen octets at once: a lane is zero or not.
Lanes EscapedLanes(const Lanes& lanes) {
  return reinterpret_cast<Lanes>(lanes < 0x20) | reinterpret_cast<Lanes>(lanes - uint8_t{'+'} < 2) |
         reinterpret_cast<Lanes>(lanes - uint8_t{';'} < 4) |
         reinterpret_cast<Lanes>(lanes == uint8_t{'\\'});
}

// What a run of octets holds.
struct Seen {
  uint64_t escaped;
  uint64_t octets;  // all of them, joined by OR

  Seen(const Lanes& escaped_lanes, const Lanes& octet_lanes)
      : escaped(Fold(escaped_lanes)), octets(Fold(octet_lanes)) {}
  static uint64_t Fold(const Lanes& lanes) {
    const Words words = reinterpret_cast<Words>(lanes);
    return words[0] | words[1];
  }
  bool AnyEscaped() const { return escaped != 0; }
  bool AnyHigh() const { return (octets & 0x8080808080808080) != 0; }
};

// Copies up to fifteen octets as two words that may overlap, and looks at both.
template <typename Word>
Seen CopyWords(char* out, Bytes in) {
  const size_t last = in.size() - sizeof(Word);
  Word head;
  Word tail;
  std::memcpy(&head, in.data(), sizeof head);
  std::memcpy(&tail, in.data() + last, sizeof tail);
  std::memcpy(out, &head, sizeof head);
  std::memcpy(out + last, &tail, sizeof tail);
  constexpr uint64_t kRepeat = ~uint64_t{0} / static_cast<Word>(~Word{0});
  const Lanes lanes = reinterpret_cast<Lanes>(Words{head * kRepeat, tail * kRepeat});
  return {EscapedLanes(lanes), lanes};
}

// Copies octets, at least one, and says what was among them.
Seen CopyOctets(char* out, Bytes in) {
  const size_t size = in.size();
  if (size < 2) return CopyWords<uint8_t>(out, in);
  if (size < 4) return CopyWords<uint16_t>(out, in);
  if (size < 8) return CopyWords<uint32_t>(out, in);
  if (size < 16) return CopyWords<uint64_t>(out, in);
  Lanes escaped = {};
  Lanes octets = {};
  for (size_t at = 0, next = 0; next < size; next = at + sizeof(Lanes)) {
    at = std::min(next, size - sizeof(Lanes));  // the last lanes end with the text
    Lanes lanes;
    std::memcpy(&lanes, in.data() + at, sizeof lanes);
    std::memcpy(out + at, &lanes, sizeof lanes);
    escaped |= EscapedLanes(lanes);
    octets |= lanes;
  }
  return {escaped, octets};
}

// Writes `text`, not empty, with its special octets escaped, at most three octets for one. Returns
// the end.
char* WriteEscaped(char* out, Bytes text) {
  if (!CopyOctets(out, text).AnyEscaped()) return out + text.size();
  for (const uint8_t c : text) {
    if (IsEscaped(c)) *out++ = '\\';
    if (c < 0x20) {
      *out++ = static_cast<char>('0' + (c >> 4));
      *out++ = "0123456789abcdef"[c & 15];
    } else {
      *out++ = static_cast<char>(c);
    }
  }
  return out;
}

// ---- attributes ----------------------------------------------------------------------------

enum class Rule : uint8_t {
  kCountry,
  kDirectory,
  kDirectoryOrNothing,  // a value that cannot be shown is left out
  kPlain,               // not escaped
};

struct LabelRow {
  OidWords type;
  Label upper;
  Label lower;
  Rule rule;
};

constexpr LabelRow kLabelRows[] = {
    {kOidWords<CVD_OID_COUNTRY_NAME>, "C", "c", Rule::kCountry},
    {kOidWords<CVD_OID_ORGANIZATION_NAME>, "O", "o", Rule::kDirectory},
    {kOidWords<CVD_OID_ORGANIZATIONAL_UNIT_NAME>, "OU", "ou", Rule::kDirectory},
    {kOidWords<CVD_OID_COMMON_NAME>, "CN", "cn", Rule::kDirectory},
    {kOidWords<CVD_OID_STATE_OR_PROVINCE_NAME>, "S", "s", Rule::kDirectory},
    {kOidWords<CVD_OID_LOCALITY_NAME>, "L", "l", Rule::kDirectory},
    {kOidWords<CVD_OID_EMAIL_ADDRESS>, "E", "e", Rule::kDirectory},
    {kOidWords<CVD_OID_UID>, "ID", "id", Rule::kDirectoryOrNothing},
    {kOidWords<CVD_OID_TITLE>, "T", "t", Rule::kDirectory},
    {WordsOf(kDomainComponent.octets, kDomainComponent.length), "DC", "dc",
     Rule::kDirectoryOrNothing},
    {kOidWords<CVD_OID_DN_QUALIFIER>, "DNQUALIFIER", "dnqualifier", Rule::kPlain},
};

using LabelRows = std::span<const LabelRow>;
constexpr LabelRows kSingleValued(kLabelRows);
constexpr LabelRows kMultiValued = kSingleValued.first(10);  // all but the dnQualifier
static_assert(kSingleValued.back().rule == Rule::kPlain && kSingleValued.size() == 11);

[[gnu::always_inline]] inline const LabelRow* FindLabel(LabelRows rows, const CVD_OID& type) {
  const OidWords words = WordsOf(type);
  for (const LabelRow& row : rows) {
    if (row.type == words) return &row;
  }
  return nullptr;
}

// A code of two letters; three are cut to two, as issued certificates need it.
uint32_t AppendCountry(NameText* out, const Label& label, Bytes value) {
  Element element;
  if (Rare(!ReadElement(value, 0, &element) || element.length < 2 || element.length > 3 ||
           (element.tag != kTagPrintableString && element.tag != kTagUtf8String))) {
    return PKC_ERR_BAD_RDN;
  }
  if (Rare(!out->Reserve(Label::Room(2)))) return PKC_ERR_MALLOC;
  char* end = label.Write(out->end());
  std::memcpy(end, value.data() + element.content, 2);
  end[2] = ',';
  out->EndAt(end + 3);
  return 0;
}

// Writes a value that needs neither conversion nor escaping. False, with the text as it was, for
// every other.
bool AppendUnchanged(NameText* out, const Label& label, Bytes value) {
  Element element;
  if (Rare(!ReadElement(value, 0, &element) || element.length == 0 ||
           element.length >= kValueSize ||
           (element.tag != kTagUtf8String && !IsCopiedType(element.tag)) ||
           !out->Reserve(Label::Room(element.length)))) {
    return false;
  }
  char* end = label.Write(out->end());
  const Seen seen = CopyOctets(end, value.subspan(element.content, element.length));
  if (Rare(seen.AnyEscaped() || (element.tag == kTagUtf8String && seen.AnyHigh()))) return false;
  end[element.length] = ',';
  out->EndAt(end + element.length + 1);
  return true;
}

// The text of a value as the decoder has it. A value without text loses its label, too.
uint32_t AppendDecoded(NameText* out, const Label& label, Bytes value, bool escaped) {
  uint8_t area[kValueSize];
  auto* text = reinterpret_cast<char*>(area);
  int32_t count = kValueSize;
  if (CVD_PKC_ASNString_Decode(text, &count, value.data(), static_cast<uint32_t>(value.size())) !=
      0) {
    return PKC_ERR_BAD_RDN;
  }
  const auto length = static_cast<size_t>(count);
  const Bytes decoded(area, escaped ? length : strnlen(text, length));
  if (!out->Reserve(Label::Room(3 * decoded.size()))) return PKC_ERR_MALLOC;
  char* end = out->end();
  if (decoded.empty()) {
    *end++ = '=';
  } else {
    end = label.Write(end);
    end = escaped ? WriteEscaped(end, decoded) : std::copy(decoded.begin(), decoded.end(), end);
  }
  *end++ = ',';
  out->EndAt(end);
  return 0;
}

uint32_t AppendDirectoryString(NameText* out, const Label& label, Bytes value) {
  if (Usual(AppendUnchanged(out, label, value))) return 0;
  return AppendDecoded(out, label, value, true);
}

// Appends label, "=", value and ","; nothing for an attribute without label.
uint32_t AppendAttribute(NameText* out, const CVD_AttributeTypeAndValueNode& attribute,
                         LabelRows rows, bool upper) {
  if (Rare(attribute.value.data == nullptr)) return PKC_ERR_BAD_RDN;
  const LabelRow* row = FindLabel(rows, attribute.type);
  if (Rare(row == nullptr)) return 0;
  const Label& label = upper ? row->upper : row->lower;
  const Bytes value = View(attribute.value);
  switch (row->rule) {
    case Rule::kCountry:
      return AppendCountry(out, label, value);
    case Rule::kPlain:
      return AppendDecoded(out, label, value, false);
    case Rule::kDirectory:
      return AppendDirectoryString(out, label, value);
    case Rule::kDirectoryOrNothing:
      break;
  }
  const uint32_t status = AppendDirectoryString(out, label, value);
  return status == PKC_ERR_BAD_RDN ? 0 : status;
}

// ---- RDNs ----------------------------------------------------------------------------------

// The nodes of a list, to be walked from its end: a name may have any number of them, so neither
// recursion nor a fixed array will do.
template <typename Node>
class NodeList {
 public:
  explicit NodeList(const Node* first) : nodes_(near_), size_(0) {
    for (const Node* node = first; node != nullptr; node = node->next, ++size_) {
      if (size_ < kNear) near_[size_] = node;
    }
    if (size_ <= kNear) return;
    nodes_ = static_cast<const Node**>(CVD_malloc(size_ * sizeof(const Node*)));
    if (nodes_ == nullptr) return;
    size_t at = 0;
    for (const Node* node = first; node != nullptr; node = node->next) nodes_[at++] = node;
  }
  NodeList(const NodeList&) = delete;
  NodeList& operator=(const NodeList&) = delete;
  ~NodeList() {
    if (nodes_ != near_) CVD_free(nodes_);
  }
  bool complete() const { return nodes_ != nullptr; }  // false when memory was short
  size_t size() const { return size_; }
  const Node& operator[](size_t i) const { return *nodes_[i]; }

 private:
  static constexpr size_t kNear = 64;
  const Node** nodes_;
  size_t size_;
  const Node* near_[kNear];
};

// A failure at one node of a list is reported by it and by every node before it.
uint32_t TraceEachLevel(const char* function, uint32_t status, size_t levels) {
  for (size_t i = 0; i < levels; ++i) kTrace(function, status);
  return status;
}

uint32_t AppendMultiValuedRdn(NameText* out, const CVD_AttributeTypeAndValueNode* first,
                              bool upper) {
  constexpr const char* kFunction = "CVD_PKC_AsnMultiValuedRDNs_ToString";
  const NodeList<CVD_AttributeTypeAndValueNode> attributes(first);
  if (!attributes.complete()) return kTrace(kFunction, PKC_ERR_MALLOC);
  const uint32_t length_before = out->length();
  for (size_t i = attributes.size(); i-- > 0;) {
    const uint32_t length = out->length();
    if (uint32_t status = AppendAttribute(out, attributes[i], kMultiValued, upper); status != 0) {
      return TraceEachLevel(kFunction, status, i + 1);
    }
    if (out->length() != length) out->ReplaceLast('+');
  }
  if (out->length() != length_before) out->ReplaceLast(',');
  return 0;
}

uint32_t AppendRdn(NameText* out, const CVD_RDNSequenceNode& rdn, bool upper) {
  const CVD_AttributeTypeAndValueNode* first = rdn.relativeDistinguishedName;
  if (Rare(first == nullptr)) return 0;  // an empty SET; lenient, real certificates have it
  if (Rare(first->next != nullptr)) return AppendMultiValuedRdn(out, first, upper);
  return AppendAttribute(out, *first, kSingleValued, upper);
}

// Appends all RDNs, the last one first, each with "," behind it.
uint32_t AppendRdns(NameText* out, const CVD_RDNSequenceNode* first, bool upper) {
  if (first == nullptr) return PKC_ERR_INVALID_INPUT;
  constexpr const char* kFunction = "CVD_PKC_AsnRDNs_ToString";
  const NodeList<CVD_RDNSequenceNode> rdns(first);
  if (Rare(!rdns.complete())) return kTrace(kFunction, PKC_ERR_MALLOC);
  for (size_t i = rdns.size(); i-- > 0;) {
    if (uint32_t status = AppendRdn(out, rdns[i], upper); Rare(status != 0)) {
      return TraceEachLevel(kFunction, status, i + 1);
    }
  }
  return 0;
}

uint32_t AppendName(NameText* out, const CVD_Name& name) {
  const char* dncase = CVD_PKC_GetOption("dncase");
  if (name.choice != CVD_NAME_RDN_SEQUENCE) return PKC_ERR_BAD_RDN;
  return AppendRdns(out, name.rdnSequence, dncase != nullptr && *dncase == 'u');
}

uint32_t NewName(const CVD_Name& name, char** text) {
  NameText out;
  if (uint32_t status = out.Init(); status != 0) return status;
  if (uint32_t status = AppendName(&out, name); status != 0) return status;
  *text = out.Release();
  return 0;
}

uint32_t RenderSubject(const BIN& der, char** text) {
  DecodedCertificate certificate;
  if (uint32_t status = certificate.Decode(der); status != 0) return status;
  return CVD_GetRDNFromCert(nullptr, certificate.get(), text);
}

}  // namespace

uint32_t RenderName(const CVD_Name& name, NameText* out) {
  return kTrace("CVD_ExtractRDN", AppendName(out, name));
}

}  // namespace corvid

uint32_t CVD_ExtractRDN(void* /*reserved*/, const CVD_Name* name, char** text) {
  if (name == nullptr || text == nullptr) return PKC_ERR_INVALID_INPUT;
  return corvid::kTrace("CVD_ExtractRDN", corvid::NewName(*name, text));
}

uint32_t CVD_GetRDNFromCert(void* /*reserved*/, const CVD_Certificate* certificate, char** text) {
  if (certificate == nullptr || text == nullptr) return PKC_ERR_INVALID_INPUT;
  *text = nullptr;
  return corvid::kTrace("CVD_GetRDNFromCert",
                        CVD_ExtractRDN(nullptr, &certificate->tbsCertificate.subject, text));
}

uint32_t CVD_GetIssuerRDNFromCert(void* /*reserved*/, const CVD_Certificate* certificate,
                                  char** text) {
  if (certificate == nullptr || text == nullptr) return PKC_ERR_INVALID_INPUT;
  return corvid::kTrace("CVD_GetIssuerRDNFromCert",
                        CVD_ExtractRDN(nullptr, &certificate->tbsCertificate.issuer, text));
}

uint32_t CVD_ExtractDN(void* /*reserved*/, const BIN* der, char** text) {
  if (der == nullptr || der->data == nullptr || text == nullptr) return PKC_ERR_INVALID_INPUT;
  return corvid::kTrace("CVD_ExtractDN", corvid::RenderSubject(*der, text));
}
