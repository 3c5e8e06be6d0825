// Feeds the program inputs that are cut off at every byte, and inputs with
// every bit turned over, one run for each.
//
//   damage_test [STEP]
//
// looks at every STEP-th offset and bit; 1 is all of them. A run is a child of
// this process that enters the program's main function, which is much faster
// than starting a program that was built with sanitizers.

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "robustness/rich_log.h"
#include "tests/support/run_program.h"

int chronex_main(int argc, char* argv[]);

// A sanitizer's finding must not look like an exit status of the program; and
// what this process has released must not make its children larger.
constexpr const char* OPTIONS = "exitcode=99:quarantine_size_mb=4";
extern "C" const char* __asan_default_options();   // NOLINT(*-reserved-*)
extern "C" const char* __ubsan_default_options();  // NOLINT(*-reserved-*)
const char* __asan_default_options() { return OPTIONS; }
const char* __ubsan_default_options() { return OPTIONS; }

namespace {

constexpr double TIME_LIMIT = 1.0;     // seconds of processor time
constexpr unsigned WALL_LIMIT = 30;    // seconds
constexpr long MEMORY_LIMIT = 262144;  // KiB, most of it the sanitizers'

struct run_end {
  int status = 0;  // or 256 + signal
  double seconds = 0;
  long memory = 0;
  std::string report;
  std::string messages;
};

struct tally {
  std::array<long, 3> statuses{};
  double slowest = 0;
  long largest = 0;
  long failures = 0;
};

// An unnamed file that the program opens by its descriptor.
int memory_file(const char* name) {
  const int fd = static_cast<int>(memfd_create(name, 0));
  if (fd < 0) std::abort();
  return fd;
}

const int INPUT = memory_file("input");
const int REPORT = memory_file("report");
const int MESSAGES = memory_file("messages");

void empty(int fd) {
  if (ftruncate(fd, 0) != 0 || lseek(fd, 0, SEEK_SET) != 0) std::abort();
}

std::string contents(int fd) {
  struct stat status {};
  if (fstat(fd, &status) != 0) std::abort();
  std::string bytes(static_cast<std::size_t>(status.st_size), '\0');
  if (pread(fd, bytes.data(), bytes.size(), 0) != status.st_size) std::abort();
  return bytes;
}

[[noreturn]] void run_child() {
  dup2(REPORT, STDOUT_FILENO);
  dup2(MESSAGES, STDERR_FILENO);
  std::string path = "/proc/self/fd/" + std::to_string(INPUT);
  std::vector<std::string> words = {"chronex", "-rmxv", "-o", "/dev/null",
                                    path};
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  alarm(WALL_LIMIT);
  std::exit(chronex_main(static_cast<int>(words.size()), argv.data()));
}

run_end run_once() {
  empty(REPORT);
  empty(MESSAGES);
  const pid_t child = fork();
  if (child == 0) run_child();
  int status = 0;
  rusage used{};
  wait4(child, &status, 0, &used);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) +
           static_cast<double>(time.tv_usec) / 1e6;
  };
  return {.status =
              WIFEXITED(status) ? WEXITSTATUS(status) : 256 + WTERMSIG(status),
          .seconds = seconds(used.ru_utime) + seconds(used.ru_stime),
          .memory = used.ru_maxrss,
          .report = contents(REPORT),
          .messages = contents(MESSAGES)};
}

struct damaged_input {
  const char* name;
  std::string bytes;
  // Whether damage to what the input says, or the loss of its end, cannot go
  // unnoticed, wherever it is.
  bool flip_shows;
  bool cut_shows;
};

void fail(const char* name, const char* damage, std::size_t at,
          const char* problem, const run_end& end, tally& sum) {
  if (++sum.failures > 20) return;
  std::printf("FAILED %s, %s %zu: %s (status %d, %.2f s, %ld KiB)\n%.2000s\n",
              name, damage, at, problem, end.status, end.seconds, end.memory,
              end.messages.c_str());
}

const char* problem_of(const run_end& end, const run_end& whole,
                       bool must_show) {
  if (end.status > 2) return "ended by a signal or a sanitizer";
  if (end.seconds > TIME_LIMIT) return "too slow";
  if (end.memory > MEMORY_LIMIT) return "too large";
  const bool silent = end.messages == whole.messages;
  if (end.status != 0) return silent ? "failed without a word" : nullptr;
  return must_show && silent ? "passed for whole" : nullptr;
}

// One run over the input as it stands. An input that is damaged and not
// reported must at least come out the same if `must_show` is set.
void take(const damaged_input& input, const char* damage, std::size_t at,
          const run_end& whole, tally& sum) {
  const run_end end = run_once();
  const bool cut = *damage == 'c';
  const bool must_show =
      cut ? input.cut_shows : input.flip_shows && end.report != whole.report;
  const char* const problem = problem_of(end, whole, must_show);
  if (problem != nullptr) {
    fail(input.name, damage, at, problem, end, sum);
  } else {
    ++sum.statuses[static_cast<std::size_t>(end.status)];
  }
  sum.slowest = std::max(sum.slowest, end.seconds);
  sum.largest = std::max(sum.largest, end.memory);
}

void put_byte(std::size_t at, char byte) {
  if (pwrite(INPUT, &byte, 1, static_cast<off_t>(at)) != 1) std::abort();
}

void print(const char* name, const char* damage, const tally& sum) {
  std::printf(
      "%-20s %-9s status 0: %-6ld 1: %-6ld 2: %-6ld slowest %.3f s, "
      "largest %ld KiB\n",
      name, damage, sum.statuses[0], sum.statuses[1], sum.statuses[2],
      sum.slowest, sum.largest);
}

long run_input(const damaged_input& input, std::size_t step) {
  const std::string& bytes = input.bytes;
  if (ftruncate(INPUT, 0) != 0 ||
      pwrite(INPUT, bytes.data(), bytes.size(), 0) !=
          static_cast<ssize_t>(bytes.size())) {
    std::abort();
  }
  const run_end whole = run_once();
  if (whole.status != 0 || whole.report.empty()) std::abort();
  tally flips;
  for (std::size_t bit = 0; bit < bytes.size() * 8; bit += step) {
    const std::size_t at = bit / 8;
    put_byte(at, static_cast<char>(bytes[at] ^ (1 << bit % 8)));
    take(input, "bit", bit, whole, flips);
    put_byte(at, bytes[at]);
  }
  print(input.name, "bits", flips);
  tally cuts;
  for (std::size_t size = bytes.size(); size-- > 0;) {
    if (ftruncate(INPUT, static_cast<off_t>(size)) != 0) std::abort();
    if (size % step == 0) take(input, "cut", size, whole, cuts);
  }
  print(input.name, "cuts", cuts);
  return flips.failures + cuts.failures;
}

std::string file_bytes(const test_directory& directory, const char* name) {
  const int fd = open(directory.path(name).c_str(), O_RDONLY);
  if (fd < 0) std::abort();
  std::string bytes = contents(fd);
  close(fd);
  return bytes;
}

}  // namespace

int main(int argc, char* argv[]) {
  setvbuf(stdout, nullptr, _IOLBF, 0);
  const std::size_t step = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 1;
  const test_directory directory;
  directory.write("log", rich_log(false));
  directory.write("log.gz", rich_log(true), true);
  directory.write("xor", encrypted_log(data_key::plain_xor));
  directory.run({"-o", "trail", "log"});
  directory.run({"-Z", "-o", "trail.gz", "log"});
  const damaged_input inputs[] = {
      {"forward log", file_bytes(directory, "log"), false, true},
      {"forward log, gzip", file_bytes(directory, "log.gz"), true, true},
      {"encrypted log", file_bytes(directory, "xor"), false, true},
      {"audit file", file_bytes(directory, "trail"), false, false},
      {"audit file, gzip", file_bytes(directory, "trail.gz"), true, true}};
  long failures = 0;
  for (const damaged_input& input : inputs) {
    failures += run_input(input, std::max<std::size_t>(step, 1));
  }
  std::printf("%ld failures\n", failures);
  return failures == 0 ? 0 : 1;
}
