// Finds certificates: in files, pipes, folders and standard input, as DER, PEM or base64 lines.
#ifndef CORVID_TOOLS_PKC_INPUT_H_
#define CORVID_TOOLS_PKC_INPUT_H_

#include <sys/types.h>

#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "corvid/pkc.hpp"
#include "problem.h"

namespace corvid::tool {

// What an input holds, in order: certificates and what stands in a certificate's place. Returns
// false to stop.
class Finder {
 public:
  using OnCertificate = std::function<bool(std::string_view input, uint32_t number, pkc::Octets)>;
  using OnProblem = std::function<bool(const Problem&)>;

  Finder(OnCertificate on_certificate, OnProblem on_problem)
      : on_certificate_(std::move(on_certificate)), on_problem_(std::move(on_problem)) {}

  // Reads each path ("-": standard input), folders' files in the order of their names when
  // `recursive`. What cannot be read is a problem, and the rest goes on.
  void Read(const std::vector<std::string>& paths, bool recursive);
  // The certificates in octets that are at hand.
  bool Search(const std::string& input, pkc::Octets octets);

 private:
  bool ReadPath(const std::string& path, bool recursive);
  bool ReadFolder(const std::string& path);
  bool ReadRegular(const std::string& path);
  bool ReadStream(const std::string& path, int descriptor);

  bool SearchPem(std::string_view text);
  bool SearchBase64(std::string_view text);
  bool FoundBase64(std::string_view body, uint32_t line, bool trusted);
  bool Broken(std::string reason, uint32_t line = 0, bool counts = false);
  bool Broken(pkc::Status status);

  OnCertificate on_certificate_;
  OnProblem on_problem_;
  std::set<std::pair<dev_t, ino_t>> folders_;  // that were read for the path at hand
  std::string input_;                          // the one at hand
  uint32_t number_ = 0;                        // of its certificates so far
  std::string base64_;
};

// "a PKCS #12 store" for DER that is some other well-known kind of file, else null.
const char* NameForeignDer(pkc::Octets der);
// Why something given as a certificate is none: the decoder's status and place, or what it is.
Problem Undecoded(std::string_view input, uint32_t number, pkc::Octets der, pkc::Status status);

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_INPUT_H_
