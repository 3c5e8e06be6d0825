#include "util/chronex_trail/run/trail_run.h"

#include <memory>
#include <new>
#include <optional>
#include <string>

#include "util/chronex/messages/run_failed.h"
#include "util/chronex_trail/run/filter_error.h"
#include "util/chronex_trail/values/utf8_text.h"
#include "util/libmkey/mkey.h"

namespace {

constexpr int EXIT_ERROR = 1;

int process_input(trail_run& run, input_file& file) {
  const int result = file.type == FWLOG_FILE
                         ? run.forward_logs.fwlog_process_file(file)
                         : run.audit_files.audit_process_file(file);
  file.stream.suspend();
  return result < 0 ? -1 : 0;
}

int process_files(trail_run& run) {
  const run_progress progress(run.messages, run.inputs, run.progress);
  for (const std::unique_ptr<input_file>& file : run.inputs.files()) {
    if (process_input(run, *file) != 0) return EXIT_ERROR;
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

}  // namespace

int prepare_run(trail_run& run, const shared_options& options) {
  run.progress = options.progress;
  if (options.use_master_keys && ko_mkey_init() != 0) return -1;
  if (run.inputs.open(options.operands) != 0) return -1;
  if (set_filter(run, options) != 0) return -1;
  if (set_item_names(run, options) != 0) return -1;
  watch_names(run);
  return 0;
}

int process_inputs(trail_run& run) {
  try {
    const int status = process_files(run);
    if (status == 0) tell_unknown_names(run);
    return status;
  } catch (const run_failed&) {
    return EXIT_ERROR;
  } catch (const std::bad_alloc&) {
    run.messages.print("Memory allocation failed\n");
    return EXIT_ERROR;
  }
}
