// chronex-trail stats: the trail in figures.

#include <sys/ioctl.h>
#include <unistd.h>

#include <charconv>
#include <string>

#include "util/chronex_trail/commands/commands.h"
#include "util/chronex_trail/commands/run_command.h"
#include "util/chronex_trail/files/result_file.h"
#include "util/chronex_trail/run/exit_status.h"
#include "util/chronex_trail/run/trail_run.h"
#include "util/chronex_trail/stats/stats_output.h"
#include "util/chronex_trail/summary/summary.h"

namespace {

constexpr const char* HELP =
    R"(usage: chronex-trail stats [options] FILE...

Tells what happened, in figures: what is missing; changes by data set, user,
program, host, day and hour of the week; the records changed most, the largest
transactions, the busiest sessions. FILE is a forward log or an audit file,
compressed or not; - is standard input.

      --json              as one JSON object
      --csv               as CSV
      --top N             the N largest of each list (default 10)
  -e, --filter EXPR       only what satisfies the filter expression
  -f, --filter-file FILE  the same, from a file
  -M, --master-keys       unlock master keys
  -o, --output NAME       write to a file
      --resync            read on behind damage; the status is 3 then
      --time-zone ZONE    of days and hours, and of dates in filter expressions
      --progress WHEN     how far a long run is: auto, always or never
  -h, --help              show this

Example:
  chronex-trail stats --top 20 shop.7-1 shop.7-2
)";

// The options of this command.
struct stats_options {
  shared_options shared;
  bool json = false;
  bool csv = false;
  std::string top;
  summary_settings settings;
};

// The columns of the terminal that is standard output; 0 = it is none.
std::size_t window_width() {
  constexpr std::size_t USUAL_WIDTH = 80;
  if (isatty(STDOUT_FILENO) == 0) return 0;
  winsize size{};
  const bool known =
      ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return known ? size.ws_col : USUAL_WIDTH;
}

int take_top(run_messages& messages, stats_options& options) {
  if (options.top.empty()) return 0;
  constexpr std::size_t MOST = 1'000'000;
  std::size_t number = 0;
  const char* const end = options.top.data() + options.top.size();
  const auto result = std::from_chars(options.top.data(), end, number);
  if (result.ec != std::errc() || result.ptr != end || number == 0 ||
      number > MOST) {
    messages.print("--top takes a number from 1 to 1000000\n");
    return EXIT_USAGE;
  }
  options.settings.top = number;
  return 0;
}

int parse(std::span<char*> arguments, run_messages& messages,
          stats_options& options) {
  const own_option own[] = {
      {"json", nullptr, &options.json},
      {"csv", nullptr, &options.csv},
      {"top", &options.top},
  };
  const int status =
      parse_shared_options(arguments, messages, options.shared, own);
  if (status != 0 || options.shared.help) return status;
  if (options.json && options.csv) {
    messages.print("--json and --csv exclude each other\n");
    return EXIT_USAGE;
  }
  if (options.shared.output == "-") options.settings.width = window_width();
  return take_top(messages, options);
}

int write_figures(const trail_figures& figures, const stats_options& options,
                  byte_sink& sink) {
  if (options.json) return write_summary_json(figures, options.settings, sink);
  if (options.csv) return write_summary_csv(figures, options.settings, sink);
  return write_summary_tables(figures, options.settings, sink);
}

// The figures are those of what could be read, whatever the status. Returns the
// exit status.
int write_stats(trail_run& run, const stats_options& options) {
  result_file file(run.messages);
  stats_output output(run.messages, options.settings.top.value_or(
                                        summary_settings::DEFAULT_TOP));
  if (file.open(options.shared.output, options.shared.use_master_keys) != 0) {
    return EXIT_ERROR;
  }
  run.events.add_output(output);
  int status = process_inputs(run);
  if (write_figures(output.end(status), options, file) != 0) {
    status = EXIT_ERROR;
  }
  return file.close(status != EXIT_ERROR) == 0 ? status : EXIT_ERROR;
}

int run_stats(std::span<char*> arguments) {
  return run_prepared(arguments, HELP, parse, write_stats);
}

}  // namespace

const trail_command STATS_COMMAND = {"stats", "the trail in figures", HELP,
                                     run_stats};
