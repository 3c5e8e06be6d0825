#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_RUN_JOB_POOL_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_RUN_JOB_POOL_H

// Processes that make the parts of an output side by side, each a copy of this
// one at the moment when its part begins.
//
// What they write is put together in the order in which they were started, and
// so are their messages. The first writes straight to the output and to
// standard error, the others to files without a name.

#include <sys/types.h>

#include <cstddef>
#include <deque>
#include <functional>
#include <string>

#include "util/chronex/messages/messages.h"

// How a job ends.
enum class job_end : int {
  // With the run, whose exit status is 0 or 1.
  whole = 0,
  failed = 1,
  // Where another job goes on.
  border = 3,
};

class job_pool {
 public:
  // `output` takes the parts. Those that wait for their turn are in `directory`
  // meanwhile. `append` adds a part, an open file, to the output; it returns 0,
  // or -1 with a message.
  job_pool(std::size_t jobs, int output, std::string directory,
           std::function<int(int part)> append, run_messages& messages);
  ~job_pool();
  job_pool(const job_pool&) = delete;
  job_pool& operator=(const job_pool&) = delete;

  // Starts a job, once not all are busy. Returns where it writes its part, in
  // its own process; -1 in this one. Throws run_failed.
  int start();

  // What is told on standard error from now on is told by jobs.
  void keep_silent();

  // Waits for all jobs. Returns the exit status of the whole.
  int finish();

 private:
  struct job {
    pid_t process = -1;
    int output = -1;
    int messages = -1;
    bool is_running = true;
    int status = 0;
  };

  int open_part();
  void await_one();
  void hand_on();
  int take_over(const job& mine) const;
  [[noreturn]] void fail(const char* what);

  const std::size_t jobs_;
  const int output_;
  const std::string directory_;
  const std::function<int(int part)> append_;
  run_messages& messages_;
  // Standard error as it was.
  int standard_error_ = -1;
  // In the order of their parts; those that were handed on are gone.
  std::deque<job> pending_;
  std::size_t running_ = 0;
  bool is_first_ = true;
  // The end of the last job that was handed on; parts behind one that failed
  // are dropped.
  job_end end_ = job_end::border;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_RUN_JOB_POOL_H
