// The audit-trail utility of the KORVALINE database: forward-log and audit
// files in, a clear-text report and a binary audit file out.

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <new>
#include <span>

#include "util/chronex/audit_file/audit_writer.h"
#include "util/chronex/filter/filter.h"
#include "util/chronex/messages/run_failed.h"
#include "util/chronex/report/report.h"
#include "util/chronex/run/inputs.h"
#include "util/chronex/run/options.h"
#include "util/chronex/run/usage.h"
#include "util/libmkey/mkey.h"

namespace {

constexpr int EXIT_ERROR = 1;

report_stream standard_output(STDOUT_FILENO);

// A closed standard descriptor would be given to the next file that is opened,
// and reports or messages would end up in it. A placeholder takes its place, in
// the direction that makes every use of it fail.
void occupy_standard_descriptors() {
  for (int descriptor = 0; descriptor <= STDERR_FILENO; ++descriptor) {
    if (fcntl(descriptor, F_GETFD) != -1) continue;
    open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

// Makes sure that what was printed has reached its destination.
int close_report() {
  standard_output.flush();
  int error = standard_output.error();
  if (error == 0 && close(STDOUT_FILENO) != 0) error = errno;
  if (error == 0) return 0;
  errno = error;
  message_perror("stdout");
  message("Failed to write report\n");
  return -1;
}

int print_version() {
  standard_output.put(VERSION_LINE);
  standard_output.put('\n');
  return close_report() == 0 ? 0 : EXIT_ERROR;
}

int open_audit_output(const command_line& options) {
  if (audit_fname == nullptr) return 0;
  const int descriptor = options.audit_to_stdout ? STDOUT_FILENO : -1;
  if (inputs_check_output(options.operands, descriptor, audit_fname) != 0) {
    return -1;
  }
  return audit_open(options.audit_to_stdout, options.compress_count);
}

int process_files(const input_list& inputs) {
  for (const std::unique_ptr<input_file>& file : inputs.files()) {
    if (inputs_process(*file) != 0) return -1;
  }
  return 0;
}

// The run up to the closing of its outputs. Returns the exit status.
int run(int argc, char* argv[]) {
  command_line options;
  const int status = options_parse(argc, argv, options);
  if (status != 0) return status;
  if (setup_filter_expr() != 0) return EXIT_ERROR;
  if (options.crypt_flag && ko_mkey_init() != 0) return EXIT_ERROR;
  if (open_audit_output(options) != 0) return EXIT_ERROR;
  options_apply_to_report(options, standard_output);

  // Inputs stay open until the process ends.
  static input_list inputs;
  if (inputs_open(options.operands, inputs) != 0) return EXIT_ERROR;
  if (audit_fp != nullptr && audit_write_header(options.user_comment) != 0) {
    return EXIT_ERROR;
  }
  return process_files(inputs) == 0 ? 0 : EXIT_ERROR;
}

// The run, with whatever ends it early turned into an exit status.
int run_to_status(int argc, char* argv[]) {
  try {
    return run(argc, argv);
  } catch (const run_failed&) {
    return EXIT_ERROR;
  } catch (const std::bad_alloc&) {
    message("Memory allocation failed\n");
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
  int status = run_to_status(argc, argv);
  if (audit_close() != 0) status = EXIT_ERROR;
  if (report.fp != nullptr && close_report() != 0) status = EXIT_ERROR;
  return status;
}
