// The line that tells how far a run is. Logs come slowly here, so that a run
// takes long enough to show it.

#include "util/chronex/run/progress.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <csignal>
#include <thread>

#include "tests/support/log_builder.h"
#include "tests/support/run_program.h"
#include "util/chronex/input/charset.h"

namespace {

// A log with a gap behind its first half.
log_builder log_with_gap() {
  log_builder log;
  log.database(1, "shop").data_set(2, 1, "orders", {{"A", 'I', 1, 4}});
  log.sign_on(3, {"user{BOB}"});
  for (std::uint32_t i = 1; i < 200; ++i) {
    if (i == 150) log.number(1000);
    log.put(3, 2, i, u32_bytes(i));
  }
  return log.end();
}

// Writes half of the log into a pipe with a name, and the rest later.
void deliver_slowly(const test_directory& directory) {
  directory.write("log", log_with_gap().bytes());
  ASSERT_EQ(directory.shell("mkfifo pipe"), 0);
  ASSERT_EQ(directory.shell("(head -c 3000 log; sleep 1.3; tail -c +3001 log |"
                            " head -c 3000; sleep 0.4; tail -c +6001 log)"
                            " >pipe 2>&- &"),
            0);
}

constexpr std::string_view WARNING =
    "WARNING: action sequence mismatch in file pipe\n";

// What a terminal shows in the end: a carriage return goes back to the begin of
// the line, and what follows is put over it.
std::string screen_of(std::string_view shown) {
  std::string screen;
  std::size_t line = 0;
  std::size_t at = 0;
  for (const char byte : shown) {
    if (byte == '\n') {
      screen.erase(screen.find_last_not_of(' ') + 1);
      screen += byte;
      at = line = screen.size();
    } else if (byte == '\r') {
      at = line;
    } else {
      screen.resize(std::max(screen.size(), at + 1));
      screen[at++] = byte;
    }
  }
  screen.erase(screen.find_last_not_of(' ') + 1);
  return screen;
}

TEST(Progress, LeavesNoTrace) {
  const test_directory directory;
  deliver_slowly(directory);
  const program_result result =
      directory.run_on_terminal({"-r", "pipe"}, STDERR_FILENO);
  EXPECT_EQ(result.status, 0);
  EXPECT_TRUE(result.err.starts_with("\rpipe  ")) << result.err;
  EXPECT_NE(result.err.find(" kB/s"), result.err.npos) << result.err;
  EXPECT_EQ(result.err.find('%'), result.err.npos) << result.err;
  EXPECT_NE(result.err.find(" \r" + std::string(WARNING)), result.err.npos)
      << result.err;
  const program_result plain = directory.run({"-r", "log"});
  std::string messages = plain.err;
  messages.replace(messages.find("file log"), 8, "file pipe");
  EXPECT_EQ(screen_of(result.err), messages);
  EXPECT_EQ(result.out, plain.out);
}

TEST(Progress, IsNotShownElsewhere) {
  for (const int descriptor : {STDOUT_FILENO, -1}) {
    const test_directory directory;
    deliver_slowly(directory);
    const std::vector<std::string> words = {"-r", "pipe"};
    const program_result result =
        descriptor < 0 ? directory.run(words)
                       : directory.run_on_terminal(words, descriptor);
    EXPECT_EQ(result.err.find('\r'), result.err.npos) << result.err;
    EXPECT_TRUE(result.err.starts_with(WARNING)) << result.err;
  }
}

TEST(Progress, GoesWhenASignalEndsTheRun) {
  for (const int signal : {SIGTERM, SIGINT}) {
    const test_directory directory;
    deliver_slowly(directory);
    const program_result result =
        directory.run_on_terminal({"-r", "pipe"}, STDERR_FILENO, signal);
    EXPECT_EQ(result.status, 256 + signal);
    EXPECT_TRUE(result.err.starts_with("\rpipe  ")) << result.err;
    EXPECT_EQ(screen_of(result.err), "");
    EXPECT_TRUE(result.err.ends_with(" \r"));
  }
}

TEST(Progress, IsAskedForOrRefused) {
  struct {
    std::string mode;
    bool shown;
  } const cases[] = {{"always", true}, {"auto", false}};
  for (const auto& test : cases) {
    const test_directory directory;
    deliver_slowly(directory);
    const std::string err =
        directory.run_trail({"json", "--progress", test.mode, "pipe"}).err;
    EXPECT_EQ(err.starts_with("\rpipe  "), test.shown) << err;
    EXPECT_NE(err.find(WARNING), err.npos);
  }
}

// The numbers in front of the percent signs.
std::vector<int> shares_of(const std::string& shown) {
  std::vector<int> shares;
  for (std::size_t at = 0; (at = shown.find(" %", at)) != shown.npos; ++at) {
    const std::size_t begin = shown.rfind(' ', at - 1) + 1;
    int share = -1;
    std::from_chars(&shown[begin], &shown[at], share);
    shares.push_back(share);
  }
  return shares;
}

TEST(Progress, TellsTheShareOfStoredBytes) {
  const test_directory directory;
  // The first file has most of the bytes, the second most of what is stored.
  log_builder first;
  first.raw(std::string(std::size_t{12} << 20U, 'a'));
  log_builder second({.sequence = 2});
  std::string noise(std::size_t{3} << 20U, '\0');
  std::uint32_t random = 1;
  for (char& byte : noise) {
    random = random * 1664525U + 1013904223U;
    byte = static_cast<char>(random >> 24U);
  }
  directory.write("1", first.raw(noise.substr(0, 1000)).bytes(), true);
  directory.write("2", second.raw(noise).bytes(), true);

  std::string paths[] = {directory.path("1"), directory.path("2")};
  char* operands[] = {paths[0].data(), paths[1].data()};
  run_messages messages;
  int charset = NO_CHARSET;
  input_list inputs(messages, charset);
  ASSERT_EQ(inputs.open(operands), 0);
  testing::internal::CaptureStderr();
  {
    const run_progress progress(messages, inputs, progress_mode::always);
    std::this_thread::sleep_for(std::chrono::milliseconds(1000));
    for (const auto& file : inputs.files()) {
      while (file->stream.skip(input_stream::MAX_RUN)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(12));
      }
    }
  }
  const std::string shown = testing::internal::GetCapturedStderr();
  const std::vector<int> shares = shares_of(shown);
  ASSERT_GT(shares.size(), 4U) << shown;
  EXPECT_LT(shares[2], 10) << shown;
  EXPECT_GT(shares.back(), 60) << shown;
  EXPECT_LE(shares.back(), 100) << shown;
  EXPECT_TRUE(std::ranges::is_sorted(shares)) << shown;
  EXPECT_NE(shown.find("/s  0:0"), shown.npos) << shown;
  EXPECT_EQ(screen_of(shown), "");
}

}  // namespace
