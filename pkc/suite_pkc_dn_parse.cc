// Distinguished names from text: "cn=Doe\, John,o=Org,c=KR" into the RDNs that the ASN.1 service
// encodes, the last one of the text first. What the renderer writes is read back; blanks around
// types and values are forgiven, and hexadecimal escapes stand for any octet but 00.
//
// Components and values pass through work areas of kLongest octets on the stack, and the two lists
// of one RDN, types and values, through the toolkit's lists.
#include <utility>

#include "pkc/internal.h"

namespace corvid {
namespace {

constexpr Tracer kTrace{"suite_pkc_dn"};

constexpr size_t kLongest = 401;  // octets of one component, or of one attribute's text

// ---- one attribute as text -----------------------------------------------------------------

bool IsHexDigit(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

uint8_t HexValue(char c) {
  return static_cast<uint8_t>(c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10);
}

// Undoes the escapes of `value`: a backslash before one of ",=+<>" or another backslash, or before
// two hexadecimal digits. Writes at most as many octets as it reads. False for a special character
// without its backslash, a ";" in any case, and any other backslash.
[[nodiscard]] bool Unescape(std::string_view value, char* out) {
  for (size_t i = 0; i < value.size(); ++i) {
    const char c = value[i];
    if (c != '\\') {
      if (std::string_view(",=+<>;").find(c) != std::string_view::npos) return false;
      *out++ = c;
      continue;
    }
    const std::string_view escaped = value.substr(i + 1, 2);
    if (escaped.empty()) return false;
    if (std::string_view("\\,=+<>").find(escaped[0]) != std::string_view::npos) {
      *out++ = escaped[0];
      i += 1;
    } else if (escaped.size() == 2 && IsHexDigit(escaped[0]) && IsHexDigit(escaped[1])) {
      *out++ = static_cast<char>(HexValue(escaped[0]) << 4 | HexValue(escaped[1]));
      i += 2;
    } else {
      return false;
    }
  }
  *out = '\0';
  return true;
}

struct Attribute {
  std::string_view type;
  char value[kLongest + 1];  // terminated; a decoded 00 ends it
};

// attribute = type [blanks and "="] value, with a type of any characters but blanks, "=" and "\".
[[nodiscard]] bool ReadAttribute(std::string_view text, Attribute* attribute) {
  constexpr std::string_view kBlank = " \t";
  constexpr std::string_view kAfterType = " \t=";
  text.remove_prefix(std::min(text.find_first_not_of(" \t\\"), text.size()));
  text = text.substr(0, text.find_last_not_of(kBlank) + 1);
  const size_t type_length = std::min(text.find_first_of(kAfterType), text.size());
  attribute->type = text.substr(0, type_length);
  if (type_length == 0 || attribute->type.find('\\') != std::string_view::npos) return false;
  const size_t value = text.find_first_not_of(kAfterType, type_length);
  return value != std::string_view::npos && Unescape(text.substr(value), attribute->value) &&
         attribute->value[0] != '\0';
}

// Adds a copy of `text` and a terminator that does not count, at the head of the list.
[[nodiscard]] uint32_t AddText(CVD_BIN_LIST** head, std::string_view text) {
  char terminated[kLongest + 1];
  std::memcpy(terminated, text.data(), text.size());
  terminated[text.size()] = '\0';
  const BIN item = Borrow({reinterpret_cast<const uint8_t*>(terminated), text.size() + 1});
  const uint32_t status = CVD_BIN_LIST_Add(head, &item);
  if (status == 0) --(*head)->length;
  return status;
}

void DropHead(CVD_BIN_LIST** head) {
  CVD_BIN_LIST* first = *head;
  *head = first->next;
  first->next = nullptr;
  CVD_BIN_LIST_Free(first);
}

[[nodiscard]] uint32_t AddAttribute(std::string_view text, CVD_BIN_LIST** types,
                                    CVD_BIN_LIST** values) {
  Attribute attribute;
  if (text.size() > kLongest || !ReadAttribute(text, &attribute)) return PKC_ERR_BAD_RDN;
  if (uint32_t status = AddText(types, attribute.type); status != 0) return status;
  const uint32_t status = AddText(values, attribute.value);
  if (status != 0) DropHead(types);
  return status;
}

// ---- one attribute encoded -----------------------------------------------------------------

enum class ValueRule : uint8_t {
  kName64,     // converted to UTF-8, cut to 384 octets
  kName128,    // converted to UTF-8, cut to 768 octets
  kCountry,    // two octets as they are
  kEmail,      // the first 128 octets as they are
  kIa5,        // as they are
  kQualifier,  // as they are
};

constexpr int32_t kDomainComponentType = CVD_OID_NONE;  // the module's own constant
constexpr CVD_OID kDomainComponentOid{kDomainComponent.length, kDomainComponent.octets};

struct KeywordRow {
  std::string_view keyword;
  int32_t type;  // a catalogue number
  ValueRule rule;
  int32_t pdu;
};

constexpr KeywordRow kKeywordRows[] = {
    {"E", CVD_OID_EMAIL_ADDRESS_WRITTEN, ValueRule::kEmail, CVD_PDU_EMAIL_ADDRESS},
    {"O", CVD_OID_ORGANIZATION_NAME, ValueRule::kName64, CVD_PDU_X520_ORGANIZATION_NAME},
    {"L", CVD_OID_LOCALITY_NAME, ValueRule::kName128, CVD_PDU_X520_LOCALITY_NAME},
    {"S", CVD_OID_STATE_OR_PROVINCE_NAME, ValueRule::kName128, CVD_PDU_X520_STATE_NAME},
    {"C", CVD_OID_COUNTRY_NAME, ValueRule::kCountry, CVD_PDU_X520_COUNTRY_NAME},
    {"T", CVD_OID_TITLE, ValueRule::kName64, CVD_PDU_X520_TITLE},
    {"CN", CVD_OID_COMMON_NAME, ValueRule::kName64, CVD_PDU_X520_COMMON_NAME},
    {"OU", CVD_OID_ORGANIZATIONAL_UNIT_NAME, ValueRule::kName64, CVD_PDU_X520_ORG_UNIT_NAME},
    {"ID", CVD_OID_UID, ValueRule::kIa5, CVD_PDU_IA5_ATTRIBUTE},
    {"DC", kDomainComponentType, ValueRule::kIa5, CVD_PDU_IA5_ATTRIBUTE},
    {"DNQUALIFIER", CVD_OID_DN_QUALIFIER, ValueRule::kQualifier, CVD_PDU_X520_DN_QUALIFIER},
};

const KeywordRow* FindKeyword(std::string_view keyword) {
  for (const KeywordRow& row : kKeywordRows) {
    if (row.keyword.size() == keyword.size() &&
        pkc_strncasecmp(row.keyword.data(), keyword.data(),
                        static_cast<uint32_t>(keyword.size())) == 0) {
      return &row;
    }
  }
  return nullptr;
}

template <typename Record>
[[nodiscard]] uint32_t EncodeDirectoryString(BIN* der, const char* value, int32_t pdu) {
  Record record;
  record.choice = CVD_DIRECTORY_STRING_UTF8;
  const uint32_t status = CVD_PKC_UTF8_Encode(record.text, sizeof record.text, value, 0);
  return status != 0 ? status : CVD_ASN_EncodePDU(der, &record, pdu);
}

[[nodiscard]] uint32_t EncodeValue(BIN* der, const KeywordRow& row, const char* value) {
  switch (row.rule) {
    case ValueRule::kName64:
      return EncodeDirectoryString<CVD_X520Name64>(der, value, row.pdu);
    case ValueRule::kName128:
      return EncodeDirectoryString<CVD_X520Name128>(der, value, row.pdu);
    case ValueRule::kCountry: {
      if (std::strlen(value) != 2) return PKC_ERR_BAD_RDN;
      const CVD_X520CountryName record{{value[0], value[1], '\0'}};
      return CVD_ASN_EncodePDU(der, &record, row.pdu);
    }
    case ValueRule::kEmail: {
      CVD_EmailAddress record;
      pkc_strncpy(record.text, value, sizeof record.text);
      return CVD_ASN_EncodePDU(der, &record, row.pdu);
    }
    case ValueRule::kIa5: {
      const CVD_IA5Attribute record{1, 0, static_cast<uint16_t>(std::strlen(value)), 0, value};
      return CVD_ASN_EncodePDU(der, &record, row.pdu);
    }
    case ValueRule::kQualifier:
      break;
  }
  const CVD_X520DnQualifier record{value};
  return CVD_ASN_EncodePDU(der, &record, row.pdu);
}

[[nodiscard]] uint32_t FillAttribute(CVD_AttributeTypeAndValueNode* node, std::string_view keyword,
                                     const char* value) {
  const KeywordRow* row = FindKeyword(keyword);
  if (row == nullptr) return PKC_ERR_BAD_RDN;
  ScopedBin der;
  if (uint32_t status = EncodeValue(&der, *row, value); status != 0) return status;
  node->type = row->type == kDomainComponentType ? kDomainComponentOid : *CVD_ASN_GetOID(row->type);
  node->value = der.Release();
  return 0;
}

// A node that could not be allocated is refused here, like any null argument without a trace.
[[nodiscard]] uint32_t EncodeAttribute(CVD_AttributeTypeAndValueNode* node,
                                       std::string_view keyword, const char* value) {
  if (node == nullptr) return PKC_ERR_INVALID_INPUT;
  return kTrace("CVD_PKC_AsnRDN_Encode", FillAttribute(node, keyword, value));
}

// ---- the lists of a name -------------------------------------------------------------------

void FreeAttributes(CVD_AttributeTypeAndValueNode* first) {
  while (first != nullptr) {
    CVD_AttributeTypeAndValueNode* next = first->next;
    CVD_free(first->value.data);
    CVD_free(first);
    first = next;
  }
}

void FreeRdns(CVD_RDNSequenceNode* first) {
  while (first != nullptr) {
    CVD_RDNSequenceNode* next = first->next;
    FreeAttributes(first->relativeDistinguishedName);
    CVD_free(first);
    first = next;
  }
}

template <typename Node>
Node* NewNode() {
  return static_cast<Node*>(CVD_calloc(1, sizeof(Node)));
}

// The attributes of one RDN while they are read, the one written last first.
struct AttributeLists {
  AttributeLists() = default;
  AttributeLists(const AttributeLists&) = delete;
  AttributeLists& operator=(const AttributeLists&) = delete;
  ~AttributeLists() {
    CVD_BIN_LIST_Free(types);
    CVD_BIN_LIST_Free(values);
  }
  CVD_BIN_LIST* types = nullptr;
  CVD_BIN_LIST* values = nullptr;
};

// The RDNs of a name while they are built, the one written last first.
class Rdns {
 public:
  Rdns() = default;
  Rdns(const Rdns&) = delete;
  Rdns& operator=(const Rdns&) = delete;
  ~Rdns() { FreeRdns(first_); }
  [[nodiscard]] uint32_t Add(const AttributeLists& lists);
  CVD_RDNSequenceNode* Release() { return std::exchange(first_, nullptr); }
  bool empty() const { return first_ == nullptr; }

 private:
  CVD_RDNSequenceNode* first_ = nullptr;
};

uint32_t Rdns::Add(const AttributeLists& lists) {
  auto* rdn = NewNode<CVD_RDNSequenceNode>();
  if (rdn == nullptr) return PKC_ERR_MALLOC;
  rdn->next = std::exchange(first_, rdn);
  auto* node = NewNode<CVD_AttributeTypeAndValueNode>();
  if (node == nullptr) return PKC_ERR_MALLOC;
  rdn->relativeDistinguishedName = node;
  const CVD_BIN_LIST* value = lists.values;
  for (const CVD_BIN_LIST* type = lists.types; type != nullptr; type = type->next) {
    if (type != lists.types) node = node->next = NewNode<CVD_AttributeTypeAndValueNode>();
    const auto* keyword = reinterpret_cast<const char*>(type->data);
    const uint32_t status =
        EncodeAttribute(node, {keyword, type->length}, reinterpret_cast<const char*>(value->data));
    if (status != 0) return status;
    value = value->next;
  }
  return 0;
}

// ---- components ----------------------------------------------------------------------------

// The number of backslashes directly before `position`.
size_t BackslashesBefore(std::string_view text, size_t position) {
  size_t count = 0;
  while (count < position && text[position - 1 - count] == '\\') ++count;
  return count;
}

[[nodiscard]] uint32_t SplitComponent(std::string_view component, AttributeLists* lists) {
  const auto add = [lists](std::string_view text) {
    return CVD_GetAttrTypeAndValue(text.data(), static_cast<int32_t>(text.size()), &lists->types,
                                   &lists->values);
  };
  size_t start = 0;
  for (size_t plus; (plus = component.find('+', start)) != std::string_view::npos;
       start = plus + 1) {
    // A "+" separates even behind a backslash, which is then the attribute's unpaired last octet.
    const size_t backslashes = BackslashesBefore(component, plus);
    if (backslashes != 0 && backslashes % 2 == 0) return PKC_ERR_BAD_RDN;
    if (uint32_t status = add(component.substr(start, plus - start)); status != 0) return status;
  }
  return add(component.substr(start));
}

// The components of a text, between commas; empty ones do not count.
class Components {
 public:
  explicit Components(char* text) : rest_(text) {}
  // The next component, joined with the one behind it when the comma between them is escaped.
  // `*component` is null data at the end.
  [[nodiscard]] uint32_t Next(std::string_view* component) {
    *component = Token();
    if (BackslashesBefore(*component, component->size()) % 2 != 0) {
      const std::string_view behind = Token();
      if (behind.empty() || component->size() + 1 + behind.size() > kLongest) {
        return PKC_ERR_BAD_RDN;
      }
      Text joined(joined_, sizeof joined_);
      joined.Add(*component);
      joined.Add(",");
      joined.Add(behind);
      *component = {joined_, joined.length()};
    }
    return component->size() > kLongest ? PKC_ERR_BAD_RDN : 0;
  }

 private:
  std::string_view Token() {
    const char* token = pkc_strtok(std::exchange(rest_, nullptr), ",", &position_);
    return token == nullptr ? std::string_view() : token;
  }

  char* rest_;
  char* position_ = nullptr;
  char joined_[kLongest + 1];
};

[[nodiscard]] uint32_t ParseName(const char* text, CVD_Name* name) {
  const size_t size = std::strlen(text) + 1;
  const ScopedBlock<char> copy(size);
  if (copy.get() == nullptr) return PKC_ERR_MALLOC;
  std::memcpy(copy.get(), text, size);
  Components components(copy.get());
  Rdns rdns;
  for (;;) {
    std::string_view component;
    if (uint32_t status = components.Next(&component); status != 0) return status;
    if (component.empty()) break;
    AttributeLists lists;
    if (uint32_t status = SplitComponent(component, &lists); status != 0) return status;
    if (uint32_t status = rdns.Add(lists); status != 0) return status;
  }
  if (rdns.empty()) return PKC_ERR_BAD_RDN;
  *name = {CVD_NAME_RDN_SEQUENCE, 0, rdns.Release()};
  return 0;
}

}  // namespace
}  // namespace corvid

uint32_t CVD_ImplementRDN(void* /*reserved*/, CVD_Name* name, const char* text) {
  if (name == nullptr || text == nullptr) return PKC_ERR_INVALID_INPUT;
  *name = {0, 0, nullptr};
  return corvid::kTrace("CVD_ImplementRDN", corvid::ParseName(text, name));
}

uint32_t CVD_GetAttrTypeAndValue(const char* text, int32_t length, CVD_BIN_LIST** types,
                                 CVD_BIN_LIST** values) {
  if (types == nullptr || values == nullptr) return PKC_ERR_BAD_RDN;
  if (text == nullptr) return PKC_ERR_INVALID_INPUT;
  if (length < 0) return PKC_ERR_BAD_RDN;
  return corvid::AddAttribute({text, strnlen(text, static_cast<size_t>(length))}, types, values);
}

void CVD_NameFree(CVD_Name* name) {
  if (name == nullptr) return;
  corvid::FreeRdns(name->rdnSequence);
  *name = {0, 0, nullptr};
}
