#ifndef CHRONEX_UTIL_CHRONEX_AUDIT_FILE_AUDIT_READER_H
#define CHRONEX_UTIL_CHRONEX_AUDIT_FILE_AUDIT_READER_H

// Audit files as input: their records are replayed into the same tables and
// the same trail as the actions of a forward log.

#include <cstdint>
#include <span>

#include "util/chronex/input/input_file.h"
#include "util/chronex/input/scratch.h"
#include "util/chronex/trail/trail.h"

// Reads the header of an audit file whose signature block has been read. Fixes
// the run's character set if that is not known yet (charset.h). Returns 0, or
// -1 when the file cannot be used; the message has been printed.
int audit_read_file_header(input_file& file, int& charset_id);

class audit_reader {
 public:
  // Both are the run's and outlive the reader.
  audit_reader(trail& trail, scratch_buffer& scratch)
      : trail_(trail), scratch_(scratch) {}

  // Processes an audit file whose header has been read. Returns 0 at its end,
  // or -1 when it could not be processed to its end; the message has been
  // printed.
  int audit_process_file(input_file& file);

 private:
  using byte_run = std::span<const std::uint8_t>;

  int process_record(input_file& file);
  const std::uint8_t* read_payload(input_file& file, std::uint32_t size);
  int dispatch(const input_file& file, std::uint8_t tag, byte_run payload);
  int decode_session_sign_on(const input_file& file, byte_run payload);
  int decode_session_sign_off(const input_file& file, byte_run payload);
  int decode_node_schema(const input_file& file, byte_run payload);
  int decode_image_op(const input_file& file, byte_run payload);
  int decode_memo(const input_file& file, byte_run payload);
  int report_truncated(const input_file& file, const std::string& problem);
  int report_malformed(const input_file& file, const char* record,
                       byte_run payload);
  int unexpected_size(const input_file& file, std::uint32_t size);
  int bad_record(const input_file& file, notice_kind kind,
                 const std::string& problem, std::size_t size);

  trail& trail_;
  scratch_buffer& scratch_;
};

#endif  // CHRONEX_UTIL_CHRONEX_AUDIT_FILE_AUDIT_READER_H
