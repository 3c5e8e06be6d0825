#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_RUN_JOB_POOL_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_RUN_JOB_POOL_H

// Processes that make the parts of an output side by side, each a copy of this
// one at the moment when they begin.
//
// Each goes over all inputs and makes the parts that it claims. They write in
// the order of the parts, each in its turn, and so do they tell their messages.

#include <sys/types.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "util/chronex/input/input_relay.h"
#include "util/chronex/messages/messages.h"
#include "util/chronex_trail/run/job_end.h"
#include "util/chronex_trail/run/job_turns.h"

class job_pool {
 public:
  job_pool(std::size_t jobs, run_messages& messages)
      : jobs_(jobs), messages_(messages) {}
  ~job_pool();
  job_pool(const job_pool&) = delete;
  job_pool& operator=(const job_pool&) = delete;

  // Makes what the jobs have in common; the relay's ring has `input` bytes.
  // Throws run_failed.
  void open(std::size_t input);

  input_relay& relay() { return relay_; }
  job_turns& turns() { return turns_; }

  // Starts the jobs. In the process of each of them, returns its index. Throws
  // run_failed.
  std::optional<std::size_t> start();

  // Of a job, whose standard error is kept until the turn of its part has come.

  // Drops what was kept.
  void drop_messages() const;
  // Returns and drops what was kept.
  std::string take_messages() const;
  // Tells messages, and what comes from now on at once.
  void tell_messages(std::string_view messages) const;
  // Keeps what comes from now on.
  void keep_messages() const;

  // Waits for all jobs. Returns the exit status of the whole.
  int finish();

 private:
  struct job {
    pid_t process;
    bool is_running = true;
  };

  bool start_job(std::size_t index, pid_t parent);
  void begin_job(std::size_t index, pid_t parent);
  bool is_running() const;
  void await_one();
  void take_end(int status);
  void end_with_signal(int number);
  void stop();
  [[noreturn]] void fail(const char* what);

  const std::size_t jobs_;
  run_messages& messages_;
  input_relay relay_;
  job_turns turns_;
  // Empty in a job.
  std::vector<job> running_;
  // In a job: standard error as it was, and a file without a name.
  int standard_error_ = -1;
  int kept_messages_ = -1;
  // That of the job that has ended the whole.
  job_end end_ = job_end::idle;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_RUN_JOB_POOL_H
