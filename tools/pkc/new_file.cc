// Files that appear complete.
#include "new_file.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>

namespace corvid::tool {
namespace {

std::string FolderOf(const std::string& path) {
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
}

// Opens a file that did not exist.
int OpenTemporary(const std::string& folder, std::string* path) {
  constexpr int kTries = 16;
  for (int i = 0; i < kTries; ++i) {
    uint64_t number = 0;
    if (getrandom(&number, sizeof number, 0) != sizeof number) return -1;
    *path = folder + ".pkc." + std::to_string(number);
    const int descriptor = open(path->c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (descriptor >= 0 || errno != EEXIST) return descriptor;
  }
  return -1;
}

int WriteAll(int descriptor, std::string_view content) {
  while (!content.empty()) {
    const ssize_t count = write(descriptor, content.data(), content.size());
    if (count < 0 && errno != EINTR) return errno;
    if (count > 0) content.remove_prefix(static_cast<size_t>(count));
  }
  return fsync(descriptor) == 0 ? 0 : errno;
}

// Not every file system can rename without replacing; a second name does the same there.
int Rename(const std::string& from, const std::string& to, Existing existing) {
  if (existing == Existing::kReplace) return rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return errno;
  if (link(from.c_str(), to.c_str()) != 0) return errno;
  unlink(from.c_str());
  return 0;
}

// The new name, too, is to outlive a crash; where a folder cannot be synchronized it may not.
void SyncFolder(const std::string& folder) {
  const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return;
  fsync(descriptor);
  close(descriptor);
}

}  // namespace

int FindObstacle(const std::string& path, Existing existing) {
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0) return errno == ENOENT ? 0 : errno;
  return existing == Existing::kReplace && S_ISREG(status.st_mode) ? 0 : EEXIST;
}

int WriteNewFile(const std::string& path, std::string_view content, Existing existing) {
  if (const int error = FindObstacle(path, existing); error != 0) return error;
  const std::string folder = FolderOf(path);
  std::string temporary;
  const int descriptor = OpenTemporary(folder, &temporary);
  if (descriptor < 0) return errno;
  int error = WriteAll(descriptor, content);
  if (close(descriptor) != 0 && error == 0) error = errno;
  if (error == 0) error = Rename(temporary, path, existing);
  if (error != 0) {
    unlink(temporary.c_str());
    return error;
  }
  SyncFolder(folder);
  return 0;
}

}  // namespace corvid::tool
