#include "util/chronex_trail/run/shared_options.h"

#include <getopt.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string_view>

#include "util/chronex_trail/run/exit_status.h"
#include "util/chronex_trail/run/time_zone.h"

namespace {

constexpr std::size_t MAX_FILTER_FILE_SIZE = 102400;

// Options without a letter; the last stands for the first of a command's own.
constexpr int TIME_ZONE_OPTION = 256;
constexpr int PROGRESS_OPTION = 257;
constexpr int JOBS_OPTION = 258;
constexpr int RESYNC_OPTION = 259;
constexpr int OWN_OPTIONS = 260;

// ":": the parser keeps silent; its messages are printed here.
constexpr const char* OPTION_LETTERS = ":e:f:I:Mo:h";
constexpr option LONG_OPTIONS[] = {
    {"filter", required_argument, nullptr, 'e'},
    {"filter-file", required_argument, nullptr, 'f'},
    {"items", required_argument, nullptr, 'I'},
    {"master-keys", no_argument, nullptr, 'M'},
    {"output", required_argument, nullptr, 'o'},
    {"resync", no_argument, nullptr, RESYNC_OPTION},
    {"time-zone", required_argument, nullptr, TIME_ZONE_OPTION},
    {"progress", required_argument, nullptr, PROGRESS_OPTION},
    {"jobs", required_argument, nullptr, JOBS_OPTION},
    {"help", no_argument, nullptr, 'h'},
};

// All options of a command, with the entry that ends them.
std::vector<option> long_options(std::span<const own_option> own_options) {
  std::vector<option> all(std::begin(LONG_OPTIONS), std::end(LONG_OPTIONS));
  int value = OWN_OPTIONS;
  for (const own_option& own : own_options) {
    const int argument = own.text ? required_argument : no_argument;
    all.push_back({own.name, argument, nullptr, value++});
  }
  all.push_back({nullptr, 0, nullptr, 0});
  return all;
}

// Returns 0, or the exit status that ends the run.
int apply_own_option(const own_option& own, const char* argument,
                     run_messages& messages) {
  if (own.text == nullptr) {
    *own.flag = true;
    return 0;
  }
  *own.text = argument;
  if (!own.text->empty()) return 0;
  messages.print("Option requires an argument that is not empty: --%s\n",
                 own.name);
  return EXIT_USAGE;
}

int read_filter_file(const char* name, run_messages& messages,
                     shared_options& options) {
  std::ifstream file(name, std::ios::binary);
  // It may be a device that never ends.
  std::string text(MAX_FILTER_FILE_SIZE + 1, '\0');
  file.read(text.data(), static_cast<std::streamsize>(text.size()));
  if (!file.is_open() || file.bad()) {
    messages.perror(name);
    messages.print("Unable to read filter file\n");
    return EXIT_ERROR;
  }
  text.resize(static_cast<std::size_t>(file.gcount()));
  if (text.size() > MAX_FILTER_FILE_SIZE) {
    messages.print("Filter file exceeds maximum size (100kB)\n");
    return EXIT_ERROR;
  }
  options.filter_texts.push_back(std::move(text));
  return 0;
}

int set_time_zone_option(const char* zone, run_messages& messages) {
  if (set_time_zone(zone)) return 0;
  messages.print("Unknown time zone: %s\n", zone);
  return EXIT_USAGE;
}

int set_progress(std::string_view word, run_messages& messages,
                 shared_options& options) {
  if (word == "auto") {
    options.progress = progress_mode::automatic;
  } else if (word == "never") {
    options.progress = progress_mode::never;
  } else if (word == "always") {
    options.progress = progress_mode::always;
  } else {
    messages.print("--progress takes auto, never or always\n");
    return EXIT_USAGE;
  }
  return 0;
}

int set_jobs(const char* argument, run_messages& messages,
             shared_options& options) {
  constexpr long MAX_JOBS = 1024;
  char* end = nullptr;
  const long jobs = std::strtol(argument, &end, 10);
  if (end == argument || *end != '\0' || jobs < 1 || jobs > MAX_JOBS) {
    messages.print("--jobs wants a number from 1 to %ld, not %s\n", MAX_JOBS,
                   argument);
    return EXIT_USAGE;
  }
  options.jobs = static_cast<int>(jobs);
  return 0;
}

// Applies one option. Returns 0 or the exit status that ends the run.
int apply_option(int letter, const char* argument, run_messages& messages,
                 shared_options& options) {
  switch (letter) {
    case 'e':
      options.filter_texts.emplace_back(argument);
      return 0;
    case 'f':
      options.filter_files.push_back(argument);
      return read_filter_file(argument, messages, options);
    case 'I':
      options.item_lists.emplace_back(argument);
      return 0;
    case 'M':
      options.use_master_keys = true;
      return 0;
    case 'o':
      options.output = argument;
      return 0;
    case RESYNC_OPTION:
      options.passes_over_damage = true;
      return 0;
    case TIME_ZONE_OPTION:
      return set_time_zone_option(argument, messages);
    case PROGRESS_OPTION:
      return set_progress(argument, messages, options);
    case JOBS_OPTION:
      return set_jobs(argument, messages, options);
    default:
      options.help = true;
      return 0;
  }
}

// `word` is the argument that could not be read.
int option_error(run_messages& messages, int result, const char* word) {
  messages.print(result == ':' ? "Option requires an argument: %s\n"
                               : "Unknown option: %s\n",
                 word);
  return EXIT_USAGE;
}

}  // namespace

int parse_shared_options(std::span<char*> arguments, run_messages& messages,
                         shared_options& options,
                         std::span<const own_option> own_options) {
  const std::vector<option> known = long_options(own_options);
  opterr = 0;
  optind = 1;
  const int count = static_cast<int>(arguments.size());
  int letter = 0;
  while ((letter = getopt_long(count, arguments.data(), OPTION_LETTERS,
                               known.data(), nullptr)) != -1) {
    if (letter == '?' || letter == ':') {
      return option_error(messages, letter,
                          arguments[static_cast<std::size_t>(optind) - 1]);
    }
    const int status =
        letter >= OWN_OPTIONS
            ? apply_own_option(
                  own_options[static_cast<std::size_t>(letter - OWN_OPTIONS)],
                  optarg, messages)
            : apply_option(letter, optarg, messages, options);
    if (status != 0) return status;
  }
  options.operands = arguments.subspan(static_cast<std::size_t>(optind));
  if (!options.help && options.operands.empty()) {
    messages.print("No input file specified\n");
    return EXIT_USAGE;
  }
  return 0;
}
