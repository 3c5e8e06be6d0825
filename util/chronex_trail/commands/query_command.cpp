// chronex-trail query: questions in SQL about logs.

#include <unistd.h>

#include <optional>
#include <string>

#include "util/chronex_trail/commands/commands.h"
#include "util/chronex_trail/commands/run_command.h"
#include "util/chronex_trail/commands/temporary_database.h"
#include "util/chronex_trail/files/result_file.h"
#include "util/chronex_trail/run/exit_status.h"
#include "util/chronex_trail/run/trail_run.h"
#include "util/chronex_trail/sql/answer.h"

namespace {

constexpr const char* HELP =
    R"(usage: chronex-trail query [options] 'SELECT ...' FILE...
       chronex-trail query [options] --list-tables | --schema FILE...

Puts the trail into a temporary database, as sql does, and prints the answer to
a query: as a table on a terminal, else as CSV. FILE is a forward log or an
audit file, compressed or not; - is standard input.

      --json              the answer as JSON Lines
      --list-tables       the names of the tables instead
      --schema            the statements that make the tables instead
  -e, --filter EXPR       only what satisfies the filter expression
  -f, --filter-file FILE  the same, from a file
  -I, --items LIST        only these items, separated by commas or blanks
  -M, --master-keys       unlock master keys; what is written is in clear
  -o, --output NAME       write the answer to a file
      --resync            read on behind damage; the status is 3 then
      --time-zone ZONE    of dates in filter expressions
      --progress WHEN     how far a long run is: auto, always or never
  -h, --help              show this

Example:
  chronex-trail query 'SELECT op, count(*) FROM change GROUP BY op' shop.7-1
)";

constexpr const char* TABLES_QUERY =
    "SELECT name FROM sqlite_schema WHERE type = 'table' ORDER BY rowid";
constexpr const char* SCHEMA_QUERY =
    "SELECT sql FROM sqlite_schema WHERE sql IS NOT NULL ORDER BY rowid";

// The options of this command.
struct query_options {
  shared_options shared;
  bool json = false;
  bool list_tables = false;
  bool schema = false;
  std::string query;

  answer_format format() const {
    if (json) return answer_format::json;
    return shared.output == "-" && isatty(STDOUT_FILENO) != 0
               ? answer_format::table
               : answer_format::csv;
  }
};

// The query is the first operand.
int take_query(run_messages& messages, query_options& options) {
  if (options.list_tables || options.schema) {
    options.query = options.schema ? SCHEMA_QUERY : TABLES_QUERY;
    return 0;
  }
  options.query = options.shared.operands.front();
  options.shared.operands = options.shared.operands.subspan(1);
  if (!options.shared.operands.empty()) return 0;
  messages.print("No input file specified\n");
  return EXIT_USAGE;
}

int parse(std::span<char*> arguments, run_messages& messages,
          query_options& options) {
  const own_option own[] = {
      {"json", nullptr, &options.json},
      {"list-tables", nullptr, &options.list_tables},
      {"schema", nullptr, &options.schema},
  };
  const int status =
      parse_shared_options(arguments, messages, options.shared, own);
  if (status != 0 || options.shared.help) return status;
  return take_query(messages, options);
}

// Statements stand for themselves, without quotes.
int write_schema(sql_database& database, byte_sink& sink) {
  sql_statement statements = database.prepare(SCHEMA_QUERY);
  while (statements.step()) {
    if (sink.write(std::string(statements.text(0)) + ";\n") != 0) return -1;
  }
  return 0;
}

// `status` is that of what was read. Returns the exit status.
int answer(trail_run& run, const query_options& options, sql_database& database,
           int status) {
  result_file file(run.messages);
  if (file.open(options.shared.output, options.shared.use_master_keys) != 0) {
    return EXIT_ERROR;
  }
  try {
    const int written =
        options.schema && !options.json
            ? write_schema(database, file)
            : write_answer(database, options.query, options.format(), file);
    if (written != 0) status = EXIT_ERROR;
  } catch (const sql_error& error) {
    run.messages.print("The query failed: %s\n", error.what());
    status = EXIT_ERROR;
  }
  return file.close(status != EXIT_ERROR) == 0 ? status : EXIT_ERROR;
}

// The answer is that over what could be read, whatever the status.
int load_and_answer(trail_run& run, const query_options& options) {
  sql_database database;
  const std::optional<int> status =
      load_temporary(run, database, kept_rows::all);
  return status ? answer(run, options, database, *status) : EXIT_ERROR;
}

int run_query(std::span<char*> arguments) {
  return run_prepared(arguments, HELP, parse, load_and_answer);
}

}  // namespace

const trail_command QUERY_COMMAND = {"query", "the answer to a question in SQL",
                                     HELP, run_query};
