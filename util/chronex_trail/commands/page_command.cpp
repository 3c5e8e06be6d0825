// chronex-trail page: the trail as a page for browsers.

#include <charconv>
#include <string>

#include "util/chronex_trail/commands/commands.h"
#include "util/chronex_trail/commands/run_command.h"
#include "util/chronex_trail/files/result_file.h"
#include "util/chronex_trail/page/page_file.h"
#include "util/chronex_trail/page/page_output.h"
#include "util/chronex_trail/run/exit_status.h"
#include "util/chronex_trail/run/trail_run.h"
#include "util/chronex_trail/stats/stats_output.h"

namespace {

constexpr std::size_t DEFAULT_ROWS = 100'000;
constexpr std::size_t MAX_ROWS = 1'000'000;
constexpr std::size_t MOST_CELLS = 250'000;
// Records that are changed most.
constexpr std::size_t TOP = 50;

constexpr const char* HELP =
    R"(usage: chronex-trail page [options] -o PAGE FILE...

Writes the trail as one HTML file: what is complete and what is missing, when,
by whom and on what there were changes, what is out of the ordinary, and the
changes themselves. It opens from disk in a current browser and loads nothing.
FILE is a forward log or an audit file, compressed or not; - is standard input.

  -o, --output PAGE       the page; it gets its name when it is complete
      --rows N            list at most N changes (100000); figures stay complete
      --keep WHICH        evenly (default) or latest: which ones, if there are
                          more
      --office-hours H-H  hours of work, such as 8-18 (default)
      --office-days D-D   days of work, 1 = Monday, such as 1-5 (default)
  -e, --filter EXPR       only what satisfies the filter expression
  -f, --filter-file FILE  the same, from a file
  -I, --items LIST        only these items, separated by commas or blanks
  -M, --master-keys       unlock master keys; what is written is in clear
      --resync            read on behind damage; the status is 3 then
      --time-zone ZONE    of all times on the page and in filter expressions
      --progress WHEN     how far a long run is: auto, always or never
  -h, --help              show this

Example:
  chronex-trail page --time-zone Europe/Berlin -o shop.html shop.7-1 shop.7-2
)";

// The options of this command.
struct page_options {
  shared_options shared;
  page_settings settings;
  std::size_t rows = DEFAULT_ROWS;
  kept_changes kept = kept_changes::evenly;
};

// The own options as given; empty = not.
struct page_texts {
  std::string rows;
  std::string keep;
  std::string hours;
  std::string days;
};

bool parse_rows(const std::string& text, std::size_t& rows) {
  const char* const end = text.data() + text.size();
  const auto parsed = std::from_chars(text.data(), end, rows);
  return parsed.ec == std::errc() && parsed.ptr == end && rows <= MAX_ROWS;
}

bool parse_keep(const std::string& text, kept_changes& kept) {
  kept = text == "latest" ? kept_changes::latest : kept_changes::evenly;
  return text == "latest" || text == "evenly";
}

// Returns 0 or EXIT_USAGE with a message.
int apply(const page_texts& texts, run_messages& messages,
          page_options& options) {
  office_times& office = options.settings.office;
  const char* problem = nullptr;
  if (!texts.rows.empty() && !parse_rows(texts.rows, options.rows)) {
    problem = "--rows takes a number from 0 to 1000000\n";
  } else if (!texts.keep.empty() && !parse_keep(texts.keep, options.kept)) {
    problem = "--keep is evenly or latest\n";
  } else if (!texts.hours.empty() && !parse_office_hours(texts.hours, office)) {
    problem = "--office-hours takes two hours, such as 8-18\n";
  } else if (!texts.days.empty() && !parse_office_days(texts.days, office)) {
    problem = "--office-days takes two days, such as 1-5\n";
  } else if (options.shared.output == "-") {
    problem = "No page specified: -o PAGE\n";
  }
  if (problem == nullptr) return 0;
  messages.print("%s", problem);
  return EXIT_USAGE;
}

int parse(std::span<char*> arguments, run_messages& messages,
          page_options& options) {
  page_texts texts;
  const own_option own[] = {{"rows", &texts.rows},
                            {"keep", &texts.keep},
                            {"office-hours", &texts.hours},
                            {"office-days", &texts.days}};
  const int status =
      parse_shared_options(arguments, messages, options.shared, own);
  if (status != 0 || options.shared.help) return status;
  options.settings.filter_options = options.shared.filter_texts;
  return apply(texts, messages, options);
}

// Returns the exit status.
int fill(trail_run& run, result_file& file, const page_options& options) {
  stats_output stats(run.messages, TOP);
  page_output page(run.messages, &run.item_names, options.rows, options.kept);
  run.events.add_output(stats);
  run.events.add_output(page);
  const int status = process_inputs(run);
  page.finish(MOST_CELLS);
  const page_data data(page, stats.end(status), options.settings);
  const int written = write_page(file, data, page.rows().rows().size());
  return written == 0 ? status : EXIT_ERROR;
}

int write_file(trail_run& run, const page_options& options) {
  result_file file(run.messages);
  if (file.open(options.shared.output, options.shared.use_master_keys) != 0) {
    return EXIT_ERROR;
  }
  const int status = fill(run, file, options);
  return file.close(status != EXIT_ERROR) == 0 ? status : EXIT_ERROR;
}

int run_page(std::span<char*> arguments) {
  return run_prepared(arguments, HELP, parse, write_file);
}

}  // namespace

const trail_command PAGE_COMMAND = {"page", "the trail as a page for browsers",
                                    HELP, run_page};
