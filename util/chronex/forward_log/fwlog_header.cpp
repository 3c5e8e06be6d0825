#include "util/chronex/forward_log/fwlog_header.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

#include "common/byte_cursor.h"
#include "util/chronex/forward_log/fwlog_format.h"
#include "util/chronex/input/charset.h"

namespace {

// What files too old to say so are taken to have.
constexpr std::uint16_t UNKNOWN_CHARSET = 65535;

bool has_signature(const input_file& file, std::string_view signature) {
  return std::equal(signature.begin(), signature.end(), file.signature.begin());
}

int report_unreadable(const input_file& file, const char* problem) {
  if (report_no_resources(file)) return -1;
  report_bad_format(file, "%s", problem);
  report_read_error(file);
  return -1;
}

bool read_u16(input_file& file, std::uint16_t& value) {
  const std::uint8_t* bytes = file.stream.take(sizeof value);
  if (bytes != nullptr) value = load_u16(bytes);
  return bytes != nullptr;
}

bool read_u32(input_file& file, std::uint32_t& value) {
  const std::uint8_t* bytes = file.stream.take(sizeof value);
  if (bytes != nullptr) value = load_u32(bytes);
  return bytes != nullptr;
}

int check_version(const input_file& file) {
  const bool known = file.major < 1 || (file.major == 1 && file.minor <= 5) ||
                     (file.major == 2 && (file.minor == 0 || file.minor == 1));
  if (known) return 0;
  return report_bad_format(file, "Unknown file version %d.%02d", file.major,
                           file.minor);
}

int read_charset(input_file& file, int& charset_id) {
  if (!read_u16(file, file.charset)) {
    return report_unreadable(file, "Unable to read file header character set");
  }
  if (charset_id == NO_CHARSET) {
    charset_id = file.charset;
  } else if (charset_id != file.charset) {
    file.messages.print(
        "%s: incompatible file format\n"
        "Character set does not match\n"
        " found: %s (%u), expected: %s (%d))\n",
        file.name.c_str(), charset_name(file.charset), unsigned{file.charset},
        charset_name(charset_id), charset_id);
    return -1;
  }
  return 0;
}

// Byte order, character set and release, which version 1.01 brought.
int read_extension(input_file& file, int& charset_id) {
  if (!read_u16(file, file.byte_order)) {
    return report_unreadable(file, "Unable to read file header byte order");
  }
  if (file.byte_order != BYTE_ORDER_MARK) {
    return report_incompatible_format(file, "Byte order does not match");
  }
  if (read_charset(file, charset_id) != 0) return -1;
  if (!read_u32(file, file.release)) {
    return report_unreadable(file, "Unable to read file header release");
  }
  return 0;
}

}  // namespace

bool may_be_forward_log(std::span<const std::uint8_t> bytes) {
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()),
                              bytes.size());
  const auto begins = [text](std::string_view signature) {
    const std::size_t known = std::min(text.size(), signature.size());
    return text.substr(0, known) == signature.substr(0, known);
  };
  return begins(FWLOG_SIGNATURE) || begins(FWLOG_AUDIT_ONLY_SIGNATURE);
}

int fwlog_read_file_header(input_file& file, int& charset_id) {
  const std::uint8_t* block = file.stream.take(SIGNATURE_SIZE);
  if (block == nullptr) {
    return report_unreadable(file, "Unable to read file header signature");
  }
  std::copy_n(block, SIGNATURE_SIZE, file.signature.begin());
  file.audit_only = has_signature(file, FWLOG_AUDIT_ONLY_SIGNATURE);
  if (!file.audit_only && !has_signature(file, FWLOG_SIGNATURE)) return 1;
  file.type = FWLOG_FILE;

  if (read_version(file) != 0 || check_version(file) != 0) return -1;
  if (file.major > 1 || (file.major == 1 && file.minor >= 1)) {
    if (read_extension(file, charset_id) != 0) return -1;
  } else {
    file.byte_order = BYTE_ORDER_MARK;
    file.charset = UNKNOWN_CHARSET;
  }
  if (!read_u32(file, file.volume_set_id) || !read_u32(file, file.generation) ||
      !read_u32(file, file.sequence)) {
    return report_unreadable(file, "Unable to read file header");
  }
  return 0;
}
