// chronex-trail list: what is in logs.

#include <optional>
#include <string>

#include "util/chronex_trail/commands/commands.h"
#include "util/chronex_trail/commands/run_command.h"
#include "util/chronex_trail/commands/temporary_database.h"
#include "util/chronex_trail/files/result_file.h"
#include "util/chronex_trail/run/exit_status.h"
#include "util/chronex_trail/sql/answer.h"

namespace {

constexpr const char* HELP =
    R"(usage: chronex-trail list [options] FILE...

Tells what is in logs: data sets with their items, the numbers of their records,
users, programs and hosts, and of each when it was at work and how many changes
it made. FILE is a forward log or an audit file, compressed or not; - is
standard input.

      --json              as one JSON object
  -e, --filter EXPR       only what satisfies the filter expression
  -f, --filter-file FILE  the same, from a file
  -I, --items LIST        only these items, separated by commas or blanks
  -M, --master-keys       unlock master keys
  -o, --output NAME       write to a file
      --resync            read on behind damage; the status is 3 then
      --time-zone ZONE    of dates in filter expressions
      --progress WHEN     how far a long run is: auto, always or never
  -h, --help              show this

Example:
  chronex-trail list shop.7-1 shop.7-2
)";

struct list_options {
  shared_options shared;
  bool json = false;
};

int parse(std::span<char*> arguments, run_messages& messages,
          list_options& options) {
  const own_option own[] = {{"json", nullptr, &options.json}};
  return parse_shared_options(arguments, messages, options.shared, own);
}

// The rows of a part, with names that both forms show.
struct list_part {
  const char* name;
  const char* query;
};

// Walks over all changes once; what follows is short.
constexpr const char* MAKE_TALLY = R"sql(
CREATE TEMP TABLE tally AS
SELECT data_set, session, count(*) AS changes, min(ts) AS first, max(ts) AS last
FROM change GROUP BY data_set, session;
CREATE TEMP TABLE records AS
SELECT data_set, recno FROM change GROUP BY data_set, recno;
CREATE TEMP VIEW worker AS
SELECT * FROM tally JOIN session ON session.id = tally.session)sql";

constexpr list_part PARTS[] = {
    {"total", R"sql(
SELECT coalesce(sum(changes), 0) AS changes, min(first) AS first,
       max(last) AS last
FROM tally)sql"},
    {"data_sets", R"sql(
SELECT table_name AS data_set, coalesce(sum(changes), 0) AS changes,
       min(first) AS first, max(last) AS last, coalesce(records, 0) AS records,
       lowest, highest
FROM data_set
LEFT JOIN tally ON tally.data_set = data_set.id
LEFT JOIN (SELECT table_name, count(DISTINCT recno) AS records,
             min(recno) AS lowest, max(recno) AS highest
      FROM records JOIN data_set ON data_set.id = records.data_set
      GROUP BY table_name) USING (table_name)
GROUP BY table_name ORDER BY table_name)sql"},
    {"items", R"sql(
SELECT DISTINCT table_name AS data_set, item.name AS item, type, elements, size
FROM item JOIN data_set ON data_set.id = item.data_set
ORDER BY table_name, position)sql"},
    {"users", R"sql(
SELECT user, sum(changes) AS changes, min(first) AS first, max(last) AS last
FROM worker GROUP BY user ORDER BY user)sql"},
    {"programs", R"sql(
SELECT program, sum(changes) AS changes, min(first) AS first, max(last) AS last
FROM worker GROUP BY program ORDER BY program)sql"},
    {"hosts", R"sql(
SELECT host, sum(changes) AS changes, min(first) AS first, max(last) AS last
FROM worker GROUP BY host ORDER BY host)sql"},
};

// Puts the lines of an answer together as a JSON array.
class array_sink : public byte_sink {
 public:
  int write(std::string_view bytes) override {
    for (const char byte : bytes) {
      if (!text_.empty() && text_.back() == '\n') text_.back() = ',';
      text_ += byte;
    }
    return 0;
  }
  std::string array() const {
    return '[' + text_.substr(0, text_.empty() ? 0 : text_.size() - 1) + ']';
  }

 private:
  std::string text_;
};

int write_json(sql_database& database, byte_sink& sink) {
  std::string object;
  for (const list_part& part : PARTS) {
    array_sink rows;
    write_answer(database, part.query, answer_format::json, rows);
    object += object.empty() ? "{\"" : ",\"";
    object += part.name;
    object += "\":" + rows.array();
  }
  return sink.write(object + "}\n");
}

int write_tables(sql_database& database, byte_sink& sink) {
  for (const list_part& part : PARTS) {
    if (&part != PARTS && sink.write("\n") != 0) return -1;
    if (write_answer(database, part.query, answer_format::table, sink) != 0) {
      return -1;
    }
  }
  return 0;
}

// `status` is that of what was read. Returns the exit status.
int write_list(trail_run& run, const list_options& options,
               sql_database& database, int status) {
  result_file file(run.messages);
  if (file.open(options.shared.output, options.shared.use_master_keys) != 0) {
    return EXIT_ERROR;
  }
  try {
    database.run(MAKE_TALLY);
    const int written = options.json ? write_json(database, file)
                                     : write_tables(database, file);
    if (written != 0) status = EXIT_ERROR;
  } catch (const sql_error& error) {
    run.messages.print("The list could not be made: %s\n", error.what());
    status = EXIT_ERROR;
  }
  return file.close(status != EXIT_ERROR) == 0 ? status : EXIT_ERROR;
}

// The list is that of what could be read, whatever the status.
int load_and_list(trail_run& run, const list_options& options) {
  sql_database database;
  const std::optional<int> status =
      load_temporary(run, database, kept_rows::no_images);
  return status ? write_list(run, options, database, *status) : EXIT_ERROR;
}

int run_list(std::span<char*> arguments) {
  return run_prepared(arguments, HELP, parse, load_and_list);
}

}  // namespace

const trail_command LIST_COMMAND = {"list", "what is in logs", HELP, run_list};
