// Runs the command as its users do: arguments and standard input in, exit status and both outputs
// back; and makes the files that it reads.
#ifndef CORVID_TESTS_TOOLS_COMMAND_H_
#define CORVID_TESTS_TOOLS_COMMAND_H_

#include <gtest/gtest.h>
#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/support.h"

namespace corvid::test {

struct Result {
  int exit;  // as `ExitStatus`
  std::string out;
  std::string err;
};
using Arguments = std::vector<std::string>;
Arguments operator+(Arguments arguments, const Arguments& more);
// `output` is the path that standard output goes to; "" for `Result::out`, "closed" for nowhere.
Result RunCommand(const Arguments& arguments, const std::string& input = "",
                  const std::string& output = "");
// Starts the command with these descriptors; -1 for a closed output.
pid_t Start(const Arguments& arguments, int in, int out, const std::string& errors);
// 128 and the signal's number when one ended the command.
int ExitStatus(int status);

// With their line feeds.
std::vector<std::string> Lines(const std::string& text);
// Shows the text when the part is not in it.
testing::AssertionResult Holds(const std::string& text, const std::string& part);

}  // namespace corvid::test

#endif  // CORVID_TESTS_TOOLS_COMMAND_H_
