#include "util/chronex/messages/progress_line.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <string>

namespace {

constexpr int ENDING_SIGNALS[] = {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM};

constexpr std::string_view BLANKS =
    "                                                                ";

// Columns that are to be taken back.
volatile std::sig_atomic_t columns_shown = 0;

// What the terminal does not take is lost.
void put(std::string_view text) {
  static_cast<void>(!write(STDERR_FILENO, text.data(), text.size()));
}

// Calls nothing that a signal handler may not call.
void take_back() {
  int columns = columns_shown;
  columns_shown = 0;
  if (columns == 0) return;
  put("\r");
  for (; columns > 0; columns -= static_cast<int>(BLANKS.size())) {
    put(BLANKS.substr(0, static_cast<std::size_t>(columns)));
  }
  put("\r");
}

// The signal's own action has been put back, and follows.
extern "C" void end_by_signal(int signal) {
  take_back();
  static_cast<void>(std::raise(signal));
}

// Signals that someone ignores or handles stay as they are.
void catch_signals() {
  static bool is_done = false;
  if (is_done) return;
  is_done = true;
  for (const int signal : ENDING_SIGNALS) {
    struct sigaction action {};
    if (sigaction(signal, nullptr, &action) != 0 ||
        action.sa_handler != SIG_DFL) {
      continue;
    }
    action.sa_handler = end_by_signal;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(signal, &action, nullptr);
  }
}

}  // namespace

void progress_line::show(std::string_view text, int columns) {
  catch_signals();
  const int before = columns_shown;
  std::string line = "\r";
  line += text;
  if (before > columns) {
    line.append(static_cast<std::size_t>(before - columns), ' ');
  }
  columns_shown = std::max(before, columns);
  put(line);
  columns_shown = columns;
}

void progress_line::clear() {
  const int error = errno;
  take_back();
  errno = error;
}
