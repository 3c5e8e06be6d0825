// chronex-trail json --split, and what is left of a run that was killed.

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/log_builder.h"
#include "tests/support/run_program.h"
#include "tests/trail/event_reader.h"

namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t MARCH_2 = 1772409600;
constexpr std::uint32_t DAY = 86400;

log_builder two_days() {
  log_builder log({.generation = 7});
  log.time(MARCH_2 + DAY - 20).pace(2).database(1, "shop");
  log.data_set(2, 1, "orders", {{"A", 'I', 1, 4}})
      .data_set(3, 1, ".x/\xE9.", {{"A", 'I', 1, 4}});
  log.sign_on(5, {"user{BOB}"});
  for (std::uint32_t i = 0; i < 6; ++i) {
    log.put(5, 2, i, u32_bytes(i)).put(5, 3, i, u32_bytes(i));
  }
  return log.sign_off(5).end();
}

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

// The lines of all files by their paths below the directory.
std::map<std::string, std::vector<std::string>> tree(
    const test_directory& directory, const std::string& name) {
  std::map<std::string, std::vector<std::string>> files;
  const fs::path root = directory.path(name);
  for (const auto& entry : fs::recursive_directory_iterator(root)) {
    if (!entry.is_regular_file()) continue;
    const std::string path = fs::relative(entry.path(), root);
    files[path] = lines_of(directory.read(name + "/" + path));
  }
  return files;
}

TEST(Split, PutsEachChangeIntoTheFileOfItsDataSetAndDay) {
  const test_directory directory;
  fs::create_directory(directory.path("logs"));
  directory.write("logs/log 7.gz", two_days().bytes(), true);
  const auto printed =
      lines_of(directory.run_trail({"json", "logs/log 7.gz"}).out);
  const program_result result =
      directory.run_trail({"json", "logs/log 7.gz", "--split=out/"});
  EXPECT_EQ(result.status, 0) << result.err;

  std::vector<std::string> together;
  std::vector<std::string> paths;
  for (const auto& [path, lines] : tree(directory, "out")) {
    paths.push_back(path);
    together.insert(together.end(), lines.begin(), lines.end());
    for (const std::string& line : lines) {
      const bool is_change = line.find(R"("type":"change")") != line.npos;
      ASSERT_EQ(is_change, path != "events.jsonl.gz");
      if (!is_change) continue;
      EXPECT_NE(line.find("\"ts\":\"" + path.substr(path.find("day=") + 4, 10)),
                line.npos);
      EXPECT_EQ(line.find("ORDERS") != line.npos, path.find("ORD") < 20);
    }
  }
  const std::string odd = "dataset=SHOP..X%2F%C3%A9%2E/day=2026-03-0";
  const std::string plain = "dataset=SHOP.ORDERS/day=2026-03-0";
  const std::string name = "/log%207.jsonl.gz";
  EXPECT_EQ(paths, (std::vector<std::string>{
                       odd + "2" + name, odd + "3" + name, plain + "2" + name,
                       plain + "3" + name, "events.jsonl.gz"}));
  ASSERT_EQ(together.size(), printed.size());
  EXPECT_TRUE(
      std::is_permutation(together.begin(), together.end(), printed.begin()));
}

TEST(Split, ReplacesOnlyWhatItMadeAndOnlyByWhatIsWhole) {
  const test_directory directory;
  const std::string log = two_days().bytes();
  directory.write("log", log);
  const std::vector<std::string> words{"json", "-", "--split", "out"};
  EXPECT_EQ(directory.run_trail(words, log).status, 0);
  const auto first = tree(directory, "out");
  EXPECT_TRUE(
      first.contains("dataset=SHOP.ORDERS/day=2026-03-02/"
                     "stdin.jsonl.gz"));

  directory.run({"-o", "audit", "log"});
  const std::string audit = directory.read_raw("audit");
  const program_result cut =
      directory.run_trail(words, audit.substr(0, audit.size() - 3));
  EXPECT_EQ(cut.status, 1);
  EXPECT_NE(cut.err.find("out.partial\n"), std::string::npos) << cut.err;
  EXPECT_EQ(tree(directory, "out"), first);
  EXPECT_TRUE(tree(directory, "out.partial").contains("events.jsonl.gz"));

  EXPECT_EQ(directory.run_trail({"json", "log", "--split", "out"}).status, 0);
  EXPECT_TRUE(tree(directory, "out")
                  .contains("dataset=SHOP.ORDERS/day=2026-03-02/log.jsonl.gz"));
  EXPECT_EQ(tree(directory, "out").size(), first.size());
  EXPECT_FALSE(fs::exists(directory.path("out.partial")));

  directory.write("out/notes", "mine");
  for (const char* name : {"out", ".", "log"}) {
    EXPECT_EQ(directory.run_trail({"json", "log", "--split", name}).status, 1);
  }
  EXPECT_EQ(directory.read_raw("out/notes"), "mine");
  EXPECT_EQ(directory.run_trail({"json", "log", "--split", ""}).status, 2);
  EXPECT_EQ(
      directory.run_trail({"json", "log", "--split", "x", "-o", "y"}).status,
      2);
}

// Sets the size that files may have; who writes more is killed.
class file_size_limit {
 public:
  explicit file_size_limit(rlim_t bytes) {
    getrlimit(RLIMIT_FSIZE, &before_);
    getrlimit(RLIMIT_CORE, &core_before_);
    const rlimit no_core = {0, core_before_.rlim_max};
    const rlimit limit = {bytes, before_.rlim_max};
    setrlimit(RLIMIT_CORE, &no_core);
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~file_size_limit() {
    setrlimit(RLIMIT_FSIZE, &before_);
    setrlimit(RLIMIT_CORE, &core_before_);
  }
  file_size_limit(const file_size_limit&) = delete;
  file_size_limit& operator=(const file_size_limit&) = delete;

 private:
  rlimit before_{};
  rlimit core_before_{};
};

TEST(Split, KilledRunsLeaveNothingThatPassesForWhole) {
  const test_directory directory;
  directory.write("log", two_days().bytes());
  directory.write("old", "old");
  const struct {
    std::vector<std::string> words;
    const char* result;
  } cases[] = {
      {{"-o", "old"}, "old"},
      {{"-o", "new.gz"}, "new.gz"},
      {{"--split", "directory"}, "directory"},
  };
  for (const auto& test : cases) {
    std::vector<std::string> words{"json", "log"};
    words.insert(words.end(), test.words.begin(), test.words.end());
    const file_size_limit limit(200);
    EXPECT_EQ(directory.run_trail(words).status, 256 + SIGXFSZ);
    const std::string result = directory.path(test.result);
    EXPECT_TRUE(fs::exists(result + ".partial"));
    EXPECT_EQ(fs::exists(result), test.words[1] == "old");
  }
  EXPECT_EQ(directory.read_raw("old"), "old");
}

}  // namespace
