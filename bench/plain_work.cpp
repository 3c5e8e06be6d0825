#include "bench/plain_work.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace {

constexpr std::size_t READ_SIZE = std::size_t{256} * 1024;
constexpr unsigned GZ_BUFFER_SIZE = 128 * 1024;
constexpr std::size_t WRITE_SIZE = std::size_t{256} * 1024;

constexpr std::size_t LOG_HEADER_SIZE = 36;
constexpr std::size_t AUDIT_HEADER_SIZE = 20;
constexpr std::size_t SIGNATURE_SIZE = 10;
constexpr std::size_t PREFIX_SIZE = 9;
constexpr std::size_t AUDIT_HEAD_SIZE = 5;

[[noreturn]] void fail(const std::string& what) {
  throw std::runtime_error(what + ": " + std::strerror(errno));
}

struct close_gz {
  void operator()(gzFile file) const { gzclose(file); }
};
using gz_file = std::unique_ptr<gzFile_s, close_gz>;

gz_file open_gz(const std::string& path) {
  gz_file file(gzopen(path.c_str(), "rb"));
  if (!file) fail(path);
  gzbuffer(file.get(), GZ_BUFFER_SIZE);
  return file;
}

// The bytes of a file, one run after the other.
class byte_walk {
 public:
  explicit byte_walk(const std::string& path)
      : path_(path), file_(open_gz(path)) {}

  bool at_end() { return begin_ == end_ && !fill(1); }

  // The next `size` bytes, which are small.
  const unsigned char* take(std::size_t size) {
    if (end_ - begin_ < size && !fill(size)) {
      throw std::runtime_error(path_ + ": cut short");
    }
    const unsigned char* const bytes = buffer_.data() + begin_;
    begin_ += size;
    return bytes;
  }

  void skip(std::size_t size) {
    while (size > end_ - begin_) {
      size -= end_ - begin_;
      begin_ = end_;
      take(1);
      --size;
    }
    begin_ += size;
  }

 private:
  bool fill(std::size_t size) {
    std::copy(buffer_.data() + begin_, buffer_.data() + end_, buffer_.data());
    end_ -= begin_;
    begin_ = 0;
    const int count = gzread(file_.get(), buffer_.data() + end_,
                             static_cast<unsigned>(buffer_.size() - end_));
    if (count > 0) end_ += static_cast<std::size_t>(count);
    return end_ >= size;
  }

  const std::string& path_;
  gz_file file_;
  std::array<unsigned char, 4 * READ_SIZE> buffer_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
};

std::size_t u16_at(const unsigned char* bytes) {
  return bytes[0] | std::size_t{bytes[1]} << 8U;
}

std::size_t u32_at(const unsigned char* bytes) {
  return u16_at(bytes) | u16_at(bytes + 2) << 16U;
}

// The benchmark's logs have records, before-images, audit and context actions.
std::uint64_t scan_log(byte_walk& walk) {
  std::uint64_t operations = 0;
  walk.skip(LOG_HEADER_SIZE - SIGNATURE_SIZE);
  for (;;) {
    const unsigned char tag = *walk.take(PREFIX_SIZE);
    switch (tag) {
      case '1':
        walk.skip(u16_at(walk.take(16) + 2));
        ++operations;
        break;
      case '5':
        walk.skip(u16_at(walk.take(20) + 18));
        break;
      case '6':
      case '7':
        walk.skip(u16_at(walk.take(8) + 6));
        break;
      default:
        return operations;
    }
  }
}

std::uint64_t scan_audit_file(byte_walk& walk) {
  std::uint64_t operations = 0;
  walk.skip(AUDIT_HEADER_SIZE - SIGNATURE_SIZE);
  while (!walk.at_end()) {
    const unsigned char* const head = walk.take(AUDIT_HEAD_SIZE);
    if (head[0] == '5') ++operations;
    walk.skip(u32_at(head + 1));
  }
  return operations;
}

}  // namespace

void read_through_zlib(const std::vector<std::string>& paths) {
  static std::array<char, READ_SIZE> block;
  for (const std::string& path : paths) {
    const gz_file file = open_gz(path);
    while (gzfread(block.data(), 1, block.size(), file.get()) > 0) {
    }
  }
}

std::uint64_t scan_files(const std::vector<std::string>& paths) {
  std::uint64_t operations = 0;
  for (const std::string& path : paths) {
    const auto walk = std::make_unique<byte_walk>(path);
    const bool is_audit_file = std::memcmp(walk->take(SIGNATURE_SIZE),
                                           "KORV.AUDIT", SIGNATURE_SIZE) == 0;
    operations += is_audit_file ? scan_audit_file(*walk) : scan_log(*walk);
  }
  return operations;
}

void write_bytes_of(const std::string& path) {
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  struct stat status {};
  if (file < 0 || fstat(file, &status) != 0) fail(path);
  const auto size = static_cast<std::size_t>(status.st_size);
  void* const mapped =
      mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_POPULATE, file, 0);
  if (mapped == MAP_FAILED) fail(path);
  const char* const bytes = static_cast<const char*>(mapped);
  for (std::size_t done = 0; done < size;) {
    const ssize_t count =
        write(STDOUT_FILENO, bytes + done, std::min(WRITE_SIZE, size - done));
    if (count < 0) fail("standard output");
    done += static_cast<std::size_t>(count);
  }
  munmap(mapped, size);
  close(file);
}
