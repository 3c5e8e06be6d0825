#ifndef CHRONEX_BENCH_PLAIN_WORK_H
#define CHRONEX_BENCH_PLAIN_WORK_H

// What the program is measured against: the least that a reader or a writer of
// the same bytes has to do. Each throws std::runtime_error on failure.

#include <cstdint>
#include <string>
#include <vector>

// Reads the files through zlib, in large pieces, and does nothing with them.
void read_through_zlib(const std::vector<std::string>& paths);

// Reads the files the same way and walks over the actions of forward logs, or
// the records of audit files, without a look at more than their sizes. Returns
// the number of record operations.
std::uint64_t scan_files(const std::vector<std::string>& paths);

// Writes the bytes of a file to standard output, a report stream's buffer at a
// time.
void write_bytes_of(const std::string& path);

#endif  // CHRONEX_BENCH_PLAIN_WORK_H
