#ifndef CHRONEX_UTIL_CHRONEX_MESSAGES_MESSAGES_H
#define CHRONEX_UTIL_CHRONEX_MESSAGES_MESSAGES_H

// The messages of a run on standard error.
//
// They must keep their place beside what the run reports on standard output, so
// whatever was reported before a message is handed to the system first.

#include <functional>
#include <string>
#include <utility>

#include "util/chronex/messages/progress_line.h"

class run_messages {
 public:
  run_messages();
  run_messages(const run_messages&) = delete;
  run_messages& operator=(const run_messages&) = delete;

  // `let_out` hands out what the run's outputs hold back. It is called before
  // each message, and by whoever is about to wait.
  void set_let_out(std::function<void()> let_out) {
    let_out_ = std::move(let_out);
  }
  void let_out() const {
    if (let_out_) let_out_();
  }

  // To be called by whoever is about to print a message by other means.
  void make_way() {
    progress.clear();
    let_out();
  }

  // Prints a formatted text as it is.
  [[gnu::format(printf, 2, 3)]] void print(const char* format, ...);
  // Prints the system error of errno with the name of a file or call before it.
  void perror(const char* name);

  // Standard error is a terminal.
  const bool on_terminal;

  // Nothing is printed: what happens was told, or will be, by another run.
  bool silent = false;

  // The number of -v options.
  int verbose = 0;

  // How far the run is; messages take its place.
  progress_line progress;

 private:
  std::function<void()> let_out_;
};

// Whether the descriptor is a terminal. Leaves errno alone, which some messages
// tell although no call has failed.
bool is_terminal(int descriptor);

// A text formatted like printf.
[[gnu::format(printf, 1, 2)]] std::string format_text(const char* format, ...);

#endif  // CHRONEX_UTIL_CHRONEX_MESSAGES_MESSAGES_H
