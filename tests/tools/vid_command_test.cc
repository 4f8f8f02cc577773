// `pkc vid`: the vectors hold through files, in certificates and over a terminal that shows
// nothing; what is missing, wrong or given twice ends with its exit status.
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <nlohmann/json.hpp>
#include <string>

#include "command.h"

namespace corvid::test {
namespace {

using nlohmann::json;

const json& Vectors(const char* group) {
  static const json vectors = json::parse(ReadFile(std::string(CORVID_VECTORS_DIR) + "/vid.json"));
  return vectors.at(group);
}

struct Files {
  explicit Files(const json& row) {
    const std::string name = row.at("idn");
    number = folder.Write("number", name + "\n");
    random = folder.Write("random", StringOf(Hex(std::string(row.at("random")))));
    random_hex = folder.Write("hex", std::string(row.at("random")) + "\r\n");
    if (!row.contains("general_names_der")) return;
    const Octets names = Hex(std::string(row.at("general_names_der")));
    certificate = folder.Write(
        "certificate", StringOf(MakeCertificate({.extensions = {Extension("2.5.29.17", names)}})));
  }
  TemporaryFolder folder;
  std::string number;
  std::string random;
  std::string random_hex;
  std::string certificate;
};

TEST(VidCommand, VectorsHold) {
  for (const json& row : Vectors("compute")) {
    SCOPED_TRACE(std::string(row.at("name")));
    const Files files(row);
    const std::string hash = row.at("hash");
    const std::string vid = row.at("vid");
    const bool makes = hash != "has160";
    const Result computed = RunCommand({"vid", "compute", "--idn-file", files.number,
                                        "--random-file", files.random, "--hash", hash});
    EXPECT_EQ(computed.out, makes ? vid + '\n' : "");
    EXPECT_EQ(computed.exit, makes ? 0 : 2);
    const auto verify = [&](const std::string& number) {
      return RunCommand({"vid", "verify", files.certificate, "--idn-file", "-", "--random-file",
                         files.random_hex, "--random-hex"},
                        number);
    };
    EXPECT_EQ(verify(row.at("idn")).exit, makes ? 0 : 3);
    EXPECT_EQ(verify("7" + std::string(row.at("idn"))).exit, makes ? 1 : 3);
    const json shown = json::parse(
        RunCommand({"vid", "show", "--json", files.certificate}).out)["certificates"][0];
    EXPECT_EQ(shown["holderName"], row.at("real_name"));
    EXPECT_EQ(shown["vid"], vid);
    const Result text = RunCommand({"vid", "show", files.certificate});
    EXPECT_EQ(text.exit, 0);
    EXPECT_EQ(text.out.find(files.certificate + ": certificate 1\nName  "), 0u) << text.out;
    EXPECT_TRUE(Holds(text.out, "\nVID                           " + vid + "\n"));
    EXPECT_EQ(RunCommand({"vid", "show", files.certificate}, "", "/dev/full").exit, 4);
  }
}

TEST(VidCommand, RefusesWhatItCannotUse) {
  const Files good(Vectors("compute")[0]);
  const std::string plain = good.folder.Write("plain", StringOf(MakeCertificate({})));
  const Octets identity = Sequence({Oid("1.2.410.200004.10.1.1"), Hex("A00530030C0141")}, 0xA0);
  const std::string without = good.folder.Write(
      "without",
      StringOf(MakeCertificate({.extensions = {Extension("2.5.29.17", Sequence({identity}))}})));
  const struct {
    std::string number;
    std::string random;
    std::string certificate;  // "": computes
    int exit;
    const char* message;
  } rows[] = {
      {"/nowhere", good.random, "", 3, "/nowhere: No such file"},
      {good.folder.Write("a", "1234*"), good.random, "", 2, "identification number: 1020"},
      {good.folder.Write("b", std::string("12\0x", 4)), good.random, "", 2, "holds a NUL"},
      {good.number, good.folder.Write("c", std::string(19, 'r')), "", 2, "fewer than 20 octets"},
      {"-", "-", "", 2, "one of the two"},
      {good.number, good.random, plain, 3, "36061"},
      {good.number, good.random, without, 3, "36062"},
      {good.number, good.random, good.number, 3, "without a certificate"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.message);
    const Arguments verb = row.certificate.empty() ? Arguments{"vid", "compute"}
                                                   : Arguments{"vid", "verify", row.certificate};
    const Result result =
        RunCommand(verb + Arguments{"--idn-file", row.number, "--random-file", row.random});
    EXPECT_EQ(result.exit, row.exit);
    EXPECT_TRUE(Holds(result.err, row.message));
    EXPECT_EQ(result.out, "");
  }
}

// Runs `pkc vid compute` on a terminal; `type` is called with the terminal at each question.
template <typename Type>
std::string AtTerminal(int* status, const Type& type) {
  int terminal = -1;
  const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
  if (child == 0) {
    execl(CORVID_COMMAND, "pkc", "vid", "compute", "--hash", "SHA1", nullptr);
    _exit(127);
  }
  std::string seen;
  char octets[256];
  for (ssize_t count; (count = read(terminal, octets, sizeof octets)) > 0;) {
    seen.append(octets, static_cast<size_t>(count));
    if (seen.substr(seen.size() - 2) == ": ") type(terminal, child);
  }
  waitpid(child, status, 0);
  close(terminal);
  return seen;
}

TEST(VidCommand, AsksWithoutShowingTheAnswers) {
  const json& row = Vectors("compute")[0];
  const std::string answers[] = {row.at("idn"), row.at("random")};
  int status = 0;
  size_t asked = 0;
  const std::string seen = AtTerminal(&status, [&](int terminal, pid_t) {
    const std::string line = answers[asked++ % 2] + '\n';
    EXPECT_EQ(write(terminal, line.data(), line.size()), static_cast<ssize_t>(line.size()));
  });
  EXPECT_EQ(seen, "Identification number: \r\nRandom value, in hexadecimal: \r\n" +
                      std::string(row.at("vid")) + "\r\n");
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
}

TEST(VidCommand, TerminalShowsAgainAfterASignal) {
  int status = 0;
  termios silent{};
  termios after{};
  const std::string seen = AtTerminal(&status, [&](int terminal, pid_t child) {
    tcgetattr(terminal, &silent);
    kill(child, SIGTERM);
    siginfo_t info{};
    waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT);
    tcgetattr(terminal, &after);
  });
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM);
  EXPECT_EQ(silent.c_lflag & ECHO, 0U);
  EXPECT_NE(after.c_lflag & ECHO, 0U);
}

}  // namespace
}  // namespace corvid::test
