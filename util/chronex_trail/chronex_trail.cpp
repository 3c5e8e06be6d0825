// The companion of chronex, which hands the trail on as data.

#include <cstdio>
#include <cstring>
#include <new>
#include <span>
#include <string_view>

#include "util/chronex/run/standard_descriptors.h"
#include "util/chronex/run/usage.h"
#include "util/chronex_trail/commands/commands.h"
#include "util/chronex_trail/run/exit_status.h"

namespace {

constexpr const trail_command* COMMANDS[] = {
    &JSON_COMMAND,  &SQL_COMMAND,  &QUERY_COMMAND, &LIST_COMMAND,
    &STATS_COMMAND, &PAGE_COMMAND, &STATES_COMMAND};

void print_usage(std::FILE* stream) {
  std::fputs(
      "usage: chronex-trail COMMAND [options] FILE...\n"
      "       chronex-trail COMMAND --help\n"
      "       chronex-trail --version\n\n"
      "commands:\n",
      stream);
  for (const trail_command* command : COMMANDS) {
    std::fprintf(stream, "  %-8s %s\n", command->name, command->summary);
  }
}

const trail_command* find_command(std::string_view name) {
  for (const trail_command* command : COMMANDS) {
    if (name == command->name) return command;
  }
  return nullptr;
}

int flushed() { return std::fflush(stdout) == 0 ? 0 : EXIT_ERROR; }

int run_command(const trail_command& command, std::span<char*> arguments) {
  try {
    return command.run(arguments);
  } catch (const std::bad_alloc&) {
    std::fputs("Memory allocation failed\n", stderr);
    return EXIT_ERROR;
  }
}

}  // namespace

int main(int argc, char* argv[]) {
  occupy_standard_descriptors();
  const std::span arguments(argv, static_cast<std::size_t>(argc));
  const std::string_view name = argc < 2 ? "" : arguments[1];
  if (name == "--version") {
    std::printf("chronex-trail, %s\n", VERSION_LINE);
    return flushed();
  }
  if (name == "--help" || name == "-h") {
    print_usage(stdout);
    return flushed();
  }
  const trail_command* const command = find_command(name);
  if (command != nullptr) return run_command(*command, arguments.subspan(1));
  if (!name.empty()) {
    std::fprintf(stderr, "Unknown command: %s\n", argv[1]);
  }
  print_usage(stderr);
  return EXIT_USAGE;
}
