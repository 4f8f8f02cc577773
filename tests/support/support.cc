#include "support/support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>

#include "corvid/codec.h"

namespace corvid::test {

Octets Hex(std::string_view text) {
  const auto digit = [](char c) {
    return static_cast<uint8_t>(c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10);
  };
  Octets octets;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == ' ') continue;
    octets.push_back(static_cast<uint8_t>(digit(text[i]) << 4 | digit(text[i + 1])));
    ++i;
  }
  return octets;
}

std::string ToHex(const Octets& octets) {
  std::string text;
  for (const uint8_t octet : octets) {
    text += "0123456789abcdef"[octet >> 4];
    text += "0123456789abcdef"[octet & 15];
  }
  return text;
}

Octets OctetsOf(std::string_view text) { return {text.begin(), text.end()}; }

Octets OctetsOf(const BIN& bin) { return {bin.data, bin.data + bin.length}; }

std::string StringOf(const Octets& octets) { return {octets.begin(), octets.end()}; }

std::string Base64(const Octets& octets) {
  const Input input(octets);
  char* text = nullptr;
  EXPECT_EQ(CVD_BinToBase64(input.bin(), &text), 0u);
  std::string base64 = text;
  CVD_free(text);
  return base64;
}

std::string Pem(const Octets& octets, const std::string& label) {
  std::string pem = "-----BEGIN " + label + "-----\n";
  const std::string base64 = Base64(octets);
  for (size_t at = 0; at < base64.size(); at += 64) pem += base64.substr(at, 64) + '\n';
  return pem + "-----END " + label + "-----\n";
}

Octets Repeat(const Octets& part, size_t count) {
  Octets all;
  all.reserve(count * part.size());
  while (count-- > 0) all.insert(all.end(), part.begin(), part.end());
  return all;
}

std::string Repeat(size_t count, std::string_view text) {
  std::string all;
  while (count-- > 0) all += text;
  return all;
}

TemporaryFolder::TemporaryFolder() {
  std::string pattern = std::filesystem::temp_directory_path() / "pkc_test_XXXXXX";
  path_ = mkdtemp(pattern.data());
}

TemporaryFolder::~TemporaryFolder() { std::filesystem::remove_all(path_); }

std::string TemporaryFolder::Write(const std::string& name, const std::string& content) const {
  std::filesystem::create_directories((path_ / name).parent_path());
  std::ofstream(path_ / name, std::ios::binary) << content;
  return path_ / name;
}

Octets ReadFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  EXPECT_TRUE(in) << path;
  return {std::istreambuf_iterator<char>(in), {}};
}

Input::Input(const Octets& octets)
    : bin_{static_cast<int32_t>(octets.size()), new uint8_t[octets.size()]} {
  std::copy(octets.begin(), octets.end(), bin_.data);
}

Octets Der(uint8_t tag, const Octets& content) {
  Octets der{tag};
  if (content.size() < 0x80) {
    der.push_back(static_cast<uint8_t>(content.size()));
  } else {
    Octets length;
    for (size_t rest = content.size(); rest != 0; rest >>= 8) {
      length.insert(length.begin(), static_cast<uint8_t>(rest));
    }
    der.push_back(static_cast<uint8_t>(0x80 | length.size()));
    der.insert(der.end(), length.begin(), length.end());
  }
  der.insert(der.end(), content.begin(), content.end());
  return der;
}

Octets Der(uint8_t tag, std::string_view content) { return Der(tag, OctetsOf(content)); }

Octets Join(std::initializer_list<Octets> parts) {
  Octets all;
  for (const Octets& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

Octets ListOf(const std::vector<Octets>& parts) {
  Octets all;
  for (const Octets& part : parts) all.insert(all.end(), part.begin(), part.end());
  return parts.empty() ? all : Der(0x30, all);
}

Octets Sequence(std::initializer_list<Octets> parts, uint8_t tag) { return Der(tag, Join(parts)); }

Octets Oid(const std::string& dotted) {
  CVD_OID oid{0, nullptr};
  EXPECT_EQ(CVD_ASN_DotVal2OID(&oid, dotted.c_str()), 0u) << dotted;
  const Octets der = Der(0x06, Octets(oid.data, oid.data + oid.length));
  CVD_ASN_ResetOID(&oid);
  return der;
}

Octets Name(const std::vector<Attribute>& attributes) {
  Octets rdns;
  for (const Attribute& attribute : attributes) {
    const Octets rdn = Sequence({Sequence({Oid(attribute.type), attribute.value})}, 0x31);
    rdns.insert(rdns.end(), rdn.begin(), rdn.end());
  }
  return Der(0x30, rdns);
}

Octets Extension(const std::string& oid, const Octets& value, bool critical) {
  return Sequence({Oid(oid), critical ? Hex("0101FF") : Octets{}, Der(0x04, value)});
}

Octets Spki(const std::string& algorithm, const Octets& parameters, const Octets& key) {
  return Sequence({Sequence({Oid(algorithm), parameters}), Der(0x03, Join({Hex("00"), key}))});
}

static Octets AlgorithmOf(const std::string& oid) { return Sequence({Oid(oid), Hex("0500")}); }

Octets MakeCertificate(const CertificateParts& parts) {
  const Octets algorithm = AlgorithmOf(parts.signature_oid);
  const Octets modulus = Der(0x02, Join({Hex("00"), Octets(64, 0xA5)}));
  const Octets spki =
      Spki("1.2.840.113549.1.1.1", Hex("0500"), Sequence({modulus, Hex("0203010001")}));
  const Octets extensions = ListOf(parts.extensions);
  const Octets tbs = Sequence({parts.version, Der(0x02, parts.serial), algorithm, parts.issuer,
                               Sequence({parts.not_before, parts.not_after}), parts.subject,
                               parts.spki.empty() ? spki : parts.spki,
                               extensions.empty() ? extensions : Der(0xA3, extensions)});
  return Sequence(
      {tbs, parts.outer_oid.empty() ? algorithm : AlgorithmOf(parts.outer_oid), parts.signature});
}

Octets MakeList(const ListParts& parts) {
  const Octets extensions = ListOf(parts.extensions);
  const Octets tbs = Sequence({parts.version, AlgorithmOf(parts.inner), parts.issuer,
                               parts.this_update, parts.next_update, ListOf(parts.entries),
                               extensions.empty() ? extensions : Der(0xA0, extensions)});
  return Sequence({tbs, AlgorithmOf(parts.outer), Hex("0304 00A1B2C3")});
}

static std::vector<std::filesystem::path> FilesBelow(const std::filesystem::path& folder) {
  std::vector<std::filesystem::path> files;
  if (!std::filesystem::is_directory(folder)) return files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

std::vector<std::filesystem::path> DebianRoots() {
  return FilesBelow("/usr/share/ca-certificates/mozilla");
}

std::vector<std::filesystem::path> CorpusFiles(const std::string& folder) {
  return FilesBelow(std::filesystem::path(CORVID_CORPUS_DIR) / folder);
}

Octets ReadCertificate(const std::filesystem::path& path) {
  const Octets file = ReadFile(path);
  const std::string text(file.begin(), file.end());
  const size_t begin = text.find("-----BEGIN CERTIFICATE-----");
  if (begin == std::string::npos) return file;
  const size_t body = text.find('\n', begin);
  const std::string base64 = text.substr(body, text.find("-----END", body) - body);
  Output der;
  EXPECT_EQ(CVD_Base64ToBin(base64.c_str(), &der), 0u) << path;
  return der.octets();
}

std::string TakeTrace() {
  std::string text;
  for (uint32_t i = 0; i < CVD_Trace_Count(); ++i) {
    CVD_TraceEntry entry;
    EXPECT_EQ(CVD_Trace_Get(i, &entry), 0u);
    text += entry.function;
    text += ' ' + std::to_string(entry.code) + '\n';
  }
  CVD_Trace_Clear();
  return text;
}

Options::Options(const char* locale, const char* dncase)
    : locale_(CVD_PKC_GetOption("locale")), dncase_(CVD_PKC_GetOption("dncase")) {
  EXPECT_EQ(CVD_SetLocalePKC(locale), 0);
  EXPECT_EQ(CVD_PKC_SetOption("dncase", dncase), 0);
}

Options::~Options() {
  CVD_SetLocalePKC(locale_.c_str());
  CVD_PKC_SetOption("dncase", dncase_.c_str());
}

}  // namespace corvid::test
