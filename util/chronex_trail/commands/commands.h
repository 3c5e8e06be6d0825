#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_COMMANDS_COMMANDS_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_COMMANDS_COMMANDS_H

// The commands of chronex-trail, a file each.

#include <span>

// What is known of a command.
struct trail_command {
  const char* name;
  // One line of help, and the whole.
  const char* summary;
  const char* help;
  // Runs it; the first argument is the command's name. Returns the exit
  // status.
  int (*run)(std::span<char*> arguments);
};

extern const trail_command JSON_COMMAND;
extern const trail_command LIST_COMMAND;
extern const trail_command PAGE_COMMAND;
extern const trail_command QUERY_COMMAND;
extern const trail_command SQL_COMMAND;
extern const trail_command STATES_COMMAND;
extern const trail_command STATS_COMMAND;

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_COMMANDS_COMMANDS_H
