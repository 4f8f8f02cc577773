// Running the command with files as its standard streams, so that nothing can wait for anything.
#include "command.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace corvid::test {

Result RunCommand(const std::vector<std::string>& arguments, const std::string& input,
                  const std::string& output) {
  const TemporaryFolder folder;
  const std::string in = folder.Write("in", input);
  const std::string out = output.empty() ? folder.Path("out") : output;
  const std::string err = folder.Path("err");
  std::vector<char*> argv{const_cast<char*>("pkc")};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    dup2(open(in.c_str(), O_RDONLY), STDIN_FILENO);
    dup2(open(err.c_str(), O_WRONLY | O_CREAT, 0600), STDERR_FILENO);
    if (output == "closed") {
      close(STDOUT_FILENO);
    } else {
      dup2(open(out.c_str(), O_WRONLY | O_CREAT, 0600), STDOUT_FILENO);
    }
    execv(CORVID_COMMAND, argv.data());
    _exit(127);
  }
  int status = 0;
  waitpid(child, &status, 0);
  const auto read = [](const std::string& path) {
    return std::filesystem::is_regular_file(path) ? StringOf(ReadFile(path)) : std::string();
  };
  return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), read(out), read(err)};
}

}  // namespace corvid::test
