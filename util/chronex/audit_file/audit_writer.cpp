#include "util/chronex/audit_file/audit_writer.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cassert>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

#include "common/byte_cursor.h"
#include "util/chronex/audit_file/audit_format.h"
#include "util/chronex/input/charset.h"
#include "util/chronex/messages/run_failed.h"
#include "util/chronex/report/report.h"

gzFile audit_fp = nullptr;
const char* audit_fname = nullptr;

namespace {

constexpr unsigned GZ_BUFFER_SIZE = 512 * 1024;
constexpr int VERSION_MAJOR = 1;
constexpr int VERSION_MINOR = 0;

// A write has failed and was reported: the close will fail again, silently.
bool write_failed = false;

const char* write_mode(int compress_level) {
  switch (compress_level) {
    case 0:
      return "wbT";
    case 2:
      return "wbh";
    default:
      return "wb";
  }
}

// A standard output that was closed has a placeholder, which cannot be written.
int duplicate_standard_output() {
  if ((fcntl(STDOUT_FILENO, F_GETFL) & O_ACCMODE) == O_RDONLY) {
    errno = EBADF;
    return -1;
  }
  return dup(STDOUT_FILENO);
}

bool put_bytes(std::span<const std::uint8_t> bytes) {
  if (bytes.empty()) return true;
  const bool done =
      gzfwrite(bytes.data(), 1, bytes.size(), audit_fp) == bytes.size();
  write_failed = write_failed || !done;
  return done;
}

std::span<const std::uint8_t> bytes_of(const std::string& text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

int report_failure() {
  message_perror(audit_fname);
  message("Failed to write audit file\n");
  return -1;
}

std::string format_text(const char* format, std::va_list arguments) {
  std::va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
  std::vsnprintf(text.data(), text.size() + 1, format, again);
  va_end(again);
  return text;
}

}  // namespace

int audit_open(bool to_stdout, int compress_level) {
  const char* mode = write_mode(compress_level);
  if (to_stdout) {
    const int descriptor = duplicate_standard_output();
    if (descriptor >= 0) {
      audit_fp = gzdopen(descriptor, mode);
      if (audit_fp == nullptr) close(descriptor);
    }
  } else {
    audit_fp = gzopen(audit_fname, mode);
  }
  if (audit_fp == nullptr) {
    message_perror(audit_fname);
    message("Unable to open audit file for writing\n");
    return -1;
  }
  gzbuffer(audit_fp, GZ_BUFFER_SIZE);
  return 0;
}

int audit_close() {
  if (audit_fp == nullptr) return 0;
  const int code = gzclose(audit_fp);
  audit_fp = nullptr;
  if (code == Z_OK || write_failed) return 0;
  return report_failure();
}

int audit_write_header(const char* user_comment) {
  std::array<std::uint8_t, SIGNATURE_SIZE + 4> header{};
  std::array<char, SIGNATURE_SIZE> signature{};
  std::snprintf(signature.data(), signature.size(), "%s%02d.%02d",
                AUDIT_SIGNATURE, VERSION_MAJOR, VERSION_MINOR);
  std::memcpy(header.data(), signature.data(), signature.size());
  store_u16(header.data() + SIGNATURE_SIZE, BYTE_ORDER_MARK);
  store_u16(header.data() + SIGNATURE_SIZE + 2,
            static_cast<std::uint16_t>(charset_id));
  if (!put_bytes(header)) return report_failure();

  if (user_comment == nullptr || *user_comment == '\0') return 0;
  const std::string comment(user_comment);
  if (audit_write_tag(AUDIT_TAG_COMMENT,
                      static_cast<std::uint32_t>(comment.size())) != 0) {
    return -1;
  }
  if (!put_bytes(bytes_of(comment))) {
    message_perror(audit_fname);
    message("Failed to write user comment\n");
    return -1;
  }
  return 0;
}

int audit_write_tag(std::uint8_t tag, std::uint32_t size) {
  std::array<std::uint8_t, AUDIT_RECORD_HEAD_SIZE> head{tag};
  store_u32(head.data() + 1, size);
  return audit_write(head);
}

int audit_write(std::span<const std::uint8_t> bytes) {
  return put_bytes(bytes) ? 0 : report_failure();
}

int audit_write_begun_record(std::uint8_t tag, std::span<std::uint8_t> begin,
                             std::span<const std::uint8_t> first,
                             std::span<const std::uint8_t> second) {
  const std::size_t size =
      begin.size() - AUDIT_RECORD_HEAD_SIZE + first.size() + second.size();
  begin[0] = tag;
  store_u32(begin.data() + 1, static_cast<std::uint32_t>(size));
  if (put_bytes(begin) && put_bytes(first) && put_bytes(second)) return 0;
  return report_failure();
}

void audit_write_comment(const char* format, ...) {
  if (audit_fp == nullptr) return;
  std::va_list arguments;
  va_start(arguments, format);
  const std::string text = format_text(format, arguments);
  va_end(arguments);
  if (text.empty()) return;
  if (audit_write_tag(AUDIT_TAG_COMMENT,
                      static_cast<std::uint32_t>(text.size())) != 0) {
    throw run_failed();
  }
  if (!put_bytes(bytes_of(text))) {
    message_perror(audit_fname);
    message("Failed to write audit comment:\n%s\n", text.c_str());
    throw run_failed();
  }
}
