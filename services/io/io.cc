// Whole files: a regular file is read in one go, and one that changes meanwhile is refused rather
// than handed over half old, half new.
#include "corvid/io.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "corvid/common.h"
#include "corvid/reason_table.hpp"

namespace corvid {
namespace {

constexpr ReasonRow kReasons[] = {
    {CVD_IO_ERR_INVALID_INPUT, "invalid input"},
    {CVD_IO_ERR_MALLOC, "malloc failed"},
    {CVD_IO_ERR_NOT_FOUND, "file not found"},
    {CVD_IO_ERR_NO_PERMISSION, "no permission to read file"},
    {CVD_IO_ERR_NOT_REGULAR, "not a regular file"},
    {CVD_IO_ERR_TOO_LARGE, "file too large"},
    {CVD_IO_ERR_CHANGED, "file changed while read"},
    {CVD_IO_ERR_READ, "read failed"},
};

struct ErrnoRow {
  int number;
  uint32_t code;
};
constexpr ErrnoRow kOpenFailures[] = {
    {ELOOP, CVD_IO_ERR_NOT_FOUND},      {ENAMETOOLONG, CVD_IO_ERR_NOT_FOUND},
    {ENOENT, CVD_IO_ERR_NOT_FOUND},     {ENOTDIR, CVD_IO_ERR_NOT_FOUND},
    {EACCES, CVD_IO_ERR_NO_PERMISSION}, {EPERM, CVD_IO_ERR_NO_PERMISSION},
    {ENXIO, CVD_IO_ERR_NOT_REGULAR},  // a socket, or a device without hardware
    {ENODEV, CVD_IO_ERR_NOT_REGULAR},   {ENOMEM, CVD_IO_ERR_MALLOC},
    {EOVERFLOW, CVD_IO_ERR_TOO_LARGE},
};

uint32_t OpenFailure(int number) {
  for (const ErrnoRow& row : kOpenFailures) {
    if (row.number == number) return row.code;
  }
  return CVD_IO_ERR_READ;
}

class File {
 public:
  // Never waits for a pipe's writer and never takes over a terminal.
  explicit File(const char* path) {
    do {
      fd_ = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    } while (fd_ < 0 && errno == EINTR);
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  ~File() {
    if (fd_ >= 0) close(fd_);
  }
  bool IsOpen() const { return fd_ >= 0; }

  // The size of a regular file within the limit.
  [[nodiscard]] uint32_t Size(size_t* size) const {
    struct stat about;
    if (fstat(fd_, &about) != 0) return CVD_IO_ERR_READ;
    if (!S_ISREG(about.st_mode)) return CVD_IO_ERR_NOT_REGULAR;
    if (about.st_size > CVD_IO_FILE_LIMIT) return CVD_IO_ERR_TOO_LARGE;
    *size = static_cast<size_t>(about.st_size);
    return 0;
  }

  // Reads until `size` bytes are there or the file ends, whichever is first.
  [[nodiscard]] uint32_t Read(uint8_t* out, size_t size, size_t* got) const {
    *got = 0;
    while (*got < size) {
      const ssize_t count = read(fd_, out + *got, size - *got);
      if (count == 0) break;
      if (count > 0) {
        *got += static_cast<size_t>(count);
      } else if (errno != EINTR) {
        return CVD_IO_ERR_READ;
      }
    }
    return 0;
  }

  // Reads the `size` bytes that the file had when it was asked, and nothing may follow them.
  [[nodiscard]] uint32_t ReadExactly(uint8_t* out, size_t size) const {
    size_t got = 0;
    if (const uint32_t status = Read(out, size, &got); status != 0) return status;
    if (got < size) return CVD_IO_ERR_CHANGED;
    uint8_t beyond;
    if (const uint32_t status = Read(&beyond, 1, &got); status != 0) return status;
    return got == 0 ? 0 : CVD_IO_ERR_CHANGED;
  }

 private:
  int fd_;
};

uint32_t ReadWhole(const char* path, BIN* data) {
  const File file(path);
  if (!file.IsOpen()) return OpenFailure(errno);
  size_t size = 0;
  if (const uint32_t status = file.Size(&size); status != 0) return status;
  BIN octets{static_cast<int32_t>(size), nullptr};
  if (size > 0) {
    octets.data = static_cast<uint8_t*>(CVD_malloc(size));
    if (octets.data == nullptr) return CVD_IO_ERR_MALLOC;
  }
  if (const uint32_t status = file.ReadExactly(octets.data, size); status != 0) {
    CVD_BIN_Reset(&octets);
    return status;
  }
  *data = octets;
  return 0;
}

}  // namespace
}  // namespace corvid

const char* CVD_IO_GetVersion(void) { return corvid::kVersionText; }

const char* CVD_IO_GetErrorReason(uint32_t code, int32_t /*selector*/) {
  return corvid::ReasonOf(corvid::kReasons, code);
}

uint32_t CVD_File_ReadBin(BIN* data, const char* path) {
  if (data == nullptr || path == nullptr) return CVD_IO_ERR_INVALID_INPUT;
  return corvid::ReadWhole(path, data);
}
