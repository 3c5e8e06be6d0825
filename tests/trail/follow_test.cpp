// Logs that are followed while they are written.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

#include "tests/trail/followed_logs.h"
#include "util/chronex_trail/follow/change_events.h"

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

TEST(Follow, ShowsWhatARunOverWholeLogsShows) {
  followed_logs logs;
  logs.append("notes.txt", "no log");
  logs.append("empty", "");
  logs.follow();
  std::vector<log_builder> written{log_of(7, 1), log_of(7, 2), log_of(7, 3),
                                   log_of(8, 1)};
  start(written[0]);
  std::vector<std::string> names{"s.1", "s.2", "s.3.gz", "s.4"};
  std::uint32_t recno = 0;
  for (std::size_t i = 0; i < written.size(); ++i) {
    for (int k = 0; k < 40; ++k) {
      written[i].put(BOB, SET, ++recno, "aaaa");
      written[i].update(BOB, SET, recno, "aaaa", "bbbb");
    }
    written[i].cluster(30, 30).end();
    if (names[i].ends_with(".gz")) {
      logs.directory.write("whole", written[i].bytes(), true);
      fs::rename(logs.directory.path("whole"),
                 logs.directory.path("logs/" + names[i]));
      continue;
    }
    logs.append_torn(names[i], written[i].bytes().substr(0, 6000));
    logs.append(names[i], written[i].bytes().substr(6000));
  }
  EXPECT_TRUE(logs.shows(320));
  const program_result followed = logs.stop(SIGTERM);
  EXPECT_EQ(0, followed.status);
  EXPECT_EQ("", followed.err);
  const program_result whole = logs.directory.run_trail(
      {"json", "logs/s.1", "logs/s.2", "logs/s.3.gz", "logs/s.4"});
  EXPECT_EQ(whole.out, followed.out);
}

TEST(Follow, WaitsForWholeActions) {
  for (const bool resync : {false, true}) {
    followed_logs logs;
    log_builder log = log_of(7, 1);
    logs.append("log", start(log).put(BOB, SET, 1, "aaaa").take());
    logs.follow(resync ? std::vector<std::string>{"--resync", "logs"}
                       : std::vector<std::string>{"logs/log"});
    EXPECT_TRUE(logs.shows(1));
    const std::string next = log.put(BOB, SET, 2, "bbbb").take();
    logs.append("log", next.substr(0, 30));
    std::this_thread::sleep_for(200ms);
    EXPECT_EQ(1U, logs.changes());
    logs.append("log", next.substr(30));
    EXPECT_TRUE(logs.shows(2));
    logs.append("log", log.put(BOB, SET, 3, "cccc").take().substr(0, 30));
    std::this_thread::sleep_for(50ms);
    // What is torn when the run ends is no damage.
    const program_result result = logs.stop(SIGINT);
    EXPECT_EQ(0, result.status);
    EXPECT_EQ("", result.err);
    EXPECT_TRUE(result.out.ends_with(
        "\"changes\":2,\"gaps\":0,\"warnings\":0,\"status\":0}\n"))
        << result.out;
  }
}

TEST(Follow, TellsWhatBecomesOfALog) {
  const struct {
    const char* what;
    void (*change)(const followed_logs& logs, const std::string& path);
  } cases[] = {
      {"log has become shorter while it was followed\n",
       [](const followed_logs&, const std::string& path) {
         fs::resize_file(path, 50);
       }},
      {"log was removed or renamed while it was followed\n",
       [](const followed_logs&, const std::string& path) {
         fs::rename(path, path + ".old");
       }},
      {"log was replaced while it was followed\n",
       [](const followed_logs& logs, const std::string& path) {
         logs.append("other", "KORV");
         fs::rename(logs.directory.path("logs/other"), path);
       }},
  };
  for (const auto& test : cases) {
    followed_logs logs;
    log_builder log = log_of(7, 1);
    logs.append("log", start(log).put(BOB, SET, 1, "aaaa").take());
    logs.follow();
    EXPECT_TRUE(logs.shows(1));
    test.change(logs, logs.directory.path("logs/log"));
    EXPECT_TRUE(logs.says(test.what)) << test.what;
    const program_result result = logs.stop(SIGTERM);
    EXPECT_EQ(0, result.status);
    EXPECT_NE(result.out.find("\"type\":\"damage\""), std::string::npos);
  }
}

TEST(Follow, LeavesLogsThatTheServerHasLeft) {
  followed_logs logs;
  log_builder first = log_of(7, 1);
  logs.append("a", start(first).put(BOB, SET, 1, "aaaa").take());
  logs.append("b", log_of(7, 3).put(BOB, SET, 2, "aaaa").bytes());
  log_builder later = log_of(7, 2);
  // Of what comes behind a file, logs of another volume set are no part.
  logs.append("c", log_builder({.volume_set_id = 1, .generation = 7}).bytes());
  logs.append("d", later.put(BOB, SET, 3, "aaaa").take());
  logs.make_old("a");
  logs.make_old("d");
  logs.follow({"logs/a"});
  EXPECT_TRUE(logs.shows(3));
  const program_result result = logs.stop(SIGTERM);
  EXPECT_EQ(0, result.status);
  EXPECT_EQ(
      "WARNING: unexpected EOF encountered on forward-log action 7-1.4 while "
      "reading next tag opcode\n"
      "WARNING: unexpected EOF encountered on forward-log action 7-2.1 while "
      "reading next tag opcode\n",
      result.err);
}

TEST(Follow, RefusesWhatCannotBeFollowed) {
  const test_directory directory;
  directory.write("text", "no log");
  directory.write("log", log_of(7, 1).bytes());
  const struct {
    std::vector<std::string> words;
    std::string message;
  } cases[] = {
      {{"-"}, "-: No such file or directory\n"},
      {{"text"}, "text: is no forward log, which alone can be followed\n"},
      {{".", "-o", "log"}, "input and output are the same file\n"},
  };
  for (const auto& test : cases) {
    std::vector<std::string> words{"json", "--follow"};
    words.insert(words.end(), test.words.begin(), test.words.end());
    const program_result result = directory.run_trail(words);
    EXPECT_EQ(1, result.status);
    EXPECT_NE(result.err.find(test.message), std::string::npos) << result.err;
  }
}

TEST(Follow, SeesChangesWithoutTheSystemToo) {
  const test_directory directory;
  for (const bool system_events : {true, false}) {
    change_events events(-1, system_events);
    ASSERT_TRUE(events.watch_directory(directory.path(".")));
    const auto begin = std::chrono::steady_clock::now();
    std::thread writer([&] {
      std::this_thread::sleep_for(50ms);
      directory.write("file", "text");
    });
    EXPECT_TRUE(events.wait(1min));
    writer.join();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 1s);
    // The growth of the one file needs no look at the directory.
    events.watch_file(directory.path("file"));
    while (system_events && events.wait(0ms) && events.wait(100ms)) break;
    std::ofstream(directory.path("file"), std::ios::app) << "more";
    EXPECT_EQ(!system_events, events.wait(1min));
  }
}

}  // namespace
