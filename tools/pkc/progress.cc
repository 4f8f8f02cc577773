// The line of progress, and the summary.
#include "progress.h"

#include <fmt/format.h>
#include <unistd.h>

#include "output.h"

namespace corvid::tool {
namespace {

constexpr std::chrono::milliseconds kInterval{200};
constexpr const char* kEraseLine = "\r\x1b[K";

// "1,234,567".
std::string Grouped(uint64_t number) {
  std::string digits = std::to_string(number);
  for (size_t at = digits.size(); at > 3;) digits.insert(at -= 3, 1, ',');
  return digits;
}

std::string Counted(uint64_t count, const char* noun) {
  return Grouped(count) + ' ' + noun + (count == 1 ? "" : "s");
}

void Tell(const std::string& text) {
  Output messages(STDERR_FILENO);
  messages.Write(text);
  messages.Flush();
}

}  // namespace

void Progress::Add(uint64_t certificates, uint64_t failures, uint64_t octets) {
  certificates_ += certificates;
  failures_ += failures;
  octets_ += octets;
  if (!shown_ || Clock::now() - last_ < kInterval) return;
  last_ = Clock::now();
  visible_ = true;
  const double megabytes = static_cast<double>(octets_) / 1e6;
  Tell(fmt::format("{}{}, {}, {:.1f} MB/s", kEraseLine, Counted(certificates_, "certificate"),
                   Rate(), megabytes / Seconds()));
}

void Progress::Erase() {
  if (visible_) Tell(kEraseLine);
  visible_ = false;
}

std::string Progress::Rate() const {
  return Grouped(static_cast<uint64_t>(static_cast<double>(certificates_) / Seconds())) +
         " certificates/s";
}

std::string Progress::Summary(uint64_t inputs) const {
  return fmt::format("pkc: {}, {}, {}, {:.1f} MB, {:.2f} s: {}\n",
                     Counted(certificates_, "certificate"), Counted(failures_, "failure"),
                     Counted(inputs, "input"), static_cast<double>(octets_) / 1e6, Seconds(),
                     Rate());
}

}  // namespace corvid::tool
