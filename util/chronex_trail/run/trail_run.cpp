#include "util/chronex_trail/run/trail_run.h"

#include <memory>
#include <new>
#include <optional>
#include <string>

#include "util/chronex/messages/run_failed.h"
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

int set_filter(trail_run& run, const shared_options& options) {
  for (const std::string& text : options.filter_texts) {
    const auto encoded = in_log_characters(run, text);
    if (!encoded || run.filter.append_filter_expr(encoded->c_str()) != 0) {
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

}  // namespace

int prepare_run(trail_run& run, const shared_options& options) {
  if (options.use_master_keys && ko_mkey_init() != 0) return -1;
  if (run.inputs.open(options.operands) != 0) return -1;
  if (set_filter(run, options) != 0) return -1;
  return set_item_names(run, options);
}

int process_inputs(trail_run& run) {
  try {
    return process_files(run);
  } catch (const run_failed&) {
    return EXIT_ERROR;
  } catch (const std::bad_alloc&) {
    run.messages.print("Memory allocation failed\n");
    return EXIT_ERROR;
  }
}
