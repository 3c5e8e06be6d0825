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

struct output_to_check {
  // What messages call it: "audit output", "report" ...
  const char* kind;
  // That of an output that is open already; -1: it is the file `name`.
  int descriptor = -1;
  const char* name = nullptr;
};

// Refuses an output that is a file which the run reads: writing would destroy
// it, or never end. By whatever name or link it is given, the file itself
// counts. Returns 0, or -1 after a message.
int check_output_file(const files_read& files, const output_to_check& output,
                      run_messages& messages);

#endif  // CHRONEX_UTIL_CHRONEX_RUN_OUTPUT_CHECK_H
