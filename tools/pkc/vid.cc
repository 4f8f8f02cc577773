// `pkc vid`: computes, verifies and shows Korean identity-verification values (VID). The
// identification number and the random value are secrets, and stay in memory that is cleared.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "escape.h"
#include "given_certificate.h"
#include "input.h"
#include "output.h"
#include "problem.h"
#include "refusals.h"
#include "report.h"
#include "secret.h"
#include "verb.h"

namespace corvid::tool {
namespace {

constexpr size_t kMostSecret = 1U << 16;  // octets
constexpr size_t kShortestRandom = 20;    // octets that the scheme asks for
constexpr const char* kNumber = "identification number";
constexpr const char* kRandom = "random value";

struct Hash {
  const char* name;
  int32_t hashID;
};
constexpr Hash kHashes[] = {{"SHA1", CVD_HASH_SHA1},
                            {"SHA256", CVD_HASH_SHA256},
                            {"SHA384", CVD_HASH_SHA384},
                            {"SHA512", CVD_HASH_SHA512}};

struct Options {
  std::string number_file;
  std::string random_file;
  bool random_hex = false;
  std::string hash = "SHA256";
  std::vector<std::string> certificates;
  bool json = false;
};

// ---- secrets -------------------------------------------------------------------------------

struct Secrets {
  Secret number;  // of the person, as text
  Secret random;
};

bool ReadSecret(const std::string& path, const char* name, std::string_view question,
                Secret* secret, Refusals* refusals) {
  const int error = path.empty() ? AskSecret(question, secret) : ReadAll(path, kMostSecret, secret);
  if (error == 0) return true;
  const std::string reason = std::generic_category().message(error);
  if (path.empty()) {
    refusals->Add(name, "", "cannot be asked for on the terminal: " + reason, kExitInput);
  } else {
    refusals->Add(path, "", reason, kExitInput);
  }
  return false;
}

bool DecodeRandom(Secret* random) {
  constexpr std::string_view kBlanks = " \t\r\n";
  std::string_view digits = random->view();
  const size_t first = std::min(digits.find_first_not_of(kBlanks), digits.size());
  digits = digits.substr(first, digits.find_last_not_of(kBlanks) + 1 - first);
  Secret octets;
  if (!DecodeHex(digits, &octets)) return false;
  *random = std::move(octets);
  return true;
}

// Octets that the scheme refuses are refused here, with a reason that says which secret it was.
bool ReadSecrets(const Options& options, Secrets* secrets, Refusals* refusals) {
  if (options.number_file == "-" && options.random_file == "-") {
    refusals->Add("-", "", "can be one of the two files only");
    return false;
  }
  if (!ReadSecret(options.number_file, kNumber, "Identification number: ", &secrets->number,
                  refusals) ||
      !ReadSecret(options.random_file, kRandom, "Random value, in hexadecimal: ", &secrets->random,
                  refusals)) {
    return false;
  }
  secrets->number.DropLineEnd();
  if (secrets->number.view().find('\0') != std::string_view::npos) {
    refusals->Add(kNumber, "", "holds a NUL");
  }
  if ((options.random_hex || options.random_file.empty()) && !DecodeRandom(&secrets->random)) {
    refusals->Add(kRandom, "", "is not hexadecimal");
  } else if (secrets->random.view().size() < kShortestRandom) {
    refusals->Add(kRandom, "", "has fewer than 20 octets");
  }
  return refusals->empty();
}

// ---- compute and verify --------------------------------------------------------------------

int RunCompute(const Options& options) {
  Secrets secrets;
  Refusals refusals;
  if (!ReadSecrets(options, &secrets, &refusals)) return refusals.Tell();
  const auto* hash = std::find_if(std::begin(kHashes), std::end(kHashes),
                                  [&](const Hash& row) { return row.name == options.hash; });
  pkc::Bin vid;
  const BIN random = secrets.random.octets().bin();
  const pkc::Status status =
      CVD_PKC_ComputeVID(vid.out(), hash->hashID, secrets.number.text(), &random);
  if (!status.ok()) {
    refusals.Add(kNumber, "", status);
    return refusals.Tell();
  }
  std::string text;
  AppendHex(vid.octets(), &text);
  return Print(text + '\n', kExitGood);
}

struct CarriedVid {
  int32_t hashID = 0;
  pkc::Bin octets;
};

bool ReadVid(const std::string& path, CarriedVid* vid, Refusals* refusals) {
  pkc::Certificate certificate;
  if (!ReadOneCertificate(path, &certificate, refusals)) return false;
  char name[2];  // of no interest here
  uint32_t size = sizeof name;
  const pkc::Status status =
      CVD_PKC_GetVIDInfo(name, &size, &vid->hashID, vid->octets.out(), &*certificate);
  if (!status.ok()) {
    refusals->Add(path, "", status, kExitInput);
  } else if (vid->octets.octets().empty()) {
    refusals->Add(path, "", pkc::Status(PKC_ERR_NO_VIDINFO), kExitInput);
  } else if (std::none_of(std::begin(kHashes), std::end(kHashes),
                          [&](const Hash& row) { return row.hashID == vid->hashID; })) {
    refusals->Add(path, "hashAlg", pkc::Status(PKC_ERR_UNKNOWN_HASHID), kExitInput);
  }
  return refusals->empty();
}

int RunVerify(const Options& options) {
  CarriedVid vid;
  Secrets secrets;
  Refusals refusals;
  if (!ReadVid(options.certificates.front(), &vid, &refusals) ||
      !ReadSecrets(options, &secrets, &refusals)) {
    return refusals.Tell();
  }
  const BIN random = secrets.random.octets().bin();
  const pkc::Status status =
      CVD_PKC_VerifyVID(&vid.octets.get(), vid.hashID, secrets.number.text(), &random);
  if (status.ok()) return Print("yes\n", kExitGood);
  if (status.code() == PKC_ERR_INVALID_VID) {
    return Print("no: " + std::to_string(status.code()) + ' ' + ReasonOf(status) + '\n', kExitNo);
  }
  refusals.Add(kNumber, "", status);
  return refusals.Tell();
}

// ---- show ----------------------------------------------------------------------------------

class Show {
 public:
  explicit Show(const Options& options) : options_(options), colour_(ColourOfOutput()) {
    errors_.List(nullptr, nullptr);
  }

  int Run() {
    Finder finder([this](std::string_view input, uint32_t number,
                         pkc::Octets der) { return OnCertificate(input, number, der); },
                  [this](const Problem& problem) { return OnProblem(problem); });
    if (options_.json) out_.Write("{\n  \"schema\": \"corvid.vids/1\",\n  \"certificates\": [");
    finder.Read(options_.certificates, false);
    if (options_.json) Close();
    if (out_.Flush()) return exit_;
    TellOutputFailure(out_.error());
    return kExitSystem;
  }

 private:
  bool OnCertificate(std::string_view input, uint32_t number, pkc::Octets der) {
    pkc::Certificate certificate;
    if (const pkc::Status status = certificate.Decode(der); !status.ok()) {
      return OnProblem(Undecoded(input, number, der, status));
    }
    // The texts are no longer than what they come from.
    std::vector<char> name(der.size() + 1);
    std::vector<char> vid(2 * der.size() + 1);
    char hash[16] = "";
    const pkc::Status status = CVD_GetVID(name.data(), static_cast<uint32_t>(name.size()),
                                          vid.data(), static_cast<uint32_t>(vid.size()), hash,
                                          sizeof hash, certificate->tbsCertificate.extensions);
    if (status.ok()) Write(input, number, {name.data(), hash, vid.data()});
    if (status.ok() && vid.front() != '\0') return true;
    Problem problem;
    problem.input = input;
    problem.certificate = number;
    problem.code = status.ok() ? uint32_t{PKC_ERR_NO_VIDINFO} : status.code();
    if (certificate->tbsCertificate.extensions == nullptr) problem.code = PKC_ERR_NO_EXTENSION;
    problem.reason = ReasonOf(problem.code);
    return OnProblem(problem);
  }

  struct Texts {
    std::string_view name;
    std::string_view hash;
    std::string_view vid;
  };
  void Write(std::string_view input, uint32_t number, const Texts& texts) {
    report_.Clear();
    report_.Object(nullptr, nullptr);
    report_.Text("input", nullptr, input);
    report_.Number("certificate", nullptr, number);
    report_.Text("holderName", "Name", texts.name);
    if (!texts.vid.empty()) {
      report_.Rendered("hash", "VID hash", {texts.hash});
      report_.Rendered("vid", "VID", {texts.vid});
    }
    report_.End();
    std::string text;
    if (options_.json) {
      text = shown_ == 0 ? "\n    " : ",\n    ";
      AppendJson(report_, Layout::kIndented, 2, &text);
    } else {
      if (shown_ > 0) text = "\n";
      AppendHeading(std::string(input) + ": certificate " + std::to_string(number), colour_, &text);
      AppendText(report_, colour_, &text);
    }
    ++shown_;
    out_.Write(text);
  }

  bool OnProblem(const Problem& problem) {
    exit_ = std::max<int>(exit_, problem.exit());
    out_.Flush();
    messages_.Write("pkc: " + Message(problem) + '\n');
    messages_.Flush();
    if (options_.json) Describe(problem, &errors_);
    return out_.error() == 0;
  }

  void Close() {
    std::string text = shown_ == 0 ? "],\n  \"errors\": " : "\n  ],\n  \"errors\": ";
    errors_.End();
    AppendJson(errors_, Layout::kIndented, 1, &text);
    out_.Write(text + "\n}\n");
  }

  const Options& options_;
  Colour colour_;
  Output out_{STDOUT_FILENO};
  Output messages_{STDERR_FILENO};
  Report report_;
  Report errors_;
  size_t shown_ = 0;
  int exit_ = kExitGood;
};

// ---- the command line ----------------------------------------------------------------------

using Run = int (*)(const Options& options);

CLI::App* AddTask(CLI::App* vid, const char* name, const char* description, Run task,
                  const std::shared_ptr<Options>& options, std::function<int()>* run) {
  CLI::App* app = vid->add_subcommand(name, description);
  app->callback([task, options, run] {
    *run = [task, options] {
      CVD_PKC_SetOption("locale", FindCharset("utf-8"));
      return task(*options);
    };
  });
  return app;
}

void AddSecrets(CLI::App* app, Options* options) {
  app->add_option("--idn-file", options->number_file,
                  "Holds the identification number; asked for when it is left out")
      ->type_name("FILE");
  CLI::Option* random =
      app->add_option("--random-file", options->random_file,
                      "Holds the random value; asked for, in hexadecimal, when it is left out")
          ->type_name("FILE");
  app->add_flag("--random-hex", options->random_hex, "The random value's file is hexadecimal text")
      ->needs(random);
}

}  // namespace

void AddVid(CLI::App* app, std::function<int()>* run) {
  const auto options = std::make_shared<Options>();
  CLI::App* vid = app->add_subcommand("vid", "Compute, verify and show identity values (VID)");
  vid->require_subcommand(1);
  vid->footer(
      "Secrets come from files (- for standard input, for one of them) or are asked for on the\n"
      "terminal; they are no arguments, which others could see.\n"
      "Exit status: 0 all well, or yes; 1 no; 2 wrong usage or secret; 3 an input could not be\n"
      "read, or holds no VID; 4 no memory, or the output failed.");
  CLI::App* compute = AddTask(vid, "compute", "Print the VID of a number and a random value",
                              RunCompute, options, run);
  AddSecrets(compute, options.get());
  std::vector<std::string> names;
  for (const Hash& hash : kHashes) names.emplace_back(hash.name);
  compute->add_option("--hash", options->hash, "Hash algorithm; requests of pkc issue take SHA1")
      ->capture_default_str()
      ->transform(CLI::IsMember(names, CLI::ignore_case));
  CLI::App* verify = AddTask(vid, "verify", "Say whether a certificate's VID is that of a number",
                             RunVerify, options, run);
  verify->add_option("CERT", options->certificates, "The certificate")->required()->expected(1);
  AddSecrets(verify, options.get());
  CLI::App* show = AddTask(
      vid, "show", "Show the holders' names and VIDs that certificates carry",
      [](const Options& given) { return Show(given).Run(); }, options, run);
  show->add_option("CERT", options->certificates, "Certificates, - for standard input")->required();
  show->add_flag("--json", options->json, "Write one JSON document");
}

}  // namespace corvid::tool
