// chronex-trail json: the trail as JSON Lines.

#include <cstdio>
#include <memory>
#include <string>

#include "util/chronex_trail/commands/check_output.h"
#include "util/chronex_trail/commands/commands.h"
#include "util/chronex_trail/commands/json_from_state.h"
#include "util/chronex_trail/commands/json_with_jobs.h"
#include "util/chronex_trail/commands/json_with_state.h"
#include "util/chronex_trail/files/path_part.h"
#include "util/chronex_trail/files/result_file.h"
#include "util/chronex_trail/files/split_directory.h"
#include "util/chronex_trail/json/json_output.h"
#include "util/chronex_trail/run/trail_run.h"
#include "util/chronex_trail/values/text_origin.h"

namespace {

constexpr int EXIT_ERROR = 1;
constexpr int EXIT_USAGE = 2;

constexpr const char* HELP =
    R"(usage: chronex-trail json [options] FILE...

Writes the trail as JSON Lines, one event a line. FILE is a forward log or an
audit file, compressed or not; - is standard input.

  -e, --filter EXPR       only what satisfies the filter expression
  -f, --filter-file FILE  the same, from a file
  -I, --items LIST        only these items, separated by commas or blanks
  -M, --master-keys       unlock master keys; what is written is in clear
  -o, --output NAME       write to a file; NAME.gz is compressed
      --state FILE        go on where the run before stopped, which left its
                          state in FILE, and leave it there again; -o writes on
                          in its file
      --from STATE        write the piece that begins with a state of states
      --split DIR         write compressed files in a new directory, one for
                          the changes of each data set and day (UTC)
      --jobs N            work with N processes side by side
      --resync            read on behind damage; the status is 3 then
      --time-zone ZONE    of dates in filter expressions
      --progress WHEN     how far a long run is: auto, always or never
  -h, --help              show this

Example:
  chronex-trail json -e 'user={BOB}' -o bob.jsonl.gz shop.7-1 shop.7-2
)";

// Sends the trail to an output whose file is open.
template <typename File>
int write_trail(trail_run& run, json_output& output, File& file) {
  run.events.add_output(output);
  int status = process_inputs(run);
  if (output.end(status) != 0) status = EXIT_ERROR;
  if (file.close(status != EXIT_ERROR) != 0) status = EXIT_ERROR;
  return status;
}

// The options of this command.
struct json_options {
  shared_options shared;
  std::string split;
  std::string state;
  std::string from;
};

int write_file(trail_run& run, const shared_options& options) {
  result_file file(run.messages);
  const auto output =
      std::make_unique<json_output>(run.messages, file, &run.item_names);
  if (file.open(options.output, options.use_master_keys) != 0) {
    return EXIT_ERROR;
  }
  return write_trail(run, *output, file);
}

int write_directory(trail_run& run, const shared_options& options,
                    const std::string& name) {
  split_directory directory(run.messages);
  const auto output =
      std::make_unique<json_output>(run.messages, directory, &run.item_names);
  if (directory.open(name, options.use_master_keys) != 0) return EXIT_ERROR;
  const std::string change_file =
      base_name_part(name_as_given(*run.inputs.files().front())) + ".jsonl.gz";
  output->split(directory, change_file);
  return write_trail(run, *output, directory);
}

int parse(std::span<char*> arguments, run_messages& messages,
          json_options& options) {
  const own_option own[] = {{.name = "split", .text = &options.split},
                            {.name = "state", .text = &options.state},
                            {.name = "from", .text = &options.from}};
  const int status =
      parse_shared_options(arguments, messages, options.shared, own);
  if (status != 0 || options.shared.help) return status;
  if (!options.split.empty() && options.shared.output != "-") {
    messages.print("Only one of -o and --split is possible\n");
    return EXIT_USAGE;
  }
  if (!options.split.empty() + !options.state.empty() + !options.from.empty() >
      1) {
    messages.print("Only one of --state, --from and --split is possible\n");
    return EXIT_USAGE;
  }
  return 0;
}

int run_json(std::span<char*> arguments) {
  const auto run = std::make_unique<trail_run>();
  json_options options;
  const int status = parse(arguments, run->messages, options);
  if (status != 0) return status;
  if (options.shared.help) {
    std::fputs(HELP, stdout);
    return std::fflush(stdout) == 0 ? 0 : EXIT_ERROR;
  }
  if (options.split.empty() && check_output(*run, options.shared) != 0) {
    return EXIT_ERROR;
  }
  if (!options.from.empty()) {
    return json_from_state(*run, options.shared, options.from);
  }
  if (!options.state.empty()) {
    return json_with_state(*run, options.shared, options.state);
  }
  if (prepare_run(*run, options.shared) != 0) return EXIT_ERROR;
  if (options.split.empty() && options.shared.jobs > 1 && can_have_jobs(*run)) {
    return json_with_jobs(*run, options.shared);
  }
  return options.split.empty()
             ? write_file(*run, options.shared)
             : write_directory(*run, options.shared, options.split);
}

}  // namespace

const trail_command JSON_COMMAND = {
    "json", "the trail as JSON Lines, one event a line", HELP, run_json};
