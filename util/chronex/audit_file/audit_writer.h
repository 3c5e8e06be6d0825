#ifndef CHRONEX_UTIL_CHRONEX_AUDIT_FILE_AUDIT_WRITER_H
#define CHRONEX_UTIL_CHRONEX_AUDIT_FILE_AUDIT_WRITER_H

// The run's audit output: one gz stream that is opened before any input is
// processed and closed at the end of the run.
//
// Unless said otherwise, operations return 0, or -1 after a failure whose
// message has been printed. What was written before a failure stays.

#include <zlib.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "util/chronex/audit_file/audit_format.h"

// The open audit output, or null when none was asked for.
extern gzFile audit_fp;
// Its name for messages: the -o argument, or "stdout".
extern const char* audit_fname;

// Opens (creates or truncates) the audit file `audit_fname`, or a duplicate of
// standard output. `compress_level` is the number of -Z options: 0 plain, 2
// Huffman-only gzip, any other number gzip.
int audit_open(bool to_stdout, int compress_level);

// Closes the audit output if it is open, which writes what is still buffered.
// An output whose failure was reported before closes without another message.
int audit_close();

// Writes the file header, with the run's character set, and the user comment as
// the first record, if there is one and it is not empty.
int audit_write_header(const char* user_comment);

// Begins a record: the tag and the size in bytes of the payload, which must
// follow in one or more pieces.
int audit_write_tag(std::uint8_t tag, std::uint32_t size);

// Writes a piece of payload.
int audit_write(std::span<const std::uint8_t> bytes);

// Writes a record. `begin` is its first part, from the tag on, with tag and
// size still to be filled in; two more pieces of payload follow, either of
// which may be empty.
int audit_write_begun_record(std::uint8_t tag, std::span<std::uint8_t> begin,
                             std::span<const std::uint8_t> first,
                             std::span<const std::uint8_t> second);

// Writes a whole record whose payload is a fixed part (audit_format.h) and two
// pieces, either of which may be empty.
template <typename fixed_part>
int audit_write_record(std::uint8_t tag, const fixed_part& head,
                       std::span<const std::uint8_t> first = {},
                       std::span<const std::uint8_t> second = {}) {
  // Tag, size and fixed part go out together.
  std::array<std::uint8_t, AUDIT_RECORD_HEAD_SIZE + fixed_part::SIZE> begin;
  head.put(begin.data() + AUDIT_RECORD_HEAD_SIZE);
  return audit_write_begun_record(tag, begin, first, second);
}

// Writes a comment record with a formatted text, unless it is empty or there is
// no audit output. On failure the run ends with exit status 1 (run_failed).
[[gnu::format(printf, 1, 2)]] void audit_write_comment(const char* format, ...);

#endif  // CHRONEX_UTIL_CHRONEX_AUDIT_FILE_AUDIT_WRITER_H
