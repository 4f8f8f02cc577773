// What working on a batch gives, for both outputs, until its turn comes.
#ifndef CORVID_TOOLS_PKC_OUTCOME_H_
#define CORVID_TOOLS_PKC_OUTCOME_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace corvid::tool {

struct Outcome {
  struct Message {
    size_t at;  // it comes when so much of `out` was written
    std::string text;
  };
  std::string out;
  std::vector<Message> messages;
  std::string errors;  // of a JSON document: elements of its list of errors
  uint64_t certificates = 0;
  uint64_t failures = 0;  // what stands in place of certificates
  uint64_t octets_read = 0;
  int exit = 0;

  // Keeps the memory for the next use.
  void Clear() {
    out.clear();
    messages.clear();
    errors.clear();
    certificates = failures = octets_read = 0;
    exit = 0;
  }
};

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_OUTCOME_H_
