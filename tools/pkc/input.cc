// Reading inputs and finding the certificates in them. Nothing here stops at a bad input.
#include "input.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <system_error>
#include <utility>

#include "der.h"

namespace corvid::tool {
namespace {

// ---- files that are something else ---------------------------------------------------------

// A shape: '(' enters a SEQUENCE, other letters pass one element.
struct Shape {
  const char* name;
  std::string_view pattern;
};
struct ShapeLetter {
  char letter;
  uint8_t tag;
};
constexpr ShapeLetter kLetters[] = {
    {'i', kTagInteger},  {'b', kTagBitString}, {'o', kTagOid}, {'x', kTagOctetString},
    {'s', kTagSequence}, {'u', 0x17},          {'g', 0x18},    {'a', 0xA0}};
constexpr Shape kShapes[] = {
    {"a PKCS #12 store", "(i(oa"},
    {"a PKCS #7 message", "(oa"},
    {"a certificate request", "((is(sb"},
    {"a certificate revocation list", "((issu"},
    {"a certificate revocation list", "((issg"},
    {"a certificate revocation list", "((ssu"},
    {"a certificate revocation list", "((ssg"},
    {"a private key", "(isx"},
    {"a private key", "(iiiiiiii"},
    {"a private key", "(ix"},
    {"an encrypted private key", "(sx"},
    {"a public key", "(sb"},
};

// PEM labels (RFC 7468) that stand for something else.
struct Label {
  std::string_view label;
  const char* name;
};
constexpr Label kForeignLabels[] = {
    {"PRIVATE KEY", "a private key"},
    {"RSA PRIVATE KEY", "a private key"},
    {"DSA PRIVATE KEY", "a private key"},
    {"EC PRIVATE KEY", "a private key"},
    {"ENCRYPTED PRIVATE KEY", "an encrypted private key"},
    {"PUBLIC KEY", "a public key"},
    {"CERTIFICATE REQUEST", "a certificate request"},
    {"NEW CERTIFICATE REQUEST", "a certificate request"},
    {"PKCS7", "a PKCS #7 message"},
    {"CMS", "a CMS message"},
    {"X509 CRL", "a certificate revocation list"},
    {"EC PARAMETERS", "key parameters"},
    {"DH PARAMETERS", "key parameters"},
};
constexpr std::string_view kCertificateLabels[] = {"CERTIFICATE", "X509 CERTIFICATE",
                                                   "TRUSTED CERTIFICATE"};
constexpr std::string_view kTrustedLabel = "TRUSTED CERTIFICATE";

// ---- text ----------------------------------------------------------------------------------

constexpr std::string_view kBegin = "-----BEGIN ";
constexpr std::string_view kEnd = "-----END ";
constexpr std::string_view kDashes = "-----";
constexpr size_t kLongestWrapped = 76;  // RFC 2045 section 6.8
constexpr size_t kShortestBase64 = 16;

std::string_view Trim(std::string_view line) {
  constexpr std::string_view kBlanks = " \t\r\n";
  const size_t first = line.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return line.substr(first, line.find_last_not_of(kBlanks) - first + 1);
}

// Takes lines off a text, and counts them.
struct Lines {
  std::string_view rest;
  uint32_t number = 0;

  bool Next(std::string_view* line) {
    if (rest.empty()) return false;
    const size_t end = std::min(rest.find('\n'), rest.size());
    *line = Trim(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
    ++number;
    return true;
  }
};

// The label of a line that begins or ends a PEM block; empty for another line.
std::string_view LabelOf(std::string_view line, std::string_view prefix) {
  if (line.substr(0, prefix.size()) != prefix || line.size() < prefix.size() + kDashes.size()) {
    return {};
  }
  if (line.substr(line.size() - kDashes.size()) != kDashes) return {};
  return line.substr(prefix.size(), line.size() - prefix.size() - kDashes.size());
}

bool IsBase64(std::string_view line) {
  return std::all_of(line.begin(), line.end(), [](char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' ||
           c == '/' || c == '=';
  });
}

// A long-form SEQUENCE, which every certificate is, begins with "MI" in base64.
bool BeginsCertificate(std::string_view line) {
  return line.size() >= kShortestBase64 && line.substr(0, 2) == "MI" && IsBase64(line);
}

// The characters of base64 that the SEQUENCE begun by `base64` takes; 0 when its header is no such.
size_t CertificateLength(std::string_view base64) {
  pkc::Bin header;
  if (base64.size() < 8) return 0;
  if (!pkc::DecodeBase64(std::string(base64.substr(0, 8)).c_str(), &header).ok()) return 0;
  const pkc::Octets octets = header.octets();
  const size_t count = octets[1] & 0x7FU;
  if (octets[0] != kTagSequence || octets[1] < 0x80 || count > 4) return 0;
  size_t length = 0;
  for (size_t i = 0; i < count; ++i) length = length << 8 | octets[2 + i];
  return (2 + count + length + 2) / 3 * 4;
}

bool HoldsBase64(std::string_view text) {
  Lines lines{text};
  for (std::string_view line; lines.Next(&line);) {
    if (BeginsCertificate(line)) return true;
  }
  return false;
}

bool IsText(std::string_view octets) {
  return std::none_of(octets.begin(), octets.end(), [](char c) {
    const auto octet = static_cast<uint8_t>(c);
    return octet < 0x20 && octet != '\t' && octet != '\n' && octet != '\r' && octet != '\f';
  });
}

std::string ErrorText() { return std::generic_category().message(errno); }

bool Matches(pkc::Octets octets, std::string_view pattern) {
  DerReader reader(octets);
  for (const char letter : pattern) {
    Element element;
    if (letter == '(') {
      if (!reader.Next(kTagSequence, &element)) return false;
      reader = DerReader(element.content);
      continue;
    }
    const auto* row = std::find_if(std::begin(kLetters), std::end(kLetters),
                                   [letter](const ShapeLetter& l) { return l.letter == letter; });
    if (row == std::end(kLetters) || !reader.Next(row->tag, &element)) return false;
  }
  return true;
}

}  // namespace

const char* NameForeignDer(pkc::Octets der) {
  for (const Shape& shape : kShapes) {
    if (Matches(der, shape.pattern)) return shape.name;
  }
  return nullptr;
}

Problem Undecoded(std::string_view input, uint32_t number, pkc::Octets der, pkc::Status status) {
  const CVD_ASNFailure failure = pkc::DecodeFailure(status);
  const Problem problem{std::string(input), number,          0, failure.offset, failure.path,
                        status.code(),      ReasonOf(status)};
  const char* foreign = problem.exit() == kExitInput ? NameForeignDer(der) : nullptr;
  if (foreign == nullptr) return problem;
  Problem other;
  other.input = input;
  other.reason = std::string("is ") + foreign + ", not a certificate";
  return other;
}

// ---- files and folders ---------------------------------------------------------------------

void Finder::Read(const std::vector<std::string>& paths, bool recursive) {
  for (const std::string& path : paths) {
    if (!ReadPath(path, recursive)) return;
  }
}

bool Finder::ReadPath(const std::string& path, bool recursive) {
  input_ = path;
  number_ = 0;
  folders_.clear();
  if (path == "-") return ReadStream("-", STDIN_FILENO);
  struct stat status {};
  if (stat(path.c_str(), &status) != 0 || S_ISREG(status.st_mode)) return ReadRegular(path);
  if (S_ISDIR(status.st_mode)) {
    return recursive ? ReadFolder(path) : Broken("is a folder; -r reads folders");
  }
  const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) return Broken(ErrorText());
  const bool go_on = ReadStream(path, descriptor);
  close(descriptor);
  return go_on;
}

// In a folder only files and folders are read: a pipe there could keep everything waiting. A folder
// is read once, so that links lead nowhere twice.
bool Finder::ReadFolder(const std::string& path) {
  input_ = path;
  number_ = 0;
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) return Broken(ErrorText());
  if (!folders_.emplace(status.st_dev, status.st_ino).second) return true;
  DIR* stream = opendir(path.c_str());
  if (stream == nullptr) return Broken(ErrorText());
  std::vector<std::string> names;
  while (const dirent* entry = readdir(stream)) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") names.emplace_back(name);
  }
  closedir(stream);
  std::sort(names.begin(), names.end());

  const std::string prefix = path.back() == '/' ? path : path + '/';
  for (const std::string& name : names) {
    const std::string inner = prefix + name;
    bool go_on = true;
    if (stat(inner.c_str(), &status) != 0 || S_ISREG(status.st_mode)) {
      go_on = ReadRegular(inner);
    } else if (S_ISDIR(status.st_mode)) {
      go_on = ReadFolder(inner);
    }
    if (!go_on) return false;
  }
  return true;
}

bool Finder::ReadRegular(const std::string& path) {
  input_ = path;
  number_ = 0;
  pkc::Bin file;
  if (const pkc::Status status = pkc::ReadFile(path.c_str(), &file); !status.ok()) {
    return Broken(status);
  }
  return Search(path, file.octets());
}

bool Finder::ReadStream(const std::string& path, int descriptor) {
  std::vector<uint8_t> octets;
  for (;;) {
    const size_t size = octets.size();
    octets.resize(size + (size < (1U << 16) ? (1U << 16) : size));
    const ssize_t count = read(descriptor, octets.data() + size, octets.size() - size);
    if (count < 0 && errno != EINTR) return Broken(ErrorText());
    octets.resize(size + (count < 0 ? 0 : static_cast<size_t>(count)));
    if (count == 0) break;
    if (octets.size() > CVD_IO_FILE_LIMIT) return Broken(CVD_IO_ERR_TOO_LARGE);
  }
  return Search(path, {octets.data(), octets.size()});
}

// ---- certificates --------------------------------------------------------------------------

bool Finder::Search(const std::string& input, pkc::Octets octets) {
  input_ = input;
  number_ = 0;
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  std::string_view text = octets.text();
  if (text.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
    text.remove_prefix(kByteOrderMark.size());
  }
  if (Trim(text).empty()) return Broken("is empty");
  // Text never has an octet over 7F in second place after a zero digit.
  const bool binary =
      octets[0] == kTagSequence && octets.size() > 1 && (octets[1] >= 0x80 || !IsText(text));
  if (binary) return on_certificate_(input_, ++number_, octets);
  if (text.find(kBegin) != std::string_view::npos) return SearchPem(text);
  if (HoldsBase64(text)) return SearchBase64(text);
  if (!IsText(text)) return on_certificate_(input_, ++number_, octets);
  return Broken("is text without a certificate");
}

// Text around the blocks, and blocks of other things beside certificates, are passed over.
bool Finder::SearchPem(std::string_view text) {
  Lines lines{text};
  std::string other;
  std::string_view line;
  for (bool more = lines.Next(&line); more;) {
    const std::string_view label = LabelOf(line, kBegin);
    const uint32_t begin = lines.number;
    const bool wanted = std::find(std::begin(kCertificateLabels), std::end(kCertificateLabels),
                                  label) != std::end(kCertificateLabels);
    if (!wanted) {
      if (other.empty()) other = label;
      more = lines.Next(&line);
      continue;
    }
    const char* body = lines.rest.data();
    while ((more = lines.Next(&line)) && line.substr(0, kDashes.size()) != kDashes) {
    }
    if (!more || LabelOf(line, kEnd) != label) {
      if (!Broken("a PEM block without its end", begin, true)) return false;
      continue;  // the line may begin the next block
    }
    const std::string_view end = line;
    if (!FoundBase64({body, static_cast<size_t>(end.data() - body)}, begin,
                     label == kTrustedLabel)) {
      return false;
    }
    more = lines.Next(&line);
  }
  if (number_ > 0) return true;
  const auto* foreign = std::find_if(std::begin(kForeignLabels), std::end(kForeignLabels),
                                     [&](const Label& row) { return row.label == other; });
  if (foreign != std::end(kForeignLabels)) {
    return Broken(std::string("is ") + foreign->name + ", not a certificate");
  }
  return Broken("is PEM without a certificate");
}

// A line that is longer than wrapped base64 may be is a certificate of its own, so that a broken
// one harms no other; shorter ones add up to the length that their certificate's header tells.
bool Finder::SearchBase64(std::string_view text) {
  Lines lines{text};
  std::string wrapped;
  uint32_t begin = 0;
  const auto flush = [&] {
    const std::string body = std::exchange(wrapped, {});
    return body.empty() || FoundBase64(body, begin, false);
  };
  for (std::string_view line; lines.Next(&line);) {
    const bool alone = line.size() > kLongestWrapped;
    const bool good = IsBase64(line);
    if ((alone || !good || line.empty()) && !flush()) return false;
    if (!good && !Broken("a line that is not base64", lines.number)) return false;
    if (!good || line.empty()) continue;
    if (wrapped.empty()) begin = lines.number;
    wrapped += line;
    const size_t length = CertificateLength(wrapped);
    if ((alone || (length != 0 && wrapped.size() >= length)) && !flush()) return false;
  }
  return flush();
}

bool Finder::FoundBase64(std::string_view body, uint32_t line, bool trusted) {
  ++number_;
  base64_ = body;
  pkc::Bin der;
  const pkc::Status status = pkc::DecodeBase64(base64_.c_str(), &der);
  if (!status.ok() || base64_.find('\0') != std::string::npos) {
    Problem problem;
    problem.input = input_;
    problem.certificate = number_;
    problem.line = line;
    problem.code = status.ok() ? uint32_t{CVD_CODEC_ERR_BASE64} : status.code();
    problem.reason = ReasonOf(problem.code);
    return on_problem_(problem);
  }
  Element element;
  // Trust settings follow the certificate in such a block.
  if (trusted && DerReader(der.octets()).Next(&element)) {
    return on_certificate_(input_, number_, element.whole);
  }
  return on_certificate_(input_, number_, der.octets());
}

bool Finder::Broken(std::string reason, uint32_t line, bool counts) {
  Problem problem;
  problem.input = input_;
  if (counts) problem.certificate = ++number_;
  problem.line = line;
  problem.reason = std::move(reason);
  return on_problem_(problem);
}

bool Finder::Broken(pkc::Status status) {
  Problem problem;
  problem.input = input_;
  problem.code = status.code();
  problem.reason = ReasonOf(status);
  return on_problem_(problem);
}

}  // namespace corvid::tool
