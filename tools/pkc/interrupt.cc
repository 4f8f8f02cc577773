// A pipe that the signal handler writes to wakes whichever thread waits for input.
#include "interrupt.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>

namespace corvid::tool {
namespace {

std::atomic<int> g_signal{0};
int g_wakers[2] = {-1, -1};

void OnSignal(int number) {
  const int before = errno;
  g_signal = number;
  static_cast<void>(!write(g_wakers[1], "", 1));
  errno = before;
}

}  // namespace

void CatchInterrupts() {
  if (pipe2(g_wakers, O_CLOEXEC | O_NONBLOCK) != 0) return;
  struct sigaction action {};
  action.sa_handler = OnSignal;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction before {};
    sigaction(number, nullptr, &before);
    if (before.sa_handler != SIG_IGN) sigaction(number, &action, nullptr);
  }
}

int Interrupt() { return g_signal; }

bool HasInput(int descriptor, bool wait) {
  pollfd waited[] = {{descriptor, POLLIN, 0}, {g_wakers[0], POLLIN, 0}};
  while (poll(waited, 2, wait ? -1 : 0) < 0 && errno == EINTR && Interrupt() == 0) {
  }
  return waited[0].revents != 0;
}

}  // namespace corvid::tool
