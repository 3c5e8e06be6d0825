#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_STATS_FIGURES_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_STATS_FIGURES_H

// What the figures of a trail are. stats_output.h gathers them.
//
// A change is an operation that the outputs are told of: it has passed the
// filter, and is no repeat of an action that was read before. Its time is that
// of the operation's first part. All texts are UTF-8, as in the JSON events,
// but for control characters, which stand in them as they are. Times are
// seconds since the epoch.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "common/owned_bytes.h"
#include "util/chronex/tables/image_record.h"
#include "util/chronex/trail/output.h"

// How many changes of each kind.
struct op_counts {
  std::uint64_t puts = 0;
  std::uint64_t updates = 0;
  std::uint64_t deletes = 0;

  std::uint64_t total() const { return puts + updates + deletes; }
  // `op` is OP_PUT, OP_UPDATE or OP_DELETE.
  void add(int op) {
    switch (op) {
      case OP_PUT:
        ++puts;
        return;
      case OP_UPDATE:
        ++updates;
        return;
      default:
        ++deletes;
    }
  }
  void add(const op_counts& more) {
    puts += more.puts;
    updates += more.updates;
    deletes += more.deletes;
  }
};

// Some of the changes: how many, and when the earliest and the latest were,
// whatever their order in the trail. Without changes both times are 0.
struct change_figures {
  op_counts count;
  std::uint32_t first = 0;
  std::uint32_t last = 0;

  void add(int op, std::uint32_t timestamp) {
    const bool is_first = count.total() == 0;
    count.add(op);
    if (is_first || timestamp < first) first = timestamp;
    if (is_first || timestamp > last) last = timestamp;
  }
  void add(const change_figures& more) {
    if (more.count.total() == 0) return;
    const bool is_first = count.total() == 0;
    count.add(more.count);
    first = is_first ? more.first : std::min(first, more.first);
    last = is_first ? more.last : std::max(last, more.last);
  }
};

// A user, program or host, by the value that sign-ons have of it.
struct name_figures {
  // Stays the gatherer's. Without an address: of the changes and sessions whose
  // sign-on has no such value.
  std::string_view name;
  change_figures changes;
  // Sign-ons that the outputs were told of.
  std::uint64_t sessions = 0;

  bool known() const { return name.data() != nullptr; }
};

// A data set, by its name and that of its database: nodes of one name are one
// data set, whatever their numbers and schemas. What every change adds to comes
// first and lies in one cache line.
struct alignas(CACHE_LINE) set_figures {
  change_figures changes;
  // Changes of which at least one image has encrypted items that could not be
  // read for want of a key. Audit files do not tell, so those read from them
  // are never among these.
  std::uint64_t unreadable = 0;
  std::string database;
  // False: the database's name is not known, and `database` empty.
  bool has_database = true;
  std::string name;

  // DATABASE.NAME
  std::string full_name() const {
    return has_database ? database + '.' + name : name;
  }
};

// An input, in the order of processing.
struct input_figures {
  // As given, "-" for standard input.
  std::string name;
  // "log", "audit-only" or "audit".
  std::string format;
  std::string character_set;
  // Of forward logs; 0 of audit files.
  std::uint32_t generation = 0;
  std::uint32_t sequence = 0;
  bool is_forward_log = false;
  // False: it was passed over, as it was processed before or is too old.
  bool accepted = false;
  change_figures changes;
};

// From the first to the last, both included.
struct number_range {
  std::uint32_t first = 0;
  std::uint32_t last = 0;
};

// A generation of forward logs of which at least one file is an input.
struct generation_figures {
  std::uint32_t generation = 0;
  // Sequence numbers of its files, ascending. What is behind the last file
  // cannot be known to be missing.
  std::vector<number_range> present;
  std::vector<number_range> missing;
};

// A gap in the numbers of generations, files or actions.
struct gap_figures {
  // missing_generations, missing_files or missing_actions.
  notice_kind kind = notice_kind::missing_actions;
  // Of the input in front of which, or in which, it is.
  std::size_t input = 0;
  std::uint32_t expected = 0;
  std::uint32_t found = 0;
  std::uint32_t missing = 0;
};

// Damage of an input, a warning about one, or the comment of an audit file.
struct notice_figures {
  // Of a comment bad_format, whatever it says.
  notice_kind kind = notice_kind::bad_format;
  // NO_INPUT: of none.
  std::size_t input = 0;
  std::string text;
};

inline constexpr std::size_t NO_INPUT = static_cast<std::size_t>(-1);

// What is there, and what is not. Of what an input can have without end the
// first MAX_LISTED are kept; the numbers are those of all.
struct completeness_figures {
  static constexpr std::size_t MAX_LISTED = 1000;

  std::vector<input_figures> inputs;
  // Ascending.
  std::vector<generation_figures> generations;
  std::vector<number_range> missing_generations;
  std::vector<gap_figures> gaps;
  std::vector<notice_figures> damage;
  std::vector<notice_figures> warnings;
  // What audit files among the inputs say was missing from, or damaged in, the
  // logs that they were made of.
  std::vector<notice_figures> reported;

  // Of all gaps the number, and what is missing in them.
  std::uint64_t gap_count = 0;
  std::uint64_t lost_generations = 0;
  std::uint64_t lost_files = 0;
  std::uint64_t lost_actions = 0;
  std::uint64_t damage_count = 0;
  std::uint64_t warning_count = 0;
  std::uint64_t reported_count = 0;
  // Inputs that were passed over because their version has no changes in it.
  std::uint64_t too_old = 0;
  // Changes with an image that could not be read for want of a key.
  std::uint64_t unreadable = 0;
  // The run's exit status.
  int status = 0;

  // Nothing is known to be missing, damaged or unreadable.
  bool is_complete() const {
    return gap_count == 0 && damage_count == 0 && reported_count == 0 &&
           too_old == 0 && unreadable == 0 && status == 0;
  }
};

// A record, by its data set and number. Only those that are changed most are
// known; of these the number of changes lies between two bounds, which are the
// same as long as few enough records are changed.
struct record_figures {
  // Index into data_sets.
  std::uint32_t data_set = 0;
  std::uint32_t recno = 0;
  std::uint64_t at_least = 0;
  std::uint64_t at_most = 0;
};

// Whose: indexes into users, programs and hosts.
struct worker_numbers {
  std::uint32_t user = 0;
  std::uint32_t program = 0;
  std::uint32_t host = 0;
};

// The changes that a sign-on made behind a DBBEGIN memo that has a text, up to
// its next DBBEGIN or DBEND, its end, or that of the run. Transactions
// without a text leave no trace in a trail, and their changes belong to none.
struct transaction_figures {
  // Its sign-on, and the session's number in the log.
  std::uint64_t sign_on_id = 0;
  std::int32_t session_id = 0;
  worker_numbers worker;
  // Time and place of the DBBEGIN. Its file is an input, its number that of
  // the action or audit record.
  std::uint32_t begun = 0;
  std::size_t input = NO_INPUT;
  std::uint32_t number = 0;
  // The DBBEGIN's text, at most MAX_TEXT of its characters.
  std::string text;
  bool text_cut = false;
  change_figures changes;

  static constexpr std::size_t MAX_TEXT = 200;
};

// A sign-on and what came of it.
struct session_figures {
  std::uint64_t sign_on_id = 0;
  std::int32_t session_id = 0;
  worker_numbers worker;
  // 0 = unknown.
  std::uint32_t connected = 0;
  change_figures changes;
  bool signed_off = false;
};

struct trail_figures {
  completeness_figures completeness;
  change_figures changes;

  // In the order in which the trail named them; nothing is left out.
  std::deque<set_figures> data_sets;
  std::deque<name_figures> users;
  std::deque<name_figures> programs;
  std::deque<name_figures> hosts;

  // In the local time of the run's time zone. Under the days since 1970-01-01;
  // and by hour of week: 0 = Monday from 0:00, 167 = Sunday from 23:00.
  static constexpr std::size_t HOURS_OF_WEEK = 168;
  std::map<std::int32_t, op_counts> days;
  std::vector<op_counts> hours{HOURS_OF_WEEK};

  // Sessions that the outputs were told of, those of them that made changes,
  // and that signed off.
  std::uint64_t session_count = 0;
  std::uint64_t working_session_count = 0;
  std::uint64_t signed_off_count = 0;
  // Transactions with at least one change.
  std::uint64_t transaction_count = 0;

  // The largest, the largest first; of equals the earlier in the trail. They
  // are exact.
  std::vector<transaction_figures> transactions;
  std::vector<session_figures> sessions;

  // The records that are certain to be changed most, by `at_least`, the largest
  // first. A record that is not among those watched has at most `record_bound`
  // changes; 0 = all were watched, and all figures of records are exact.
  std::vector<record_figures> records;
  std::uint64_t record_bound = 0;
  // Different records with changes, as long as all were watched; else 0.
  std::uint64_t record_count = 0;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_STATS_FIGURES_H
