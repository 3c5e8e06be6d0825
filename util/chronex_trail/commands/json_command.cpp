// chronex-trail json: the trail as JSON Lines.

#include <memory>
#include <string>

#include "util/chronex_trail/commands/check_output.h"
#include "util/chronex_trail/commands/commands.h"
#include "util/chronex_trail/commands/json_from_state.h"
#include "util/chronex_trail/commands/json_with_jobs.h"
#include "util/chronex_trail/commands/json_with_state.h"
#include "util/chronex_trail/commands/run_command.h"
#include "util/chronex_trail/files/path_part.h"
#include "util/chronex_trail/files/result_file.h"
#include "util/chronex_trail/files/split_directory.h"
#include "util/chronex_trail/follow/follow_run.h"
#include "util/chronex_trail/json/json_output.h"
#include "util/chronex_trail/run/exit_status.h"
#include "util/chronex_trail/run/trail_run.h"
#include "util/chronex_trail/values/text_origin.h"

namespace {

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
      --follow            read on as logs are written, until SIGTERM or SIGINT;
                          FILE may be a directory of logs
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

// The options of this command.
struct json_options {
  shared_options shared;
  std::string directory;
  std::string state;
  std::string from;
  bool follow = false;
};

// Where the trail comes from.
struct trail_source {
  trail_run& run;
  // Null: from inputs that are whole.
  follow_run* followed = nullptr;

  int process(json_output& output) const {
    if (followed == nullptr) return process_inputs(run);
    // Messages and events come in their order, as each is let out at once.
    followed->follower.before_wait = [&output] {
      output.let_out();
      return log_follower::LONGEST_WAIT;
    };
    run.messages.set_let_out([&output] { output.let_out(); });
    const int status = followed->process();
    run.messages.set_let_out({});
    return status;
  }
  std::string first_name() const {
    const input_file* const first = followed != nullptr
                                        ? followed->first()
                                        : run.inputs.files().front().get();
    return std::string(first == nullptr ? "none" : name_as_given(*first));
  }
};

// Sends the trail to an output whose file is open.
template <typename File>
int write_trail(const trail_source& source, json_output& output, File& file) {
  source.run.events.add_output(output);
  int status = source.process(output);
  if (output.end(status) != 0) status = EXIT_ERROR;
  if (file.close(status != EXIT_ERROR) != 0) status = EXIT_ERROR;
  return status;
}

int write_file(const trail_source& source, const shared_options& options) {
  trail_run& run = source.run;
  result_file file(run.messages);
  const auto output =
      std::make_unique<json_output>(run.messages, file, &run.item_names);
  if (file.open(options.output, options.use_master_keys) != 0) {
    return EXIT_ERROR;
  }
  return write_trail(source, *output, file);
}

int write_directory(const trail_source& source, const json_options& options) {
  trail_run& run = source.run;
  split_directory directory(run.messages);
  const auto output =
      std::make_unique<json_output>(run.messages, directory, &run.item_names);
  if (directory.open(options.directory, options.shared.use_master_keys) != 0) {
    return EXIT_ERROR;
  }
  const std::string change_file =
      base_name_part(source.first_name()) + ".jsonl.gz";
  output->split(directory, change_file);
  return write_trail(source, *output, directory);
}

int write(const trail_source& source, const json_options& options) {
  return options.directory.empty() ? write_file(source, options.shared)
                                   : write_directory(source, options);
}

int run_followed(trail_run& run, const json_options& options) {
  follow_run followed(run);
  if (options.directory.empty()) {
    followed.follower.check_log = check_of_logs(run, options.shared);
  }
  if (followed.prepare(options.shared) != 0) return EXIT_ERROR;
  return write({.run = run, .followed = &followed}, options);
}

// Of the ways to go on with a trail, only one can be gone; and pieces know
// nothing of damage in others.
int check_combination(const json_options& options, run_messages& messages) {
  const bool splits = !options.directory.empty();
  if (splits && options.shared.output != "-") {
    messages.print("Only one of -o and --split is possible\n");
    return EXIT_USAGE;
  }
  if (splits + !options.state.empty() + !options.from.empty() > 1) {
    messages.print("Only one of --state, --from and --split is possible\n");
    return EXIT_USAGE;
  }
  if (!options.from.empty() &&
      (options.follow || options.shared.passes_over_damage)) {
    messages.print("--from goes neither with --follow nor with --resync\n");
    return EXIT_USAGE;
  }
  return 0;
}

int parse(std::span<char*> arguments, run_messages& messages,
          json_options& options) {
  const own_option own[] = {{.name = "split", .text = &options.directory},
                            {.name = "state", .text = &options.state},
                            {.name = "from", .text = &options.from},
                            {.name = "follow", .flag = &options.follow}};
  const int status =
      parse_shared_options(arguments, messages, options.shared, own);
  if (status != 0 || options.shared.help) return status;
  return check_combination(options, messages);
}

// Each piece would have to know what the ones before it have passed over.
bool has_jobs(const json_options& options) {
  return options.directory.empty() && options.shared.jobs > 1 &&
         !options.shared.passes_over_damage;
}

// Returns the exit status.
int write_json(trail_run& run, const json_options& options) {
  if (options.directory.empty() && check_output(run, options.shared) != 0) {
    return EXIT_ERROR;
  }
  if (!options.state.empty()) {
    return json_with_state(run, options.shared, options.state, options.follow);
  }
  if (options.follow) return run_followed(run, options);
  if (!options.from.empty()) {
    return json_from_state(run, options.shared, options.from);
  }
  if (prepare_run(run, options.shared) != 0) return EXIT_ERROR;
  if (has_jobs(options) && can_have_jobs(run)) {
    return json_with_jobs(run, options.shared);
  }
  return write({.run = run}, options);
}

int run_json(std::span<char*> arguments) {
  return run_command(arguments, HELP, parse, write_json);
}

}  // namespace

const trail_command JSON_COMMAND = {
    "json", "the trail as JSON Lines, one event a line", HELP, run_json};
