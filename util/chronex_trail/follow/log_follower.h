#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_FOLLOW_LOG_FOLLOWER_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_FOLLOW_LOG_FOLLOWER_H

// Reads the logs of a server as they are written: waits at the end of the last
// one, and goes on with the next one behind the end tag of each.
//
// Only the last log is waited for. One that has no end tag, but another log
// behind it that has actions, is left when it has not grown for some seconds:
// the server has stopped without writing the rest.

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "util/chronex/input/growth_watch.h"
#include "util/chronex/input/input_file.h"
#include "util/chronex_trail/follow/change_events.h"
#include "util/chronex_trail/follow/log_catalogue.h"
#include "util/chronex_trail/run/trail_run.h"

class log_follower : public growth_watch {
 public:
  // The run is the caller's.
  explicit log_follower(trail_run& run) : run_(run) {}

  // Begins to follow directories and files. The logs that come behind files
  // are looked for beside them. SIGTERM and SIGINT end the waiting from now on.
  // Returns 0, or -1 with a message.
  int open(std::span<char* const> operands);

  // Goes on behind the log of this number, or with it, if its rest is still to
  // be read. To be called before any log was asked for. Returns 0, or -1 with a
  // message.
  int go_on_behind(const log_number& last, bool is_within);

  static constexpr std::chrono::milliseconds LONGEST_WAIT{60000};
  // Called before each wait, and between logs, when the run stands between two
  // actions: lets out what was read so far. Returns how long the wait may be at
  // most.
  std::function<std::chrono::milliseconds()> before_wait = [] {
    return LONGEST_WAIT;
  };
  // Called between two actions, too, a few times in a megabyte of what is there
  // to be read without a wait.
  std::function<void()> on_the_way = [] {};
  // Called with the name of each log before it is read. Not 0 = the run fails.
  std::function<int(const std::string&)> check_log;
  // Whether a log, of this name, begins as the one whose rest is still to be
  // read. None of those with its number does: the first is taken.
  std::function<bool(const std::string&)> has_rest = [](const auto&) {
    return true;
  };

  // The next log, its header read; waits for it. Null when the run is to end:
  // it has failed, with a message, or it was asked to. Logs stay the
  // follower's, and stay known, but for their streams.
  input_file* next();
  bool has_failed() const { return has_failed_; }

  bool wait_for_more(int descriptor) override;
  bool stopped() const override;

 private:
  using clock = std::chrono::steady_clock;
  enum class growth { more, none, shrunk };

  int add(const std::string& name);
  bool open_log(const log_catalogue::entry& entry);
  void note_progress(const input_file& log) const;
  const log_catalogue::entry* next_entry() const;
  bool is_due(const log_catalogue::entry& entry);
  bool has_settled(const std::string& name);
  growth growth_of(int descriptor);
  bool is_left_behind();
  void look_for_changes(int descriptor);
  void tell(const char* what);
  void wait(std::chrono::milliseconds limit);

  trail_run& run_;
  std::optional<change_events> events_;
  log_catalogue catalogue_{run_.messages};
  // All logs so far; events may still tell of their names.
  std::vector<std::unique_ptr<input_file>> logs_;
  std::optional<log_number> current_;
  // The rest of that log is what comes next.
  bool is_within_ = false;
  // When something that is waited for was seen missing first.
  std::optional<clock::time_point> missing_since_;
  bool was_moved_ = false;
  bool has_failed_ = false;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_FOLLOW_LOG_FOLLOWER_H
