#include <cstring>
#include <string>

#include "common/byte_cursor.h"
#include "util/chronex/audit_file/audit_format.h"
#include "util/chronex/audit_file/audit_reader.h"
#include "util/chronex/input/charset.h"

namespace {

// Another character set is worth a note only: all texts are passed on as bytes.
void check_charset(input_file& file, int& charset_id) {
  if (charset_id < 0) {
    charset_id = file.charset;
  } else if (charset_id != file.charset) {
    const std::string sets = format_text(
        "found: %s (%u), expected: %s (%d)", charset_name(file.charset),
        unsigned{file.charset}, charset_name(charset_id), charset_id);
    file.messages.print(
        "%s: Note: Character set does not match\n"
        " %s)\n",
        file.name.c_str(), sets.c_str());
    file.charset_difference = "Character set does not match: " + sets;
  }
}

}  // namespace

int audit_read_file_header(input_file& file, int& charset_id) {
  if (std::memcmp(file.signature.data(), AUDIT_SIGNATURE,
                  SIGNATURE_TEXT_SIZE) != 0) {
    return report_bad_format(file, "Unsupported file signature");
  }
  file.type = AUDIT_FILE;
  if (read_version(file) != 0) return -1;
  const std::uint8_t* fields = file.stream.take(4);
  if (fields == nullptr) {
    if (report_no_resources(file)) return -1;
    report_bad_format(file, "Unable to read file header");
    report_read_error(file);
    return -1;
  }
  file.byte_order = load_u16(fields);
  file.charset = load_u16(fields + 2);
  if (file.byte_order != BYTE_ORDER_MARK) {
    return report_incompatible_format(file, "Byte order does not match");
  }
  check_charset(file, charset_id);
  return 0;
}
