// Kills the program at random moments while it writes an audit file, and reads
// what is left.
//
//   kill_test [KILLS]

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <thread>

#include "tests/support/log_builder.h"
#include "tests/support/run_program.h"

namespace {

using clock_type = std::chrono::steady_clock;

constexpr int OPERATIONS = 100000;
constexpr std::size_t HEADER_SIZE = 20;
constexpr std::size_t RECORD_HEAD_SIZE = 5;

void write_log(const test_directory& directory) {
  log_builder log;
  log.database(1, "db").data_set(2, 1, "set", {{"TEXT", 'X', 1, 60}});
  log.sign_on(3, {"user{KILLED}"});
  std::minstd_rand random(1);
  for (unsigned i = 0; i < OPERATIONS; ++i) {
    std::string text(60, 'x');
    for (char& c : text) c = static_cast<char>('a' + random() % 26);
    log.put(3, 2, i, text);
  }
  directory.write("log", log.end().bytes());
}

// Runs "chronex OPTION audit log"; kills it after a while, unless that is zero.
void run_for(const test_directory& directory, const std::string& option,
             std::chrono::microseconds time) {
  const std::string audit = directory.path("audit");
  const std::string log = directory.path("log");
  const pid_t child = fork();
  if (child == 0) {
    execl(CHRONEX_PROGRAM, "chronex", option.c_str(), audit.c_str(),
          log.c_str(), nullptr);
    _exit(127);
  }
  if (time.count() > 0) {
    std::this_thread::sleep_for(time);
    kill(child, SIGKILL);
  }
  waitpid(child, nullptr, 0);
}

// The whole records at the beginning of an audit file, and what they take.
struct whole_records {
  std::size_t operations = 0;
  std::size_t bytes = 0;

  explicit whole_records(const std::string& audit) {
    if (audit.size() < HEADER_SIZE) return;
    bytes = HEADER_SIZE;
    while (audit.size() - bytes >= RECORD_HEAD_SIZE) {
      std::uint32_t size = 0;
      std::memcpy(&size, audit.data() + bytes + 1, sizeof size);
      if (audit.size() - bytes - RECORD_HEAD_SIZE < size) return;
      operations += audit[bytes] == '5';
      bytes += RECORD_HEAD_SIZE + size;
    }
  }
};

std::size_t count_operations(const std::string& report) {
  std::size_t count = 0;
  for (std::size_t at = 0; (at = report.find("DBPUT ", at)) != report.npos;) {
    ++count;
    ++at;
  }
  return count;
}

// What is wrong with what a killed run left; null when nothing is.
const char* complaint(const test_directory& directory, const std::string& whole,
                      bool compressed) {
  const std::string audit = directory.read("audit");
  if (whole.compare(0, audit.size(), audit) != 0) return "no prefix";
  const program_result again = directory.run({"-r", "audit"});
  const whole_records found(audit);
  if (count_operations(again.out) != found.operations) {
    return "operations got lost";
  }
  const bool torn =
      compressed ? audit.size() < whole.size() : audit.size() != found.bytes;
  if (torn && again.status != 1) return "torn end not reported";
  if (again.status == 1 && again.err.empty()) return "failed without a word";
  return again.status > 1 ? "unexpected exit status" : nullptr;
}

int run_kills(const test_directory& directory, const char* option, int kills) {
  const auto begin = clock_type::now();
  run_for(directory, option, {});
  const auto full_time = std::chrono::duration_cast<std::chrono::microseconds>(
      clock_type::now() - begin);
  const std::string whole = directory.read("audit");
  std::minstd_rand random(20);
  std::array<int, 3> extents{};
  int failures = 0;
  for (int i = 0; i < kills; ++i) {
    std::filesystem::remove(directory.path("audit"));
    run_for(directory, option, full_time * (random() % 1000 + 1) / 1000);
    if (!std::filesystem::exists(directory.path("audit"))) {
      ++extents[0];
      continue;
    }
    const std::size_t left = directory.read("audit").size();
    ++extents[left == 0 ? 0 : left < whole.size() ? 1 : 2];
    const char* problem = complaint(directory, whole, option[1] == 'Z');
    if (problem == nullptr) continue;
    ++failures;
    std::printf("FAILED %s: %s (kill %d, %zu bytes left)\n", option, problem, i,
                left);
  }
  std::printf(
      "%-4s %d kills within %.3f s; left: nothing %d, a part %d, all "
      "%d\n",
      option, kills, static_cast<double>(full_time.count()) / 1e6, extents[0],
      extents[1], extents[2]);
  if (extents[1] != 0 || kills < 20) return failures;
  std::puts("FAILED: no kill hit the writing");
  return failures + 1;
}

}  // namespace

int main(int argc, char* argv[]) {
  setvbuf(stdout, nullptr, _IOLBF, 0);
  const int kills = argc > 1 ? std::atoi(argv[1]) : 20;
  const test_directory directory;
  write_log(directory);
  const int failures =
      run_kills(directory, "-o", kills) + run_kills(directory, "-Zo", kills);
  std::printf("%d failures\n", failures);
  return failures == 0 ? 0 : 1;
}
