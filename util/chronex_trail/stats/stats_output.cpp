#include "util/chronex_trail/stats/stats_output.h"

#include <new>

#include "util/chronex_trail/stats/completeness_tally.h"
#include "util/chronex_trail/stats/local_hour.h"
#include "util/chronex_trail/stats/name_tally.h"
#include "util/chronex_trail/stats/record_sketch.h"
#include "util/chronex_trail/stats/session_tally.h"
#include "util/chronex_trail/stats/set_numbers.h"

class stats_gatherer {
 public:
  explicit stats_gatherer(std::size_t top)
      : sessions(figures, top), top_(top) {}

  trail_figures figures;
  completeness_tally completeness{figures.completeness};
  session_tally sessions;

  void add(const image_operation& operation, const event_place& place) {
    sessions.add(operation);
    const std::uint32_t number = set_numbers_.of(operation.node, place);
    set_figures& set = figures.data_sets[number];
    set.changes.add(operation.op, operation.timestamp);
    if (operation.before_sealed || operation.after_sealed) ++set.unreadable;
    records_.add(number, operation.recno);
    if (!hours_.is_in(operation.timestamp)) enter_hour(operation.timestamp);
    in_hour_.add(operation.op, operation.timestamp);
  }

  // To be called before another input begins.
  void leave_hour() {
    const op_counts& count = in_hour_.count;
    if (count.total() == 0) return;
    figures.days[hour_.day].add(count);
    figures.hours[hour_.hour_of_week].add(count);
    completeness.add(in_hour_);
    in_hour_ = {};
  }

  void end(int status) {
    sessions.end();
    leave_hour();
    completeness.end();
    for (const name_figures& user : figures.users) {
      figures.changes.add(user.changes);
    }
    for (const set_figures& set : figures.data_sets) {
      figures.completeness.unreadable += set.unreadable;
    }
    figures.completeness.status = status;
    records_.add_waiting();
    figures.records = records_.top(top_);
    figures.record_bound = records_.bound();
    if (figures.record_bound == 0) figures.record_count = records_.watched();
  }

 private:
  // The changes of an hour are counted together.
  void enter_hour(std::uint32_t timestamp) {
    leave_hour();
    hour_ = hours_.enter(timestamp);
  }

  std::size_t top_;
  set_tally sets_{figures.data_sets};
  set_numbers set_numbers_{sets_};
  record_sketch records_;
  local_hours hours_;
  // The hour that hours_ has entered, and the changes of the present input in
  // it that nothing else knows of yet.
  local_hour hour_;
  change_figures in_hour_;
};

template <typename Event>
int stats_output::guarded(const Event& event) {
  try {
    event();
    return 0;
  } catch (const std::bad_alloc&) {
    messages_.perror("malloc");
    messages_.print("Unable to allocate figures\n");
    return -1;
  }
}

stats_output::stats_output(run_messages& messages, std::size_t top)
    : messages_(messages), gatherer_(std::make_unique<stats_gatherer>(top)) {}

stats_output::~stats_output() = default;

int stats_output::file_begins(const input_file& file) {
  return guarded([&] {
    gatherer_->leave_hour();
    gatherer_->completeness.file_begins(file);
    gatherer_->sessions.file_begins(file);
  });
}

int stats_output::file_accepted(const input_file& /*file*/) {
  gatherer_->completeness.file_accepted();
  return 0;
}

void stats_output::session_ends(const session_entry& session) {
  gatherer_->sessions.session_ends(session);
}

sign_on_result stats_output::sign_on(const session_entry& session,
                                     sign_on_caller /*caller*/,
                                     const event_place& /*place*/) {
  const int rc = guarded([&] { gatherer_->sessions.sign_on(session); });
  return rc == 0 ? sign_on_result::shown : sign_on_result::failed;
}

int stats_output::sign_off(const session_entry& session,
                           const event_place& /*place*/) {
  return guarded([&] { gatherer_->sessions.sign_off(session); });
}

int stats_output::memo(const memo_view& memo) {
  return guarded([&] { gatherer_->sessions.memo(memo); });
}

int stats_output::operation(const image_operation& operation,
                            const event_place& place) {
  return guarded([&] { gatherer_->add(operation, place); });
}

int stats_output::notice(const trail_notice& notice) {
  return guarded([&] { gatherer_->completeness.notice(notice); });
}

int stats_output::comment(std::string_view text, const event_place& place) {
  return guarded([&] { gatherer_->completeness.comment(text, place); });
}

const trail_figures& stats_output::end(int status) {
  gatherer_->end(status);
  return gatherer_->figures;
}
