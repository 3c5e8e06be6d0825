// Trails that go on from run to run.

#include <gtest/gtest.h>

#include <algorithm>
#include <span>
#include <sstream>
#include <string>
#include <vector>

#include "common/md5.h"
#include "tests/support/log_builder.h"
#include "tests/support/run_program.h"
#include "tests/trail/sql_fixture.h"
#include "tests/trail/state_fixture.h"
#include "util/chronex/state/state_file.h"

namespace {

// The logs as a writer leaves them at a moment: a number of whole ones, and the
// first bytes of another.
struct moment {
  std::size_t whole = 0;
  std::size_t bytes = 0;

  auto operator<=>(const moment&) const = default;
};

std::vector<moment> random_moments(random_source& random,
                                   const std::vector<random_log>& logs) {
  std::vector<moment> moments;
  for (std::uint32_t left = 1 + random.below(4); left > 0; --left) {
    const std::size_t log = random.below(logs.size());
    const std::size_t size = random.below(logs[log].bytes.size() + 1);
    moments.push_back({log, size < random_log_header_size() ? 0 : size});
  }
  moments.push_back({logs.size(), 0});
  std::ranges::sort(moments);
  return moments;
}

// Writes what there is at that moment. Returns the names of the files that are
// not quite known from the moment before.
arguments write_logs(const test_directory& directory,
                     const std::vector<random_log>& logs, const moment& before,
                     const moment& now, bool compressed) {
  arguments names;
  for (std::size_t i = 0; i < logs.size(); ++i) {
    const bool whole = i < now.whole;
    const std::size_t size = whole            ? logs[i].bytes.size()
                             : i == now.whole ? now.bytes
                                              : 0;
    if (size == 0) continue;
    directory.write(logs[i].name, logs[i].bytes.substr(0, size), compressed);
    if (i >= before.whole) names.push_back(logs[i].name);
  }
  return names;
}

class StateCut : public testing::Test {
 protected:
  // Runs over the logs as they grow; the last run's result.
  program_result run_in_pieces(const std::vector<random_log>& logs,
                               const arguments& words, bool compressed) {
    program_result result;
    moment before;
    for (const moment& now : random_moments(random, logs)) {
      const arguments names =
          write_logs(directory, logs, before, now, compressed);
      before = now;
      if (names.empty()) continue;
      result = directory.run_trail(with(words, names));
      joined += result.out;
      if (result.status != 0) break;
    }
    return result;
  }

  random_source random{0};
  test_directory directory;
  std::string joined;
};

TEST_F(StateCut, PiecesOfJsonMakeTheWhole) {
  for (std::uint64_t seed = first_case(); seed < end_of_cases(); ++seed) {
    random = random_source(seed);
    const std::vector<random_log> logs = make_random_logs(random);
    const arguments filter = random_filter(random);
    const bool compressed = random.chance(25);
    const bool to_file = random.chance(70);
    write_logs(directory, logs, {}, {logs.size(), 0}, compressed);
    const program_result whole =
        directory.run_trail(with(with({"json"}, filter), names_of(logs)));
    arguments words = with({"json", "--state", "state"}, filter);
    if (to_file) words = with(words, {"-o", "out"});
    joined.clear();
    const program_result last = run_in_pieces(logs, words, compressed);
    if (to_file) {
      ASSERT_EQ(first_difference(directory.read("out"), whole.out), "")
          << "seed " << seed;
    } else if (whole.status == 0) {
      // Only a trail that has come to its end says so.
      const std::size_t end = whole.out.rfind("{\"v\":1,\"type\":\"end\"");
      ASSERT_NE(end, std::string::npos);
      ASSERT_EQ(first_difference(joined, whole.out.substr(0, end)), "")
          << "seed " << seed;
    }
    if (whole.status == 0) {
      ASSERT_EQ(last.status, 0) << "seed " << seed << ": " << last.err;
    }
    directory.shell("rm -f state out log.*");
  }
}

TEST_F(StateCut, PiecesOfADatabaseMakeTheWhole) {
  for (std::uint64_t seed = first_case(); seed < end_of_cases(); ++seed) {
    random = random_source(seed);
    const std::vector<random_log> logs = make_random_logs(random);
    const arguments filter = random_filter(random);
    const bool compressed = random.chance(25);
    write_logs(directory, logs, {}, {logs.size(), 0}, compressed);
    const program_result whole = directory.run_trail(
        with(with({"sql", "-o", "whole.db"}, filter), names_of(logs)));
    const program_result last = run_in_pieces(
        logs, with({"sql", "--append", "--state", "state", "-o", "db"}, filter),
        compressed);
    ASSERT_EQ(last.status, whole.status) << "seed " << seed << last.err;
    if (whole.status == 0) {
      ASSERT_EQ(first_difference(rows_of(directory.path("db")),
                                 rows_of(directory.path("whole.db"))),
                "")
          << "seed " << seed;
    }
    directory.shell("rm -f state* db* whole.db* log.*");
  }
}

// Output, messages and status are those of one process, wherever the pieces
// begin.
TEST_F(StateCut, JobsMakeTheWhole) {
  for (std::uint64_t seed = first_case(); seed < end_of_cases(); ++seed) {
    random = random_source(seed);
    const std::vector<random_log> logs = make_random_logs(random);
    const arguments filter = random_filter(random);
    const std::string out = random.chance(30) ? "out.gz" : "out";
    write_logs(directory, logs, {}, {logs.size(), 0}, random.chance(25));
    if (random.chance(15)) directory.change_byte("log.0", -9);
    const arguments words = with(with({"json"}, filter), names_of(logs));
    const program_result whole = directory.run_trail(words);
    const std::vector<std::string> environment = {
        "CHRONEX_PIECE_SIZE=" + std::to_string(1 + random.below(2000))};
    const program_result jobs =
        directory.run_trail(with(words, {"--jobs", "3"}), {}, environment);
    ASSERT_EQ(first_difference(jobs.out, whole.out), "") << "seed " << seed;
    ASSERT_EQ(jobs.err, whole.err) << "seed " << seed;
    ASSERT_EQ(jobs.status, whole.status) << "seed " << seed;
    directory.run_trail(with(words, {"--jobs", "2", "-o", out}), {},
                        environment);
    const std::string made = whole.status == 0 ? out : out + ".partial";
    ASSERT_EQ(first_difference(directory.read(made), whole.out), "")
        << "seed " << seed;
    directory.shell("rm -f out* log.*");
  }
}

// The pieces of `states`, each made by a run of its own, joined.
TEST_F(StateCut, BorderStatesMakeTheWhole) {
  for (std::uint64_t seed = first_case(); seed < end_of_cases(); ++seed) {
    random = random_source(seed);
    const std::vector<random_log> logs = make_random_logs(random);
    const arguments filter = random_filter(random);
    write_logs(directory, logs, {}, {logs.size(), 0}, random.chance(25));
    const program_result whole =
        directory.run_trail(with(with({"json"}, filter), names_of(logs)));
    const program_result states =
        directory.run_trail(with(with({"states", "-o", "pieces", "--pieces",
                                       std::to_string(1 + random.below(5))},
                                      filter),
                                 names_of(logs)));
    program_result pieces;
    for (int i = 1; pieces.status == 0; ++i) {
      const std::string piece = "pieces/000" + std::to_string(i);
      if (directory.shell("test -e " + piece + ".files") != 0) break;
      arguments words = with({"json", "--from", piece + ".state"}, filter);
      std::istringstream names(directory.read(piece + ".files"));
      for (std::string name; std::getline(names, name);) words.push_back(name);
      const program_result made = directory.run_trail(words);
      pieces.out += made.out;
      pieces.err += made.err;
      pieces.status = made.status;
    }
    ASSERT_EQ(first_difference(pieces.out, whole.out), "")
        << "seed " << seed << states.err;
    ASSERT_EQ(pieces.err, whole.err) << "seed " << seed;
    ASSERT_EQ(pieces.status, whole.status) << "seed " << seed;
    directory.shell("rm -rf pieces log.*");
  }
}

// A log with a session, an encrypted data set, and an image that waits.
log_builder sealed_log(std::string_view key, std::string_view stored) {
  log_builder log({.generation = 7});
  log.database(1, "shop").data_set(2, 1, "cards",
                                   {{"CARD", 'X', 1, 16, LOG_ITEM_ENCRYPTED}});
  log.keys(1, {{.id = 7, .type = 1, .key = std::string(key)}});
  log.sign_on(5, {"user{BOB}"});
  log.before_image(
      {.session = 5, .node = 2, .recno = 1, .image = std::string(stored)});
  return log;
}

TEST(StateFile, IsPrivateAndHoldsNothingDeciphered) {
  const std::string key = "0123456789abcdef";
  const std::string plain = "4000123412341234";
  std::string stored = u32_bytes(7) + std::string(4, '\0');
  for (std::size_t i = 0; i < plain.size(); ++i) {
    stored += static_cast<char>(plain[i] ^ key[i]);
  }
  const test_directory directory;
  log_builder log = sealed_log(key, stored);
  directory.write("log", log.bytes());
  const arguments words = {"json", "--state", "state", "log"};
  ASSERT_EQ(directory.run_trail(words).status, 0);
  EXPECT_EQ(directory.shell("test $(stat -c %a state) = 600"), 0);
  const std::string state = directory.read_raw("state");
  EXPECT_EQ(state.find(plain), std::string::npos);
  EXPECT_NE(state.find(stored), std::string::npos);

  // The operation finds the image, in clear.
  log.remove(5, 2, 1, stored).end();
  directory.write("log", log.bytes());
  const program_result rest = directory.run_trail(words);
  EXPECT_NE(rest.out.find(R"("before":{"CARD":"4000123412341234"})"),
            std::string::npos)
      << rest.out << rest.err;
}

TEST(StateFile, RefusesEveryFlippedBit) {
  const test_directory directory;
  directory.write("log", sealed_log("0123456789abcdef", "short").bytes());
  const arguments words = {"json", "--state", "state", "log"};
  ASSERT_EQ(directory.run_trail(words).status, 0);
  const std::string state = directory.read_raw("state");
  std::vector<std::uint8_t> flipped(state.begin(), state.end());
  std::span<const std::uint8_t> sections;
  std::string problem;
  ASSERT_TRUE(open_state(flipped, sections, problem)) << problem;
  for (std::size_t bit = 0; bit < 8 * flipped.size(); ++bit) {
    const auto mask = static_cast<std::uint8_t>(1U << (bit % 8));
    flipped[bit / 8] ^= mask;
    ASSERT_FALSE(open_state(flipped, sections, problem)) << "bit " << bit;
    flipped[bit / 8] ^= mask;
  }
  for (const std::size_t at : {3UL, 16UL, 20UL, 24UL, state.size() - 1}) {
    std::string changed = state;
    changed[at] ^= 1;
    directory.write("state", changed);
    const program_result result = directory.run_trail(words);
    EXPECT_EQ(result.status, 1) << "byte " << at;
    EXPECT_NE(result.err.find(at < 16 ? "is no state file" : "is damaged"),
              std::string::npos)
        << result.err;
    EXPECT_EQ(result.out, "");
  }
}

// A state as the version before wrote it, in the midst of a log.
TEST(StateFile, ReadsTheVersionBeforeAndRefusesALaterOne) {
  const test_directory directory;
  const std::string kept = STATES_DIRECTORY;
  ASSERT_EQ(directory.shell("cp " + kept + "/version-1.* ."), 0);
  const arguments words = {"json", "--state", "version-1.state",
                           "version-1.log"};
  const std::string whole = directory.run_trail({"json", "version-1.log"}).out;
  const std::size_t rest = whole.find(R"({"v":1,"type":"schema","n":6,)");
  const std::size_t end = whole.find(R"({"v":1,"type":"end")");
  const program_result result = directory.run_trail(words);
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, whole.substr(rest, end - rest));

  constexpr std::size_t VERSION = 16;
  std::string state = directory.read_raw("version-1.state");
  ASSERT_EQ(state[VERSION], char{STATE_VERSION});
  ++state[VERSION];
  state.resize(state.size() - MD5_DIGEST_SIZE);
  ko_md5_context context;
  ko__MD5Init(context);
  ko__MD5Update(context, {reinterpret_cast<const std::uint8_t*>(state.data()),
                          state.size()});
  for (const std::uint8_t byte : ko__MD5Final(context)) {
    state += static_cast<char>(byte);
  }
  directory.write("version-1.state", state);
  const program_result refused = directory.run_trail(words);
  EXPECT_EQ(refused.status, 1);
  EXPECT_NE(refused.err.find("go on with the program that wrote it"),
            std::string::npos)
      << refused.err;
}

// What was lost is as uncertain in the next run, wherever the first one ended.
TEST(StateFile, KeepsWhatDamageMadeUncertain) {
  log_builder log({.generation = 7});
  log.database(1, "shop").data_set(2, 1, "orders", {{"A", 'X', 1, 4}});
  log.sign_on(5, {"user{BOB}"}).memo(5, 98, "begin");
  log.put(5, 2, 1, "aaaa");
  const std::size_t hole = log.bytes().size();
  log.raw(std::string(50, '?')).number(12);
  log.put(5, 2, 2, "bbbb").put(6, 2, 3, "cccc").put(6, 8, 4, "dddd");
  log.put(5, 2, 5, "eeee").put(6, 8, 6, "ffff").put(6, 2, 7, "gggg");
  const std::string bytes = log.end().bytes();
  log_builder next({.generation = 7, .sequence = 2});
  next.put(5, 2, 8, "hhhh").put(6, 8, 9, "iiii").sign_on(5, {"user{BOB}"});
  next.put(5, 2, 10, "jjjj").end();
  const test_directory directory;
  directory.write("next", next.bytes());
  directory.write("log", bytes);
  directory.run_trail({"json", "--resync", "-o", "whole", "log", "next"});
  directory.run_trail({"sql", "--resync", "-o", "whole.db", "log", "next"});
  const arguments json = {"json", "--resync", "--state", "s1", "-o", "out"};
  const arguments sql = {"sql", "--resync", "--append", "--state",
                         "s2",  "-o",       "db"};
  for (std::size_t cut = hole - 30; cut <= bytes.size(); cut += 17) {
    SCOPED_TRACE(cut);
    for (const bool is_there : {false, true}) {
      directory.write("log", is_there ? bytes : bytes.substr(0, cut));
      arguments logs = {"log"};
      if (is_there) logs.emplace_back("next");
      const int status = directory.run_trail(with(json, logs)).status;
      EXPECT_EQ(status, directory.run_trail(with(sql, logs)).status);
      EXPECT_TRUE(!is_there || status == 3) << status;
    }
    ASSERT_EQ(first_difference(directory.read("out"), directory.read("whole")),
              "");
    ASSERT_EQ(first_difference(rows_of(directory.path("db")),
                               rows_of(directory.path("whole.db"))),
              "");
    directory.shell("rm -f s1* s2* out db*");
  }
}

// Damage in which a log ends is told once it is known that no more comes.
TEST(StateFile, TellsDamageThatNothingFollows) {
  const test_directory directory;
  log_builder log({.generation = 7});
  log.database(1, "shop").sign_on(5, {"user{BOB}"}).raw(std::string(99, '?'));
  directory.write("log", log.bytes());
  log_builder next({.generation = 7, .sequence = 2});
  directory.write("next", next.end().bytes());
  const program_result whole =
      directory.run_trail({"json", "--resync", "log", "next"});
  const arguments words = {"json", "--resync", "--state", "state"};
  const program_result first = directory.run_trail(with(words, {"log"}));
  EXPECT_EQ(first.err, "");
  EXPECT_EQ(first.status, 0);
  const program_result second = directory.run_trail(with(words, {"next"}));
  EXPECT_EQ(second.err, whole.err);
  EXPECT_EQ(second.status, 3);
  EXPECT_TRUE(whole.out.starts_with(first.out + second.out));
}

// Logs that come too early.
TEST(StateFile, TellsGaps) {
  const test_directory directory;
  log_builder first({.generation = 7});
  directory.write("first", first.database(1, "shop").end().bytes());
  log_builder third({.generation = 7, .sequence = 3});
  directory.write("third", third.end().bytes());
  const arguments commands[] = {
      {"json", "--state", "s1", "-o", "out"},
      {"sql", "--append", "--state", "s2", "-o", "db"}};
  for (const arguments& words : commands) {
    EXPECT_EQ(directory.run_trail(with(words, {"first"})).err, "");
    const program_result result = directory.run_trail(with(words, {"third"}));
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.err.find("found: 3, expected: 2"), std::string::npos)
        << result.err;
  }
  EXPECT_NE(directory.read("out").find(R"("type":"gap")"), std::string::npos);
  EXPECT_EQ(answer_of(directory.path("db"), "SELECT type, missing FROM notice"),
            answer_of(directory.path("db"), "SELECT 'gap', 1"));
}

// The rest of a log may come under another name, and behind or in front of
// another log that has its numbers.
TEST(StateFile, FindsTheRestAmongLogsOfItsNumbers) {
  const test_directory directory;
  log_builder log({.generation = 7});
  log.database(1, "shop").data_set(2, 1, "s", {{"A", 'I', 1, 4}});
  log.sign_on(5, {"user{BOB}"}).put(5, 2, 1, "abcd");
  const std::string begun = log.bytes();
  const std::string grown = log.put(5, 2, 2, "efgh").end().bytes();
  log_builder twin({.generation = 7});
  directory.write("twin", twin.database(1, "other").end().bytes());
  const struct {
    arguments names;
    std::string log;
    std::string name;
  } cases[] = {
      {{"twin"}, begun, "log"},
      {{"log", "twin"}, grown, "log"},
      {{"moved", "twin"}, grown, "moved"},
      {{"twin", "moved"}, grown, "moved"},
  };
  for (const auto& test : cases) {
    directory.shell("rm -f log moved state out whole");
    directory.write("log", begun);
    const arguments words = {"json", "--state", "state", "-o", "out"};
    ASSERT_EQ(directory.run_trail(with(words, {"log"})).status, 0);
    directory.write(test.name, test.log);
    const program_result rest = directory.run_trail(with(words, test.names));
    EXPECT_EQ(rest.status, 0) << rest.err;
    directory.write("log", test.log);
    arguments whole = {"json", "-o", "whole", "log"};
    if (test.names.front() != "twin" || test.name == "log") {
      whole.emplace_back("twin");
    }
    ASSERT_EQ(directory.run_trail(whole).status, 0);
    directory.shell("sed -i 's/\"moved\"/\"log\"/' out");
    EXPECT_EQ(first_difference(directory.read("out"), directory.read("whole")),
              "");
  }
}

// What does not belong to a state is said, and nothing is written.
TEST(StateFile, SaysWhatHasChanged) {
  const test_directory directory;
  log_builder log({.generation = 7});
  log.database(1, "shop").sign_on(5, {"user{BOB}"}).memo(5, 98, "begin");
  const std::string bytes = log.bytes();
  directory.write("log", bytes);
  log_builder other({.volume_set_id = 5, .generation = 7, .sequence = 2});
  directory.write("other", other.end().bytes());
  const arguments words = {"json", "--state", "state", "-o", "out"};
  ASSERT_EQ(directory.run_trail(with(words, {"log"})).status, 0);
  const std::string written = directory.read("out");

  std::string changed = bytes;
  changed[changed.size() - 3] ^= 1;
  const struct {
    std::string log;
    arguments words;
    std::string message;
  } cases[] = {
      {bytes, with(words, {"log", "-e", "DBPUT"}),
       "other options -e, -f or -I"},
      {bytes, with(words, {"log", "other"}), "is of volume set 5"},
      {bytes, {"json", "--state", "state", "log"}, "name it with -o"},
      {changed, with(words, {"log"}), "the log log is not as it was"},
      {bytes.substr(0, bytes.size() - 1), with(words, {"log"}),
       "the log log is not as it was"},
      {bytes, {"json", "--from", "state", "log"}, "is no state of a piece"},
      {bytes,
       {"json", "--state", "new", "-o", "out", "log"},
       "out: is there already, but the state new is not"},
  };
  for (const auto& test : cases) {
    directory.write("log", test.log);
    const program_result result = directory.run_trail(test.words);
    EXPECT_EQ(result.status, 1) << test.message;
    EXPECT_NE(result.err.find(test.message), std::string::npos) << result.err;
    EXPECT_EQ(directory.read("out"), written) << test.message;
  }
  // A database is left as it was, too.
  const arguments sql = {"sql",     "--append", "-o", "db",
                         "--state", "state2",   "log"};
  directory.write("log", bytes);
  ASSERT_EQ(directory.run_trail(sql).status, 0);
  const std::string database = directory.read("db");
  directory.write("log", changed);
  const program_result refused = directory.run_trail(sql);
  EXPECT_EQ(refused.status, 1);
  EXPECT_NE(refused.err.find("the log log is not as it was"), std::string::npos)
      << refused.err;
  EXPECT_EQ(directory.read("db"), database);
  directory.write("log", bytes);
  directory.write("out", written.substr(1));
  EXPECT_NE(directory.run_trail(with(words, {"log"}))
                .err.find("out: is not as it was up to byte"),
            std::string::npos);
}

}  // namespace
