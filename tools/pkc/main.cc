// The command `pkc`: chooses a verb, and tells the versions. One file a verb; see verb.h.
#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <csignal>
#include <exception>
#include <functional>
#include <new>
#include <string>

#include "corvid/crl.h"
#include "corvid/pkc.hpp"
#include "output.h"
#include "problem.h"
#include "verb.h"

namespace corvid::tool {
namespace {

constexpr AddVerb kVerbs[] = {AddShow, AddFilter, AddVerify, AddIssue, AddVid};

struct Library {
  const char* name;
  const char* (*version)();
};
constexpr Library kLibraries[] = {
    {"libCorvidPKC", CVD_PKC_GetVersion}, {"libCorvidASN", CVD_ASN_GetVersion},
    {"libCorvidCSP", CVD_CSP_GetVersion}, {"libCorvidCodec", CVD_Codec_GetVersion},
    {"libCorvidIO", CVD_IO_GetVersion},   {"libCorvidCRL", CVD_GetVersionCRL},
};

// A file that is opened later must not take the number of a closed standard descriptor. What is put
// there cannot be used in the direction that the descriptor has.
void KeepStandardDescriptors() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(descriptor, F_GETFD) >= 0) continue;
    const int direction = descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY;
    if (open("/dev/null", direction) < 0) return;
  }
}

int Write(int descriptor, const std::string& text, int exit) {
  Output out(descriptor);
  out.Write(text);
  if (out.Flush()) return exit;
  if (descriptor == STDOUT_FILENO) TellOutputFailure(out.error());
  return kExitSystem;
}

int ShowVersions() {
  std::string text = "pkc " CORVID_VERSION "\n";
  for (const Library& library : kLibraries) {
    text += fmt::format("{:<15} {}\n", library.name, library.version());
  }
  const bool fits = CVD_PKC_CheckVersion(CORVID_VERSION) == 0;
  text += fits ? "The libraries fit together.\n" : "The libraries do not fit together.\n";
  return Write(STDOUT_FILENO, text, fits ? kExitGood : kExitSystem);
}

int Run(int argc, char** argv) {
  CLI::App app("Shows, verifies and issues X.509 certificates.", "pkc");
  bool version = false;
  std::function<int()> run;
  app.add_flag("--version", version, "Show the versions of the command and its libraries");
  app.footer("pkc VERB --help explains a verb.");
  app.require_subcommand(0, 1);
  for (const AddVerb add : kVerbs) add(&app, &run);
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    const auto chosen = app.get_subcommands();
    return Write(STDOUT_FILENO, chosen.empty() ? app.help() : chosen.front()->help("pkc"),
                 kExitGood);
  } catch (const CLI::Error& error) {
    return Write(STDERR_FILENO, fmt::format("pkc: {}\nTry pkc --help.\n", error.what()),
                 kExitUsage);
  }
  if (version) return ShowVersions();
  if (!run) return Write(STDERR_FILENO, app.help(), kExitUsage);
  return run();
}

}  // namespace
}  // namespace corvid::tool

int main(int argc, char** argv) {
  using namespace corvid::tool;
  std::signal(SIGPIPE, SIG_IGN);  // a closed output is an exit status, not a death
  KeepStandardDescriptors();
  try {
    return Run(argc, argv);
  } catch (const std::bad_alloc&) {
    return Write(STDERR_FILENO, "pkc: memory is short\n", kExitSystem);
  } catch (const std::exception& error) {
    return Write(STDERR_FILENO, fmt::format("pkc: {}\n", error.what()), kExitSystem);
  }
}
