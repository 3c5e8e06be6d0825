// The audit-trail utility of the KORVALINE database: forward-log and audit
// files in, a clear-text report and a binary audit file out.

#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <span>

#include "util/chronex/messages/run_failed.h"
#include "util/chronex/run/options.h"
#include "util/chronex/run/output_check.h"
#include "util/chronex/run/progress.h"
#include "util/chronex/run/run.h"
#include "util/chronex/run/standard_descriptors.h"
#include "util/chronex/run/usage.h"
#include "util/libmkey/mkey.h"

namespace {

constexpr int EXIT_ERROR = 1;

// Makes sure that what was printed has reached its destination.
int close_report(run_messages& messages, report_stream& standard_output) {
  standard_output.flush();
  int error = standard_output.error();
  if (error == 0 && close(STDOUT_FILENO) != 0) error = errno;
  if (error == 0) return 0;
  errno = error;
  messages.perror("stdout");
  messages.print("Failed to write report\n");
  return -1;
}

int print_version() {
  run_messages messages;
  const auto standard_output = std::make_unique<report_stream>(STDOUT_FILENO);
  standard_output->put(VERSION_LINE);
  standard_output->put('\n');
  return close_report(messages, *standard_output) == 0 ? 0 : EXIT_ERROR;
}

// Decrypted records are for those who have the keys.
constexpr mode_t PERMISSIONS = 0666;
constexpr mode_t PERMISSIONS_WITH_KEYS = 0600;

int check_outputs(chronex_run& run, const command_line& options) {
  files_read files{.operands = options.operands,
                   .filter_files = options.filter_files};
  if (options.crypt_flag) {
    files.key_files = ko_mkey_files(std::getenv("KO_MKEYFILE"));
  }
  output_to_check output{
      .kind = options.audit_to_stdout ? "audit output" : "report",
      .descriptor = STDOUT_FILENO};
  if (check_output_file(files, output, run.messages) != 0) return -1;
  const char* const name = run.audit.stream.audit_fname;
  if (name == nullptr || options.audit_to_stdout) return 0;
  output = {.kind = "audit output", .name = name};
  return check_output_file(files, output, run.messages);
}

int open_audit_output(chronex_run& run, const command_line& options) {
  audit_stream& audit = run.audit.stream;
  if (audit.audit_fname == nullptr) return 0;
  // The audit file is completed even if nobody reads the report any more.
  std::signal(SIGPIPE, SIG_IGN);
  if (audit.audit_open(
          options.audit_to_stdout, options.compress_count,
          options.crypt_flag ? PERMISSIONS_WITH_KEYS : PERMISSIONS) != 0) {
    return -1;
  }
  run.events.add_output(run.audit);
  return 0;
}

int process_files(chronex_run& run) {
  const run_progress progress(run.messages, run.inputs,
                              progress_mode::automatic);
  for (const std::unique_ptr<input_file>& file : run.inputs.files()) {
    if (process_input(run, *file) != 0) return -1;
  }
  return 0;
}

// The run up to the closing of its outputs. Returns the exit status.
int run_steps(int argc, char* argv[], chronex_run& run,
              report_stream& standard_output) {
  command_line options;
  const int status = options_parse(argc, argv, run, options);
  if (status != 0) return status;
  if (run.filter.setup_filter_expr() != 0) return EXIT_ERROR;
  if (options.crypt_flag && ko_mkey_init() != 0) return EXIT_ERROR;
  if (check_outputs(run, options) != 0 ||
      open_audit_output(run, options) != 0) {
    return EXIT_ERROR;
  }
  options_apply_to_report(options, run, standard_output);
  run.events.watched = standard_output.on_terminal();
  // In a pipe or a file nothing is added to what the inputs give rise to.
  if (run.messages.on_terminal) watch_names(run);

  if (run.inputs.open(options.operands) != 0) return EXIT_ERROR;
  if (run.audit.stream.is_open() &&
      run.audit.audit_write_header(run.charset_id, options.user_comment) != 0) {
    return EXIT_ERROR;
  }
  if (process_files(run) != 0) return EXIT_ERROR;
  tell_unknown_names(run);
  return 0;
}

// The run, with whatever ends it early turned into an exit status.
int run_to_status(int argc, char* argv[], chronex_run& run,
                  report_stream& standard_output) {
  try {
    return run_steps(argc, argv, run, standard_output);
  } catch (const run_failed&) {
    return EXIT_ERROR;
  } catch (const std::bad_alloc&) {
    run.messages.print("Memory allocation failed\n");
    return EXIT_ERROR;
  }
}

}  // namespace

int main(int argc, char* argv[]) {
  occupy_standard_descriptors();
  const std::span arguments(argv, static_cast<std::size_t>(argc));
  if (argc < 2 || std::strcmp(arguments[1], "-help") == 0) usage();
  if (argc == 2 && std::strcmp(arguments[1], "-version") == 0) {
    return print_version();
  }
  static report_stream standard_output(STDOUT_FILENO);
  static chronex_run run;
  int status = run_to_status(argc, argv, run, standard_output);
  if (run.audit.stream.audit_close() != 0) status = EXIT_ERROR;
  if (run.report.report.fp != nullptr &&
      close_report(run.messages, standard_output) != 0) {
    status = EXIT_ERROR;
  }
  return status;
}
