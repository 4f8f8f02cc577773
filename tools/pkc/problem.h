// What went wrong with an input, a certificate or a field of one, and the exit statuses.
#ifndef CORVID_TOOLS_PKC_PROBLEM_H_
#define CORVID_TOOLS_PKC_PROBLEM_H_

#include <cstdint>
#include <string>
#include <string_view>

#include "corvid/pkc.hpp"
#include "report.h"

namespace corvid::tool {

// Exit statuses; of several the highest wins.
enum Exit : int {
  kExitGood = 0,
  kExitNo = 1,      // an answer is no
  kExitUsage = 2,   // nothing was done
  kExitInput = 3,   // some input, or a field of it, could not be read
  kExitSystem = 4,  // no memory, or the output failed
};

struct Problem {
  std::string input;         // as the user named it
  uint64_t certificate = 0;  // its number in the input; 0: the whole input
  uint64_t line = 0;         // of a text input; 0: does not apply
  int64_t offset = -1;       // octets into the certificate's DER; -1: does not apply
  std::string path;          // the field
  uint32_t code = 0;         // 0: the reason says all
  std::string reason;

  Exit exit() const;
};

// "a.pem: certificate 2".
std::string Place(std::string_view input, uint64_t number);
// "a.pem: certificate 2: octet 7 (tbsCertificate.version): 1012 another element ...", safe to show.
std::string Message(const Problem& problem);
// The same as an object.
void Describe(const Problem& problem, Report* report);

// Why DER that stands in a certificate's place is none. What is no certificate may be some other
// well-known thing, which says more than where decoding stopped; of an input's first piece it is
// said of the whole input.
Problem Undecoded(std::string_view input, uint64_t number, pkc::Octets der, pkc::Status status);

// The reason of a code; codes without one are refusals.
std::string ReasonOf(pkc::Status status);

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_PROBLEM_H_
