#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_RUN_TRAIL_RUN_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_RUN_TRAIL_RUN_H

// A run of the stages that chronex has, too, up to the outputs; each command
// adds its own.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "util/chronex/audit_file/audit_reader.h"
#include "util/chronex/filter/filter.h"
#include "util/chronex/filter/item_names.h"
#include "util/chronex/filter/name_check.h"
#include "util/chronex/forward_log/fwlog.h"
#include "util/chronex/input/charset.h"
#include "util/chronex/input/scratch.h"
#include "util/chronex/messages/messages.h"
#include "util/chronex/run/inputs.h"
#include "util/chronex/run/progress.h"
#include "util/chronex/trail/trail.h"
#include "util/chronex_trail/run/exit_status.h"
#include "util/chronex_trail/run/shared_options.h"

struct trail_run {
  run_messages messages;
  run_filter filter{messages};
  item_name_list item_names{messages};
  // Set once the run is prepared.
  std::optional<name_check> names;
  trail events{messages, filter};
  scratch_buffer scratch{messages};
  fwlog_reader forward_logs{events, scratch};
  audit_reader audit_files{events, scratch};
  // NO_CHARSET until an input header fixes it.
  int charset_id = NO_CHARSET;
  input_list inputs{messages, charset_id};
  progress_mode progress = progress_mode::automatic;

  // Where the run goes on behind another: the place of the forward log that
  // came last, the names of those that had their turn there, and whether it is
  // still to be read on. Nothing: the run begins with nothing.
  struct log_place {
    std::uint32_t generation = 0;
    std::uint32_t sequence = 0;
    std::vector<std::string> names;
    bool is_within = false;
    // The input that has the rest of it; null: the next of its numbers has.
    const input_file* rest = nullptr;
  };
  std::optional<log_place> goes_on_behind;
  // Inputs of that run, without a stream.
  std::vector<std::unique_ptr<input_file>> earlier_files;
  // A log that ends without its end tag may grow: another run goes on there.
  bool expects_growth = false;
  // What the trail lacks is known at its end only.
  bool is_last_piece = true;
};

// What is to be done with an input.
enum class input_turn { passed_over, continued, processed };

// Of a run that goes on behind another, logs that were dealt with have had
// their turn.
input_turn turn_of(const trail_run& run, const input_file& file);

// Whether a log of this name, wherever it is and compressed or not, has had its
// turn where the run goes on.
bool had_its_turn(const trail_run& run, const input_file& file);

// Processes a forward log, or the rest of the one that the run goes on behind.
// Returns what the reader does.
int process_log(trail_run& run, input_file& file);

// Whether it is the same log, wherever it is and compressed or not.
bool is_same_log(const input_file& one, const input_file& other);

// Unlocks master keys, opens the inputs and reads their headers, and compiles
// the filter: all that can fail before something is written. Returns 0, or -1
// with a message.
int prepare_run(trail_run& run, const shared_options& options);

// The parts of this for a run that does not open its inputs at once: what
// --resync asks for, and the selection by filter and items, when a header has
// been read.
void take_damage_option(trail_run& run, const shared_options& options);
int prepare_selection(trail_run& run, const shared_options& options);

// Calls what processes inputs, which returns 0, or -1 with a message, and takes
// what it throws. Returns what process_inputs does.
int guarded_run(trail_run& run, const std::function<int()>& process);

// Processes all inputs, and says on standard error which names of the filter
// and of -I none of them has. Returns the exit status, 0, 1 or EXIT_DAMAGED;
// messages have been printed.
int process_inputs(trail_run& run);

// The same for some of the inputs, from `begin` up to, but without, `end`; no
// names are told.
int process_some(trail_run& run, std::size_t begin, std::size_t end);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_RUN_TRAIL_RUN_H
