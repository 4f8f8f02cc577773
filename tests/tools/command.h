// Runs the command as its users do: arguments and standard input in, exit status and both outputs
// back; and makes the files that it reads.
#ifndef CORVID_TESTS_TOOLS_COMMAND_H_
#define CORVID_TESTS_TOOLS_COMMAND_H_

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/support.h"

namespace corvid::test {

struct Result {
  int exit;  // 128 and the signal's number when one ended the command
  std::string out;
  std::string err;
};
// `output` is the path that standard output goes to; "" for `Result::out`, "closed" for nowhere.
Result RunCommand(const std::vector<std::string>& arguments, const std::string& input = "",
                  const std::string& output = "");

}  // namespace corvid::test

#endif  // CORVID_TESTS_TOOLS_COMMAND_H_
