#include "fuzz/fuzz_support.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

void fuzz_check(bool holds, const char* property) {
  if (holds) return;
  std::fprintf(stderr, "Violated: %s\n", property);
  std::abort();
}

std::string_view fuzz_text(fuzz_bytes bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

fuzz_bytes fuzz_take(fuzz_bytes& input, std::size_t size) {
  const fuzz_bytes taken = input.first(std::min(size, input.size()));
  input = input.subspan(taken.size());
  return taken;
}

std::uint8_t fuzz_take_byte(fuzz_bytes& input) {
  const fuzz_bytes taken = fuzz_take(input, 1);
  return taken.empty() ? std::uint8_t{0} : taken.front();
}

fuzz_bytes fuzz_take_block(fuzz_bytes& input) {
  const unsigned low = fuzz_take_byte(input);
  const unsigned high = fuzz_take_byte(input);
  return fuzz_take(input, high << 8U | low);
}

std::vector<std::uint8_t> fuzz_sized_copy(fuzz_bytes bytes, std::size_t size) {
  std::vector<std::uint8_t> copy(size);
  std::copy_n(bytes.begin(), std::min(size, bytes.size()), copy.begin());
  return copy;
}

memory_file::memory_file() : descriptor_(memfd_create("input", MFD_CLOEXEC)) {
  fuzz_check(descriptor_ >= 0, "a file in memory can be made");
  std::snprintf(path_.data(), path_.size(), "/proc/self/fd/%d", descriptor_);
}

memory_file::~memory_file() { close(descriptor_); }

void memory_file::write(fuzz_bytes bytes) {
  const bool written = ftruncate(descriptor_, 0) == 0 &&
                       pwrite(descriptor_, bytes.data(), bytes.size(), 0) ==
                           static_cast<ssize_t>(bytes.size());
  fuzz_check(written, "a file in memory can be written");
}

std::vector<std::uint8_t> memory_file::contents() const {
  struct stat status {};
  fuzz_check(fstat(descriptor_, &status) == 0, "a file in memory has a size");
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(status.st_size));
  const bool read = pread(descriptor_, bytes.data(), bytes.size(), 0) ==
                    static_cast<ssize_t>(bytes.size());
  fuzz_check(read, "a file in memory can be read");
  return bytes;
}
