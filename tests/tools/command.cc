// Running the command with files as its standard streams, so that nothing can wait for anything.
#include "command.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

namespace corvid::test {

Arguments operator+(Arguments arguments, const Arguments& more) {
  arguments.insert(arguments.end(), more.begin(), more.end());
  return arguments;
}

pid_t Start(const Arguments& arguments, int in, int out, const std::string& errors) {
  std::vector<char*> argv{const_cast<char*>("pkc")};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  const pid_t child = fork();
  if (child != 0) return child;
  dup2(in, STDIN_FILENO);
  dup2(open(errors.c_str(), O_WRONLY | O_CREAT, 0600), STDERR_FILENO);
  if (out < 0) close(STDOUT_FILENO);
  dup2(out, STDOUT_FILENO);
  execv(CORVID_COMMAND, argv.data());
  _exit(127);
}

int ExitStatus(int status) {
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

Result RunCommand(const Arguments& arguments, const std::string& input, const std::string& output) {
  const TemporaryFolder folder;
  const std::string out_path = output.empty() ? folder.Path("out") : output;
  const int in = open(folder.Write("in", input).c_str(), O_RDONLY | O_CLOEXEC);
  const int out =
      output == "closed" ? -1 : open(out_path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  int status = 0;
  waitpid(Start(arguments, in, out, folder.Path("err")), &status, 0);
  close(in);
  close(out);
  const auto read = [](const std::string& path) {
    return std::filesystem::is_regular_file(path) ? StringOf(ReadFile(path)) : std::string();
  };
  return {ExitStatus(status), read(out_path), read(folder.Path("err"))};
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  for (size_t at = 0; at < text.size();) {
    const size_t end = std::min(text.find('\n', at), text.size() - 1) + 1;
    lines.push_back(text.substr(at, end - at));
    at = end;
  }
  return lines;
}

testing::AssertionResult Holds(const std::string& text, const std::string& part) {
  if (text.find(part) != std::string::npos) return testing::AssertionSuccess();
  return testing::AssertionFailure() << part << " is not in " << text;
}

}  // namespace corvid::test
