#include "util/chronex_trail/follow/stop_signal.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <initializer_list>

namespace {

// What a signal handler may touch.
volatile std::sig_atomic_t stop_requested = 0;
volatile std::sig_atomic_t stop_descriptor = -1;

void request_stop(int /*signal*/) {
  const int error = errno;
  stop_requested = 1;
  const std::uint64_t one = 1;
  if (write(stop_descriptor, &one, sizeof one) < 0) {
    // Whoever waits is woken by the signal itself then.
  }
  errno = error;
}

}  // namespace

int catch_stop_signals() {
  if (stop_descriptor < 0) {
    stop_descriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  }
  struct sigaction action {};
  action.sa_handler = request_stop;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  sigemptyset(&action.sa_mask);
  for (const int signal : {SIGTERM, SIGINT}) {
    if (sigaction(signal, &action, nullptr) != 0) return -1;
  }
  return stop_descriptor;
}

bool stop_was_requested() { return stop_requested != 0; }
