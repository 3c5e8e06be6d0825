// Measures what inputs can cost at most: processor time and memory of runs over
// inputs that were made to be expensive.
//
//   cost_test [SCALE]
//
// SCALE percent of the full sizes. Each input is also made at an eighth of its
// size: eight times the input must not cost much more than eight times the
// time.

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/log_builder.h"
#include "tests/support/run_program.h"

namespace {

constexpr int DB = 1;
constexpr int SET = 2;
constexpr int USER = 3;
constexpr std::size_t MIB = std::size_t{1} << 20;

struct cost_case {
  const char* name;
  // Makes the input "in" (and a filter file "filter"); `count` is the size.
  void (*make)(const test_directory& directory, unsigned count);
  unsigned count;
  std::vector<std::string> arguments;
  // The most memory, in bytes for each byte of input that is read, above what
  // every run takes.
  double memory_factor;
};

struct cost {
  int status = 0;
  double seconds = 0;
  double mebibytes = 0;
};

// A log with a database, a session and perhaps a data set.
log_builder started(const std::vector<log_item>& items = {},
                    const std::string& name = "db") {
  log_builder log;
  log.pace(0).database(DB, name).sign_on(USER, {"user{U}"});
  if (!items.empty()) log.data_set(SET, DB, "set", items);
  return log;
}

void write_log(const test_directory& directory, log_builder& log) {
  directory.write("in", log.end().bytes());
}

void put_records(const test_directory& directory, log_builder log,
                 unsigned count, const std::string& record) {
  for (unsigned i = 0; i < count; ++i) log.put(USER, SET, i, record);
  write_log(directory, log);
}

const std::vector<log_item> SMALL_RECORD = {{"A", 'X', 1, 4}};

void make_operations(const test_directory& directory, unsigned count) {
  put_records(directory, started(SMALL_RECORD), count, "abcd");
}

void make_long_names(const test_directory& directory, unsigned count) {
  put_records(directory, started(SMALL_RECORD, std::string(8191, 'd')), count,
              "abcd");
}

void make_many_items(const test_directory& directory, unsigned count) {
  const std::vector<log_item> items(6540, {"", 'I', 1, 5});
  put_records(directory, started(items), count, std::string(32700, '1'));
}

void make_many_elements(const test_directory& directory, unsigned count) {
  put_records(directory, started({{"ELEMENTS", 'I', 32767, 1}}), count,
              std::string(32767, '1'));
}

void make_cluster(const test_directory& directory, unsigned count) {
  log_builder log = started();
  log.cluster(2000000000, static_cast<int>(count));
  directory.write("in", log.bytes());
}

// Pages of one byte over and over: gzip makes them a thousand times smaller.
void make_bomb(const test_directory& directory, unsigned count) {
  log_builder log = started();
  const std::string head = log.cluster(static_cast<int>(count), 0).take();
  gzFile file = gzopen(directory.path("in").c_str(), "wb9");
  gzfwrite(head.data(), 1, head.size(), file);
  const std::string page(8192, '\0');
  for (unsigned i = 0; i < count; ++i) gzfwrite(page.data(), 8192, 1, file);
  if (gzclose(file) != Z_OK) std::abort();
}

// Ids that would all fall into one bucket of a table that takes them modulo its
// size, be it a power of two or 101.
void make_sessions(const test_directory& directory, unsigned count) {
  log_builder log = started(SMALL_RECORD);
  for (unsigned i = 0; i < count; ++i) {
    log.sign_on_raw(static_cast<int>(i * 101 * 16), {});
  }
  write_log(directory, log);
}

void make_data_sets(const test_directory& directory, unsigned count) {
  log_builder log = started();
  for (unsigned i = 1; i <= count; ++i) {
    log.data_set(static_cast<int>(i * 101 * 16), DB, "s", {{"A", 'X', 1, 4}});
  }
  write_log(directory, log);
}

void make_pending(const test_directory& directory, unsigned count) {
  log_builder log = started(SMALL_RECORD);
  for (unsigned i = 0; i < count; ++i) {
    log.before_image({.session = USER,
                      .node = SET,
                      .recno = i * 1009 * 16,
                      .op = 1,
                      .image = "abcd"});
  }
  write_log(directory, log);
}

// Before-images that have no bytes, of records of the largest size.
void make_short_pending(const test_directory& directory, unsigned count) {
  log_builder log = started({{"A", 'X', 1, 32767}});
  for (unsigned i = 0; i < count; ++i) {
    log.before_image({.session = USER, .node = SET, .recno = i, .op = 1});
  }
  write_log(directory, log);
}

std::string audit_record(char tag, const std::string& payload) {
  return tag + u32_bytes(static_cast<std::uint32_t>(payload.size())) + payload;
}

std::string audit_header() {
  std::string head = "KORV.AUDIT01.00";
  head += '\0';
  return head + u16_bytes(1234) + u16_bytes(1);
}

std::string large_sign_on(unsigned session) {
  std::string text;
  while (text.size() < 65000) text += "k{v}";
  return u32_bytes(session) + sign_on_bytes(std::vector<std::string>(16, text));
}

void make_large_sign_ons(const test_directory& directory, unsigned count) {
  std::FILE* file = std::fopen(directory.path("in").c_str(), "wb");
  if (file == nullptr) std::abort();
  const std::string head = audit_header();
  std::fwrite(head.data(), 1, head.size(), file);
  for (unsigned i = 0; i < count; ++i) {
    const std::string record = audit_record('2', large_sign_on(i));
    std::fwrite(record.data(), 1, record.size(), file);
  }
  if (std::fclose(file) != 0) std::abort();
}

// Operations of a session whose sign-on data take a mebibyte to search.
void make_searched_sign_on(const test_directory& directory, unsigned count) {
  std::string bytes = audit_header() + audit_record('2', large_sign_on(1));
  bytes += audit_record('4', u32_bytes(SET) + u16_bytes(4) + u16_bytes(4) +
                                 u16_bytes(1) + u16_bytes(0) + "D.ST" +
                                 item_list_bytes({{"A", 'X', 1, 4}}));
  for (unsigned i = 0; i < count; ++i) {
    bytes += audit_record('5', u32_bytes(1) + u32_bytes(SET) + u32_bytes(7) +
                                   u32_bytes(i) + "2" + '\0' + "\x01" + '\0' +
                                   "abcd");
  }
  directory.write("in", bytes);
}

void make_backtracking(const test_directory& directory, unsigned count) {
  log_builder log = started(SMALL_RECORD);
  for (unsigned i = 0; i < count; ++i) {
    log.memo(USER, 'm', std::string(65000, 'a'));
  }
  write_log(directory, log);
}

void make_parentheses(const test_directory& directory, unsigned count) {
  directory.write("filter",
                  std::string(count, '(') + "DBPUT" + std::string(count, ')'));
  make_operations(directory, 1);
}

const std::vector<cost_case> CASES = {
    {"operations, audit file",
     make_operations,
     2000000,
     {"-o", "/dev/null", "in"},
     0.1},
    {"operations, report", make_operations, 1000000, {"-r", "-v", "in"}, 0.1},
    {"cluster of 2000000000 pages", make_cluster, 10000, {"-r", "in"}, 0.1},
    {"gzip bomb", make_bomb, 131072, {"-r", "in"}, 0.1},
    {"6540 items a record", make_many_items, 400, {"-r", "-v", "in"}, 0.2},
    {"32767 elements a record",
     make_many_elements,
     400,
     {"-r", "-v", "in"},
     0.2},
    {"6540 items, dump", make_many_items, 400, {"-x", "in"}, 0.2},
    {"names of 8195 bytes", make_long_names, 100000, {"-r", "in"}, 0.1},
    {"sessions", make_sessions, 1000000, {"-r", "in"}, 16},
    {"data sets", make_data_sets, 1000000, {"-r", "in"}, 16},
    {"pending before-images", make_pending, 1000000, {"-r", "in"}, 8},
    {"pending, no bytes", make_short_pending, 20000, {"-r", "in"}, 8},
    {"sign-ons of 1 MiB", make_large_sign_ons, 200, {"-r", "in"}, 1.1},
    {"sign-on of 1 MiB, searched",
     make_searched_sign_on,
     2000,
     {"-r", "-e", "user = {A*}", "in"},
     4},
    {"memos of 65000, *a*a...*b",
     make_backtracking,
     1000,
     {"-m", "-e", "dbmemo = {*a*a*a*a*a*a*a*a*a*a*a*a*a*a*a*a*b}", "in"},
     0.2},
    {"memos of 65000, *aaa...b",
     make_backtracking,
     100,
     {"-m", "-e", "dbmemo = {*" + std::string(1000, 'a') + "b}", "in"},
     0.3},
    {"nested parentheses",
     make_parentheses,
     51190,
     {"-r", "-f", "filter", "in"},
     1000}};

double seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) +
         static_cast<double>(time.tv_usec) / 1e6;
}

cost run_case(const test_directory& directory, const cost_case& c) {
  std::vector<std::string> words = {"chronex"};
  words.insert(words.end(), c.arguments.begin(), c.arguments.end());
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    const int null = open("/dev/null", O_WRONLY);
    dup2(null, STDOUT_FILENO);
    dup2(null, STDERR_FILENO);
    if (chdir(directory.path(".").c_str()) == 0) {
      execv(CHRONEX_PROGRAM, argv.data());
    }
    _exit(127);
  }
  int status = 0;
  rusage used{};
  wait4(child, &status, 0, &used);
  return {.status =
              WIFEXITED(status) ? WEXITSTATUS(status) : 256 + WTERMSIG(status),
          .seconds = seconds(used.ru_utime) + seconds(used.ru_stime),
          .mebibytes = static_cast<double>(used.ru_maxrss) / 1024};
}

// Inputs are made in a child: what that takes must not count as the program's.
double make_input(const test_directory& directory, const cost_case& c,
                  unsigned count) {
  const pid_t child = fork();
  if (child == 0) {
    c.make(directory, std::max(count, 1U));
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  if (status != 0) std::abort();
  return static_cast<double>(std::filesystem::file_size(directory.path("in"))) /
         MIB;
}

const char* complaint(const cost_case& c, double base, double size,
                      const cost& part, const cost& whole) {
  if (whole.status > 1) return "ended by a signal";
  // Processor caches make a large table three times as slow as a small one;
  // what grows with the square would be 64 times as slow. Times below a tick of
  // the scheduler say nothing.
  if (whole.seconds > 24 * part.seconds + 0.1) return "not linear";
  if (whole.mebibytes - base > c.memory_factor * size + 4) {
    return "too much memory";
  }
  return nullptr;
}

}  // namespace

int main(int argc, char* argv[]) {
  setvbuf(stdout, nullptr, _IOLBF, 0);
  const unsigned scale =
      argc > 1 ? static_cast<unsigned>(std::atoi(argv[1])) : 100;
  const test_directory directory;
  int failures = 0;
  make_input(directory, CASES[0], 1);
  const double base = run_case(directory, CASES[0]).mebibytes;
  std::printf("%-28s %8s %10s %9s %9s\n", "input", "number", "MiB", "seconds",
              "MiB used");
  for (const cost_case& c : CASES) {
    const auto count =
        static_cast<unsigned>(std::uint64_t{c.count} * scale / 100);
    make_input(directory, c, count / 8);
    const cost part = run_case(directory, c);
    const double size = make_input(directory, c, count);
    const cost whole = run_case(directory, c);
    std::printf("%-28s %8u %10.3f %9.3f %9.1f\n", c.name, count, size,
                whole.seconds, whole.mebibytes);
    const char* const problem = complaint(c, base, size, part, whole);
    if (problem == nullptr) continue;
    ++failures;
    std::printf("FAILED: %s (status %d; an eighth: %.3f s, %.1f MiB)\n",
                problem, whole.status, part.seconds, part.mebibytes);
  }
  std::printf("%d failures\n", failures);
  return failures == 0 ? 0 : 1;
}
