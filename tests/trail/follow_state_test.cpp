// Trails that go on from state to state while logs are written.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/random_logs.h"
#include "tests/trail/followed_logs.h"
#include "tests/trail/sql_fixture.h"

namespace {

using namespace std::chrono_literals;
using arguments = std::vector<std::string>;

const arguments JSON = {"json", "--follow", "--state", "state", "-o", "out"};
const arguments SQL = {"sql",   "--append", "--follow", "--state",
                       "state", "-o",       "db"};

// Of each log, and in all, for each kill: a run is killed about as often as
// there are pieces to be written meanwhile.
constexpr int PUTS = 80;
constexpr unsigned CHANGES = 4 * 2 * PUTS;

// How often a run is killed: scripts/check-states asks for many.
int kill_count() {
  const char* const count = std::getenv("CHRONEX_KILLS");
  return count != nullptr ? std::atoi(count) : 4;
}

arguments with(arguments words, const arguments& more) {
  words.insert(words.end(), more.begin(), more.end());
  return words;
}

struct written_log {
  std::string name;
  std::string bytes;
};

// Sessions, and images that wait, reach from each log into the next.
std::vector<written_log> four_logs(int puts) {
  std::vector<log_builder> logs{log_of(7, 1), log_of(7, 2), log_of(7, 3),
                                log_of(8, 1)};
  std::vector<written_log> written;
  std::uint32_t recno = 0;
  start(logs[0]).memo(BOB, 'b', "begin");
  for (log_builder& log : logs) {
    for (int i = 0; i < puts; ++i) {
      log.put(BOB, SET, ++recno, "aaaa");
      log.update(BOB, SET, recno, "aaaa", "bbbb");
    }
    log.end();
    written.push_back({"s." + std::to_string(written.size()), log.bytes()});
  }
  return written;
}

// A log that comes behind these.
constexpr const char* LAST = "s.last";

arguments paths_of(const std::vector<written_log>& logs) {
  arguments paths;
  for (const written_log& log : logs) paths.push_back("logs/" + log.name);
  paths.push_back(std::string("logs/") + LAST);
  return paths;
}

std::string count_of_changes(const followed_logs& logs) {
  if (!std::filesystem::exists(logs.directory.path("db"))) return "";
  try {
    return answer_of(logs.directory.path("db"), "SELECT count(*) FROM change")
        .front();
  } catch (const sql_error&) {
    // The tables are not there yet.
    return "";
  }
}

// Lets a program follow logs that are written, and ends it at random moments,
// mostly by force, until `is_complete` says that it has shown all.
template <typename Complete>
void follow_with_kills(followed_logs& logs, const arguments& words,
                       const Complete& is_complete) {
  random_source random(words.size());
  const int kills = kill_count();
  std::thread writer([&] {
    for (const written_log& log : four_logs(PUTS * kills)) {
      logs.append_torn(log.name, log.bytes);
    }
  });
  for (int i = 0; i < kills; ++i) {
    logs.follow({"logs"}, words);
    std::this_thread::sleep_for(std::chrono::milliseconds(random.below(250)));
    logs.stop(random.chance(80) ? SIGKILL : SIGTERM);
  }
  writer.join();
  logs.follow({"logs"}, words);
  logs.append(LAST, log_of(8, 2).put(BOB, SET, 1, "cccc").end().bytes());
  EXPECT_TRUE(followed_logs::comes(is_complete));
  const program_result last = logs.stop(SIGTERM);
  EXPECT_EQ(last.status, 0);
  EXPECT_EQ(last.err, "");
}

TEST(FollowState, LosesAndDoublesNothingOfJson) {
  followed_logs logs;
  const std::vector<written_log> all = four_logs(PUTS * kill_count());
  follow_with_kills(logs, JSON, [&] {
    return logs.changes("out") > CHANGES * static_cast<unsigned>(kill_count());
  });
  const program_result whole =
      logs.directory.run_trail(with({"json"}, paths_of(all)));
  EXPECT_TRUE(logs.directory.read("out") == whole.out);
}

TEST(FollowState, LosesAndDoublesNothingOfADatabase) {
  followed_logs logs;
  const std::vector<written_log> all = four_logs(PUTS * kill_count());
  follow_with_kills(logs, SQL, [&] {
    return count_of_changes(logs) ==
           std::to_string(CHANGES * static_cast<unsigned>(kill_count()) + 1);
  });
  logs.directory.run_trail(with({"sql", "-o", "whole.db"}, paths_of(all)));
  EXPECT_TRUE(rows_of(logs.directory.path("db")) ==
              rows_of(logs.directory.path("whole.db")));
  // No journal is left behind.
  EXPECT_EQ(logs.directory.shell("test ! -e db-wal"), 0);
}

// Others read the database meanwhile.
TEST(FollowState, ShowsRowsWithinASecond) {
  followed_logs logs;
  log_builder log = log_of(7, 1);
  logs.append("log", start(log).put(BOB, SET, 1, "aaaa").take());
  logs.follow({"logs/log"}, SQL);
  ASSERT_TRUE(
      followed_logs::comes([&] { return count_of_changes(logs) == "1"; }));
  sql_database reader;
  reader.open(logs.directory.path("db"));
  std::vector<std::chrono::steady_clock::duration> times;
  for (std::uint32_t recno = 2; recno <= 6; ++recno) {
    const auto begin = std::chrono::steady_clock::now();
    logs.append("log", log.put(BOB, SET, recno, "aaaa").take());
    ASSERT_TRUE(followed_logs::comes(
        [&] { return reader.number("SELECT count(*) FROM change") == recno; }));
    times.push_back(std::chrono::steady_clock::now() - begin);
    // As far as it is there, it is to be known to the next run.
    EXPECT_EQ(logs.directory.shell("test -e state"), 0);
  }
  std::ranges::sort(times);
  EXPECT_LT(times[times.size() / 2], 1s);
  reader.close();
  EXPECT_EQ(logs.stop(SIGTERM).status, 0);
}

// The state is there while the program waits, not only at its end.
TEST(FollowState, GoesOnInTheMidstOfALog) {
  followed_logs logs;
  log_builder log = log_of(7, 1);
  logs.append("log", start(log).put(BOB, SET, 1, "aaaa").take());
  const arguments words = {"json", "--follow", "--state", "state"};
  std::string shown;
  std::string next = log.put(BOB, SET, 2, "aaaa").take();
  for (std::uint32_t recno = 1; recno <= 3; ++recno) {
    logs.follow({"logs"}, words);
    EXPECT_TRUE(logs.shows(1));
    if (recno == 2) {
      // Long enough for a state to be due; what comes then is torn.
      std::this_thread::sleep_for(1500ms);
      logs.append("log", next.substr(0, 20));
      std::this_thread::sleep_for(100ms);
    }
    const program_result result = logs.stop(recno == 2 ? SIGKILL : SIGTERM);
    shown += result.out;
    if (recno == 2) {
      logs.append("log", next.substr(20));
    } else {
      logs.append("log", next);
    }
    next = log.put(BOB, SET, recno + 2, "aaaa").take();
  }
  // The last one was written behind the end of the last run.
  const std::string known = logs.directory.read_raw("logs/log");
  logs.directory.write("logs/log", known.substr(0, known.size() - next.size()));
  const program_result whole = logs.directory.run_trail({"json", "logs/log"});
  // That log ends without its end tag.
  const std::size_t end = whole.out.find(R"({"v":1,"type":"damage")");
  EXPECT_EQ(shown, whole.out.substr(0, end));
}

// What a run shows of logs that have long been there, which it is ended in the
// midst of. It goes no faster than is read here.
class backlog_run {
 public:
  explicit backlog_run(const followed_logs& logs) {
    const std::string pipe = logs.directory.path("(out)");
    std::filesystem::remove(pipe);
    if (mkfifo(pipe.c_str(), 0600) != 0) std::abort();
    process_ = logs.directory.start_trail(
        {"json", "--follow", "--state", "state", "logs"});
    shown_.open(pipe);
  }

  // The next events; waits for them.
  std::string read(std::size_t count) {
    std::string lines;
    std::string line;
    while (count-- > 0 && std::getline(shown_, line)) lines += line + '\n';
    return lines;
  }
  // What comes until the end; the last event may be there in part.
  std::string end(int signal, int status) {
    kill(process_, signal);
    std::string rest{std::istreambuf_iterator<char>(shown_), {}};
    int result = 0;
    waitpid(process_, &result, 0);
    EXPECT_EQ(WIFEXITED(result) ? WEXITSTATUS(result) : 256, status);
    return rest;
  }

 private:
  int process_ = 0;
  std::ifstream shown_;
};

// Neither a request to end nor a state waits until all that is there is read.
TEST(FollowState, LeavesItsStateWithinABacklog) {
  followed_logs logs;
  log_builder log = log_of(7, 1);
  start(log);
  for (std::uint32_t recno = 1; recno <= 60000; ++recno) {
    log.put(BOB, SET, recno, "aaaa");
  }
  logs.append("log", log.end().bytes());
  std::string whole = logs.directory.run_trail({"json", "logs/log"}).out;
  whole.resize(whole.find(R"({"v":1,"type":"end")"));

  backlog_run first(logs);
  std::string shown = first.read(1);
  shown += first.end(SIGTERM, 0);
  EXPECT_LT(shown.size(), whole.size() / 2);

  backlog_run second(logs);
  const std::size_t begin = shown.size();
  shown += second.read(1);
  const auto state = [&] { return logs.directory.read_raw("state"); };
  const std::string earlier = state();
  for (int i = 0; i < 5 && state() == earlier; ++i) {
    // Long enough for a state to be due where the next piece is read.
    std::this_thread::sleep_for(1100ms);
    shown += second.read(7000);
  }
  shown += second.end(SIGKILL, 256);
  EXPECT_TRUE(whole.starts_with(shown));

  // What was shown behind the state comes again.
  backlog_run third(logs);
  const std::string again = third.read(1);
  const std::size_t from = whole.find(again);
  ASSERT_LE(from, shown.size());
  EXPECT_GT(from, begin);
  const auto left =
      std::count(whole.begin() + static_cast<long>(from), whole.end(), '\n');
  EXPECT_TRUE(again + third.read(static_cast<std::size_t>(left) - 1) ==
              whole.substr(from));
  EXPECT_EQ(third.end(SIGTERM, 0), "");
}

// The name does not tell which log goes on.
TEST(FollowState, GoesOnWithTheLogThatItKnows) {
  followed_logs logs;
  log_builder log = log_of(7, 1);
  logs.append("s.2", start(log).put(BOB, SET, 1, "aaaa").take());
  const arguments words = {"json", "--follow", "--state", "state"};
  logs.follow({"logs"}, words);
  EXPECT_TRUE(logs.shows(1));
  std::string shown = logs.stop(SIGTERM).out;

  log_builder other = log_of(7, 1);
  logs.append("s.1", start(other).put(BOB, SET, 1, "oooo").end().bytes());
  logs.append("s.2", log.put(BOB, SET, 2, "bbbb").end().take());
  logs.follow({"logs"}, words);
  EXPECT_TRUE(logs.shows(1));
  const program_result rest = logs.stop(SIGTERM);
  EXPECT_EQ(rest.status, 0);
  EXPECT_EQ(rest.err, "");
  shown += rest.out;
  const std::string whole = logs.directory.run_trail({"json", "logs/s.2"}).out;
  EXPECT_EQ(shown, whole.substr(0, whole.find(R"({"v":1,"type":"end")")));
}

TEST(FollowState, SaysWhatDoesNotBelongToTheState) {
  followed_logs logs;
  log_builder log = log_of(7, 1);
  const std::string bytes = start(log).put(BOB, SET, 1, "aaaa").bytes();
  logs.append("log", bytes);
  for (const arguments& words : {JSON, SQL}) {
    logs.follow({"logs"}, words);
    EXPECT_TRUE(logs.comes([&] {
      return logs.changes("out") == 1 || count_of_changes(logs) == "1";
    }));
    EXPECT_EQ(logs.stop(SIGTERM).status, 0);

    std::string changed = bytes;
    changed[changed.size() - 3] ^= 1;
    logs.directory.write("logs/log", changed);
    program_result result = logs.directory.run_trail(with(words, {"logs"}));
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.err.find("log is not as it was"), std::string::npos)
        << result.err;
    log_builder other({.volume_set_id = 5, .generation = 7});
    logs.directory.write("logs/log", other.bytes());
    result = logs.directory.run_trail(with(words, {"logs"}));
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.err.find("no logs of volume set"), std::string::npos)
        << result.err;

    // What comes behind a gap is told of once it is clear that no more comes.
    std::filesystem::remove(logs.directory.path("logs/log"));
    logs.append("later", log_of(7, 3).put(BOB, SET, 2, "aaaa").bytes());
    logs.make_old("later");
    logs.follow({"logs"}, words);
    EXPECT_TRUE(logs.says("found: 3, expected: 2"));
    EXPECT_EQ(logs.stop(SIGTERM).status, 0);
    logs.directory.write("logs/log", bytes);
    logs.directory.shell("rm -f logs/later state out");
  }
  EXPECT_EQ(
      logs.directory.run_trail({"sql", "--follow", "-o", "x", "logs"}).status,
      2);
}

}  // namespace
