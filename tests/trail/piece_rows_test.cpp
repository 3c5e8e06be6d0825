// Pieces of a trail as rows: together they are those of one run.

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/log_builder.h"
#include "tests/support/run_program.h"
#include "tests/trail/script_reader.h"
#include "tests/trail/sql_fixture.h"
#include "tests/trail/state_fixture.h"

namespace {

// An engine, and how its scripts are read.
struct engine_case {
  arguments words;
  script_contents (*read)(std::string_view);
};
const engine_case ENGINES[] = {
    {{"--engine", "postgresql"}, read_postgresql},
    {{"--engine", "clickhouse", "--cluster", "c"}, read_clickhouse},
};

// Rows of all tables, sorted; of runs what can be added.
using table_rows = std::map<std::string, std::vector<std::vector<std::string>>>;

std::vector<std::string> row_of(const std::vector<script_value>& values) {
  std::vector<std::string> row;
  for (const script_value& value : values) {
    row.push_back(value ? '=' + *value : "NULL");
  }
  return row;
}

class script_rows_of {
 public:
  void add(const script_contents& script) {
    for (const auto& [name, table] : script.tables) {
      for (const auto& values : table.rows) add_row(name, row_of(values));
    }
  }
  table_rows sorted() {
    for (auto& [name, rows] : rows_) std::ranges::sort(rows);
    return rows_;
  }
  // Changes, gaps and warnings of all runs.
  std::vector<int> sums = std::vector<int>(3);

 private:
  void add_row(const std::string& table, const std::vector<std::string>& row) {
    if (table != "run") {
      rows_[table].push_back(row);
      return;
    }
    for (std::size_t i = 0; i < sums.size(); ++i) {
      sums[i] += std::stoi(row[4 + i].substr(1));
    }
  }

  table_rows rows_;
};

class PieceCut : public testing::Test {
 protected:
  // Runs the command for each piece there is, until one fails; `take` gets its
  // result. Returns the last status.
  template <typename Take>
  int for_each_piece(const arguments& words, const Take& take) {
    for (int i = 1;; ++i) {
      const std::string piece = "pieces/000" + std::to_string(i);
      if (directory.shell("test -e " + piece + ".files") != 0) return 0;
      std::istringstream text(directory.read(piece + ".files"));
      const arguments names{std::istream_iterator<std::string>(text), {}};
      const program_result made = directory.run_trail(
          with(with(words, {"--from", piece + ".state"}), names));
      take(made);
      if (made.status != 0) return made.status;
    }
  }

  // Makes states for logs, and the whole with other options.
  void make_case(std::uint64_t seed) {
    random_source random(seed);
    logs = make_random_logs(random);
    filter = random_filter(random);
    if (random.chance(20)) filter = with(filter, {"-I", "QTY,CARD"});
    const bool compressed = random.chance(25);
    for (const random_log& log : logs) {
      directory.write(log.name, log.bytes, compressed);
    }
    directory.run_trail(with(with({"states", "-o", "pieces", "--pieces",
                                   std::to_string(1 + random.below(5))},
                                  filter),
                             names_of(logs)));
  }

  test_directory directory;
  std::vector<random_log> logs;
  arguments filter;
};

std::string sums_of_runs(const std::string& database) {
  return answer_of(database,
                   "SELECT sum(changes), sum(gaps), sum(warnings) FROM run")[0];
}

TEST_F(PieceCut, DatabaseHasTheRowsOfOneRun) {
  for (std::uint64_t seed = first_case(); seed < end_of_cases(); ++seed) {
    make_case(seed);
    const program_result whole = directory.run_trail(
        with(with({"sql", "-o", "whole.db"}, filter), names_of(logs)));
    const int status = for_each_piece(
        with({"sql", "--append", "-o", "db"}, filter), [](const auto&) {});
    ASSERT_EQ(status, whole.status) << "seed " << seed << whole.err;
    const std::string end = status == 0 ? "" : ".partial";
    ASSERT_EQ(first_difference(rows_of(directory.path("db" + end)),
                               rows_of(directory.path("whole.db" + end))),
              "")
        << "seed " << seed;
    ASSERT_EQ(sums_of_runs(directory.path("db" + end)),
              sums_of_runs(directory.path("whole.db" + end)))
        << "seed " << seed;
    directory.shell("rm -rf pieces db* whole.db* log.*");
  }
}

TEST_F(PieceCut, ScriptsHaveTheRowsOfOneRun) {
  for (std::uint64_t seed = first_case(); seed < end_of_cases(); ++seed) {
    make_case(seed);
    const engine_case& engine = ENGINES[seed % std::size(ENGINES)];
    const arguments words = with(with({"sql"}, engine.words), filter);
    const program_result whole =
        directory.run_trail(with(words, names_of(logs)));
    script_rows_of expected;
    expected.add(engine.read(whole.out));
    script_rows_of pieces;
    const int status = for_each_piece(words, [&](const program_result& made) {
      pieces.add(engine.read(made.out));
    });
    ASSERT_EQ(status, whole.status) << "seed " << seed << whole.err;
    ASSERT_EQ(pieces.sorted(), expected.sorted()) << "seed " << seed;
    ASSERT_EQ(pieces.sums, expected.sums) << "seed " << seed;
    directory.shell("rm -rf pieces log.*");
  }
}

// Two logs; who works in the second has signed on in the first.
void write_two_logs(const test_directory& directory) {
  log_builder first({.generation = 7});
  first.database(1, "shop").data_set(2, 1, "orders", {{"QTY", 'I', 1, 4}});
  first.sign_on(5, {"user{BOB}"}).put(5, 2, 1, "abcd").end();
  directory.write("log.1", first.bytes());
  log_builder second({.generation = 7, .sequence = 2});
  second.put(5, 2, 2, "efgh").sign_off(5).end();
  directory.write("log.2", second.bytes());
  log_builder other({.generation = 7});
  other.database(1, "bank").data_set(2, 1, "orders", {{"SUM", 'I', 1, 4}});
  other.sign_on(5, {"user{EVE}"}).put(5, 2, 1, "abcd").end();
  directory.write("other", other.bytes());
}

// A piece alone has the rows that it refers to, as they are up to its end.
TEST(PieceRows, CanBeAskedAlone) {
  const test_directory directory;
  write_two_logs(directory);
  directory.run_trail({"states", "-o", "pieces", "log.1", "log.2"});
  const program_result piece = directory.run_trail(
      {"sql", "-o", "db", "--from", "pieces/0002.state", "log.2"});
  ASSERT_EQ(piece.status, 0) << piece.err;
  EXPECT_EQ(answer_of(directory.path("db"),
                      "SELECT n, recno, user, first_n, last_n, signed_off_n,"
                      " table_name, \"QTY\" FROM change"
                      " JOIN session ON session.id = session"
                      " JOIN data_set ON data_set.id = data_set"
                      " JOIN \"SHOP.ORDERS\" ON _n = n"),
            arguments{"6 2 BOB 4 6 7 SHOP.ORDERS 1751606885"});
}

TEST(PieceRows, RefusesWhatDoesNotFit) {
  const test_directory directory;
  write_two_logs(directory);
  directory.run_trail({"states", "-o", "pieces", "log.1", "log.2"});
  directory.run_trail({"json", "--state", "state", "log.1"});
  directory.run_trail({"sql", "-o", "other.db", "other"});
  const arguments second = {"sql", "--from", "pieces/0002.state", "log.2"};
  directory.run_trail(with(second, {"-o", "db"}));
  struct {
    arguments words;
    int status;
    std::string message;
  } const cases[] = {
      {with(second, {"--append", "-o", "db"}), 1, "is there already"},
      {with(second, {"--append", "-o", "other.db"}), 1,
       "no piece in front of this one"},
      {{"sql", "-o", "new", "--from", "state", "log.2"},
       1,
       "is no state of a piece"},
      {with(second, {"-o", "new", "-e", "DBPUT"}), 1, "other options"},
      {with(second, {"--engine", "clickhouse", "--segment", "2"}), 2,
       "--from goes neither"},
      {with(second, {"--append", "-o", "new", "--state", "new.state"}), 2,
       "--from goes neither"},
  };
  for (const auto& test : cases) {
    const program_result result = directory.run_trail(test.words);
    EXPECT_EQ(result.status, test.status) << test.message;
    EXPECT_NE(result.err.find(test.message), std::string::npos) << result.err;
    EXPECT_NE(directory.shell("test -e new"), 0) << test.message;
  }
}

}  // namespace
