// Whole files, and the ones that are no files or do not stay what they were. This program's `read`
// stands in for the C library's, so that a file can change and a read fail at a chosen moment.
#include "corvid/io.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <functional>
#include <tuple>

#include "support/support.h"

namespace {

struct Reads {
  int count = 0;                             // calls since the reset
  size_t most = SIZE_MAX;                    // bytes that one call gives
  int failing = 0;                           // the call that fails, from 1
  int error = 0;                             // and how
  std::function<void()> before_second = {};  // what happens meanwhile
};
Reads g_reads;

}  // namespace

// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): glibc's are reserved
extern "C" ssize_t read(int fd, void* out, size_t size) {
  ++g_reads.count;
  if (g_reads.count == 2 && g_reads.before_second) g_reads.before_second();
  if (g_reads.count == g_reads.failing) {
    errno = g_reads.error;
    return -1;
  }
  return syscall(SYS_read, fd, out, std::min(size, g_reads.most));
}

namespace corvid::test {
namespace {

class WholeFile : public testing::Test {
 protected:
  void TearDown() override { g_reads = {}; }

  std::string Path(const char* name = "file") const { return folder_.Path(name); }
  void Write(const std::string& content) const { folder_.Write("file", content); }
  // Reads a file and compares what it gives; no descriptor stays open.
  static void ExpectRead(const std::string& path, uint32_t status, std::string_view content) {
    const int descriptor = dup(0);
    close(descriptor);
    Output data;
    EXPECT_EQ(CVD_File_ReadBin(&data, path.c_str()), status) << path;
    EXPECT_EQ(data.octets(), OctetsOf(content));
    EXPECT_EQ(data.data == nullptr, content.empty());
    const int after = dup(0);
    EXPECT_EQ(after, descriptor) << "a descriptor leaks";
    close(after);
  }

  const std::string content_ = std::string(5000, 'c') + '\0' + "end";
  TemporaryFolder folder_;
};

TEST_F(WholeFile, IsReadToTheByteOrNotAtAll) {
  const auto grow = [this] { std::ofstream(Path(), std::ios::app) << 'x'; };
  const auto shrink = [this] { std::filesystem::resize_file(Path(), 4000); };
  const std::tuple<const char*, Reads, uint32_t> rows[] = {
      {"AtOnce", {}, 0},
      {"InPieces", {.most = 7}, 0},
      {"Interrupted", {.most = 4096, .failing = 2, .error = EINTR}, 0},
      {"Grows", {.most = 4096, .before_second = grow}, CVD_IO_ERR_CHANGED},
      {"GrowsAtTheEnd", {.before_second = grow}, CVD_IO_ERR_CHANGED},
      {"Shrinks", {.most = 4096, .before_second = shrink}, CVD_IO_ERR_CHANGED},
      {"FailsLater", {.most = 4096, .failing = 2, .error = EIO}, CVD_IO_ERR_READ},
      {"FailsAtTheEnd", {.failing = 2, .error = EIO}, CVD_IO_ERR_READ},
  };
  for (const auto& [name, reads, status] : rows) {
    SCOPED_TRACE(name);
    Write(content_);
    g_reads = reads;
    ExpectRead(Path(), status, status == 0 ? content_ : "");
  }
  g_reads = {};
  for (const char* content : {"", "x"}) {
    Write(content);
    ExpectRead(Path(), 0, content);
  }
}

TEST_F(WholeFile, MustBeRegularReadableAndWithinTheLimit) {
  ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
  std::ofstream(Path("large")).close();
  std::filesystem::resize_file(Path("large"), uintmax_t{CVD_IO_FILE_LIMIT} + 1);
  ExpectRead(Path("missing"), CVD_IO_ERR_NOT_FOUND, "");
  ExpectRead(Path("large/below"), CVD_IO_ERR_NOT_FOUND, "");
  ExpectRead(Path(""), CVD_IO_ERR_NOT_REGULAR, "");
  ExpectRead(Path("pipe"), CVD_IO_ERR_NOT_REGULAR, "");
  ExpectRead("/dev/null", CVD_IO_ERR_NOT_REGULAR, "");
  sockaddr_un address{AF_UNIX, {}};
  const int socket_file = socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_LT(Path("s").copy(address.sun_path, sizeof address.sun_path), sizeof address.sun_path);
  ASSERT_EQ(bind(socket_file, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  ExpectRead(Path("s"), CVD_IO_ERR_NOT_REGULAR, "");
  close(socket_file);
  ExpectRead(Path("large"), CVD_IO_ERR_TOO_LARGE, "");
  if (geteuid() == 0) return;  // who may read everything
  Write("x");
  std::filesystem::permissions(Path(), std::filesystem::perms::none);
  ExpectRead(Path(), CVD_IO_ERR_NO_PERMISSION, "");
}

}  // namespace
}  // namespace corvid::test
