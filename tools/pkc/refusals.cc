// Refusals and asides on standard error.
#include "refusals.h"

#include <unistd.h>

#include <algorithm>
#include <utility>

#include "output.h"

namespace corvid::tool {

void Refusals::Add(std::string_view input, std::string_view key, std::string reason, Exit exit) {
  Problem problem;
  problem.input = input;
  problem.path = key;
  problem.reason = std::move(reason);
  Add(std::move(problem), exit);
}

void Refusals::Add(std::string_view input, std::string_view key, pkc::Status status, Exit exit) {
  Problem problem;
  problem.input = input;
  problem.path = key;
  problem.code = status.code();
  problem.reason = ReasonOf(status);
  Add(std::move(problem), exit);
}

void Refusals::Add(Problem problem, Exit exit) {
  exit_ = std::max<int>(exit_, problem.exit() == kExitSystem ? kExitSystem : exit);
  problems_.push_back(std::move(problem));
}

int Refusals::Tell() const {
  Output messages(STDERR_FILENO);
  for (const Problem& problem : problems_) messages.Write("pkc: " + Message(problem) + '\n');
  messages.Flush();
  return exit_;
}

void TellAside(const char* kind, const Problem& problem) {
  Output messages(STDERR_FILENO);
  messages.Write(std::string("pkc: ") + kind + ": " + Message(problem) + '\n');
  messages.Flush();
}

}  // namespace corvid::tool
