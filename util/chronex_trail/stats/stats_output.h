#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_STATS_STATS_OUTPUT_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_STATS_STATS_OUTPUT_H

// Gathers the figures of a trail, in one pass.
//
// Memory grows with the number of different names and days and with the
// sessions that are signed on, and with nothing else.

#include <cstddef>
#include <memory>
#include <string_view>

#include "util/chronex/messages/messages.h"
#include "util/chronex/trail/output.h"
#include "util/chronex_trail/stats/figures.h"

class stats_gatherer;

class stats_output : public trail_output {
 public:
  // `messages` stays the caller's. `top`: how many transactions, sessions and
  // records are wanted at most.
  stats_output(run_messages& messages, std::size_t top);
  ~stats_output() override;

  int file_begins(const input_file& file) override;
  int file_accepted(const input_file& file) override;
  void session_ends(const session_entry& session) override;
  sign_on_result sign_on(const session_entry& session, sign_on_caller caller,
                         const event_place& place) override;
  int sign_off(const session_entry& session, const event_place& place) override;
  int memo(const memo_view& memo) override;
  int operation(const image_operation& operation,
                const event_place& place) override;
  int notice(const trail_notice& notice) override;
  int comment(std::string_view text, const event_place& place) override;

  // Ends the gathering; `status` is the run's exit status. The figures stay the
  // output's. Throws std::bad_alloc.
  const trail_figures& end(int status);

 private:
  // Calls what gathers. Without memory what happened is not counted, and the
  // result is -1 with a message.
  template <typename Event>
  int guarded(const Event& event);

  run_messages& messages_;
  std::unique_ptr<stats_gatherer> gatherer_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_STATS_STATS_OUTPUT_H
