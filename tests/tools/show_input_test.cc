// Where `pkc show` finds certificates, what it says of inputs that hold none, and how it ends.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "command.h"

namespace corvid::test {
namespace {

using nlohmann::json;

Octets Numbered(const char* serial) {
  CertificateParts parts;
  parts.serial = Hex(serial);
  return MakeCertificate(parts);
}
const Octets kOne = Numbered("01");
const Octets kTwo = Numbered("02");
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
  for (size_t at = 0; at < result.out.size();) {
    const size_t end = result.out.find('\n', at);
    const json line = json::parse(result.out.substr(at, end - at));
    shown += (shown.empty() ? "" : " ") + line.value("serialNumber", "!");
    at = end + 1;
  }
  return shown;
}

// More than is looked at to tell what an input is.
const std::string kMuchText = std::string(100'000, 'x') + "\nMI\n" + std::string(70'000, '\n');

struct Content {
  const char* name;
  std::string content;
  const char* shown;
  const char* message;  // after "pkc: -: "; "" when all is well
};
const Content kContents[] = {
    {"Der", StringOf(kOne), "01", ""},
    {"Pem", Pem(kOne), "01", ""},
    {"PemBundleWithTextAndKey",
     "subject: x\n" + Pem(kOne) + "\n" + Pem(Hex("3000"), "PRIVATE KEY") + "s:/\r\n" +
         Pem(kTwo, "X509 CERTIFICATE"),
     "01 02", ""},
    {"PemWithByteOrderMark", "\xEF\xBB\xBF" + Pem(kOne), "01", ""},
    {"TrustedCertificate", Pem(Join({kOne, Hex("3003020101")}), "TRUSTED CERTIFICATE"), "01", ""},
    {"Base64Lines", Base64(kOne) + "\r\n\n" + Base64(kTwo), "01 02", ""},
    {"WrappedBase64", Wrapped(kOne) + Wrapped(kLong) + Wrapped(kTwo), "01 03 02", ""},
    {"BrokenBase64Line",
     Base64(kOne) + "\n" + Base64(kOne).substr(0, 101) + "\nnote: x\n" + Base64(kTwo), "01 ! ! 02",
     "certificate 2: line 2: 3007 "},
    {"BrokenBlockInABundle", Pem(kOne) + "-----BEGIN CERTIFICATE-----\nAAAA\n" + Pem(kTwo),
     "01 ! 02", "certificate 2: line 8: a PEM block without its end\n"},
    {"BadBase64InABlock",
     "-----BEGIN CERTIFICATE-----\nA*A=\n-----END CERTIFICATE-----\n" + Pem(kTwo), "! 02",
     "certificate 1: line 1: 3007 "},
    {"LongLineBetweenBlocks",
     Pem(kOne) + std::string(200'000, 'x') + "-----BEGIN CERTIFICATE-----\n" + Pem(kTwo), "01 02",
     ""},
    {"LongBrokenLine", Base64(kOne) + "\n" + std::string(200'000, '*') + "\n" + Base64(kTwo),
     "01 ! 02", "line 2: a line that is not base64\n"},
    {"BlockAfterMuchText", kMuchText + Pem(kOne), "01", ""},
    {"Base64AfterMuchText", kMuchText + Base64(kOne), "01", ""},
    {"MuchText", kMuchText, "!", "is text without a certificate\n"},
    {"MuchBinary", std::string(200'000, '\1'), "!", "certificate 1: octet 0: 1012 "},
    {"Empty", "", "!", "is empty\n"},
    {"Blank", "\n \n", "!", "is empty\n"},
    {"Text", "Hello, world\n", "!", "is text without a certificate\n"},
    {"Binary", std::string("\x89PNG\0\x1", 6), "!", "certificate 1: octet 0: 1012 "},
    {"Truncated", StringOf(kOne).substr(0, 40), "!", "certificate 1: octet 0: 1010 "},
    {"TrailingOctets", StringOf(kOne) + "x", "!", "certificate 1: octet "},
    {"PrivateKeyPem", Pem(Hex("3000"), "RSA PRIVATE KEY"), "!",
     "is a private key, not a certificate\n"},
    {"RequestPem", Pem(Hex("3000"), "CERTIFICATE REQUEST"), "!",
     "is a certificate request, not a certificate\n"},
    {"OtherPem", Pem(Hex("3000"), "SOMETHING"), "!", "is PEM without a certificate\n"},
    {"Store",
     StringOf(Sequence({Hex("020103"), Sequence({Oid("1.2.840.113549.1.7.1"), Hex("A0020400")})})),
     "!", "is a PKCS #12 store, not a certificate\n"},
    {"RequestDer",
     StringOf(
         Sequence({Sequence({Hex("020100"), Name({}),
                             Sequence({Der(0x30, Oid("1.2.3")), Hex("03020001")}), Hex("A000")}),
                   Der(0x30, Oid("1.2.3")), Hex("03020001")})),
     "!", "is a certificate request, not a certificate\n"},
    {"ListDer",
     StringOf(Sequence({Sequence({Der(0x30, Oid("1.2.3")), Name({}), Der(0x17, "260101000000Z")}),
                        Der(0x30, Oid("1.2.3")), Hex("03020001")})),
     "!", "is a certificate revocation list, not a certificate\n"},
    {"KeyDer", StringOf(Sequence({Hex("020100"), Der(0x30, Oid("1.2.3")), Hex("0400")})), "!",
     "is a private key, not a certificate\n"},
};
void PrintTo(const Content& content, std::ostream* os) { *os << content.content.size(); }

class InputContent : public testing::TestWithParam<Content> {};
INSTANTIATE_TEST_SUITE_P(Show, InputContent, testing::ValuesIn(kContents),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_P(InputContent, YieldsItsCertificatesOrSaysWhyNot) {
  const Result result = RunCommand({"show", "--ndjson", "-"}, GetParam().content);
  const std::string message = GetParam().message;
  EXPECT_EQ(Shown(result), GetParam().shown);
  EXPECT_EQ(result.exit, message.empty() ? 0 : 3);
  EXPECT_EQ(result.err.substr(0, message.empty() ? std::string::npos : 8 + message.size()),
            message.empty() ? "" : "pkc: -: " + message);
}

TEST(Input, AnUndecodableCertificateIsLocated) {
  Octets bad = kTwo;
  const Octets fields = Hex("A003020102 020102");  // version and serial number
  const auto at = std::search(bad.begin(), bad.end(), fields.begin(), fields.end());
  const auto serial = static_cast<size_t>(at - bad.begin()) + 5;
  bad[serial] = 0x04;
  const TemporaryFolder folder;
  const std::string path = folder.Write("a\x1b.pem", Pem(kOne) + Pem(bad) + Pem(kTwo));
  const Result result = RunCommand({"show", "--json", path});
  EXPECT_EQ(result.exit, 3);
  EXPECT_NE(result.err.find("/a\\x1b.pem: certificate 2: octet " + std::to_string(serial) +
                            " (tbsCertificate.serialNumber): 1012 "),
            std::string::npos)
      << result.err;
  const json document = json::parse(result.out);
  EXPECT_EQ(document["certificates"].size(), 2u);
  const json& error = document["errors"].at(0);
  EXPECT_EQ(error["input"], path);
  EXPECT_EQ(error["certificate"], 2);
  EXPECT_EQ(error["offset"], serial);
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
  const Result result = RunCommand({"show", "--ndjson", "-r", folder.Path("c")});
  EXPECT_EQ(Shown(result), "01 02 ! !");
  EXPECT_EQ(result.exit, 3);

  const Result refused =
      RunCommand({"show", "--ndjson", folder.Path("c"), folder.Path("c/b.der"), folder.Path("no")});
  EXPECT_EQ(Shown(refused), "! 02 !");
  EXPECT_NE(refused.err.find("is a folder; -r reads folders\n"), std::string::npos);
  EXPECT_NE(refused.err.find("/no: 8003 "), std::string::npos);
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

struct Usage {
  const char* name;
  std::vector<std::string> arguments;
  const char* output;
  int exit;
};
const Usage kUsages[] = {
    {"NoVerb", {}, "", 2},
    {"UnknownVerb", {"frobnicate"}, "", 2},
    {"NoInput", {"show"}, "", 2},
    {"UnknownOption", {"show", "--colour", "-"}, "", 2},
    {"UnknownCharset", {"show", "--charset", "latin-1", "-"}, "", 2},
    {"TwoFormats", {"show", "--json", "--ndjson", "-"}, "", 2},
    {"Help", {"show", "--help"}, "", 0},
    {"Version", {"--version"}, "", 0},
    {"FullDevice", {"show", "-"}, "/dev/full", 4},
    {"FullDeviceJson", {"show", "--json", "-"}, "/dev/full", 4},
    {"FullDeviceVersion", {"--version"}, "/dev/full", 4},
    {"ClosedOutput", {"show", "-"}, "closed", 4},
};
void PrintTo(const Usage& usage, std::ostream* os) { *os << usage.name; }

class CommandUsage : public testing::TestWithParam<Usage> {};
INSTANTIATE_TEST_SUITE_P(Show, CommandUsage, testing::ValuesIn(kUsages),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_P(CommandUsage, HasItsExitStatus) {
  const Result result = RunCommand(GetParam().arguments, StringOf(kOne), GetParam().output);
  EXPECT_EQ(result.exit, GetParam().exit) << result.err;
  EXPECT_EQ(result.err.empty(), GetParam().exit == 0);
}

TEST(CommandUsage, AReaderThatLeavesIsNoNews) {
  const TemporaryFolder folder;
  const std::string path = folder.Path("pipe");
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  std::thread reader([&path] { close(open(path.c_str(), O_RDONLY)); });
  std::string more_than_a_pipe_holds;
  for (int i = 0; i < 200; ++i) more_than_a_pipe_holds += Pem(kOne);
  const Result result = RunCommand({"show", "-"}, more_than_a_pipe_holds, path);
  reader.join();
  EXPECT_EQ(result.exit, 4);
  EXPECT_EQ(result.err, "");
}

}  // namespace
}  // namespace corvid::test
