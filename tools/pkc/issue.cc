// `pkc issue`: reads a request, an issuer and a key, refuses what should not be signed, and writes
// the certificate once it has passed its checks.
#include <sys/random.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <ctime>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <system_error>
#include <utility>

#include "given_certificate.h"
#include "issue_request.h"
#include "issuing.h"
#include "key_file.h"
#include "new_file.h"
#include "output.h"
#include "refusals.h"
#include "report.h"
#include "reporter.h"
#include "request_checks.h"
#include "secret.h"
#include "subject_key.h"
#include "verb.h"

namespace corvid::tool {
namespace {

constexpr size_t kMostRequest = 1U << 20;  // octets

struct Options {
  std::string request;
  std::string issuer;
  KeyFile key;
  std::string output;
  bool pem = false;
  bool force = false;
  bool dry_run = false;
};

std::string ErrorText(int error) { return std::generic_category().message(error); }

std::string Pem(pkc::Octets der) {
  constexpr size_t kLine = 64;  // RFC 7468 section 2
  pkc::Text base64;
  if (!pkc::EncodeBase64(der, &base64).ok()) throw std::bad_alloc();
  std::string pem = "-----BEGIN CERTIFICATE-----\n";
  for (std::string_view rest = base64.view(); !rest.empty();) {
    pem += rest.substr(0, kLine);
    pem += '\n';
    rest.remove_prefix(std::min(kLine, rest.size()));
  }
  return pem + "-----END CERTIFICATE-----\n";
}

class IssueVerb {
 public:
  explicit IssueVerb(const Options& options) : options_(options), now_(std::time(nullptr)) {}

  // Whatever can be refused is, before a passphrase is asked for, and all of it at once.
  int Run() {
    if (options_.request == "-" && options_.key.passphrase_path == "-") {
      refusals_.Add("-", "", "can be the request or the passphrase, not both");
    }
    CheckOutput();
    if (!ReadTheRequest()) return refusals_.Tell();
    CheckRequest(request_, options_.request, &refusals_);
    ReadTheSubjectKey();
    ReadTheIssuer();
    if (!refusals_.empty()) return refusals_.Tell();
    if (LoadSigningKey(options_.key, &signer_, &refusals_)) CheckKeys();
    if (!refusals_.empty()) return refusals_.Tell();
    if (request_.serial_number == 0 && !ChooseSerialNumber()) return refusals_.Tell();
    const Issuance issuance{request_, subject_key_, signer_,
                            request_.self_signed ? nullptr : &*issuer_};
    if (!Issue(issuance, options_.request, &der_, &refusals_)) return refusals_.Tell();
    return options_.dry_run ? Show() : Write();
  }

 private:
  // ---- what is read ------------------------------------------------------------------------

  Existing existing() const { return options_.force ? Existing::kReplace : Existing::kRefuse; }

  void CheckOutput() {
    if (options_.output.empty()) return;
    const int error = FindObstacle(options_.output, existing());
    if (error != 0) RefuseOutput(error);
  }

  void RefuseOutput(int error) {
    if (error != EEXIST) {
      return refusals_.Add(options_.output, "", ErrorText(error), kExitSystem);
    }
    refusals_.Add(options_.output, "",
                  options_.force ? "is no regular file" : "exists; --force replaces it");
  }

  bool ReadTheRequest() {
    Secret text;
    const int error = ReadAll(options_.request, kMostRequest, &text);
    if (error != 0) refusals_.Add(options_.request, "", ErrorText(error), kExitInput);
    if (error != 0) return false;
    return ReadRequest(text.view(), options_.request, now_, &request_, &refusals_);
  }

  // A path in a request begins where the request lies.
  void ReadTheSubjectKey() {
    if (request_.key_der) {
      DecodeSubjectKey(pkc::Octets(*request_.key_der), options_.request, "publicKey.der",
                       &subject_key_, &refusals_);
    } else if (request_.key_file) {
      const std::string& path = *request_.key_file;
      const size_t slash = options_.request.rfind('/');
      const bool beside = !path.empty() && path.front() != '/' && slash != std::string::npos;
      ReadSubjectKey(beside ? options_.request.substr(0, slash + 1) + path : path, &subject_key_,
                     &refusals_);
    }
  }

  void ReadTheIssuer() {
    if (request_.self_signed && !options_.issuer.empty()) {
      return refusals_.Add(options_.request, "selfSigned", "leaves no place for --issuer");
    }
    if (request_.self_signed) return;
    if (options_.issuer.empty()) {
      return refusals_.Add(options_.request, "",
                           "needs --issuer, or must say that it is selfSigned");
    }
    if (ReadOneCertificate(options_.issuer, &issuer_, &refusals_)) {
      CheckIssuer(*issuer_, request_, options_.issuer, now_, &refusals_);
    }
  }

  // ---- what is compared --------------------------------------------------------------------

  bool HasSubjectKey() const { return request_.key_der || request_.key_file; }

  void CheckKeys() {
    if (!request_.self_signed) {
      CheckIssuerKey();
    } else if (!HasSubjectKey()) {
      subject_key_ = signer_.public_key;
    } else if (!(subject_key_ == signer_.public_key)) {
      refusals_.Add(options_.request, "publicKey",
                    "is not the signing key's, as a self-signed certificate has it");
    }
    const int32_t pkeyID = signer_.public_key.pkeyID;
    if (request_.signID == 0) request_.signID = DefaultSignature(pkeyID);
    if (DefaultSignature(pkeyID) == 0 || KeyOfSignature(request_.signID) != pkeyID) {
      refusals_.Add(options_.request, "signature",
                    "cannot be made with the key of " + options_.key.path);
    }
  }

  void CheckIssuerKey() {
    SubjectKey of_issuer;
    if (!MakeSubjectKey(issuer_->tbsCertificate.subjectPublicKeyInfo, options_.issuer, "publicKey",
                        &of_issuer, &refusals_)) {
      return;
    }
    if (!(of_issuer == signer_.public_key)) {
      refusals_.Add(options_.key.path, "",
                    "the key does not belong to the issuer certificate " + options_.issuer);
    }
  }

  bool ChooseSerialNumber() {
    while (request_.serial_number == 0) {
      const ssize_t count = getrandom(&request_.serial_number, sizeof request_.serial_number, 0);
      if (count == sizeof request_.serial_number) continue;
      refusals_.Add(options_.request, "serialNumber", ErrorText(errno), kExitSystem);
      return false;
    }
    return true;
  }

  // ---- what is written ---------------------------------------------------------------------

  int Show() {
    const Colour colour = ColourOfOutput();
    Reporter reporter(false);
    std::string text;
    if (reporter.Read({options_.request, 1}, der_.octets())) {
      AppendHeading(options_.request + ": the certificate", colour, &text);
      AppendText(reporter.report(), colour, &text);
    }
    return Print(text + "\nNothing was written.\n", kExitGood);
  }

  int Write() {
    if (options_.output.empty()) return Print(Pem(der_.octets()), kExitGood);
    const std::string content =
        options_.pem ? Pem(der_.octets()) : std::string(der_.octets().text());
    const int error = WriteNewFile(options_.output, content, existing());
    if (error != 0) RefuseOutput(error);
    return refusals_.empty() ? kExitGood : refusals_.Tell();
  }

  const Options& options_;
  int64_t now_;
  Refusals refusals_;
  IssueRequest request_;
  SubjectKey subject_key_;
  SigningKey signer_;
  pkc::Certificate issuer_;
  pkc::Bin der_;
};

int RunIssue(const Options& options) {
  CVD_PKC_SetOption("locale", FindCharset("utf-8"));
  return IssueVerb(options).Run();
}

}  // namespace

void AddIssue(CLI::App* app, std::function<int()>* run) {
  const auto options = std::make_shared<Options>();
  CLI::App* issue = app->add_subcommand("issue", "Issue the certificate of a request");
  issue->footer(
      "pkc-issue(1) describes requests; pkc show --as-request makes one of a certificate.\n"
      "The certificate is checked with the issuer's key before it is written.\n"
      "Exit status: 0 it was issued; 2 wrong usage, or the request, the issuer, the key or the\n"
      "output is refused; 3 an input could not be read; 4 no memory, or the output failed.");
  issue->add_option("REQUEST", options->request, "The request, JSON; - for standard input")
      ->required();
  issue->add_option("--issuer", options->issuer, "The issuer's certificate")->type_name("CERT");
  issue->add_option("--key", options->key.path, "The private key that signs")
      ->required()
      ->type_name("FILE");
  issue
      ->add_option("--passphrase-file", options->key.passphrase_path,
                   "Holds the key's passphrase; asked for when it is left out")
      ->type_name("FILE");
  issue->add_flag("--allow-exposed-key", options->key.allow_exposed,
                  "Take a private key that other users own or can read");
  CLI::Option* output =
      issue->add_option("-o,--output", options->output, "Where to write; PEM to standard output")
          ->type_name("FILE");
  issue->add_flag("--pem", options->pem, "Write PEM, not DER");
  issue->add_flag("--force", options->force, "Replace an existing file")->needs(output);
  issue->add_flag("--dry-run", options->dry_run, "Show what would be written; write nothing");
  issue->callback([options, run] { *run = [options] { return RunIssue(*options); }; });
}

}  // namespace corvid::tool
