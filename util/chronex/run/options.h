#ifndef CHRONEX_UTIL_CHRONEX_RUN_OPTIONS_H
#define CHRONEX_UTIL_CHRONEX_RUN_OPTIONS_H

// The command line, and the report settings that follow from it.

#include <span>

struct command_line {
  // The audit output's name is audit_fname; it is standard output when this is
  // set.
  bool audit_to_stdout = false;
  // The -c argument, or null.
  const char* user_comment = nullptr;
  // -M: unlock master keys.
  bool crypt_flag = false;
  // How often -m, -r, -x and -Z were given.
  int memo_count = 0;
  int report_count = 0;
  int dump_count = 0;
  int compress_count = 0;
  // The -i number.
  int item_limit = 0;
  // The input files as given.
  std::span<char* const> operands;
};

// Parses the command line; filter texts and item names go to their modules.
// Returns 0, or the exit status that ends the run; the message has been
// printed.
int options_parse(int argc, char* argv[], command_line& options);

class report_stream;

// Fixes the report settings. `standard_output` is the stream of the report and
// outlives the run.
void options_apply_to_report(const command_line& options,
                             report_stream& standard_output);

#endif  // CHRONEX_UTIL_CHRONEX_RUN_OPTIONS_H
