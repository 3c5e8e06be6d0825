#ifndef CHRONEX_UTIL_CHRONEX_RUN_OPTIONS_H
#define CHRONEX_UTIL_CHRONEX_RUN_OPTIONS_H

// The command line, and the report settings that follow from it.

#include <span>
#include <vector>

#include "util/chronex/run/run.h"

struct command_line {
  // The audit output's name is the audit stream's; it is standard output when
  // this is set.
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
  // The -f arguments.
  std::vector<const char*> filter_files;
  // The input files as given.
  std::span<char* const> operands;
};

// Parses the command line; filter texts, item names and the name of the audit
// output go to the run. Returns 0, or the exit status that ends the run; the
// message has been printed.
int options_parse(int argc, char* argv[], chronex_run& run,
                  command_line& options);

// Fixes the report settings. `standard_output` is the stream of the report and
// outlives the run.
void options_apply_to_report(const command_line& options, chronex_run& run,
                             report_stream& standard_output);

#endif  // CHRONEX_UTIL_CHRONEX_RUN_OPTIONS_H
