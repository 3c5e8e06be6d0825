#ifndef CHRONEX_UTIL_CHRONEX_RUN_OUTPUT_CHECK_H
#define CHRONEX_UTIL_CHRONEX_RUN_OUTPUT_CHECK_H

#include <span>
#include <string>
#include <vector>

#include "util/chronex/messages/messages.h"

// The files that a run reads.
struct files_read {
  std::span<char* const> operands;
  std::span<const char* const> filter_files{};
  // Those that -M reads.
  std::vector<std::string> key_files{};
};

// Refuses an output that is a file which the run reads: writing would destroy
// it. By whatever name or link it is given, the file itself counts.
// `descriptor` is that of an output that is open already, or -1 when the output
// is the file `name`. Returns 0, or -1 after a message.
int check_output_file(const files_read& files, int descriptor, const char* name,
                      run_messages& messages);

#endif  // CHRONEX_UTIL_CHRONEX_RUN_OUTPUT_CHECK_H
