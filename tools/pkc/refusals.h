// What stands against doing what was asked, collected so that it is told all at once, before
// anything is done.
#ifndef CORVID_TOOLS_PKC_REFUSALS_H_
#define CORVID_TOOLS_PKC_REFUSALS_H_

#include <string>
#include <string_view>
#include <vector>

#include "corvid/pkc.hpp"
#include "problem.h"

namespace corvid::tool {

class Refusals {
 public:
  // `input` is what the user named, `key` what is wrong in it ("" for all of it). The status is the
  // exit of the command: kExitUsage for what was asked, kExitInput for what cannot be read.
  void Add(std::string_view input, std::string_view key, std::string reason,
           Exit exit = kExitUsage);
  void Add(std::string_view input, std::string_view key, pkc::Status status,
           Exit exit = kExitUsage);
  void Add(Problem problem, Exit exit = kExitUsage);

  bool empty() const { return problems_.empty(); }
  const std::vector<Problem>& problems() const { return problems_; }
  // Writes a message each to standard error, and answers the exit status.
  int Tell() const;

 private:
  std::vector<Problem> problems_;
  int exit_ = kExitGood;
};

// One line on standard error that changes no exit status: "pkc: warning: INPUT: KEY: ...".
void TellAside(const char* kind, const Problem& problem);

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_REFUSALS_H_
