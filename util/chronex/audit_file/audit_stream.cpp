#include "util/chronex/audit_file/audit_stream.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "common/byte_cursor.h"

namespace {

constexpr unsigned GZ_BUFFER_SIZE = 512 * 1024;

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

bool is_regular_file(int descriptor) {
  struct stat status {};
  return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace

audit_stream::~audit_stream() {
  if (audit_fp != nullptr) gzclose(audit_fp);
  if (file_ >= 0) close(file_);
}

bool audit_stream::put_bytes(std::span<const std::uint8_t> bytes) {
  if (bytes.empty()) return true;
  const bool done =
      gzfwrite(bytes.data(), 1, bytes.size(), audit_fp) == bytes.size();
  write_failed_ = write_failed_ || !done;
  return done;
}

int audit_stream::report_failure() {
  messages_.perror(audit_fname);
  messages_.print("Failed to write audit file\n");
  return -1;
}

int audit_stream::report_unopened() {
  messages_.perror(audit_fname);
  messages_.print("Unable to open audit file for writing\n");
  return -1;
}

int audit_stream::begin_stream(int descriptor) {
  audit_fp = gzdopen(descriptor, write_mode_);
  if (audit_fp == nullptr) {
    report_unopened();
    close(descriptor);
    return -1;
  }
  gzbuffer(audit_fp, GZ_BUFFER_SIZE);
  return 0;
}

// Only a regular file holds something that can be kept. It must not get a
// stream before its time: closing one that compresses writes an empty gzip
// file.
int audit_stream::audit_open(bool to_stdout, int compress_level,
                             mode_t permissions) {
  write_mode_ = write_mode(compress_level);
  const int descriptor =
      to_stdout ? duplicate_standard_output()
                : open(audit_fname, O_WRONLY | O_CREAT, permissions);
  if (descriptor < 0) return report_unopened();
  if (to_stdout || !is_regular_file(descriptor)) {
    return begin_stream(descriptor);
  }
  file_ = descriptor;
  return 0;
}

int audit_stream::audit_begin() {
  if (file_ < 0) return 0;
  if (ftruncate(file_, 0) != 0) return report_unopened();
  return begin_stream(std::exchange(file_, -1));
}

int audit_stream::audit_close() {
  if (audit_fp == nullptr) return 0;
  const int code = gzclose(audit_fp);
  audit_fp = nullptr;
  if (code == Z_OK || write_failed_) return 0;
  return report_failure();
}

int audit_stream::audit_write_tag(std::uint8_t tag, std::uint32_t size) {
  std::array<std::uint8_t, AUDIT_RECORD_HEAD_SIZE> head{tag};
  store_u32(head.data() + 1, size);
  return audit_write(head);
}

int audit_stream::audit_write(std::span<const std::uint8_t> bytes) {
  return put_bytes(bytes) ? 0 : report_failure();
}

int audit_stream::audit_write_begun_record(
    std::uint8_t tag, std::span<std::uint8_t> begin,
    std::span<const std::uint8_t> first, std::span<const std::uint8_t> second) {
  const std::size_t size =
      begin.size() - AUDIT_RECORD_HEAD_SIZE + first.size() + second.size();
  begin[0] = tag;
  store_u32(begin.data() + 1, static_cast<std::uint32_t>(size));
  if (put_bytes(begin) && put_bytes(first) && put_bytes(second)) return 0;
  return report_failure();
}
