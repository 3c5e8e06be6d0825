// chronex-trail sql: the trail as tables of a database.

#include <charconv>
#include <optional>
#include <string>
#include <system_error>

#include "util/chronex/run/usage.h"
#include "util/chronex_trail/commands/check_output.h"
#include "util/chronex_trail/commands/commands.h"
#include "util/chronex_trail/commands/fill_tables.h"
#include "util/chronex_trail/commands/piece_start.h"
#include "util/chronex_trail/commands/run_command.h"
#include "util/chronex_trail/commands/sql_script.h"
#include "util/chronex_trail/commands/sql_with_state.h"
#include "util/chronex_trail/json/event_counter.h"
#include "util/chronex_trail/json/json_text.h"
#include "util/chronex_trail/run/exit_status.h"
#include "util/chronex_trail/run/trail_run.h"
#include "util/chronex_trail/script/script_engine.h"
#include "util/chronex_trail/sql/database_file.h"
#include "util/chronex_trail/sql/sql_output.h"
#include "util/chronex_trail/sql/sqlite_engine.h"

namespace {

constexpr const char* HELP =
    R"(usage: chronex-trail sql [options] -o DATABASE FILE...
       chronex-trail sql [options] --engine NAME [-o SCRIPT] FILE...

Writes the trail into an SQLite database, or as a script for another engine: a
table of all changes, one for each data set with the values of its items, and
what is known of sessions, memos, gaps and inputs. FILE is a forward log or an
audit file, compressed or not; - is standard input.

  -o, --output NAME       the database, or the script (else standard output); it
                          gets its name when it is complete
      --force             replace a file that is there
      --append            go on in a database that is there
      --engine NAME       sqlite, or a script: postgresql or clickhouse
      --cluster NAME      tables of a ClickHouse cluster, spread over its shards
      --segment NUMBER    the script is one of several of a trail
      --from STATE        the piece of a trail that begins with a state of
                          `states`, with the numbers and ids of one run over all
      --state FILE        with --append: go on where the run before stopped,
                          which left its state in FILE, and leave it there again
      --follow            with --append --state: read on as logs are written,
                          until SIGTERM or SIGINT; FILE may be a directory
  -e, --filter EXPR       only what satisfies the filter expression
  -f, --filter-file FILE  the same, from a file
  -I, --items LIST        only these items, separated by commas or blanks
  -M, --master-keys       unlock master keys; what is written is in clear
      --resync            read on behind damage; the status is 3 then
      --time-zone ZONE    of dates in filter expressions
      --progress WHEN     how far a long run is: auto, always or never
  -h, --help              show this

Example:
  chronex-trail sql -o trail.db shop.7-1 shop.7-2
  sqlite3 trail.db 'SELECT ts, op, recno FROM change'
)";

// The options of this command.
struct sql_options {
  shared_options shared;
  bool force = false;
  bool append = false;
  std::string engine = "sqlite";
  std::string cluster;
  std::string segment;
  std::string state;
  bool follow = false;
  std::string from;

  existing_database existing() const {
    if (append) return existing_database::continued;
    return force ? existing_database::replaced : existing_database::refused;
  }
  bool is_script() const { return engine != "sqlite"; }
  bool is_for_clickhouse() const { return engine == "clickhouse"; }
  // 0: what was given is no number of a segment.
  std::int64_t segment_number() const {
    std::int64_t number = 0;
    const char* const end = segment.data() + segment.size();
    const auto read = std::from_chars(segment.data(), end, number);
    const bool is_number = read.ec == std::errc() && read.ptr == end;
    return is_number && number > 0 && number <= MAX_SEGMENT ? number : 0;
  }
};

// What is wrong with the options; null = nothing.
const char* problem_of(const sql_options& options) {
  if (!options.is_script()) {
    if (options.shared.output == "-") {
      return "No database specified: -o DATABASE";
    }
    if (options.force && options.append) {
      return "--force and --append exclude each other";
    }
    if (!options.state.empty() && !options.append) {
      return "--state needs --append";
    }
    if (!options.segment.empty()) {
      return "--segment is for scripts; --append goes on in a database";
    }
  } else if (options.append) {
    return "--append is for databases; scripts of several parts of a trail have"
           " a --segment each";
  }
  if (!options.state.empty() && options.is_script()) {
    return "--state does not go with --engine";
  }
  if (options.follow && options.state.empty()) {
    return "--follow needs --append and --state";
  }
  if (!options.from.empty() &&
      (!options.state.empty() || !options.segment.empty() ||
       options.shared.passes_over_damage)) {
    return "--from goes neither with --state nor --segment nor --resync: a "
           "piece"
           " has the numbers of one run over all";
  }
  if (!options.cluster.empty() && !options.is_for_clickhouse()) {
    return "--cluster goes with --engine clickhouse";
  }
  if (!options.segment.empty() && options.segment_number() == 0) {
    return "--segment is a number from 1 to 1000000";
  }
  return nullptr;
}

int parse(std::span<char*> arguments, run_messages& messages,
          sql_options& options) {
  const own_option own[] = {
      {"force", nullptr, &options.force},
      {"append", nullptr, &options.append},
      {"engine", &options.engine},
      {"cluster", &options.cluster},
      {"segment", &options.segment},
      {"state", &options.state},
      {"follow", nullptr, &options.follow},
      {"from", &options.from},
  };
  const int status =
      parse_shared_options(arguments, messages, options.shared, own);
  if (status != 0 || options.shared.help) return status;
  if (options.engine != "sqlite" && options.engine != "postgresql" &&
      options.engine != "clickhouse") {
    messages.print("Unknown engine: %s (sqlite, postgresql or clickhouse)\n",
                   options.engine.c_str());
    return EXIT_USAGE;
  }
  const char* const problem = problem_of(options);
  if (problem == nullptr) return 0;
  messages.print("%s\n", problem);
  return EXIT_USAGE;
}

// The arguments as a JSON array.
std::string words_of(std::span<char* const> arguments) {
  std::string words;
  for (const char* argument : arguments) {
    words += words.empty() ? '[' : ',';
    append_json_string(words, well_formed_utf8(argument));
  }
  return words + ']';
}

// The state that a piece begins with; without --from there is none.
struct piece_state {
  piece_state(trail_run& run, const shared_options& options)
      : state(run, options) {}

  // Returns 0, or -1 with a message.
  int start(trail_run& run, const sql_options& options);

  trail_state state;
  earlier_rows earlier;
};

int piece_state::start(trail_run& run, const sql_options& options) {
  if (start_piece(run, options.shared, options.from, state) != 0) return -1;
  event_counter events;
  state_reader& output = state.output();
  if (!events.restore(output)) return state.damaged();
  if (restore_rows(output, earlier) && output.is_at_end()) return 0;
  return state.damaged();
}

// Returns the exit status.
int fill(trail_run& run, database_file& file, const run_facts& facts,
         const earlier_rows* earlier) {
  sqlite_engine engine(file.database(), file.is_continued());
  sql_output output(run.messages, engine, &run.item_names);
  try {
    return fill_tables(run, output, facts, earlier);
  } catch (const sql_error& error) {
    run.messages.print("The database could not be filled: %s\n", error.what());
    return EXIT_ERROR;
  }
}

int write_database(trail_run& run, const sql_options& options,
                   const run_facts& facts, const earlier_rows* earlier) {
  database_file file(run.messages);
  if (file.open(options.shared.output, options.existing(),
                options.shared.use_master_keys) != 0) {
    return EXIT_ERROR;
  }
  const int status = fill(run, file, facts, earlier);
  return file.close(status != EXIT_ERROR) == 0 ? status : EXIT_ERROR;
}

int write_script(trail_run& run, const sql_options& options,
                 const run_facts& facts, const earlier_rows* earlier) {
  return write_script(
      run, options.shared,
      {.engine = options.is_for_clickhouse() ? script_engine_name::clickhouse
                                             : script_engine_name::postgresql,
       .cluster = options.cluster,
       .segment = options.segment_number(),
       .force = options.force,
       .earlier = earlier},
      facts);
}

// Returns the exit status.
int write_tables(trail_run& run, const sql_options& options,
                 const run_facts& facts) {
  std::optional<piece_state> piece;
  if (!options.from.empty()) piece.emplace(run, options.shared);
  const int prepared =
      piece ? piece->start(run, options) : prepare_run(run, options.shared);
  if (prepared != 0) return EXIT_ERROR;
  const earlier_rows* const earlier = piece ? &piece->earlier : nullptr;
  return options.is_script() ? write_script(run, options, facts, earlier)
                             : write_database(run, options, facts, earlier);
}

// Returns the exit status.
int write_sql(trail_run& run, const sql_options& options,
              const run_facts& facts) {
  if (check_output(run, options.shared) != 0) return EXIT_ERROR;
  if (!options.state.empty()) {
    return sql_with_state(run, options.shared, options.state, facts,
                          options.follow);
  }
  return write_tables(run, options, facts);
}

int run_sql(std::span<char*> arguments) {
  // The parser changes the order of the arguments.
  const run_facts facts{VERSION_LINE, words_of(arguments)};
  return run_command(arguments, HELP, parse,
                     [&facts](trail_run& run, const sql_options& options) {
                       return write_sql(run, options, facts);
                     });
}

}  // namespace

const trail_command SQL_COMMAND = {"sql", "the trail as tables of a database",
                                   HELP, run_sql};
