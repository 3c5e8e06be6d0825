#ifndef CHRONEX_BENCH_BENCH_LOG_H
#define CHRONEX_BENCH_BENCH_LOG_H

// Makes the logs that the benchmark reads: an order database of many sessions
// and data sets, with records of ten items of all types.

#include <cstdint>
#include <string>

struct bench_log {
  std::uint64_t operations = 3'000'000;
  // Sessions that are signed on at the same time.
  int live = 8;
  // 0: as many as sessions.
  int data_sets = 0;
  // Half of the operations are of a sixteenth of the sessions, and half of a
  // sixteenth of the data sets, and so on with these.
  bool skewed = false;
  // The texts of every record are stored encrypted under an XOR key, which
  // needs no crypto library.
  bool encrypted = false;
  // Files that the log is split into, each with about as many operations.
  int segments = 1;
};

// An upper bound of the size of such a log in bytes, for checks of free space.
std::uint64_t bench_log_space(const bench_log& plan);

// Writes the log, piece by piece, so that memory stays small. Of several
// segments the first has this path, and "-2", "-3", ... is added for the
// others. Throws std::runtime_error on failure.
void write_bench_log(const bench_log& plan, const std::string& path);
std::string segment_path(const std::string& path, int segment);

// Writes a gzip-compressed copy of a file at compression level 1. Throws
// std::runtime_error on failure.
void write_gzip_copy(const std::string& from, const std::string& to);

#endif  // CHRONEX_BENCH_BENCH_LOG_H
