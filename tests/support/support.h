// What the tests share: octets from hexadecimal, small DER builders, certificates made on the spot
// and found on the machine, the failure trace as text, and options that are put back.
#ifndef CORVID_TESTS_SUPPORT_SUPPORT_H_
#define CORVID_TESTS_SUPPORT_SUPPORT_H_

#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "corvid/asn.h"
#include "corvid/common.h"
#include "corvid/pkc.h"

namespace corvid::test {

using Octets = std::vector<uint8_t>;

// The octets of hexadecimal text; blanks are skipped.
Octets Hex(std::string_view text);
std::string ToHex(const Octets& octets);
Octets OctetsOf(std::string_view text);
Octets OctetsOf(const BIN& bin);
std::string StringOf(const Octets& octets);
std::string Base64(const Octets& octets);
// A PEM block, wrapped at 64 characters.
std::string Pem(const Octets& octets, const std::string& label = "CERTIFICATE");
Octets Repeat(const Octets& part, size_t count);
std::string Repeat(size_t count, std::string_view text);
Octets ReadFile(const std::filesystem::path& path);

// A folder of its own, which goes away.
class TemporaryFolder {
 public:
  TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder();
  // The path of a new file of the content.
  std::string Write(const std::string& name, const std::string& content) const;
  std::string Path(const std::string& name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

// A BIN over a heap block of exactly the input's size, so that a sanitizer sees a read past it.
class Input {
 public:
  explicit Input(const Octets& octets);
  explicit Input(std::string_view hex) : Input(Hex(hex)) {}
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;
  ~Input() { delete[] bin_.data; }
  const BIN* bin() const { return &bin_; }
  const BIN& operator*() const { return bin_; }

 private:
  BIN bin_;
};

// A BIN that a function fills; released at the end.
struct Output : BIN {
  Output() : BIN{0, nullptr} {}
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;
  ~Output() { CVD_BIN_Reset(this); }
  Octets octets() const { return OctetsOf(*this); }
};

// A decoded record of the PDU type; released at the end. `status` is the decoder's.
template <typename Record>
class DecodedRecord {
 public:
  DecodedRecord(const Octets& der, int32_t type) : type_(type) {
    const Input input(der);
    status = CVD_ASN_DecodePDU(&record_, input.bin(), type);
  }
  DecodedRecord(const DecodedRecord&) = delete;
  DecodedRecord& operator=(const DecodedRecord&) = delete;
  ~DecodedRecord() { CVD_ASN_FreePDU(record_, type_); }
  Record* get() const { return static_cast<Record*>(record_); }
  Record* operator->() const { return get(); }
  // As the type of its first member, when that is told.
  Octets Encode(int32_t type = 0) const {
    Output der;
    static_cast<void>(CVD_ASN_EncodePDU(&der, record_, type == 0 ? type_ : type));
    return der.octets();
  }

  uint32_t status;

 private:
  void* record_ = nullptr;
  int32_t type_;
};

struct Certificate : DecodedRecord<CVD_Certificate> {
  explicit Certificate(const Octets& der) : DecodedRecord(der, CVD_PDU_CERTIFICATE) {}
  const CVD_ExtensionNode* extensions() const { return get()->tbsCertificate.extensions; }
};

// ---- DER builders --------------------------------------------------------------------------

// One element with its shortest length.
Octets Der(uint8_t tag, const Octets& content);
Octets Der(uint8_t tag, std::string_view content);
// A SEQUENCE (or another constructed element) of the parts.
Octets Sequence(std::initializer_list<Octets> parts, uint8_t tag = 0x30);
Octets Join(std::initializer_list<Octets> parts);
// A SEQUENCE of any number of parts; nothing without parts.
Octets ListOf(const std::vector<Octets>& parts);
// An OBJECT IDENTIFIER from its dotted text.
Octets Oid(const std::string& dotted);
// A Name of one-attribute RDNs: {{"2.5.4.6", Der(0x13, "KR")}, ...}.
struct Attribute {
  std::string type;
  Octets value;
};
Octets Name(const std::vector<Attribute>& attributes);
// An AttributeTypeAndValue, and strings of the usual types.
inline Octets TypedValue(const std::string& type, const Octets& der) {
  return Sequence({Oid(type), der});
}
inline Octets Utf8(std::string_view text) { return Der(0x0C, text); }
inline Octets Printable(std::string_view text) { return Der(0x13, text); }
inline Octets Ia5(std::string_view text) { return Der(0x16, text); }
inline Octets CommonName(std::string_view text) { return Name({{"2.5.4.3", Utf8(text)}}); }
// A uniformResourceIdentifier of GeneralNames.
inline Octets Uri(std::string_view uri) { return Der(0x86, uri); }
// A SubjectPublicKeyInfo.
Octets Spki(const std::string& algorithm, const Octets& parameters, const Octets& key);
// An Extension.
Octets Extension(const std::string& oid, const Octets& value, bool critical = false);

// The parts of a certificate made for a test; the signature is three octets that verify nothing.
struct CertificateParts {
  Octets version = Hex("A003020102");  // v3
  Octets serial = Hex("0102");
  std::string signature_oid = "1.2.840.113549.1.1.11";
  std::string outer_oid = {};  // when the algorithm outside the signed part is another
  Octets issuer = CommonName("Issuer");
  Octets not_before = Der(0x17, "260101000000Z");
  Octets not_after = Der(0x17, "270101000000Z");
  Octets subject = CommonName("Subject");
  Octets spki = {};                     // an RSA key of 512 bits when empty
  std::vector<Octets> extensions = {};  // none: the field is left out
  Octets signature = Hex("0304 00A1B2C3");
};
Octets MakeCertificate(const CertificateParts& parts);

// The same of a revocation list.
struct ListParts {
  Octets version = Hex("020101");
  std::string inner = "1.2.840.113549.1.1.11";
  std::string outer = "1.2.840.113549.1.1.11";
  Octets issuer = CommonName("Issuer");
  Octets this_update = Der(0x17, "260101000000Z");
  Octets next_update = {};
  std::vector<Octets> entries = {};     // none: the field is left out
  std::vector<Octets> extensions = {};  // the same
};
Octets MakeList(const ListParts& parts);

// ---- certificates at hand ------------------------------------------------------------------

// PEM files of Debian's ca-certificates.
std::vector<std::filesystem::path> DebianRoots();
// The files below a folder of the corpus ("certs"), sorted; empty without a corpus.
std::vector<std::filesystem::path> CorpusFiles(const std::string& folder);
// DER of a DER or PEM file.
Octets ReadCertificate(const std::filesystem::path& path);

// ---- the library's state -------------------------------------------------------------------

// The calling thread's trace since it was last cleared, one "Function code" a line, innermost
// first; clears it.
std::string TakeTrace();

// Sets options for one scope and puts the earlier values back.
class Options {
 public:
  explicit Options(const char* locale, const char* dncase = "lower");
  Options(const Options&) = delete;
  Options& operator=(const Options&) = delete;
  ~Options();

 private:
  std::string locale_;
  std::string dncase_;
};

}  // namespace corvid::test

#endif  // CORVID_TESTS_SUPPORT_SUPPORT_H_
