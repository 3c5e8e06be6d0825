#include "util/chronex/state/state_bytes.h"

#include <algorithm>
#include <cstring>

void state_writer::put(const void* data, std::size_t size) {
  const auto* const first = static_cast<const std::uint8_t*>(data);
  bytes_.insert(bytes_.end(), first, first + size);
}

void state_writer::bytes(std::span<const std::uint8_t> run) {
  u32(static_cast<std::uint32_t>(run.size()));
  bytes_.insert(bytes_.end(), run.begin(), run.end());
}

void state_writer::text(std::string_view run) {
  bytes({reinterpret_cast<const std::uint8_t*>(run.data()), run.size()});
}

void state_writer::begin_section(const section_name& name) {
  put(name.data(), name.size());
  u64(0);
  section_ = bytes_.size();
}

void state_writer::end_section() {
  const std::uint64_t size = bytes_.size() - section_;
  std::memcpy(bytes_.data() + section_ - sizeof size, &size, sizeof size);
}

std::uint8_t state_reader::u8() {
  std::uint8_t value = 0;
  if (!rest_.u8(value)) fail();
  return value;
}

bool state_reader::flag() {
  const std::uint8_t value = u8();
  if (value > 1) fail();
  return value == 1;
}

std::uint16_t state_reader::u16() {
  std::uint16_t value = 0;
  if (!rest_.u16(value)) fail();
  return value;
}

std::uint32_t state_reader::u32() {
  std::uint32_t value = 0;
  if (!rest_.u32(value)) fail();
  return value;
}

std::uint64_t state_reader::u64() {
  std::span<const std::uint8_t> run;
  std::uint64_t value = 0;
  if (rest_.bytes(sizeof value, run)) {
    std::memcpy(&value, run.data(), sizeof value);
  } else {
    fail();
  }
  return value;
}

std::span<const std::uint8_t> state_reader::bytes() {
  const std::uint32_t size = u32();
  std::span<const std::uint8_t> run;
  if (!rest_.bytes(size, run)) fail();
  return run;
}

std::string_view state_reader::text() {
  const std::span<const std::uint8_t> run = bytes();
  return {reinterpret_cast<const char*>(run.data()), run.size()};
}

bool state_reader::is_section(const section_name& name) const {
  byte_cursor ahead = rest_;
  std::span<const std::uint8_t> found;
  return ahead.bytes(name.size(), found) &&
         std::equal(name.begin(), name.end(), found.begin());
}

state_reader state_reader::section(const section_name& name) {
  std::span<const std::uint8_t> found;
  if (!rest_.bytes(name.size(), found) ||
      !std::equal(name.begin(), name.end(), found.begin())) {
    fail();
  }
  const std::uint64_t size = u64();
  std::span<const std::uint8_t> run;
  if (!rest_.bytes(size, run)) fail();
  state_reader inner(run);
  if (failed_) inner.fail();
  return inner;
}
