#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_FOLLOW_FOLLOW_RUN_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_FOLLOW_FOLLOW_RUN_H

#include <functional>

#include "util/chronex_trail/follow/log_follower.h"
#include "util/chronex_trail/run/trail_run.h"
#include "util/chronex_trail/run/trail_state.h"

// A run over the logs of a server that go on while it reads them.
class follow_run {
 public:
  // The run is the caller's.
  explicit follow_run(trail_run& run) : follower(run), run_(run) {}

  log_follower follower;

  // Finds the logs, waits for the first one, and prepares the run. `state`,
  // which was read, is what it goes on from; it stays the caller's, and knows
  // which log is the first. Null: the run begins with nothing. Returns 0, or -1
  // with a message.
  int prepare(const shared_options& options, trail_state* state = nullptr);

  // The first log; null = the run was asked to end before there was one, or
  // goes on from a state.
  const input_file* first() const { return first_; }

  // Processes logs until the run is asked to end; the last action was whole
  // then. Returns the exit status, as process_inputs does.
  int process();

 private:
  int go_on();
  int process_log(input_file& log);
  int process_logs();

  trail_run& run_;
  trail_state* state_ = nullptr;
  input_file* first_ = nullptr;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_FOLLOW_FOLLOW_RUN_H
