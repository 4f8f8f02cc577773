// Many certificates: the output of `pkc show` does not depend on threads, on how the input arrives
// or on interruptions, memory does not grow with the input, and `pkc filter` answers each line.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "command.h"

namespace corvid::test {
namespace {

using nlohmann::json;

// The command with pipes, for those who talk with it.
class Session {
 public:
  explicit Session(const Arguments& arguments, const std::string& errors = "/dev/null") {
    int in[2];
    int out[2];
    EXPECT_EQ(pipe2(in, O_CLOEXEC) + pipe2(out, O_CLOEXEC), 0);
    child_ = Start(arguments, in[0], out[1], errors);
    close(in[0]);
    close(out[1]);
    in_ = in[1];
    out_ = out[0];
  }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  ~Session() {
    CloseInput();
    close(out_);
  }

  void Send(std::string_view text) {
    while (!text.empty()) {
      const ssize_t count = write(in_, text.data(), text.size());
      ASSERT_GT(count, 0);
      text.remove_prefix(static_cast<size_t>(count));
    }
  }
  void CloseInput() {
    if (in_ >= 0) close(in_);
    in_ = -1;
  }
  // With its line feed; "" at the end.
  std::string ReadLine() {
    size_t end = 0;
    while ((end = read_.find('\n')) == std::string::npos) {
      char part[1U << 16];
      const ssize_t count = read(out_, part, sizeof part);
      if (count <= 0) return std::exchange(read_, {});
      read_.append(part, static_cast<size_t>(count));
    }
    std::string line = read_.substr(0, end + 1);
    read_.erase(0, end + 1);
    return line;
  }
  std::string ReadRest() {
    std::string rest;
    for (std::string line; !(line = ReadLine()).empty();) rest += line;
    return rest;
  }
  void Signal(int number) const { kill(child_, number); }
  // The exit status; what it used is in `usage`.
  int Wait(rusage* usage = nullptr) {
    int status = 0;
    wait4(child_, &status, 0, usage);
    return ExitStatus(status);
  }

 private:
  pid_t child_;
  int in_;
  int out_;
  std::string read_;
};

// The machine's roots as PEM, again and again, with some faults and other text between them.
std::string Bundle(size_t count, bool faults) {
  static const std::vector<std::string> roots = [] {
    std::vector<std::string> all;
    for (const auto& path : DebianRoots()) all.push_back(StringOf(ReadFile(path)));
    return all;
  }();
  std::string bundle;
  for (size_t i = 0; i < count; ++i) {
    bundle += roots[i % roots.size()];
    if (!faults) continue;
    if (i % 97 == 5) bundle += "-----BEGIN CERTIFICATE-----\nMIIB\n-----END CERTIFICATE-----\n";
    if (i % 101 == 7) bundle += "-----BEGIN CERTIFICATE-----\nMI-B\n";
    if (i % 103 == 9) bundle += std::string(70'000, 'x') + "\n";
  }
  return bundle;
}

std::string Joined(const std::vector<std::string>& lines, size_t first) {
  std::string text;
  for (size_t i = first; i < lines.size(); ++i) text += lines[i];
  return text;
}

TEST(ManyCertificates, AnyNumberOfThreadsGivesTheSame) {
  const TemporaryFolder folder;
  const std::string path = folder.Write("bundle.pem", Bundle(1500, true));
  const Arguments show{"show", path, path};
  for (const Arguments& format :
       {Arguments{}, {"--json"}, {"--ndjson"}, {"--fields", "certificate,subject"}}) {
    const Result one = RunCommand(show + format + Arguments{"-j1"});
    const Result five = RunCommand(show + format + Arguments{"-j5"});
    EXPECT_TRUE(one.out == five.out && one.err == five.err) << testing::PrintToString(format);
    EXPECT_EQ(one.exit, 3);
    EXPECT_EQ(five.exit, 3);
    EXPECT_EQ(Lines(one.err).size(), 2u * (16 + 15));
    if (!format.empty() && format[0] != "--json") {
      EXPECT_EQ(Lines(one.out).size(), 2u * (1500 + 16 + 15));
    }
  }
}

TEST(ManyCertificates, ItDoesNotMatterHowTheInputArrives) {
  const std::string bundle = Bundle(300, true);
  Session session({"show", "--ndjson", "-"});
  std::thread writer([&] {
    for (size_t at = 0, size = 1; at < bundle.size(); at += size, size = size * 7 % 5003) {
      session.Send(std::string_view(bundle).substr(at, size));
    }
    session.CloseInput();
  });
  EXPECT_TRUE(session.ReadRest() == RunCommand({"show", "--ndjson", "-j1", "-"}, bundle).out);
  writer.join();
  EXPECT_EQ(session.Wait(), 3);
}

TEST(ManyCertificates, ARunGoesOnFromAGivenPlace) {
  const TemporaryFolder folder;
  const std::string a = folder.Write("a", Bundle(90, false));
  const std::string b = folder.Write("b", Bundle(120, true));
  const std::string c = folder.Write("c", "");
  const Arguments inputs{"show", "--ndjson", a, b, c};
  const std::vector<std::string> all = Lines(RunCommand(inputs).out);
  const std::pair<std::string, size_t> places[] = {
      {a, 0}, {a + ":31", 30}, {b, 90}, {b + ":9", 98}, {c, 214}};
  for (const auto& [from, row] : places) {
    EXPECT_TRUE(RunCommand(inputs + Arguments{"--resume-from", from}).out == Joined(all, row))
        << from;
  }
  const Result nowhere = RunCommand({"show", "--ndjson", a, "--resume-from", b});
  EXPECT_EQ(nowhere.exit, 2);
  EXPECT_EQ(nowhere.out, "");
}

TEST(ManyCertificates, ASignalLeavesWholeRowsAndSaysWhereToGoOn) {
  const TemporaryFolder folder;
  const std::string bundle = Bundle(30, false);  // fits into pipes
  const std::vector<std::string> all = Lines(RunCommand({"show", "--ndjson", "-"}, bundle).out);
  const size_t half = bundle.find("-----END", bundle.size() / 2);  // in the middle of a block
  std::signal(SIGINT, SIG_DFL);  // which is ignored in the background of a shell
  Session session({"show", "--ndjson", "-"}, folder.Path("err"));
  session.Send(std::string_view(bundle).substr(0, half));
  std::string out = session.ReadLine();
  session.Signal(SIGINT);
  out += session.ReadRest();
  EXPECT_EQ(session.Wait(), 128 + SIGINT);
  const std::string message = StringOf(ReadFile(folder.Path("err")));
  const size_t place = message.find("--resume-from ");
  ASSERT_NE(place, std::string::npos) << message;
  const std::string from = message.substr(place + 14, message.find('\n', place) - place - 14);
  EXPECT_EQ(out + RunCommand({"show", "--ndjson", "-", "--resume-from", from}, bundle).out,
            Joined(all, 0));
}

TEST(ManyCertificates, ATerminalSeesProgressAndASummary) {
  int terminal = -1;
  int other = -1;
  char path[64];
  ASSERT_EQ(openpty(&terminal, &other, path, nullptr, nullptr), 0);
  Session session({"show", "--ndjson", "-"}, path);
  session.Send(Bundle(30, false));
  EXPECT_NE(session.ReadLine(), "");
  std::this_thread::sleep_for(std::chrono::milliseconds(300));  // it is shown five times a second
  session.Send(Bundle(30, false));
  session.CloseInput();
  session.ReadRest();
  EXPECT_EQ(session.Wait(), 0);
  close(other);
  std::string seen;
  char octets[256];
  for (ssize_t count; (count = read(terminal, octets, sizeof octets)) > 0;) {
    seen.append(octets, static_cast<size_t>(count));
  }
  close(terminal);
  EXPECT_EQ(seen.find("\r\x1b[K"), 0u) << seen;
  EXPECT_LT(seen.find(" certificates/s, "), seen.rfind("\r\x1b[K")) << seen;
  EXPECT_TRUE(Holds(seen, "pkc: 60 certificates, 0 failures, 1 input, "));
}

TEST(ManyCertificates, ListsOfPathsAreRead) {
  const TemporaryFolder folder;
  const std::string bundle = folder.Write("a", Bundle(1, false));
  folder.Write("b/\n x", Bundle(2, false));
  const std::string lines = folder.Write("lines", folder.Path("no") + "\n\n" + bundle);
  const std::string nulls = folder.Write("nulls", folder.Path("b/\n x") + std::string("\0", 1));
  const auto rows = [](const Arguments& more) {
    return RunCommand(Arguments{"show", "--fields", "certificate,code"} + more).out;
  };
  EXPECT_EQ(rows({bundle, "--files-from", lines}), "1\t\n\t8003\n1\t\n");
  EXPECT_EQ(rows({"--files-from", nulls, "--null"}), "1\t\n2\t\n");
  EXPECT_EQ(rows({"--files-from", folder.Path("none")}), "\t8003\n");
}

TEST(ManyCertificates, MemoryDoesNotGrow) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a sanitizer keeps what is released";
#endif
  const std::string part = Bundle(1000, false);
  const auto most_memory = [&part](int parts) {
    Session session({"show", "--ndjson", "-j2", "-"});
    std::thread writer([&] {
      for (int i = 0; i < parts; ++i) session.Send(part);
      session.CloseInput();
    });
    while (!session.ReadLine().empty()) {
    }
    writer.join();
    rusage usage{};
    EXPECT_EQ(session.Wait(&usage), 0);
    return usage.ru_maxrss;
  };
  const auto few = most_memory(3);
  EXPECT_LE(most_memory(50), few + few / 4);
}

TEST(Fields, CellsAreEscapedAndFailuresHaveRows) {
  CertificateParts parts;
  parts.subject = Name(
      {{"2.5.4.3", Der(0x0C, "a\tb\\c\n\x1b \xE2\x80\xAE\"")}, {"2.5.4.10", Der(0x0C, "\xFF")}});
  parts.extensions = {Extension("2.5.29.15", Hex("03020106")), Extension("2.5.29.19", Hex("3000")),
                      Extension("2.5.29.17", Hex("300B 820161 8704 01020304 8600")),
                      Extension("2.5.29.14", Hex("0402AB01")), Extension("2.5.29.37", Hex("0500"))};
  const std::string input = Pem(MakeCertificate(parts)) + Pem(Hex("300402020001"));
  const Result result = RunCommand(
      {"show", "-", "--header", "--fields",
       "certificate,subject,keyAlgorithm,keyUsage,ca,subjectKeyIdentifier,names,code,path"},
      input);
  EXPECT_EQ(result.exit, 3);
  EXPECT_EQ(
      result.out,
      "certificate\tsubject\tkeyAlgorithm\tkeyUsage\tca\tsubjectKeyIdentifier\tnames\tcode\tpath\n"
      "1\to=\\\\xff,cn=a\\\\09b\\\\\\\\c\\\\0a\\\\1b "
      "\\xe2\\x80\\xae\"\trsaEncryption\tkeyCertSign,cRLSign\tfalse\tab01\t"
      "dNSName:a,iPAddress:1.2.3.4,uniformResourceIdentifier:\t1012\t"
      "tbsCertificate.extensions[4].extnValue\n"
      "2\t\t\t\t\t\t\t1012\ttbsCertificate\n");
  EXPECT_EQ(RunCommand({"show", "-", "--fields", "subject,nonsense"}, input).exit, 2);
}

const Octets kGood = MakeCertificate(CertificateParts());

TEST(Filter, AnswersEachLineWithALine) {
  const struct {
    std::string line;
    const char* answer;  // a serial number, else a code, else a reason
  } rows[] = {
      {Base64(kGood), "0102"},
      {Base64(kGood).substr(0, Base64(kGood).find('=')), "0102"},
      {" \t" + Base64(kGood) + " \r", "0102"},
      {ToHex(kGood), "0102"},
      {"\\x" + ToHex(kGood), "0102"},
      {"\\\\x" + ToHex(kGood), "0102"},
      {"", "is empty"},
      {"\r", "is empty"},
      {"308", "is not hexadecimal"},
      {"30g0", "is not hexadecimal"},
      {"0x", "1012"},
      {std::string("MI\0I", 4), "3007"},
      {"M*I", "3007"},
      {Base64(Join({kGood, kGood})), "1013"},
      {std::string(3'000'000, 'M'), "is longer than 1 MiB"},
      {Base64(kGood), "0102"},  // without an end
  };
  std::string input;
  for (const auto& row : rows) input += row.line + '\n';
  input.pop_back();
  const Result result = RunCommand({"filter"}, input);
  const std::vector<std::string> lines = Lines(result.out);
  ASSERT_EQ(lines.size(), std::size(rows));
  for (size_t i = 0; i < lines.size(); ++i) {
    const json answer = json::parse(lines[i]);
    EXPECT_EQ(answer["certificate"], i + 1);
    const std::string code = answer.contains("code") ? answer["code"].dump() : "";
    const std::string failure = code.empty() ? answer.value("reason", "") : code;
    EXPECT_EQ(answer.value("serialNumber", failure), rows[i].answer) << i;
  }
  EXPECT_EQ(result.exit, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(RunCommand({"filter", "--strict"}, input).exit, 3);
  EXPECT_EQ(RunCommand({"filter"}, input, "/dev/full").exit, 4);
}

TEST(Filter, AnswersBeforeItWaits) {
  Session session({"filter", "--fields", "certificate,serialNumber,code"});
  session.Send(Base64(kGood) + "\nMI");
  EXPECT_EQ(session.ReadLine(), "1\t0102\t\n");
  session.Send("II\n\n" + ToHex(kGood));
  EXPECT_EQ(session.ReadLine(), "2\t\t1010\n");
  EXPECT_EQ(session.ReadLine(), "3\t\t\n");
  session.CloseInput();
  EXPECT_EQ(session.ReadLine(), "4\t0102\t\n");
  EXPECT_EQ(session.ReadLine(), "");
  EXPECT_EQ(session.Wait(), 0);
}

}  // namespace
}  // namespace corvid::test
