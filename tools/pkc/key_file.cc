// Loading the signing key.
#include "key_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "secret.h"

namespace corvid::tool {
namespace {

constexpr size_t kMostKey = 1U << 20;         // octets
constexpr size_t kMostPassphrase = 1U << 12;  // octets

std::string ErrorText(int error) { return std::generic_category().message(error); }

// Empty when only this user, or the system, can read or change the file.
std::string Exposure(int descriptor) {
  struct stat status {};
  if (fstat(descriptor, &status) != 0) return ErrorText(errno);
  if (status.st_uid != geteuid() && status.st_uid != 0) return "belongs to another user";
  constexpr mode_t kOthers = S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;
  return (status.st_mode & kOthers) != 0 ? "can be read or written by other users" : "";
}

bool ReadKey(const KeyFile& file, Secret* encoding, Refusals* refusals) {
  const int descriptor = open(file.path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
  if (descriptor < 0) {
    refusals->Add(file.path, "", ErrorText(errno), kExitInput);
    return false;
  }
  const std::string exposure = file.allow_exposed ? "" : Exposure(descriptor);
  const int error = exposure.empty() ? ReadAll(descriptor, kMostKey, encoding) : 0;
  close(descriptor);
  if (!exposure.empty()) {
    refusals->Add(file.path, "", exposure + "; --allow-exposed-key takes it all the same");
  }
  if (error != 0) refusals->Add(file.path, "", ErrorText(error), kExitInput);
  return exposure.empty() && error == 0;
}

bool ReadPassphrase(const KeyFile& file, Secret* passphrase, Refusals* refusals) {
  const bool asked = file.passphrase_path.empty();
  const int error = asked ? AskSecret("Passphrase of " + file.path + ": ", passphrase)
                          : ReadAll(file.passphrase_path, kMostPassphrase, passphrase);
  if (error != 0 && asked) {
    refusals->Add(file.path, "",
                  "needs a passphrase, which cannot be asked for on the terminal: " +
                      ErrorText(error) + "; --passphrase-file names a file",
                  kExitInput);
  } else if (error != 0) {
    refusals->Add(file.passphrase_path, "", ErrorText(error), kExitInput);
  }
  passphrase->DropLineEnd();
  return error == 0;
}

}  // namespace

bool LoadSigningKey(const KeyFile& file, SigningKey* key, Refusals* refusals) {
  Secret encoding;
  if (!ReadKey(file, &encoding, refusals)) return false;
  pkc::Status status = key->key.Load(encoding.octets(), nullptr);
  if (status.code() == CVD_CSP_ERR_PASSPHRASE) {
    Secret passphrase;
    if (!ReadPassphrase(file, &passphrase, refusals)) return false;
    status = key->key.Load(encoding.octets(), passphrase.text());
  }
  pkc::Bin parameters;
  pkc::Bin octets;
  if (status.ok()) {
    status = pkc::PublicKeyOf(key->key, &key->public_key.pkeyID, &parameters, &octets);
  }
  if (!status.ok()) refusals->Add(file.path, "", status);
  key->public_key.parameters = parameters.octets().text();
  key->public_key.octets = octets.octets().text();
  return status.ok();
}

}  // namespace corvid::tool
