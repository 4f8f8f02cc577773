// Reading one certificate.
#include "given_certificate.h"

#include "input.h"

namespace corvid::tool {

bool ReadOneDer(const std::string& path, const char* key, std::string* der, Refusals* refusals) {
  uint64_t found = 0;
  bool good = true;
  Finder finder(
      [&](std::string_view, uint64_t number, pkc::Octets octets) {
        found = number;
        if (number == 1) *der = octets.text();
        return number < 2;
      },
      [&](Problem problem) {
        problem.path = key;
        refusals->Add(std::move(problem), kExitInput);
        good = false;
        return false;
      });
  finder.Read({path}, false);
  if (good && found > 1) refusals->Add(path, key, "holds more than one certificate");
  return good && found == 1;
}

bool ReadOneCertificate(const std::string& path, pkc::Certificate* certificate,
                        Refusals* refusals) {
  std::string der;
  if (!ReadOneDer(path, "", &der, refusals)) return false;
  const pkc::Status status = certificate->Decode(pkc::Octets(der));
  if (!status.ok()) refusals->Add(Undecoded(path, 1, pkc::Octets(der), status), kExitInput);
  return status.ok();
}

}  // namespace corvid::tool
