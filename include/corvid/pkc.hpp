// Owning C++17 types over the C interface: statuses, octets, decoded records, lists, texts.
//
// Nothing is implemented twice here: each function makes one call of the C interface and puts the
// result where it releases itself. Views (`Octets`) refer to memory that somebody else keeps.
#ifndef CORVID_PKC_HPP_
#define CORVID_PKC_HPP_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "corvid/asn.h"
#include "corvid/codec.h"
#include "corvid/common.h"
#include "corvid/io.h"
#include "corvid/pkc.h"

namespace corvid::pkc {

// A status of the C interface: 0, or a code with its reason.
class [[nodiscard]] Status {
 public:
  // The code is 0 when all went well.
  constexpr Status() = default;
  constexpr Status(uint32_t code) : code_(code) {}  // NOLINT(google-explicit-constructor)
  constexpr bool ok() const { return code_ == 0; }
  constexpr uint32_t code() const { return code_; }
  // "" for a code that no library knows.
  const char* reason() const { return CVD_PKC_GetErrorReason(code_, 1); }

 private:
  uint32_t code_ = 0;
};

// A view of octets.
class Octets {
 public:
  // Of none, of so many at a place, of what a value holds.
  constexpr Octets() = default;
  constexpr Octets(const uint8_t* data, size_t size) : data_(data), size_(size) {}
  // NOLINTBEGIN(google-explicit-constructor)
  constexpr Octets(const BIN& bin)
      : Octets(bin.data, bin.length > 0 ? static_cast<size_t>(bin.length) : 0) {}
  constexpr Octets(const CVD_OID& oid) : Octets(oid.data, oid.length) {}
  constexpr Octets(const Huge& huge) : Octets(huge.data, huge.length) {}
  constexpr Octets(const CVD_IPAddress& address) : Octets(address.data, address.length) {}
  constexpr Octets(const CVD_BitString& bits)  // the last one may hold unused bits
      : Octets(bits.data, (static_cast<size_t>(bits.bits) + 7) / 8) {}
  Octets(std::string_view text)
      : Octets(reinterpret_cast<const uint8_t*>(text.data()), text.size()) {}
  // NOLINTEND(google-explicit-constructor)

  // What a container of octets offers.
  constexpr const uint8_t* data() const { return data_; }
  constexpr size_t size() const { return size_; }
  constexpr bool empty() const { return size_ == 0; }
  constexpr const uint8_t* begin() const { return data_; }
  constexpr const uint8_t* end() const { return data_ + size_; }
  constexpr uint8_t operator[](size_t at) const { return data_[at]; }
  // At most `count` octets from `at`, which is at most size().
  constexpr Octets Slice(size_t at, size_t count = SIZE_MAX) const {
    return {data_ + at, count < size_ - at ? count : size_ - at};
  }
  // The same as characters.
  std::string_view text() const { return {reinterpret_cast<const char*>(data_), size_}; }
  // For a call that reads a BIN; at most INT32_MAX octets.
  BIN bin() const { return {static_cast<int32_t>(size_), const_cast<uint8_t*>(data_)}; }

 private:
  const uint8_t* data_ = nullptr;
  size_t size_ = 0;
};

// Owns the octets of a BIN that a function fills.
class Bin {
 public:
  // Moved, not copied.
  Bin() = default;
  Bin(Bin&& other) noexcept : bin_(std::exchange(other.bin_, {0, nullptr})) {}
  Bin& operator=(Bin&& other) noexcept {
    std::swap(bin_, other.bin_);
    return *this;
  }
  Bin(const Bin&) = delete;
  Bin& operator=(const Bin&) = delete;
  ~Bin() { CVD_BIN_Reset(&bin_); }

  // Where a function writes; what was there before is released.
  BIN* out() {
    CVD_BIN_Reset(&bin_);
    return &bin_;
  }
  // What is owned.
  const BIN& get() const { return bin_; }
  Octets octets() const { return bin_; }

 private:
  BIN bin_{0, nullptr};
};

// Owns a text that a function allocates.
class Text {
 public:
  // Neither copied nor moved.
  Text() = default;
  Text(const Text&) = delete;
  Text& operator=(const Text&) = delete;
  ~Text() { CVD_free(text_); }

  // Where a function writes; what was there before is released.
  char** out() {
    CVD_free(std::exchange(text_, nullptr));
    return &text_;
  }
  // What is owned; empty when nothing is.
  std::string_view view() const { return text_ == nullptr ? std::string_view() : text_; }
  std::string str() const { return std::string(view()); }

 private:
  char* text_ = nullptr;
};

// ---- decoded records -----------------------------------------------------------------------

// The PDU type of a record's struct.
template <typename Record>
inline constexpr int32_t kPduType = 0;
template <>
inline constexpr int32_t kPduType<CVD_Certificate> = CVD_PDU_CERTIFICATE;
template <>
inline constexpr int32_t kPduType<CVD_AuthorityKeyIdentifier> = CVD_PDU_AUTHORITY_KEY_IDENTIFIER;
template <>
inline constexpr int32_t kPduType<CVD_SubjectKeyIdentifier> = CVD_PDU_SUBJECT_KEY_IDENTIFIER;
template <>
inline constexpr int32_t kPduType<CVD_KeyUsage> = CVD_PDU_KEY_USAGE;
template <>
inline constexpr int32_t kPduType<CVD_CertificatePolicies> = CVD_PDU_CERTIFICATE_POLICIES;
template <>
inline constexpr int32_t kPduType<CVD_GeneralNames> = CVD_PDU_GENERAL_NAMES;
template <>
inline constexpr int32_t kPduType<CVD_BasicConstraints> = CVD_PDU_BASIC_CONSTRAINTS;
template <>
inline constexpr int32_t kPduType<CVD_CRLDistributionPoints> = CVD_PDU_CRL_DISTRIBUTION_POINTS;
template <>
inline constexpr int32_t kPduType<CVD_ExtKeyUsageSyntax> = CVD_PDU_EXT_KEY_USAGE;
template <>
inline constexpr int32_t kPduType<CVD_AuthorityInfoAccessSyntax> = CVD_PDU_AUTHORITY_INFO_ACCESS;
template <>
inline constexpr int32_t kPduType<CVD_NetscapeCertType> = CVD_PDU_NETSCAPE_CERT_TYPE;
template <>
inline constexpr int32_t kPduType<CVD_IdentityData> = CVD_PDU_IDENTITY_DATA;
template <>
inline constexpr int32_t kPduType<CVD_VID> = CVD_PDU_VID;
template <>
inline constexpr int32_t kPduType<CVD_CertificateList> = CVD_PDU_CERTIFICATE_LIST;

// Owns a decoded record.
template <typename Record>
class Decoded {
 public:
  // Moved, not copied.
  Decoded() = default;
  Decoded(Decoded&& other) noexcept : record_(std::exchange(other.record_, nullptr)) {}
  Decoded& operator=(Decoded&& other) noexcept {
    std::swap(record_, other.record_);
    return *this;
  }
  Decoded(const Decoded&) = delete;
  Decoded& operator=(const Decoded&) = delete;
  ~Decoded() { Reset(); }

  // Decodes all of `der`; the record of an earlier call is released first.
  Status Decode(Octets der) {
    static_assert(kPduType<Record> != 0, "this record has no PDU type here");
    Reset();
    const BIN input = der.bin();
    return CVD_ASN_DecodePDU(&record_, &input, kPduType<Record>);
  }
  // Releases the record.
  void Reset() { CVD_ASN_FreePDU(std::exchange(record_, nullptr), kPduType<Record>); }

  // The record, if there is one.
  explicit operator bool() const { return record_ != nullptr; }
  const Record& operator*() const { return *static_cast<const Record*>(record_); }
  const Record* operator->() const { return static_cast<const Record*>(record_); }

 private:
  void* record_ = nullptr;
};

// Owns a decoded certificate.
using Certificate = Decoded<CVD_Certificate>;

// Owns a loaded revocation list.
class RevocationList {
 public:
  // Moved, not copied.
  RevocationList() = default;
  RevocationList(RevocationList&& other) noexcept : crl_(std::exchange(other.crl_, nullptr)) {}
  RevocationList& operator=(RevocationList&& other) noexcept {
    std::swap(crl_, other.crl_);
    return *this;
  }
  RevocationList(const RevocationList&) = delete;
  RevocationList& operator=(const RevocationList&) = delete;
  ~RevocationList() { CVD_CRL_Free(crl_); }

  // Loads DER or PEM; the list of an earlier call is released first.
  Status Load(Octets encoding) {
    CVD_CRL_Free(std::exchange(crl_, nullptr));
    const BIN input = encoding.bin();
    return CVD_CRL_Load(&crl_, &input);
  }
  // The list, if there is one.
  explicit operator bool() const { return crl_ != nullptr; }
  const CVD_CRL* get() const { return crl_; }

 private:
  CVD_CRL* crl_ = nullptr;
};

// Owns a private key.
class PrivateKey {
 public:
  // Moved, not copied.
  PrivateKey() = default;
  PrivateKey(PrivateKey&& other) noexcept : key_(std::exchange(other.key_, nullptr)) {}
  PrivateKey& operator=(PrivateKey&& other) noexcept {
    std::swap(key_, other.key_);
    return *this;
  }
  PrivateKey(const PrivateKey&) = delete;
  PrivateKey& operator=(const PrivateKey&) = delete;
  ~PrivateKey() { CVD_CSP_FreePrivateKey(key_); }

  // Loads DER or PEM, with a null passphrase only what is not encrypted; the key of an earlier call
  // is released first.
  Status Load(Octets encoding, const char* passphrase) {
    CVD_CSP_FreePrivateKey(std::exchange(key_, nullptr));
    const BIN input = encoding.bin();
    return CVD_CSP_LoadPrivateKey(&key_, &input, passphrase);
  }
  // The key, if there is one.
  explicit operator bool() const { return key_ != nullptr; }
  CVD_PrivateKey* get() const { return key_; }

 private:
  CVD_PrivateKey* key_ = nullptr;
};

// Owns a name that was read from text.
class Name {
 public:
  // Neither copied nor moved.
  Name() = default;
  Name(const Name&) = delete;
  Name& operator=(const Name&) = delete;
  ~Name() { CVD_NameFree(&name_); }

  // Reads "cn=User,o=Org,c=KR"; the name of an earlier call is released first.
  Status Parse(const std::string& text) {
    CVD_NameFree(&name_);
    return CVD_ImplementRDN(nullptr, &name_, text.c_str());
  }
  // What is owned; empty when nothing is.
  const CVD_Name& get() const { return name_; }

 private:
  CVD_Name name_{0, 0, nullptr};
};

// The nodes of a list: `for (const auto& node : Nodes(extensions))`.
template <typename Node>
class Nodes {
 public:
  // Goes from node to node.
  class Iterator {
   public:
    // What a range needs.
    explicit Iterator(const Node* node) : node_(node) {}
    const Node& operator*() const { return *node_; }
    Iterator& operator++() {
      node_ = node_->next;
      return *this;
    }
    bool operator!=(const Iterator& other) const { return node_ != other.node_; }

   private:
    const Node* node_;
  };

  // From this node onwards; null for none.
  explicit Nodes(const Node* first) : first_(first) {}
  Iterator begin() const { return Iterator(first_); }
  Iterator end() const { return Iterator(nullptr); }

 private:
  const Node* first_;
};

// ---- single calls --------------------------------------------------------------------------

// Where the last decode of this thread that answered `status` stood; all zero when it is unknown.
inline CVD_ASNFailure DecodeFailure(Status status) {
  CVD_ASNFailure failure{};
  const bool known = CVD_ASN_GetDecodeFailure(&failure) == 0 && failure.code == status.code();
  return known ? failure : CVD_ASNFailure{};
}

// A regular file, whole.
inline Status ReadFile(const std::string& path, Bin* data) {
  return CVD_File_ReadBin(data->out(), path.c_str());
}

// The octets of base64 text, in which there may be white space.
inline Status DecodeBase64(const char* text, Bin* data) {
  return CVD_Base64ToBin(text, data->out());
}

// In one line (RFC 4648 section 4).
inline Status EncodeBase64(Octets data, Text* text) {
  const BIN input = data.bin();
  return CVD_BinToBase64(&input, text->out());
}

// The digest by the algorithm CVD_HASH_*.
inline Status Hash(int32_t hash_id, Octets data, Bin* digest) {
  const BIN input = data.bin();
  return CVD_CSP_Hash(digest->out(), &input, hash_id);
}

// The public half: CVD_PKEY_* number, DER of the parameters (empty for RSA), subjectPublicKey
// octets.
inline Status PublicKeyOf(const PrivateKey& key, int32_t* pkey_id, Bin* parameters,
                          Bin* public_key) {
  return CVD_CSP_GetPublicKey(key.get(), pkey_id, parameters->out(), public_key->out());
}

// "2.5.29.15".
inline Status DottedText(const CVD_OID& oid, Text* text) {
  return CVD_ASN_OID2DotVal(text->out(), &oid);
}

// "1a2b"; a negative number shows its content octets.
inline Status SerialText(const Huge& serial, Text* text) {
  return CVD_HugeToHexEx(&serial, text->out());
}

// "cn=User,o=Org,c=KR"; leaves out what CVD_ExtractRDN leaves out.
inline Status NameText(const CVD_Name& name, Text* text) {
  return CVD_ExtractRDN(nullptr, &name, text->out());
}

// Seconds since 1970-01-01 00:00:00 UTC.
inline int64_t Seconds(const CVD_Time& time) {
  return time.kind == CVD_TIME_UTC ? CVD_ASN_UTC2Time(&time.fields)
                                   : CVD_ASN_General2Time(&time.fields);
}

}  // namespace corvid::pkc

#endif  // CORVID_PKC_HPP_
