#ifndef CHRONEX_BENCH_BENCH_TABLE_H
#define CHRONEX_BENCH_BENCH_TABLE_H

// Tables of measurements.
//
// All rows of a table are measured in turn, over and over again, so that noise
// on the machine hits them alike; then the medians are compared.

#include <cstdint>
#include <string>
#include <vector>

#include "bench/bench_options.h"
#include "bench/work_directory.h"

// An option that stands for the audit output in the work directory, one for a
// file whose name asks for compression, and one for a directory.
inline constexpr const char* AUDIT_OUTPUT = "(audit output)";
inline constexpr const char* COMPRESSED_OUTPUT = "(audit output).gz";
inline constexpr const char* SPLIT_OUTPUT = "(audit output).d";

// What is to be read.
struct bench_input {
  std::vector<std::string> paths;
  std::uint64_t operations = 0;
  // Decompressed.
  std::uint64_t bytes = 0;
};

// Who does a row's work: the program, the companion, or the benchmark itself in
// place of them.
enum class worker { chronex, trail, floor, scan, copy };

// A row of a table.
struct measurement {
  std::string name;
  std::size_t input = 0;
  std::vector<std::string> options = {};
  // Standard output goes to /dev/null instead of a file.
  bool discard = false;
  // Rows that say the same here must give the same output; empty: this one's is
  // not looked at.
  std::string output = {};
  worker by = worker::chronex;

  std::vector<double> seconds = {};
  std::vector<double> cpu_seconds = {};
  long peak_kib = 0;
  std::uint64_t output_bytes = 0;

  bool compresses() const {
    return !options.empty() &&
           (options[0] == "-Z" || options.back() == COMPRESSED_OUTPUT ||
            options.back() == SPLIT_OUTPUT);
  }
};

// Measures the rows that were asked for, with the floors of their inputs,
// prints and returns them. Throws std::runtime_error when a run fails, or rows
// differ that must not.
std::vector<measurement> run_table(std::vector<measurement> table,
                                   const bench_options& chosen,
                                   const std::vector<bench_input>& inputs,
                                   const work_directory& directory);

// Of measured values, at least one.
struct spread {
  explicit spread(std::vector<double> values);

  double median = 0;
  double least = 0;
  double most = 0;
};

#endif  // CHRONEX_BENCH_BENCH_TABLE_H
