#ifndef CHRONEX_UTIL_CHRONEX_RUN_PROGRESS_H
#define CHRONEX_UTIL_CHRONEX_RUN_PROGRESS_H

// Shows how far a long run is, on the terminal that is standard error.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "util/chronex/messages/messages.h"
#include "util/chronex/run/inputs.h"

enum class progress_mode {
  // While standard error is a terminal and standard output is none: what is
  // reported there shows how far the run is.
  automatic,
  never,
  always,
};

class run_progress {
 public:
  // Watches the inputs of a run from now on, if the mode wants it. Both are the
  // run's and outlive the object. Throws std::bad_alloc.
  run_progress(run_messages& messages, const input_list& inputs,
               progress_mode mode);
  // The line goes, and the inputs are no more watched.
  ~run_progress();
  run_progress(const run_progress&) = delete;
  run_progress& operator=(const run_progress&) = delete;

 private:
  using clock = std::chrono::steady_clock;

  void watch();
  void refilled(std::size_t index);
  void show(const input_file& file, std::uint64_t done, double seconds);

  run_messages& messages_;
  const input_list& inputs_;
  bool watching_ = false;
  // Stored bytes in front of each input, and of all; 0: there are inputs whose
  // size is not known.
  std::vector<std::uint64_t> before_;
  std::uint64_t total_ = 0;
  clock::time_point began_;
  clock::time_point next_;
};

#endif  // CHRONEX_UTIL_CHRONEX_RUN_PROGRESS_H
