#include "util/chronex_trail/run/trail_run.h"

#include <algorithm>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <tuple>

#include "util/chronex/messages/run_failed.h"
#include "util/chronex_trail/run/exit_status.h"
#include "util/chronex_trail/run/filter_error.h"
#include "util/chronex_trail/values/utf8_text.h"
#include "util/libmkey/mkey.h"

namespace {

std::string base_name(const std::string& name) {
  std::string base = name.substr(name.rfind('/') + 1);
  if (base.ends_with(".gz")) base.resize(base.size() - 3);
  return base;
}

// Whether two names are those of one log, wherever it is and compressed or not.
bool is_same_log_name(const std::string& one, const std::string& other) {
  return base_name(one) == base_name(other);
}

// The last forward log of the inputs; null = there is none.
const input_file* last_log(const trail_run& run) {
  const input_file* last = nullptr;
  for (const std::unique_ptr<input_file>& file : run.inputs.files()) {
    if (file->type == FWLOG_FILE) last = file.get();
  }
  return last;
}

int process_rest(trail_run& run, input_file& file) {
  run.goes_on_behind->is_within = false;
  if (file.stream.go_to(run.forward_logs.position.byte)) {
    return run.forward_logs.fwlog_go_on(file);
  }
  report_read_error(file);
  run.messages.print("%s: ends in front of where the state goes on\n",
                     file.name.c_str());
  return -1;
}

int process_input(trail_run& run, input_file& file) {
  const int result = file.type == FWLOG_FILE
                         ? process_log(run, file)
                         : run.audit_files.audit_process_file(file);
  file.stream.suspend();
  return result < 0 ? -1 : 0;
}

// Without the option, damage is told as ever and the status is 0.
bool has_damage(const trail_run& run) {
  return run.forward_logs.passes_over_damage &&
         run.forward_logs.numbers.has_passed_over();
}

int process_files(trail_run& run,
                  std::span<const std::unique_ptr<input_file>> files) {
  const run_progress progress(run.messages, run.inputs, run.progress);
  const input_file* const last = run.expects_growth ? last_log(run) : nullptr;
  for (const std::unique_ptr<input_file>& file : files) {
    if (turn_of(run, *file) == input_turn::passed_over) continue;
    run.forward_logs.is_growing = file.get() == last;
    if (process_input(run, *file) != 0) return -1;
  }
  return 0;
}

// A text of the command line in the characters of the logs; none, with a
// message, when they have no such characters.
std::optional<std::string> in_log_characters(trail_run& run,
                                             const std::string& text) {
  std::optional<std::string> encoded =
      encode_text(text, character_table_of(run.charset_id));
  if (!encoded) {
    run.messages.print(
        "The character set of the input (%s) lacks characters of: %s\n",
        charset_name(run.charset_id), text.c_str());
  }
  return encoded;
}

// Each text is compiled for itself first, so that what is shown of a wrong one
// is what the user wrote.
int set_filter(trail_run& run, const shared_options& options) {
  for (const std::string& text : options.filter_texts) {
    const auto encoded = in_log_characters(run, text);
    if (!encoded || tell_filter_error(text, *encoded, run.messages) ||
        run.filter.append_filter_expr(encoded->c_str()) != 0) {
      return -1;
    }
  }
  return run.filter.setup_filter_expr();
}

int set_item_names(trail_run& run, const shared_options& options) {
  for (const std::string& text : options.item_lists) {
    const auto encoded = in_log_characters(run, text);
    if (!encoded || !run.item_names.add(*encoded)) return -1;
  }
  return 0;
}

// Begins to look for names of the filter and of -I that no input has.
void watch_names(trail_run& run) {
  run.names.emplace(run.filter.filter_expr());
  run.item_names.for_each(
      [&run](std::string_view name) { run.names->add_item_name(name); });
  run.events.names = &*run.names;
}

// Nothing is said about the characters of the filter: they have become those
// of the inputs.
void tell_unknown_names(trail_run& run) {
  text_scratch scratch;
  for (const std::string& note : run.names->notes("")) {
    const decoded_text text =
        decode_text(note, character_table_of(run.charset_id), scratch);
    run.messages.print("%s", std::string(text.utf8).c_str());
  }
}

// Calls what processes inputs and takes what it throws. Returns the exit
// status.
int status_of(trail_run& run, const std::function<int()>& process) {
  try {
    if (process() != 0) return EXIT_ERROR;
    return has_damage(run) ? EXIT_DAMAGED : 0;
  } catch (const run_failed&) {
    return EXIT_ERROR;
  } catch (const std::bad_alloc&) {
    run.messages.print("Memory allocation failed\n");
    return EXIT_ERROR;
  }
}

}  // namespace

input_turn turn_of(const trail_run& run, const input_file& file) {
  if (!run.goes_on_behind || file.type != FWLOG_FILE) {
    return input_turn::processed;
  }
  const trail_run::log_place& last = *run.goes_on_behind;
  const auto place = std::tie(file.generation, file.sequence);
  const auto last_place = std::tie(last.generation, last.sequence);
  if (place > last_place) return input_turn::processed;
  if (place < last_place) return input_turn::passed_over;
  if (last.is_within) {
    return last.rest == nullptr || last.rest == &file ? input_turn::continued
                                                      : input_turn::passed_over;
  }
  // Under another name it is a log that repeats this one.
  return had_its_turn(run, file) ? input_turn::passed_over
                                 : input_turn::processed;
}

bool had_its_turn(const trail_run& run, const input_file& file) {
  return run.goes_on_behind &&
         std::ranges::any_of(run.goes_on_behind->names,
                             [&file](const std::string& name) {
                               return is_same_log_name(file.name, name);
                             });
}

int process_log(trail_run& run, input_file& file) {
  if (turn_of(run, file) == input_turn::continued) {
    return process_rest(run, file);
  }
  // The log that was not at its end does not come again.
  const log_position& position = run.forward_logs.position;
  if (position.file != nullptr && !position.is_done) {
    run.forward_logs.tell_missing_rest();
  }
  return run.forward_logs.fwlog_process_file(file);
}

bool is_same_log(const input_file& one, const input_file& other) {
  return std::tie(one.type, one.generation, one.sequence) ==
             std::tie(other.type, other.generation, other.sequence) &&
         is_same_log_name(one.name, other.name);
}

void take_damage_option(trail_run& run, const shared_options& options) {
  run.inputs.passes_over_damage = options.passes_over_damage;
  run.forward_logs.passes_over_damage = options.passes_over_damage;
  run.forward_logs.numbers.loses_actions_in_gaps = options.passes_over_damage;
}

int prepare_selection(trail_run& run, const shared_options& options) {
  if (set_filter(run, options) != 0) return -1;
  if (set_item_names(run, options) != 0) return -1;
  watch_names(run);
  return 0;
}

int prepare_run(trail_run& run, const shared_options& options) {
  run.progress = options.progress;
  if (options.use_master_keys && ko_mkey_init() != 0) return -1;
  take_damage_option(run, options);
  if (run.inputs.open(options.operands) != 0) return -1;
  return prepare_selection(run, options);
}

int guarded_run(trail_run& run, const std::function<int()>& process) {
  const int status = status_of(run, process);
  if (status != EXIT_ERROR && run.is_last_piece) tell_unknown_names(run);
  return status;
}

int process_some(trail_run& run, std::size_t begin, std::size_t end) {
  return status_of(run, [&run, begin, end] {
    return process_files(run, run.inputs.files().subspan(begin, end - begin));
  });
}

int process_inputs(trail_run& run) {
  return guarded_run(run,
                     [&run] { return process_files(run, run.inputs.files()); });
}
