// Which inputs a run has: arguments, lists of paths, and the files of folders.
#ifndef CORVID_TOOLS_PKC_PATHS_H_
#define CORVID_TOOLS_PKC_PATHS_H_

#include <sys/types.h>

#include <cstdio>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "problem.h"

namespace corvid::tool {

struct InputOptions {
  std::vector<std::string> paths;  // "-": standard input
  std::string list;                // a file of more paths; "-": standard input; "": none
  bool null_separated = false;     // the paths of the list, instead of one a line
  bool recursive = false;
  std::string resume_from;  // "INPUT" or "INPUT:NUMBER"; "": from the beginning
};

// Yields one path after the other; the list and the folders are read as it goes.
class Paths {
 public:
  explicit Paths(const InputOptions& options) : options_(options) {}

  enum class Found : uint8_t { kRegular, kStream, kProblem, kEnd };
  // A path that does not exist is kRegular: opening it says why. Of a problem `reason` and `code`
  // say what is wrong with the path.
  struct Entry {
    Found found = Found::kEnd;
    std::string path = {};
    std::string reason = {};
    uint32_t code = 0;
  };
  Entry Next();

 private:
  struct Folder {
    std::string prefix;
    std::vector<std::string> names;  // the last one comes first
  };
  struct Close {
    void operator()(FILE* file) const { std::fclose(file); }
  };

  bool NextGiven(std::string* path, Entry* problem);
  bool ReadList(std::string* path, Entry* problem);
  bool NextInFolder(Entry* entry);
  bool Enter(const std::string& path, Entry* problem);

  const InputOptions& options_;
  size_t given_ = 0;
  std::unique_ptr<FILE, Close> list_;
  bool list_read_ = false;
  std::vector<Folder> folders_;                // that are open, innermost last
  std::set<std::pair<dev_t, ino_t>> entered_;  // for the path at hand
};

// The library's code for an errno of opening or reading a file.
uint32_t FileError(int number);

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_PATHS_H_
