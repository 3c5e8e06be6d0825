#ifndef CHRONEX_UTIL_CHRONEX_STATE_STATE_BYTES_H
#define CHRONEX_UTIL_CHRONEX_STATE_STATE_BYTES_H

// The fields of state files (doc/state-file.md), written and read one after
// the other. Integers are in the byte order of the machine.

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "common/byte_cursor.h"

// The name of a section.
using section_name = std::array<char, 4>;

class state_writer {
 public:
  void u8(std::uint8_t value) { bytes_.push_back(value); }
  void flag(bool value) { u8(value ? 1 : 0); }
  void u16(std::uint16_t value) { put(&value, sizeof value); }
  void u32(std::uint32_t value) { put(&value, sizeof value); }
  void u64(std::uint64_t value) { put(&value, sizeof value); }
  void i32(std::int32_t value) { u32(static_cast<std::uint32_t>(value)); }
  // A u32 with their number, and the bytes.
  void bytes(std::span<const std::uint8_t> run);
  void text(std::string_view run);

  // A section: its name, a u64 with the size of what is in it, and that.
  void begin_section(const section_name& name);
  void end_section();

  // What another one has written, as it is.
  void append(const state_writer& other) {
    put(other.bytes_.data(), other.bytes_.size());
  }

  const std::vector<std::uint8_t>& written() const { return bytes_; }

 private:
  void put(const void* data, std::size_t size);

  std::vector<std::uint8_t> bytes_;
  std::size_t section_ = 0;
};

// Reads what a state_writer has written. The first field that is not there, or
// cannot be what it is, fails the reader: from then on all fields are 0.
class state_reader {
 public:
  explicit state_reader(std::span<const std::uint8_t> bytes) : rest_(bytes) {}

  std::uint8_t u8();
  // Fails on what is neither 0 nor 1.
  bool flag();
  std::uint16_t u16();
  std::uint32_t u32();
  std::uint64_t u64();
  std::int32_t i32() { return static_cast<std::int32_t>(u32()); }
  // Borrowed from what is read.
  std::span<const std::uint8_t> bytes();
  std::string_view text();

  // Whether the next section has that name.
  bool is_section(const section_name& name) const;
  // A reader of the next section, which must have that name.
  state_reader section(const section_name& name);

  bool has_failed() const { return failed_; }
  void fail() {
    failed_ = true;
    rest_ = byte_cursor({});
  }
  std::size_t remaining() const { return rest_.remaining(); }
  // All was read, and nothing failed.
  bool is_at_end() const { return !failed_ && remaining() == 0; }

 private:
  byte_cursor rest_;
  bool failed_ = false;
};

#endif  // CHRONEX_UTIL_CHRONEX_STATE_STATE_BYTES_H
