#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_RUN_JOB_POOL_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_RUN_JOB_POOL_H

// Processes that make the parts of an output side by side, each a copy of this
// one at the moment when its part begins.
//
// They read what this process reads, through a relay, and write in the order in
// which they were started, each in its turn. So do they tell their messages.

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

#include "util/chronex/input/input_relay.h"
#include "util/chronex/messages/messages.h"
#include "util/chronex_trail/run/job_turns.h"

// How a job ends.
enum class job_end : int {
  // With the run, whose exit status is 0 or 1.
  whole = 0,
  failed = 1,
  // Where another job goes on.
  border = 3,
};

// A job, in its own process.
struct job_identity {
  // Of all, from 0 on.
  std::uint32_t number;
  // Among those that there are at a time.
  std::size_t place;
};

class job_pool {
 public:
  job_pool(std::size_t jobs, run_messages& messages)
      : places_(jobs), messages_(messages) {}
  ~job_pool();
  job_pool(const job_pool&) = delete;
  job_pool& operator=(const job_pool&) = delete;

  // Makes what the jobs have in common: a relay whose ring has `input` bytes,
  // and room for `output` bytes a job. What is told on standard error from then
  // on is told by jobs. Throws run_failed.
  void open(std::size_t input, std::size_t output);

  input_relay& relay() { return relay_; }
  job_turns& turns() { return turns_; }

  // Starts a job, once not all are busy. Returns which it is, in its own
  // process; nothing in this one. Throws run_failed, also when an earlier job
  // has failed.
  std::optional<job_identity> start();
  // Whether this is the process of a job.
  bool is_job() const { return is_job_; }

  // In a job whose turn has come: tells what it had to tell.
  void tell_messages(std::size_t place) const;

  // Waits for all jobs. Returns the exit status of the whole.
  int finish();

 private:
  // One of the jobs that there are at a time.
  struct job_place {
    bool is_taken = false;
    // A file without a name.
    int messages = -1;
  };
  struct job {
    pid_t process;
    std::size_t place;
    bool is_running = true;
    // Of the system.
    int status = 0;
  };

  std::size_t take_place();
  void begin_job(const job_identity& mine, pid_t parent);
  void await_one(int options);
  void hand_on();
  void end_with(const job& last);
  void drop_rest();
  [[noreturn]] void fail(const char* what);

  std::vector<job_place> places_;
  run_messages& messages_;
  input_relay relay_;
  job_turns turns_;
  // Standard error as it was.
  int standard_error_ = -1;
  // In the order of their parts; those whose parts are there are gone.
  std::deque<job> pending_;
  std::uint32_t started_ = 0;
  bool is_job_ = false;
  // The end of the last job whose part is there.
  job_end end_ = job_end::border;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_RUN_JOB_POOL_H
