#ifndef CHRONEX_UTIL_CHRONEX_INPUT_INPUT_FILE_H
#define CHRONEX_UTIL_CHRONEX_INPUT_INPUT_FILE_H

#include <array>
#include <cstdint>
#include <string>

#include "util/chronex/input/input_stream.h"
#include "util/chronex/messages/messages.h"

// All inputs begin with a block of this size: the signature and the version as
// text. A number in the machine's byte order follows in the header.
inline constexpr std::size_t SIGNATURE_SIZE = 16;
inline constexpr std::size_t SIGNATURE_TEXT_SIZE = 10;
inline constexpr std::uint16_t BYTE_ORDER_MARK = 1234;

inline constexpr int FWLOG_FILE = 1;
inline constexpr int AUDIT_FILE = 2;

// One input: its stream, and what its header says.
struct input_file {
  explicit input_file(run_messages& messages_of_run) noexcept
      : messages(messages_of_run) {}

  // Where what is wrong with it is told.
  run_messages& messages;
  // The operand; "stdin" for standard input.
  std::string name;
  input_stream stream;
  // FWLOG_FILE or AUDIT_FILE; 0 until a header reader has recognised it.
  int type = 0;
  // The first bytes of the file: signature and version text.
  std::array<std::uint8_t, SIGNATURE_SIZE> signature{};
  std::uint16_t byte_order = 0;
  std::uint16_t charset = 0;
  // How that differs from the run's character set, if it does.
  std::string charset_difference;
  // It is standard input.
  bool is_standard_input = false;
  // File version.
  int major = 0;
  int minor = 0;
  // Forward logs only, from here on.
  std::uint32_t release = 0;
  std::uint32_t volume_set_id = 0;
  std::uint32_t generation = 0;
  std::uint32_t sequence = 0;
  bool audit_only = false;
};

// The messages below go to standard error.

// Announces that a file cannot be used: "bad file format", then a line that
// says why, formatted without line end. Returns -1.
[[gnu::format(printf, 2, 3)]] int report_bad_format(const input_file& file,
                                                    const char* format, ...);
// The same for a file of another machine or character set.
int report_incompatible_format(const input_file& file, const char* problem);
// After a short read: says what zlib or the system found wrong, if anything.
void report_read_error(const input_file& file);

// After a short read: reports that memory or descriptors were wanting to read
// on. Returns false when that was not the reason.
bool report_no_resources(const input_file& file);

// Parses the version text that starts at byte 10 of the signature block and
// must end with a zero byte within it. Returns 0 with major and minor set, or
// -1 with its message printed.
int read_version(input_file& file);

#endif  // CHRONEX_UTIL_CHRONEX_INPUT_INPUT_FILE_H
