#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_RUN_SHARED_OPTIONS_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_RUN_SHARED_OPTIONS_H

// The options that all commands have.

#include <span>
#include <string>
#include <vector>

#include "util/chronex/messages/messages.h"
#include "util/chronex/run/progress.h"

struct shared_options {
  // -e and -f, in their order, and -I; UTF-8.
  std::vector<std::string> filter_texts;
  std::vector<std::string> item_lists;
  // The -f arguments.
  std::vector<const char*> filter_files;
  // --resync
  bool passes_over_damage = false;
  // -M
  bool use_master_keys = false;
  // -o; "-" is standard output.
  std::string output = "-";
  // --progress
  progress_mode progress = progress_mode::automatic;
  // --jobs: how many processes may work side by side.
  int jobs = 1;
  // --help was given.
  bool help = false;
  // The input files as given.
  std::span<char* const> operands;
};

// An option that a command has besides, always a long one.
struct own_option {
  const char* name;
  // Takes the argument, which must not be empty; null: the option has none, and
  // sets the flag.
  std::string* text = nullptr;
  bool* flag = nullptr;
};

// Parses the arguments of a command, of which the first is its name. Returns 0,
// or the exit status that ends the run; the message has been printed.
int parse_shared_options(std::span<char*> arguments, run_messages& messages,
                         shared_options& options,
                         std::span<const own_option> own_options = {});

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_RUN_SHARED_OPTIONS_H
