#ifndef CHRONEX_BENCH_TIMED_RUN_H
#define CHRONEX_BENCH_TIMED_RUN_H

// Runs a command in a process of its own and measures it.

#include <functional>
#include <string>
#include <vector>

struct timed_run {
  // Exit status; -1 when a signal ended the process.
  int status = 0;
  // From before the process was started until it had ended.
  double seconds = 0;
  // Processor time of the process, in user and in system mode.
  double cpu_seconds = 0;
  // Largest resident size in KiB. The system counts what this process held when
  // it started the other one, so it is never less than that.
  long peak_kib = 0;
};

// Runs words[0] with the other words as arguments; standard output goes to a
// new file. Throws std::runtime_error when no process can be started.
timed_run run_timed(const std::vector<std::string>& words,
                    const std::string& output);

// Calls `work` in a process of its own, so that this one stays small. Throws
// std::runtime_error when it fails; the process has told why.
void run_apart(const std::function<void()>& work);

#endif  // CHRONEX_BENCH_TIMED_RUN_H
