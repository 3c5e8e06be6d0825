#ifndef CHRONEX_UTIL_CHRONEX_AUDIT_FILE_AUDIT_STREAM_H
#define CHRONEX_UTIL_CHRONEX_AUDIT_FILE_AUDIT_STREAM_H

// The gz stream of an audit file that is being written.
//
// Unless said otherwise, operations return 0, or -1 after a failure whose
// message has been printed. What was written before a failure stays.

#include <sys/types.h>
#include <zlib.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "util/chronex/audit_file/audit_format.h"
#include "util/chronex/messages/messages.h"

class audit_stream {
 public:
  explicit audit_stream(run_messages& messages) : messages_(messages) {}
  audit_stream(const audit_stream&) = delete;
  audit_stream& operator=(const audit_stream&) = delete;
  // Closes a stream that is still open, without a message.
  ~audit_stream();

  // Opens the audit file `audit_fname`, which is created with `permissions` if
  // it is not there, or a duplicate of standard output. `compress_level` is the
  // number of -Z options: 0 plain, 2 Huffman-only gzip, any other number gzip.
  // What an existing file holds stays there until audit_begin().
  int audit_open(bool to_stdout, int compress_level, mode_t permissions);
  bool is_open() const { return audit_fp != nullptr || file_ >= 0; }

  // Makes the open output ready for its header: an existing file is emptied.
  int audit_begin();

  // Closes the audit output if it is open, which writes what is still buffered.
  // An output whose failure was reported before closes without another message.
  int audit_close();

  // Begins a record: the tag and the size in bytes of the payload, which must
  // follow in one or more pieces.
  int audit_write_tag(std::uint8_t tag, std::uint32_t size);

  // Writes a piece of payload.
  int audit_write(std::span<const std::uint8_t> bytes);

  // The same without a message about a failure.
  bool put_bytes(std::span<const std::uint8_t> bytes);

  // Writes a record. `begin` is its first part, from the tag on, with tag and
  // size still to be filled in; two more pieces of payload follow, either of
  // which may be empty.
  int audit_write_begun_record(std::uint8_t tag, std::span<std::uint8_t> begin,
                               std::span<const std::uint8_t> first,
                               std::span<const std::uint8_t> second);

  // Writes a whole record whose payload is a fixed part (audit_format.h) and
  // two pieces, either of which may be empty.
  template <typename fixed_part>
  int audit_write_record(std::uint8_t tag, const fixed_part& head,
                         std::span<const std::uint8_t> first = {},
                         std::span<const std::uint8_t> second = {}) {
    // Tag, size and fixed part go out together.
    std::array<std::uint8_t, AUDIT_RECORD_HEAD_SIZE + fixed_part::SIZE> begin;
    head.put(begin.data() + AUDIT_RECORD_HEAD_SIZE);
    return audit_write_begun_record(tag, begin, first, second);
  }

  // The open audit output, or null: none was asked for, or it has not begun.
  gzFile audit_fp = nullptr;
  // Its name for messages: the -o argument, or "stdout".
  const char* audit_fname = nullptr;

 private:
  int report_failure();
  int report_unopened();
  int begin_stream(int descriptor);

  run_messages& messages_;
  // A write has failed and was reported: the close will fail again, silently.
  bool write_failed_ = false;
  const char* write_mode_ = "wbT";
  // A regular file that is open, but has not begun; -1: none.
  int file_ = -1;
};

#endif  // CHRONEX_UTIL_CHRONEX_AUDIT_FILE_AUDIT_STREAM_H
