// chronex-trail stats as its users run it; the database of the same logs must
// give the same figures.

#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <random>
#include <sstream>

#include "tests/support/log_builder.h"
#include "tests/support/run_program.h"
#include "tests/trail/sql_fixture.h"

namespace {

using arguments = std::vector<std::string>;
using lines = std::vector<std::string>;

// A log without a pattern: sessions of which some lack a name, that come back
// under the same number, with transactions that are left open, closed, or have
// no text.
class random_log {
 public:
  explicit random_log(unsigned seed) : random_(seed) {}

  std::string file(std::uint32_t generation, std::uint32_t sequence) {
    log_builder log({.generation = generation, .sequence = sequence});
    log.time(time_).pace(97);
    log.database(1, "shop");
    for (int set = 2; set < 5; ++set) {
      log.data_set(set, set == 4 ? 9 : 1, "set" + std::to_string(set / 3),
                   {{"A", 'I', 1, 4}});
    }
    for (int i = 0; i < 400; ++i) step(log);
    if (any(2) == 0) log.number(1000);
    for (int i = 0; i < 100; ++i) step(log);
    time_ += 100'000;
    return log.end().bytes();
  }

 private:
  int any(int count) {
    return static_cast<int>(random_() % static_cast<unsigned>(count));
  }

  void step(log_builder& log) {
    const int session = 3 + any(6);
    switch (any(9)) {
      case 0:
        log.sign_on(session, names());
        return;
      case 1:
        if (any(3) == 0) log.sign_off(session);
        return;
      case 2:
        log.memo(session, MODES[any(3)], any(4) == 0 ? "" : "text");
        return;
      default:
        change(log, session);
    }
  }

  lines names() {
    lines all;
    if (any(5) != 0) all.push_back("user{U" + std::to_string(any(4)) + "}");
    if (any(5) != 0) all.push_back("program{caf\xE9}");
    if (any(5) != 0) all.push_back("host{h" + std::to_string(any(3)) + "}");
    all.push_back("conntime{" + std::to_string(any(99) + 1) + "}");
    return all;
  }

  void change(log_builder& log, int session) {
    const int set = 2 + any(3);
    const auto recno = static_cast<std::uint32_t>(1 + any(8) * any(8));
    switch (any(3)) {
      case 0:
        log.put(session, set, recno, u32_bytes(1));
        return;
      case 1:
        log.update(session, set, recno, u32_bytes(1), u32_bytes(2));
        return;
      default:
        log.remove(session, set, recno, u32_bytes(1));
    }
  }

  static constexpr std::uint32_t MODES[] = {'b', 'e', 'm'};

  std::mt19937 random_;
  std::uint32_t time_ = 1772442000;
};

// A row as answer_of writes it.
std::string row_of(const rapidjson::Value& object) {
  std::string row;
  for (const auto& member : object.GetObject()) {
    const rapidjson::Value& value = member.value;
    if (!row.empty()) row += ' ';
    if (value.IsString()) {
      row += value.GetString();
    } else if (value.IsBool()) {
      row += value.GetBool() ? '1' : '0';
    } else {
      row += value.IsNull() ? "NULL" : std::to_string(value.GetInt64());
    }
  }
  return row;
}

lines rows_of(const rapidjson::Document& figures, const char* part) {
  lines rows;
  const rapidjson::Value& value = figures[part];
  if (value.IsObject()) return {row_of(value)};
  for (const auto& row : value.GetArray()) rows.push_back(row_of(row));
  return rows;
}

// What the queries are made of: the changes with all that belongs to them.
constexpr const char* TRAIL = R"sql(
WITH full AS MATERIALIZED (
  SELECT c.n, strftime('%Y-%m-%dT%H:%M:%SZ', c.ts) AS ts, c.op, c.recno,
         c.input, c.session, d.database, d.name,
         coalesce(d.database || '.', '') || d.name AS data_set,
         s.user, s.program, s.host,
         CASE WHEN memo_begin IS NOT NULL THEN
           (SELECT max(m.n) FROM memo AS m JOIN session AS o ON o.id = m.session
            WHERE o.session_id = s.session_id AND m.mode = 'DBBEGIN'
              AND m.n < c.n) END AS transaction_n
  FROM change AS c JOIN session AS s ON s.id = c.session
  JOIN data_set AS d ON d.id = c.data_set),
ordered AS (SELECT data_set AS set_name, min(n) AS set_n FROM full GROUP BY 1))sql";

#define COUNTS \
  "count(*) AS changes, sum(op = 'c'), sum(op = 'u'), sum(op = 'd')"
#define TIMES "min(ts), max(ts)"
#define WORKERS(name)                                                   \
  "SELECT x." name                                                      \
  ", count(n), coalesce(sum(op = 'c'), 0),"                             \
  " coalesce(sum(op = 'u'), 0), coalesce(sum(op = 'd'), 0),"            \
  " count(DISTINCT x.id), " TIMES                                       \
  " FROM session AS x LEFT JOIN full ON full.session = x.id GROUP BY 1" \
  " ORDER BY 2 DESC, coalesce(x." name ", '')"

struct part_query {
  const char* part;
  const char* query;
} const QUERIES[] = {
    {"total", "SELECT " COUNTS ", " TIMES
              ", count(DISTINCT data_set), count(DISTINCT data_set || recno),"
              " (SELECT count(DISTINCT user) FROM session),"
              " (SELECT count(DISTINCT program) FROM session),"
              " (SELECT count(DISTINCT host) FROM session),"
              " (SELECT count(*) FROM session), count(DISTINCT session),"
              " (SELECT count(signed_off_n) FROM session),"
              " count(DISTINCT session || '-' || transaction_n), 0 FROM full"},
    {"data_sets", "SELECT data_set, " COUNTS ", " TIMES
                  ", 0, database, name FROM full GROUP BY database, name"
                  " ORDER BY changes DESC, data_set"},
    {"users", WORKERS("user")},
    {"programs", WORKERS("program")},
    {"hosts", WORKERS("host")},
    {"days",
     "SELECT date(ts), substr('SunMonTueWedThuFriSat',"
     " 1 + 3 * strftime('%w', ts), 3), " COUNTS " FROM full GROUP BY 1"},
    {"hours",
     "SELECT substr('SunMonTueWedThuFriSat', 1 + 3 * strftime('%w', ts), 3),"
     " 0 + strftime('%H', ts) AS hour, " COUNTS
     " FROM full GROUP BY strftime('%w', ts), hour"
     " ORDER BY (strftime('%w', ts) + 6) % 7, hour"},
    {"records",
     "SELECT data_set, recno, count(*), count(*) FROM full"
     " JOIN ordered ON set_name = data_set GROUP BY data_set, recno"
     " ORDER BY 3 DESC, set_n, recno LIMIT 10"},
    {"transactions",
     "SELECT x.user, x.program, x.host, x.session_id,"
     " strftime('%Y-%m-%dT%H:%M:%SZ', m.ts), m.text, " COUNTS
     ", min(full.ts), max(full.ts), NULL, NULL, 0"
     " FROM full JOIN memo AS m ON m.n = transaction_n"
     " JOIN session AS x ON x.id = full.session"
     " GROUP BY full.session, transaction_n ORDER BY changes DESC, min(full.n) "
     "LIMIT 10"},
    {"sessions",
     "SELECT full.user, full.program, full.host, x.session_id,"
     " strftime('%Y-%m-%dT%H:%M:%SZ', x.connected), " COUNTS ", " TIMES
     ", signed_off_n IS NOT NULL"
     " FROM full JOIN session AS x ON x.id = full.session"
     " GROUP BY x.id ORDER BY changes DESC, x.id LIMIT 10"},
    {"gaps",
     "SELECT kind, input.name, expected, found, missing FROM notice"
     " JOIN input ON input.id = input WHERE type = 'gap'"},
    {"inputs",
     "SELECT i.name, format, character_set, generation, sequence, 1,"
     " count(full.n), " TIMES
     " FROM input AS i LEFT JOIN full ON full.input = i.id GROUP BY i.id"},
};

// The database does not tell where a DBBEGIN stood.
lines without_places(lines transactions) {
  for (std::string& row : transactions) {
    const std::size_t at = row.find(" log");
    if (at != row.npos) row = row.substr(0, at) + " NULL NULL 0";
  }
  return transactions;
}

TEST(StatsProgram, GivesTheFiguresOfTheDatabase) {
  for (const unsigned seed : {1U, 2U, 3U, 4U}) {
    const test_directory directory;
    random_log log(seed);
    arguments files = {"log1", "log2", "log3", "log4"};
    directory.write("log1", log.file(7, 1));
    directory.write("log2", log.file(7, 2), true);
    directory.write("log3", log.file(9, 1));
    directory.write("log4", log.file(9, 4));
    arguments sql = {"sql", "-o", "db"};
    sql.insert(sql.end(), files.begin(), files.end());
    ASSERT_EQ(directory.run_trail(sql).status, 0);
    arguments stats = {"stats", "--json"};
    stats.insert(stats.end(), files.begin(), files.end());
    const program_result result = directory.run_trail(stats);
    ASSERT_EQ(result.status, 0);
    rapidjson::Document figures;
    figures.Parse(result.out.c_str());
    ASSERT_FALSE(figures.HasParseError()) << result.out;
    for (const auto& [part, query] : QUERIES) {
      lines given = rows_of(figures, part);
      if (part == std::string_view("transactions")) {
        given = without_places(std::move(given));
      }
      EXPECT_EQ(given,
                answer_of(directory.path("db"), std::string(TRAIL) + query))
          << part << ", seed " << seed;
      EXPECT_FALSE(given.empty()) << part;
    }
    const rapidjson::Value& complete = figures["completeness"];
    EXPECT_FALSE(complete["complete"].GetBool());
    EXPECT_EQ(complete["lost_generations"].GetInt(), 1);
    EXPECT_EQ(complete["lost_files"].GetInt(), 2);
  }
}

log_builder small_log() {
  log_builder log;
  log.database(1, "shop").data_set(2, 1, "orders", {{"A", 'I', 1, 4}});
  log.sign_on(3, {"user{\x1b[31mBOB}program{a,\"b}host{h}"});
  return log.put(3, 2, 1, u32_bytes(1)).put(3, 2, 2, u32_bytes(1));
}

TEST(StatsProgram, SaysWhetherTheTrailIsComplete) {
  const test_directory directory;
  directory.write("whole", small_log().end().bytes());
  directory.write("cut", small_log().bytes());
  directory.write("old",
                  log_builder({.version = "1.00", .short_form = true}).bytes());
  directory.run({"-o", "audit", "cut"});
  directory.run({"-o", "whole.audit", "whole"});
  struct {
    std::string input;
    bool complete;
    std::string what;
  } const cases[] = {
      {"whole", true, R"("damage":0)"},
      {"whole.audit", true, R"("damage":0)"},
      {"cut", false,
       R"("notice":"damage","code":null,"input":"cut","text":)"
       R"("an unexpected EOF)"},
      // What the log had lost is lost to its audit file.
      {"audit", false,
       R"("notice":"reported","code":null,"input":"audit","text":)"
       R"("an unexpected EOF)"},
      {"old", false, R"("processed":false)"},
  };
  for (const auto& test : cases) {
    const std::string out =
        directory.run_trail({"stats", "--json", test.input}).out;
    EXPECT_NE(
        out.find(test.complete ? R"("complete":true)" : R"("complete":false)"),
        out.npos)
        << test.input << out;
    EXPECT_NE(out.find(test.what), out.npos) << test.input << out;
  }
}

TEST(StatsProgram, CountsDaysAndHoursInTheTimeZone) {
  const test_directory directory;
  // Around 02:00, when summer time begins, and midnight.
  log_builder log;
  log.database(1, "shop").data_set(2, 1, "orders", {{"A", 'I', 1, 4}});
  log.sign_on(3, {});
  for (const std::uint32_t time :
       {1774745999U, 1774746000U, 1774749599U, 1774828800U, 1774821599U}) {
    log.time(time).put(3, 2, 1, u32_bytes(1));
  }
  directory.write("log", log.end().bytes());
  const std::string out =
      directory
          .run_trail({"stats", "--csv", "--time-zone", "Europe/Berlin", "log"})
          .out;
  const auto has = [&out](const std::string& part, const std::string& cells) {
    std::size_t at = 0;
    while ((at = out.find("\r\n" + part + ",", at)) != out.npos) {
      const std::string line = out.substr(at, out.find('\n', at + 2) - at);
      if (line.find(cells) != line.npos) return true;
      ++at;
    }
    return false;
  };
  EXPECT_TRUE(has("days", "2026-03-29,Sun")) << out;
  EXPECT_TRUE(has("days", "2026-03-30,Mon")) << out;
  for (const char* hour : {"Sun,1,", "Sun,3,", "Sun,23,", "Mon,2,"}) {
    EXPECT_TRUE(has("hours", hour)) << hour << out;
  }
  EXPECT_FALSE(has("hours", "Sun,2,")) << out;
  // All lines have as many cells.
  std::istringstream text(out);
  std::ptrdiff_t commas = -1;
  for (std::string line; std::getline(text, line);) {
    const std::ptrdiff_t count = std::ranges::count(line, ',');
    if (commas < 0) commas = count;
    EXPECT_EQ(count, commas) << line;
  }
}

TEST(StatsProgram, TellsTheLargestOnRequest) {
  const test_directory directory;
  directory.write("log", small_log().end().bytes());
  const program_result tables = directory.run_trail({"stats", "log"});
  EXPECT_NE(tables.out.find("\\x1b[31mBOB        2     2"), tables.out.npos)
      << tables.out;
  EXPECT_NE(
      directory.run_trail({"stats", "--csv", "log"}).out.find("\"a,\"\"b\""),
      tables.out.npos);
  const std::string one =
      directory.run_trail({"stats", "--json", "--top", "1", "log"}).out;
  EXPECT_NE(one.find(R"("recno":1)"), one.npos);
  EXPECT_EQ(one.find(R"("recno":2)"), one.npos);
  struct {
    arguments words;
    std::string message;
  } const refused[] = {
      {{"stats", "--top", "0", "log"}, "--top takes a number"},
      {{"stats", "--top", "2x", "log"}, "--top takes a number"},
      {{"stats", "--json", "--csv", "log"}, "exclude each other"},
      {{"stats", "--progress", "no", "log"}, "--progress takes"},
  };
  for (const auto& test : refused) {
    const program_result result = directory.run_trail(test.words);
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.err.find(test.message), result.err.npos) << result.err;
  }
}

}  // namespace
