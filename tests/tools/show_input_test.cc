// Where `pkc show` finds certificates, what it says of inputs that hold none, and how it ends.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "command.h"

namespace corvid::test {
namespace {

using nlohmann::json;

const Octets kOne = MakeCertificate({.serial = Hex("01")});
const Octets kTwo = MakeCertificate({.serial = Hex("02")});
const Octets kLong =
    MakeCertificate({.serial = Hex("03"), .extensions = {Extension("1.2.3", Octets(99))}});

std::string Wrapped(const Octets& der) {
  const std::string pem = Pem(der);
  const size_t body = pem.find('\n') + 1;
  return pem.substr(body, pem.rfind("-----END") - body);
}

// "1 2": the serial numbers shown, in order; "!" for an error.
std::string Shown(const Result& result) {
  std::string shown;
  for (const std::string& line : Lines(result.out)) {
    shown += (shown.empty() ? "" : " ") + json::parse(line).value("serialNumber", "!");
  }
  return shown;
}

// More than is looked at to tell what an input is.
const std::string kMuchText = std::string(100'000, 'x') + "\nMI\n" + std::string(70'000, '\n');

struct Content {
  std::string content;
  const char* shown;
  std::string message;  // after "pkc: -: "; "" when all is well
};
const Content kContents[] = {
    {"subject: x\n" + Pem(kOne) + "\n" + Pem(Hex("3000"), "PRIVATE KEY") + "s:/\r\n" +
         Pem(kTwo, "X509 CERTIFICATE"),
     "01 02", ""},
    {"\xEF\xBB\xBF" + Pem(kOne), "01", ""},
    {Pem(Join({kOne, Hex("3003020101")}), "TRUSTED CERTIFICATE"), "01", ""},
    {Base64(kOne) + "\r\n\n" + Base64(kTwo), "01 02", ""},
    {Wrapped(kOne) + Wrapped(kLong) + Wrapped(kTwo), "01 03 02", ""},
    {Base64(kOne) + "\n" + Base64(kOne).substr(0, 101) + "\nnote: x\n" + Base64(kTwo), "01 ! ! 02",
     "certificate 2: line 2: 3007 "},
    {Pem(kOne) + "-----BEGIN CERTIFICATE-----\nAAAA\n" + Pem(kTwo), "01 ! 02",
     "certificate 2: line 8: a PEM block without its end\n"},
    {"-----BEGIN CERTIFICATE-----\nA*A=\n-----END CERTIFICATE-----\n" + Pem(kTwo), "! 02",
     "certificate 1: line 1: 3007 "},
    {Pem(kOne) + std::string(200'000, 'x') + "-----BEGIN CERTIFICATE-----\n" + Pem(kTwo), "01 02",
     ""},
    {Base64(kOne) + "\n" + std::string(200'000, '*') + "\n" + Base64(kTwo), "01 ! 02",
     "line 2: a line that is not base64\n"},
    {kMuchText + Pem(kOne), "01", ""},
    {kMuchText + Base64(kOne), "01", ""},
    {kMuchText, "!", "is text without a certificate\n"},
    {std::string(200'000, '\1'), "!", "certificate 1: octet 0: 1012 "},
    {"", "!", "is empty\n"},
    {"\n \n", "!", "is empty\n"},
    {"Hello, world\n", "!", "is text without a certificate\n"},
    {std::string("\x89PNG\0\x1", 6), "!", "certificate 1: octet 0: 1012 "},
    {"0\x82text", "!", "certificate 1: octet 0: 1010 "},
    {StringOf(kOne).substr(0, 40), "!", "certificate 1: octet 0: 1010 "},
    {StringOf(kOne) + "x", "!", "certificate 1: octet "},
    {Pem(Hex("3000"), "RSA PRIVATE KEY"), "!", "is a private key, not a certificate\n"},
    {Pem(Hex("3000"), "CERTIFICATE REQUEST"), "!", "is a certificate request, not a certificate\n"},
    {Pem(Hex("3000"), "SOMETHING"), "!", "is PEM without a certificate\n"},
    // Other things, told by the types of their elements alone.
    {StringOf(Hex("300A 020103 3005 06012A A000")), "!",
     "is a PKCS #12 store, not a certificate\n"},
    {StringOf(Hex("300D 300B 020100 3000 3004 3000 0300")), "!", "is a certificate request, not a"},
    {StringOf(Hex("3008 3006 3000 3000 1700")), "!", "is a certificate revocation list, not a"},
    {StringOf(Hex("3007 020100 3000 0400")), "!", "is a private key, not a certificate\n"},
};

TEST(Input, YieldsItsCertificatesOrSaysWhyNot) {
  for (const Content& row : kContents) {
    SCOPED_TRACE(row.content.substr(0, 100));
    const Result result = RunCommand({"show", "--ndjson", "-"}, row.content);
    EXPECT_EQ(Shown(result), row.shown);
    EXPECT_EQ(result.exit, row.message.empty() ? 0 : 3);
    const std::string message = row.message.empty() ? "" : "pkc: -: " + row.message;
    EXPECT_EQ(result.err.substr(0, message.empty() ? std::string::npos : message.size()), message);
  }
}

TEST(Input, AnUndecodableCertificateIsLocated) {
  // An OCTET STRING in place of the serial number, which follows two headers and the version.
  const Octets bad = MakeCertificate({.version = Hex("A003020102 0401")});
  const TemporaryFolder folder;
  const std::string path = folder.Write("a\x1b.pem", Pem(kOne) + Pem(bad) + Pem(kTwo));
  const Result result = RunCommand({"show", "--json", path});
  EXPECT_EQ(result.exit, 3);
  EXPECT_TRUE(Holds(result.err,
                    "/a\\x1b.pem: certificate 2: octet 11 "
                    "(tbsCertificate.serialNumber): 1012 "));
  const json document = json::parse(result.out);
  EXPECT_EQ(document["certificates"].size(), 2u);
  const json& error = document["errors"].at(0);
  EXPECT_EQ(error["input"], path);
  EXPECT_EQ(error["certificate"], 2);
  EXPECT_EQ(error["offset"], 11);
  EXPECT_EQ(error["path"], "tbsCertificate.serialNumber");
  EXPECT_EQ(error["code"], 1012);
}

TEST(Input, FoldersAreReadInOrderAndNeverForEver) {
  const TemporaryFolder folder;
  folder.Write("c/b.der", StringOf(kTwo));
  folder.Write("c/a/x.der", StringOf(kOne));
  folder.Write("c/d.txt", "text");
  std::filesystem::create_directory_symlink(folder.Path("c"), folder.Path("c/a/loop"));
  std::filesystem::create_directory_symlink(folder.Path("c/a"), folder.Path("c/twice"));
  std::filesystem::create_symlink("nowhere", folder.Path("c/broken"));
  ASSERT_EQ(mkfifo(folder.Path("c/pipe").c_str(), 0600), 0);
  const Result result = RunCommand({"show", "--ndjson", "-r", folder.Path("c"), folder.Path("c")});
  EXPECT_EQ(Shown(result), "01 02 ! ! 01 02 ! !");
  EXPECT_EQ(result.exit, 3);

  const Result refused =
      RunCommand({"show", "--ndjson", folder.Path("c"), folder.Path("c/b.der"), folder.Path("no")});
  EXPECT_EQ(Shown(refused), "! 02 !");
  EXPECT_TRUE(Holds(refused.err, "is a folder; -r reads folders\n"));
  EXPECT_TRUE(Holds(refused.err, "/no: 8003 "));
}

TEST(Input, ANamedPipeIsRead) {
  const TemporaryFolder folder;
  const std::string path = folder.Path("pipe");
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  std::thread writer([&path] {
    const int descriptor = open(path.c_str(), O_WRONLY);
    EXPECT_EQ(write(descriptor, kOne.data(), kOne.size()), static_cast<ssize_t>(kOne.size()));
    close(descriptor);
  });
  EXPECT_EQ(Shown(RunCommand({"show", "--ndjson", path})), "01");
  writer.join();
}

TEST(CommandUsage, HasItsExitStatus) {
  const std::tuple<Arguments, const char*, int> rows[] = {
      {{}, "", 2},
      {{"frobnicate"}, "", 2},
      {{"show"}, "", 2},
      {{"show", "--colour", "-"}, "", 2},
      {{"show", "--charset", "latin-1", "-"}, "", 2},
      {{"show", "--json", "--ndjson", "-"}, "", 2},
      {{"show", "--help"}, "", 0},
      {{"--version"}, "", 0},
      {{"show", "-"}, "/dev/full", 4},
      {{"--version"}, "/dev/full", 4},
      {{"show", "-"}, "closed", 4},
  };
  for (const auto& [arguments, output, exit] : rows) {
    const Result result = RunCommand(arguments, StringOf(kOne), output);
    EXPECT_EQ(result.exit, exit) << testing::PrintToString(arguments) << result.err;
    EXPECT_EQ(result.err.empty(), exit == 0) << testing::PrintToString(arguments);
  }
}

TEST(CommandUsage, AReaderThatLeavesIsNoNews) {
  const TemporaryFolder folder;
  const std::string path = folder.Path("pipe");
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  // Not inherited by the command, which would wait for itself.
  std::thread reader([&path] { close(open(path.c_str(), O_RDONLY | O_CLOEXEC)); });
  const Result result = RunCommand({"show", "-"}, Repeat(200, Pem(kOne)), path);
  reader.join();
  EXPECT_EQ(result.exit, 4);
  EXPECT_EQ(result.err, "");
}

}  // namespace
}  // namespace corvid::test
