// Stands in for the fuzzer where there is none: runs a target once with each file of the folders
// given, so that every build has the corpus as a test.
#include <filesystem>
#include <fstream>

#include "fuzz/input.h"

int main(int argc, char** argv) {
  namespace fs = std::filesystem;
  size_t count = 0;
  for (int i = 1; i < argc; ++i) {
    for (const fs::directory_entry& entry : fs::directory_iterator(argv[i])) {
      std::ifstream file(entry.path(), std::ios::binary);
      const std::vector<char> octets(std::istreambuf_iterator<char>(file), {});
      corvid::fuzz::Require(file.good(), "a file of the corpus can be read");
      // A block of exactly the input's size, so that a sanitizer sees a read past it.
      const auto exact = std::make_unique<uint8_t[]>(octets.size());
      std::copy(octets.begin(), octets.end(), exact.get());
      std::printf("%s\n", entry.path().filename().c_str());
      std::fflush(stdout);  // the last name tells which input broke a contract
      LLVMFuzzerTestOneInput(exact.get(), octets.size());
      ++count;
    }
  }
  std::printf("%zu inputs\n", count);
  return count > 0 ? 0 : 1;
}
