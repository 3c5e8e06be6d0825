#include "util/chronex/run/options.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "common/owned_bytes.h"
#include "util/chronex/run/usage.h"

namespace {

constexpr int EXIT_ERROR = 1;
constexpr std::size_t MAX_FILTER_FILE_SIZE = 102400;

// "+": parsing stops at the first operand, whatever the environment says.
// ":": the parser keeps silent; its lines are printed here, without the quotes
// that the C library puts around the letter.
constexpr const char* OPTION_LETTERS = "+:c:e:f:I:i:mo:rvxMZ";

struct file_closer {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using open_file = std::unique_ptr<std::FILE, file_closer>;

// Prints the system error for a file, and a message. Returns EXIT_ERROR.
int file_failure(run_messages& messages, const char* file_name,
                 const char* text) {
  messages.perror(file_name);
  messages.print("%s\n", text);
  return EXIT_ERROR;
}

int read_filter_file(const char* name, chronex_run& run) {
  run_messages& messages = run.messages;
  const open_file file(std::fopen(name, "rb"));
  if (!file)
    return file_failure(messages, name,
                        "Unable to open filter file for reading");
  struct stat status {};
  if (stat(name, &status) != 0) {
    return file_failure(messages, name, "Unable to stat filter file");
  }
  const auto size = static_cast<std::size_t>(status.st_size);
  if (size > MAX_FILTER_FILE_SIZE) {
    messages.print("Filter file exceeds maximum size (100kB)\n");
    return EXIT_ERROR;
  }
  owned_bytes text;
  if (!text.allocate(size + 1)) {
    messages.perror(name);
    messages.print("Unable to allocate %d bytes\n", static_cast<int>(size + 1));
    return EXIT_ERROR;
  }
  if (std::fread(text.data(), size, 1, file.get()) != 1) {
    return file_failure(messages, name, "Failed to read filter file");
  }
  text.data()[size] = 0;
  const char* filter_text = reinterpret_cast<const char*>(text.data());
  return run.filter.append_filter_expr(filter_text) == 0 ? 0 : EXIT_ERROR;
}

void set_audit_output(const char* name, chronex_run& run,
                      command_line& options) {
  options.audit_to_stdout = std::strcmp(name, "-") == 0;
  run.audit.stream.audit_fname = options.audit_to_stdout ? "stdout" : name;
}

int parse_item_limit(const char* text) {
  const long number = std::strtol(text, nullptr, 10);
  return static_cast<int>(std::clamp<long>(number, INT_MIN, INT_MAX));
}

// Applies one option. Returns 0 or the exit status that ends the run.
int apply_option(int letter, const char* argument, chronex_run& run,
                 command_line& options) {
  switch (letter) {
    case 'c':
      options.user_comment = argument;
      return 0;
    case 'e':
      return run.filter.append_filter_expr(argument) == 0 ? 0 : EXIT_ERROR;
    case 'f':
      options.filter_files.push_back(argument);
      return read_filter_file(argument, run);
    case 'I':
      return run.item_names.add(argument) ? 0 : EXIT_ERROR;
    case 'i':
      options.item_limit = parse_item_limit(argument);
      return 0;
    case 'm':
      ++options.memo_count;
      return 0;
    case 'o':
      set_audit_output(argument, run, options);
      return 0;
    case 'r':
      ++options.report_count;
      return 0;
    case 'v':
      ++run.messages.verbose;
      return 0;
    case 'x':
      ++options.dump_count;
      return 0;
    case 'M':
      options.crypt_flag = true;
      return 0;
    default:
      ++options.compress_count;
      return 0;
  }
}

void report_option_error(run_messages& messages, const char* program,
                         int result) {
  messages.print(result == ':' ? "%s: option requires an argument -- %c\n"
                               : "%s: invalid option -- %c\n",
                 program, optopt);
  messages.print("Unrecognized option: - %c\n", optopt);
}

// -r shows operations; with -v, -i or -I also the values of their items.
void apply_report_option(const command_line& options, chronex_run& run) {
  report_settings& report = run.report.report;
  const int verbose = run.messages.verbose;
  report.sign_on_level = 2;
  report.image_level = 2;
  if (verbose > 0) {
    report.blank_line = 1;
    report.comment_level = 2;
  }
  if (verbose > 0 || options.item_limit >= 1 ||
      run.item_names.has_item_name_list != 0) {
    report.blank_line = 1;
    report.image_level = 3;
    report.item_limit = options.item_limit;
  }
}

void warn_about_item_options(const command_line& options, chronex_run& run) {
  if (options.item_limit >= 1) {
    run.messages.print(
        "WARNING: Option -i has no effect because -r is not specified\n");
  }
  if (run.item_names.has_item_name_list != 0) {
    run.messages.print(
        "WARNING: Option -I has no effect because -r is not specified\n");
  }
}

void apply_dump_option(report_settings& report) {
  report.blank_line = 1;
  report.file_level = 2;
  report.comment_level = 2;
  report.sign_on_level = 2;
  report.sign_off_level = 1;
  report.memo_dump = 1;
  report.schema_level = 2;
  report.image_dump = 1;
}

}  // namespace

int options_parse(int argc, char* argv[], chronex_run& run,
                  command_line& options) {
  int errors = 0;
  int letter = 0;
  opterr = 0;
  while ((letter = getopt(argc, argv, OPTION_LETTERS)) != -1) {
    if (letter == '?' || letter == ':') {
      report_option_error(run.messages, argv[0], letter);
      ++errors;
      continue;
    }
    const int status = apply_option(letter, optarg, run, options);
    if (status != 0) return status;
  }
  options.operands =
      std::span<char* const>(argv, static_cast<std::size_t>(argc))
          .subspan(static_cast<std::size_t>(optind));
  if (options.operands.empty()) {
    run.messages.print("No input file specified\n");
    usage();
  }
  if (errors > 0) usage();
  return 0;
}

void options_apply_to_report(const command_line& options, chronex_run& run,
                             report_stream& standard_output) {
  report_settings& report = run.report.report;
  const int verbose = run.messages.verbose;
  report.comment_level = 1;
  if (verbose > 0) {
    report.file_level = 1;
    if (verbose > 1) {
      report.blank_line = 1;
      report.file_level = 2;
      report.comment_level = 2;
    }
  }
  if (options.report_count > 0) {
    apply_report_option(options, run);
  } else {
    warn_about_item_options(options, run);
  }
  if (options.memo_count > 0) {
    report.sign_on_level = 2;
    report.memo_level = 2;
  }
  if (options.dump_count > 0) apply_dump_option(report);

  const bool wanted = verbose > 0 || options.report_count > 0 ||
                      options.memo_count > 0 || options.dump_count > 0;
  if (wanted && options.audit_to_stdout) {
    run.messages.print(
        "WARNING: Report output disabled because audit data is written to "
        "stdout\n");
  } else if (wanted) {
    report.fp = &standard_output;
  }
}
