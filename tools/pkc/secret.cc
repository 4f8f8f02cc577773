// Reading secrets, and the terminal without echo.
#include "secret.h"

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstring>
#include <system_error>
#include <utility>

namespace corvid::tool {
namespace {

constexpr size_t kMostAnswered = 4096;  // octets; as much as a terminal takes in one line

// A piece of memory that secrets pass through.
struct Chunk {
  Chunk() = default;
  Chunk(const Chunk&) = delete;
  Chunk& operator=(const Chunk&) = delete;
  ~Chunk() { explicit_bzero(octets.data(), octets.size()); }
  std::array<char, 4096> octets;
};

struct Descriptor {
  explicit Descriptor(int opened) : number(opened) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (number > STDERR_FILENO) close(number);
  }
  int number;
};

volatile std::sig_atomic_t g_signal = 0;
void KeepSignal(int number) { g_signal = number; }

// While it lives the terminal shows nothing that is typed. Signals are held back but while it
// waits; one that came is raised again once the terminal is as it was.
class SilentTerminal {
 public:
  explicit SilentTerminal(int terminal) : terminal_(terminal) {
    g_signal = 0;
    sigset_t held;
    sigemptyset(&held);
    for (const int number : kSignals) sigaddset(&held, number);
    sigaddset(&held, SIGTSTP);
    sigprocmask(SIG_BLOCK, &held, &mask_);
    waiting_ = mask_;
    sigaddset(&waiting_, SIGTSTP);
    struct sigaction keep {};
    keep.sa_handler = KeepSignal;
    for (size_t i = 0; i < kSignals.size(); ++i) {
      sigdelset(&waiting_, kSignals[i]);
      sigaction(kSignals[i], &keep, &actions_[i]);
    }
    termios silent{};
    if (tcgetattr(terminal_, &shown_) != 0) return;
    silent = shown_;
    silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    silent_ = tcsetattr(terminal_, TCSAFLUSH, &silent) == 0;
  }
  SilentTerminal(const SilentTerminal&) = delete;
  SilentTerminal& operator=(const SilentTerminal&) = delete;
  ~SilentTerminal() {
    if (silent_) tcsetattr(terminal_, TCSAFLUSH, &shown_);
    for (size_t i = 0; i < kSignals.size(); ++i) sigaction(kSignals[i], &actions_[i], nullptr);
    sigprocmask(SIG_SETMASK, &mask_, nullptr);
    if (g_signal != 0) std::raise(g_signal);
  }

  bool silent() const { return silent_; }
  // Waits for input; the errno of a failure, else 0.
  int Wait() const {
    pollfd wanted{terminal_, POLLIN, 0};
    return ppoll(&wanted, 1, nullptr, &waiting_) < 0 ? errno : 0;
  }

 private:
  static constexpr std::array kSignals = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

  int terminal_;
  bool silent_ = false;
  termios shown_{};
  sigset_t mask_{};
  sigset_t waiting_{};
  std::array<struct sigaction, kSignals.size()> actions_{};
};

// Reads to the end of the line, which is not part of the answer.
int ReadLine(const SilentTerminal& terminal, int descriptor, Secret* secret) {
  Chunk chunk;
  for (;;) {
    if (const int error = terminal.Wait(); error != 0) return error;
    const ssize_t count = read(descriptor, chunk.octets.data(), chunk.octets.size());
    if (count < 0) return errno;
    secret->Append({chunk.octets.data(), static_cast<size_t>(count)});
    const size_t end = secret->view().find('\n');
    if (end != std::string_view::npos) secret->Cut(end);
    if (end != std::string_view::npos || count == 0) return 0;
    if (secret->view().size() > kMostAnswered) return EFBIG;
  }
}

}  // namespace

// ---- the buffer ----------------------------------------------------------------------------

Secret::~Secret() {
  if (data_ != nullptr) explicit_bzero(data_.get(), capacity_);
}

void Secret::Swap(Secret* other) {
  std::swap(data_, other->data_);
  std::swap(size_, other->size_);
  std::swap(capacity_, other->capacity_);
}

void Secret::Append(std::string_view octets) {
  if (capacity_ - size_ <= octets.size()) {
    Secret grown;
    grown.capacity_ = std::max(2 * capacity_, size_ + octets.size() + 1);
    grown.data_ = std::make_unique<char[]>(grown.capacity_);
    grown.size_ = size_;
    std::copy_n(text(), size_, grown.data_.get());
    Swap(&grown);
  }
  std::copy(octets.begin(), octets.end(), data_.get() + size_);
  size_ += octets.size();
  data_[size_] = '\0';
}

void Secret::Cut(size_t size) {
  if (data_ == nullptr) return;
  explicit_bzero(data_.get() + size, size_ - size);
  size_ = size;
}

void Secret::DropLineEnd() {
  size_t size = size_;
  if (size > 0 && data_[size - 1] == '\n') --size;
  if (size < size_ && size > 0 && data_[size - 1] == '\r') --size;
  Cut(size);
}

// ---- sources -------------------------------------------------------------------------------

int ReadAll(int descriptor, size_t most, Secret* secret) {
  Chunk chunk;
  for (;;) {
    const ssize_t count = read(descriptor, chunk.octets.data(), chunk.octets.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return count < 0 ? errno : 0;
    secret->Append({chunk.octets.data(), static_cast<size_t>(count)});
    if (secret->view().size() > most) return EFBIG;
  }
}

int ReadAll(const std::string& path, size_t most, Secret* secret) {
  if (path == "-") return ReadAll(STDIN_FILENO, most, secret);
  const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
  return file.number < 0 ? errno : ReadAll(file.number, most, secret);
}

int AskSecret(std::string_view question, Secret* secret) {
  const Descriptor terminal(open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY));
  if (terminal.number < 0) return ENXIO;
  const SilentTerminal silence(terminal.number);
  if (!silence.silent()) return ENXIO;
  if (write(terminal.number, question.data(), question.size()) < 0) return errno;
  const int error = ReadLine(silence, terminal.number, secret);
  return write(terminal.number, "\n", 1) < 0 && error == 0 ? errno : error;
}

bool DecodeHex(std::string_view digits, Secret* octets) {
  if (digits.size() % 2 != 0) return false;
  for (size_t at = 0; at < digits.size(); at += 2) {
    uint8_t octet = 0;
    const char* end = digits.data() + at + 2;
    const auto [stop, error] = std::from_chars(end - 2, end, octet, 16);
    if (error != std::errc() || stop != end) return false;
    octets->Append({reinterpret_cast<const char*>(&octet), 1});
  }
  return true;
}

}  // namespace corvid::tool
