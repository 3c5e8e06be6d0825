#ifndef CHRONEX_BENCH_OUTPUT_DIGEST_H
#define CHRONEX_BENCH_OUTPUT_DIGEST_H

#include <string>

// Size and checksum of a file's bytes, decompressed if it is a gzip file.
// Throws std::runtime_error when it cannot be read.
std::string output_digest(const std::string& path);

#endif  // CHRONEX_BENCH_OUTPUT_DIGEST_H
