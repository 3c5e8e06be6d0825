#ifndef CHRONEX_BENCH_BENCH_OPTIONS_H
#define CHRONEX_BENCH_BENCH_OPTIONS_H

// The benchmark's command line; --help tells what each option does.

#include <cstdint>
#include <string>
#include <vector>

struct bench_options {
  std::uint64_t operations = 3'000'000;
  int live = 8;
  // 0: as many as live.
  int data_sets = 0;
  int repeat = 5;
  std::string rows;
  bool scaling = false;
  bool skewed = false;
  bool large = false;
  // 0: no log in several files.
  int segments = 0;
  bool cold = false;
  std::string directory;
  std::string program = CHRONEX_PROGRAM;
  std::string trail = CHRONEX_TRAIL_PROGRAM;
  std::string write;
  std::vector<std::string> read;
  std::vector<std::string> scan;
  std::string copy;
};

// Reads the command line. Ends the process for --help and after a wrong option.
bench_options parse_bench_options(int argc, char* argv[]);

#endif  // CHRONEX_BENCH_BENCH_OPTIONS_H
