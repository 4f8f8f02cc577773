// Walking through lists and folders. Nothing here waits for a pipe that stands in a folder, and no
// folder is entered twice.
#include "paths.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <system_error>

namespace corvid::tool {
namespace {

struct ErrorRow {
  int number;
  uint32_t code;
};
constexpr ErrorRow kErrors[] = {
    {ELOOP, CVD_IO_ERR_NOT_FOUND},      {ENAMETOOLONG, CVD_IO_ERR_NOT_FOUND},
    {ENOENT, CVD_IO_ERR_NOT_FOUND},     {ENOTDIR, CVD_IO_ERR_NOT_FOUND},
    {EACCES, CVD_IO_ERR_NO_PERMISSION}, {EPERM, CVD_IO_ERR_NO_PERMISSION},
    {ENXIO, CVD_IO_ERR_NOT_REGULAR},    {ENODEV, CVD_IO_ERR_NOT_REGULAR},
    {ENOMEM, CVD_IO_ERR_MALLOC},
};

Paths::Entry Refused(const std::string& path, uint32_t code) {
  return {Paths::Found::kProblem, path, ReasonOf(code), code};
}

Paths::Entry Refused(const std::string& path, const char* reason) {
  return {Paths::Found::kProblem, path, reason};
}

}  // namespace

uint32_t FileError(int number) {
  const auto* row = std::find_if(std::begin(kErrors), std::end(kErrors),
                                 [number](const ErrorRow& r) { return r.number == number; });
  return row == std::end(kErrors) ? uint32_t{CVD_IO_ERR_READ} : row->code;
}

Paths::Entry Paths::Next() {
  Entry entry;
  std::string path;
  for (;;) {
    if (!folders_.empty()) {
      if (NextInFolder(&entry)) return entry;
      continue;
    }
    if (!NextGiven(&path, &entry)) return entry;
    if (path == "-") return {Found::kStream, path};
    struct stat status {};
    if (stat(path.c_str(), &status) != 0 || S_ISREG(status.st_mode)) return {Found::kRegular, path};
    if (!S_ISDIR(status.st_mode)) return {Found::kStream, path};
    if (!options_.recursive) return Refused(path, "is a folder; -r reads folders");
    entered_.clear();
    if (!Enter(path, &entry)) return entry;
  }
}

bool Paths::NextGiven(std::string* path, Entry* problem) {
  if (given_ < options_.paths.size()) {
    *path = options_.paths[given_++];
    return true;
  }
  return !options_.list.empty() && !list_read_ && ReadList(path, problem);
}

// Lines are taken as they are, but for an empty one.
bool Paths::ReadList(std::string* path, Entry* problem) {
  errno = 0;
  if (list_ == nullptr) {
    list_.reset(options_.list == "-" ? fdopen(dup(STDIN_FILENO), "r")
                                     : std::fopen(options_.list.c_str(), "re"));
  }
  char* line = nullptr;
  size_t size = 0;
  ssize_t length = -1;
  if (list_ != nullptr) {
    const char separator = options_.null_separated ? '\0' : '\n';
    do {
      length = getdelim(&line, &size, separator, list_.get());
      if (length > 0 && line[length - 1] == separator) --length;
    } while (length == 0);
  }
  const bool failed = list_ == nullptr || std::ferror(list_.get()) != 0;
  if (length > 0) path->assign(line, static_cast<size_t>(length));
  std::free(line);
  if (length > 0) return true;
  list_read_ = true;
  if (failed) *problem = Refused(options_.list, FileError(errno));
  return false;
}

// A folder is entered once for each path that was given, so that links lead nowhere twice.
bool Paths::Enter(const std::string& path, Entry* problem) {
  struct stat status {};
  DIR* stream = opendir(path.c_str());
  if (stream == nullptr || fstat(dirfd(stream), &status) != 0) {
    *problem = Refused(path, FileError(errno));
    if (stream != nullptr) closedir(stream);
    return false;
  }
  std::vector<std::string> names;
  if (entered_.emplace(status.st_dev, status.st_ino).second) {
    while (const dirent* entry = readdir(stream)) {
      const std::string_view name = entry->d_name;
      if (name != "." && name != "..") names.emplace_back(name);
    }
  }
  closedir(stream);
  std::sort(names.begin(), names.end(), std::greater<>());
  folders_.push_back({path.back() == '/' ? path : path + '/', std::move(names)});
  return true;
}

// In a folder only files and folders are read: a pipe there could keep everything waiting.
bool Paths::NextInFolder(Entry* entry) {
  Folder& folder = folders_.back();
  if (folder.names.empty()) {
    folders_.pop_back();
    return false;
  }
  const std::string path = folder.prefix + folder.names.back();
  folder.names.pop_back();
  struct stat status {};
  if (stat(path.c_str(), &status) != 0 || S_ISREG(status.st_mode)) {
    *entry = {Found::kRegular, path};
    return true;
  }
  return S_ISDIR(status.st_mode) && !Enter(path, entry);
}

}  // namespace corvid::tool
