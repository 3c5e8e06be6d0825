#ifndef CHRONEX_TESTS_SUPPORT_RUN_PROGRAM_H
#define CHRONEX_TESTS_SUPPORT_RUN_PROGRAM_H

// Runs the program as a user would, in a directory of its own.

#include <string>
#include <string_view>
#include <vector>

struct program_result {
  std::string out;
  std::string err;
  // Exit status, or 256 + the signal that ended the program.
  int status = 0;
};

// A new directory for one test, removed with everything in it at the end.
class test_directory {
 public:
  test_directory();
  ~test_directory();
  test_directory(const test_directory&) = delete;
  test_directory& operator=(const test_directory&) = delete;

  std::string path(std::string_view name) const;
  void write(std::string_view name, std::string_view bytes,
             bool compressed = false) const;
  // Changes one byte of a file, counted from its end: -1 is the last.
  void change_byte(std::string_view name, int position) const;
  // The contents of a file, decompressed if it is a gzip file.
  std::string read(std::string_view name) const;

  // The contents as they are.
  std::string read_raw(std::string_view name) const;

  // Runs chronex in the directory. `input` is what standard input delivers;
  // `environment` has NAME=value texts beside TZ=UTC and the path.
  program_result run(const std::vector<std::string>& arguments,
                     std::string_view input = {},
                     const std::vector<std::string>& environment = {}) const;
  // The same for chronex-trail.
  program_result run_trail(
      const std::vector<std::string>& arguments, std::string_view input = {},
      const std::vector<std::string>& environment = {}) const;
  // Starts chronex-trail in the directory. What it prints so far can be read as
  // "(out)" and "(err)".
  int start_trail(const std::vector<std::string>& arguments) const;
  // Sends a signal to what was started, and waits for its end.
  program_result stop(int process, int signal) const;
  // Runs chronex where standard output or standard error, as `descriptor` says,
  // is a terminal. It shows everything as it comes, line ends included. As soon
  // as it shows something, the program gets the signal, if that is not 0.
  program_result run_on_terminal(const std::vector<std::string>& arguments,
                                 int descriptor, int signal = 0) const;
  // Runs a shell command in the directory, where $CHRONEX and
  // $CHRONEX_TRAIL are the programs. Returns its exit status.
  int shell(const std::string& command) const;

 private:
  struct start_settings;
  // Starts a program and returns its process id.
  int start(const char* program, const std::vector<std::string>& arguments,
            const start_settings& settings) const;
  program_result await(int child) const;

  std::string root_;
};

#endif  // CHRONEX_TESTS_SUPPORT_RUN_PROGRAM_H
