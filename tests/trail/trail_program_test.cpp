// chronex-trail as its users run it.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include "tests/support/log_builder.h"
#include "tests/support/run_program.h"
#include "tests/trail/event_reader.h"

namespace {

using arguments = std::vector<std::string>;

// Two changes by BOB, and one by ALICE, of items A, N (of two elements) and T.
log_builder sample(std::uint32_t generation = 7) {
  log_builder log({.generation = generation});
  log.database(1, "shop").data_set(
      2, 1, "orders", {{"A", 'I', 1, 4}, {"N", 'K', 2, 1}, {"T", 'X', 1, 4}});
  log.sign_on(5, {"user{BOB}"}).sign_on(6, {"user{ALICE}"});
  log.put(5, 2, 1,
          u32_bytes(42) +
              "\x01\x02"
              "caf\xE9");
  log.put(6, 2, 2,
          u32_bytes(43) +
              "\x03\x04"
              "x   ");
  log.put(5, 2, 3,
          u32_bytes(44) +
              "\x05\x06"
              "y   ");
  return log;
}

std::vector<rapidjson::Document> changes_of(std::string_view lines) {
  std::vector<rapidjson::Document> events = read_events(lines);
  std::erase_if(events, [](const rapidjson::Document& event) {
    return std::string_view(event["type"].GetString()) != "change";
  });
  return events;
}

TEST(TrailProgram, TellsOfItselfAndOfMistakes) {
  const test_directory directory;
  struct {
    arguments words;
    int status;
    std::string out, err;
  } const cases[] = {
      {{"--version"}, 0, "chronex-trail", ""},
      {{"--help"}, 0, "  json ", ""},
      {{"json", "none", "--help"}, 0, "usage: chronex-trail json", ""},
      {{}, 2, "", "usage: chronex-trail COMMAND"},
      {{"jason", "x"}, 2, "", "Unknown command: jason\n"},
      {{"json"}, 2, "", "No input file specified\n"},
      {{"json", "--nothing", "x"}, 2, "", "Unknown option: --nothing\n"},
      {{"json", "x", "-o"}, 2, "", "Option requires an argument: -o\n"},
      {{"json", "--time-zone", "Mars/Base", "x"}, 2, "", "Unknown time zone"},
      {{"json", "none"}, 1, "", "none: No such file or directory\n"},
      {{"json", "-f", ".", "x"}, 1, "", ".: Is a directory\n"},
      {{"json", "-f", "/dev/zero", "x"}, 1, "", "exceeds maximum size"},
  };
  for (const auto& test : cases) {
    const program_result result = directory.run_trail(test.words);
    EXPECT_EQ(result.status, test.status) << test.out << test.err;
    EXPECT_NE(result.out.find(test.out), std::string::npos) << result.out;
    EXPECT_NE(result.err.find(test.err), std::string::npos) << result.err;
  }
}

TEST(TrailProgram, NarrowsByFilterAndItems) {
  const test_directory directory;
  directory.write("log", sample().end().bytes());
  const struct {
    arguments words;
    std::size_t changes;
    std::size_t items;
  } cases[] = {
      {{"json", "log"}, 3, 3},
      {{"json", "log", "-e", "user={BOB}", "-IA"}, 2, 1},
      {{"json", "-e", "T=\"caf\xC3\xA9\"", "--", "log"}, 1, 3},
      {{"json", "--filter=A>42", "log", "--items", "T,N[2]"}, 2, 2},
      {{"json", "-I", "N[3]", "-"}, 3, 0},
  };
  for (const auto& test : cases) {
    const program_result result =
        directory.run_trail(test.words, sample().end().bytes());
    EXPECT_EQ(result.status, 0) << result.err;
    const auto changes = changes_of(result.out);
    ASSERT_EQ(changes.size(), test.changes) << result.out;
    EXPECT_EQ(changes[0]["after"].MemberCount(), test.items) << result.out;
  }
  EXPECT_EQ(
      directory.run_trail({"json", "-e", "T=\"\xE2\x82\xAC\"", "log"}).status,
      1);
}

TEST(TrailProgram, ShowsWhereAFilterTextIsWrong) {
  const test_directory directory;
  directory.write("log", sample().end().bytes());
  directory.write("filter", "A = 1\n\tAND T='\xC3\xA9' \x1B=\n");
  const struct {
    arguments words;
    std::string shown;
  } cases[] = {
      {{"-e", "A=1", "-e", "T='\xC3\xA9' AND AND", "-e", "("},
       "  T='\xC3\xA9' AND AND\n            ^\n  expected: a test, NOT"},
      {{"-e", "(A=1", "-e", "A=2)"},
       "  (A=1\n      ^\n  expected: AND, OR or \")\"\n"},
      {{"-f", "filter"},
       "  \tAND T='\xC3\xA9' ?=\n  \t          ^\n  expected: AND, OR or the "
       "end"},
      {{"-e", "A="}, "  A=\n    ^\n  expected: a number"},
  };
  for (const auto& test : cases) {
    arguments words{"json", "log"};
    words.insert(words.end(), test.words.begin(), test.words.end());
    const program_result result = directory.run_trail(words);
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(result.err.starts_with("Error in filter expression: "));
    EXPECT_NE(result.err.find(test.shown), std::string::npos) << result.err;
  }
}

TEST(TrailProgram, TellsOfNamesThatMatchNothing) {
  const test_directory directory;
  directory.write("log", sample().end().bytes());
  const program_result result = directory.run_trail(
      {"json", "log", "-e", "[\xC3\xA9T\xC3\x89]=1 OR A=42", "-I", "A,NONE"});
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.err.find("\xC3\xA9T\xC3\x89"), std::string::npos)
      << result.err;
  EXPECT_NE(result.err.find("NONE"), std::string::npos) << result.err;
  EXPECT_EQ(result.err.find("UTF-8"), std::string::npos) << result.err;
  EXPECT_EQ(changes_of(result.out).size(), 1U);
  EXPECT_EQ(directory.run_trail({"json", "log", "-I", "A"}).err, "");
}

TEST(TrailProgram, WarnsInTheTrailOfWhatItSaysOnStandardError) {
  const test_directory directory;
  directory.write("log", sample().end().bytes());
  const program_result failed =
      directory.run_trail({"json", "log", "-e", "id={abc}"});
  EXPECT_EQ(failed.status, 1);
  directory.write("stdin", log_builder({.charset = 0}).end().bytes());
  directory.run({"-o", "audit", "stdin"});
  const program_result mixed = directory.run_trail({"json", "log", "audit"});
  EXPECT_EQ(mixed.status, 0) << mixed.err;
  const struct {
    const program_result& result;
    std::string code, text;
  } cases[] = {
      {failed, "filter_failed", "Failed to evaluate filter expression: "},
      {mixed, "character_set",
       "found: hp-roman8 (0), expected: iso-8859-1 (1)"},
  };
  for (const auto& test : cases) {
    const auto events = read_events(test.result.out);
    ASSERT_GT(events.size(), 2U);
    const auto& warning = events[events.size() - 2];
    EXPECT_EQ(warning["code"].GetString(), test.code);
    const std::string text = warning["text"].GetString();
    EXPECT_NE(text.find(test.text), std::string::npos) << text;
    EXPECT_NE(test.result.err.find(test.text), std::string::npos);
    EXPECT_EQ(events.back()["warnings"].GetInt(), 1);
    EXPECT_EQ(events.back()["status"].GetInt(), test.result.status);
  }
  // A file of that name is not standard input.
  EXPECT_NE(directory.run_trail({"json", "stdin"}).out.find("\"stdin\""),
            std::string::npos);
}

TEST(TrailProgram, CountsEachFilesEventsAnew) {
  const test_directory directory;
  directory.write("a", sample(7).end().bytes());
  directory.write("b", sample(8).end().bytes());
  const std::string both = directory.run_trail({"json", "b", "a"}).out;
  const std::string first = directory.run_trail({"json", "a"}).out;
  const std::string without_end = first.substr(0, first.rfind("{\"v\":1"));
  EXPECT_TRUE(both.starts_with(without_end)) << both;
  EXPECT_NE(both.find(R"({"v":1,"type":"file","n":1,"source":{"file":"b")"),
            std::string::npos);
}

TEST(TrailProgram, GivesAFileItsNameOnlyWhenItIsComplete) {
  const test_directory directory;
  directory.write("log", sample().end().bytes());
  const std::string printed = directory.run_trail({"json", "log"}).out;
  directory.write("old.gz", "old");
  EXPECT_EQ(directory.run_trail({"json", "log", "-o", "old.gz"}).status, 0);
  EXPECT_EQ(directory.read("old.gz"), printed);
  EXPECT_NE(access(directory.path("old.gz.partial").c_str(), F_OK), 0);

  // An audit file that is cut cannot be processed to its end.
  directory.run({"-o", "audit", "log"});
  const std::string audit = directory.read_raw("audit");
  directory.write("cut", audit.substr(0, audit.size() - 3));
  directory.write("kept", "old");
  const program_result cut = directory.run_trail({"json", "cut", "-o", "kept"});
  EXPECT_EQ(cut.status, 1);
  EXPECT_EQ(directory.read_raw("kept"), "old");
  EXPECT_NE(cut.err.find("kept.partial\n"), std::string::npos) << cut.err;
  const auto events = read_events(directory.read_raw("kept.partial"));
  EXPECT_EQ(events.back()["status"].GetInt(), 1);
  EXPECT_EQ(events.back()["changes"].GetInt(), 2);

  // What fails before the first file is processed leaves no file.
  EXPECT_EQ(
      directory.run_trail({"json", "log", "-e", "(", "-o", "none"}).status, 1);
  EXPECT_NE(access(directory.path("none.partial").c_str(), F_OK), 0);
  EXPECT_EQ(directory.run_trail({"json", "log", "-o", "log"}).status, 1);
  EXPECT_EQ(directory.read_raw("log"), sample().end().bytes());
  EXPECT_EQ(directory.run_trail({"json", "log", "-o", "/dev/full"}).status, 1);
  EXPECT_EQ(directory.run_trail({"json", "log", "-o", "no/dir"}).status, 1);
}

}  // namespace
