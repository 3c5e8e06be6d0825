#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_COMMANDS_RUN_COMMAND_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_COMMANDS_RUN_COMMAND_H

// How the commands begin.

#include <cstdio>
#include <memory>
#include <span>

#include "util/chronex_trail/commands/check_output.h"
#include "util/chronex_trail/run/exit_status.h"
#include "util/chronex_trail/run/trail_run.h"

// Parses a command's arguments into its options, whose member `shared` has
// those that all commands have, and runs it, or prints its help. `parse` is as
// parse_shared_options, `run` returns the exit status, which is returned.
template <typename Options, typename Run>
int run_command(std::span<char*> arguments, const char* help,
                int (*parse)(std::span<char*>, run_messages&, Options&),
                const Run& run) {
  const auto started = std::make_unique<trail_run>();
  Options options;
  const int status = parse(arguments, started->messages, options);
  if (status != 0) return status;
  if (options.shared.help) {
    std::fputs(help, stdout);
    return std::fflush(stdout) == 0 ? 0 : EXIT_ERROR;
  }
  return run(*started, options);
}

// The same for a command that has one output of all its inputs: it is checked,
// and the run prepared, before `write` is called.
template <typename Options, typename Write>
int run_prepared(std::span<char*> arguments, const char* help,
                 int (*parse)(std::span<char*>, run_messages&, Options&),
                 const Write& write) {
  return run_command(arguments, help, parse,
                     [&write](trail_run& run, const Options& options) {
                       if (check_output(run, options.shared) != 0 ||
                           prepare_run(run, options.shared) != 0) {
                         return EXIT_ERROR;
                       }
                       return write(run, options);
                     });
}

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_COMMANDS_RUN_COMMAND_H
