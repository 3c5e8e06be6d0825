#ifndef CHRONEX_FUZZ_FUZZ_SUPPORT_H
#define CHRONEX_FUZZ_FUZZ_SUPPORT_H

// What the fuzzers share.
//
// A fuzzer is one executable for one kind of input: libFuzzer calls it with
// bytes that it makes up, guided by the code that they reach. What the
// sanitizers and the program's own assertions find ends it, and so does every
// property that a fuzzer states with fuzz_check.

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

using fuzz_bytes = std::span<const std::uint8_t>;

// Ends the fuzzer, with the text on standard error, unless the property holds.
void fuzz_check(bool holds, const char* property);

// The bytes as characters.
std::string_view fuzz_text(fuzz_bytes bytes);

// Takes `size` bytes off the front of `input`, or what is left of it.
fuzz_bytes fuzz_take(fuzz_bytes& input, std::size_t size);
// Takes one byte off; 0 at the end of the input.
std::uint8_t fuzz_take_byte(fuzz_bytes& input);
// Takes a u16 size, little-endian, and that many bytes.
fuzz_bytes fuzz_take_block(fuzz_bytes& input);

// A copy of exactly `size` bytes in a block of its own, so that the address
// sanitizer sees both of its ends: `bytes`, cut or filled up with zero bytes.
std::vector<std::uint8_t> fuzz_sized_copy(fuzz_bytes bytes, std::size_t size);

// A file that exists in memory only and is opened by its path.
class memory_file {
 public:
  memory_file();
  ~memory_file();
  memory_file(const memory_file&) = delete;
  memory_file& operator=(const memory_file&) = delete;

  // Not const, because operands of a command line are not.
  char* path() { return path_.data(); }
  // Replaces the contents.
  void write(fuzz_bytes bytes);
  std::vector<std::uint8_t> contents() const;

 private:
  int descriptor_;
  std::array<char, 32> path_{};
};

#endif  // CHRONEX_FUZZ_FUZZ_SUPPORT_H
