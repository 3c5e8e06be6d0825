#ifndef CHRONEX_COMMON_BYTE_CURSOR_H
#define CHRONEX_COMMON_BYTE_CURSOR_H

// Bounds-checked reading of integers and byte runs from borrowed bytes.
//
// Every file this program reads is in the byte order of the machine (a header
// field proves it before anything else is decoded), so integers are copied out
// as they stand; they need no alignment.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

// Decode one integer at `bytes`, which must hold at least its width.
inline std::uint16_t load_u16(const std::uint8_t* bytes) {
  std::uint16_t value = 0;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

inline std::uint32_t load_u32(const std::uint8_t* bytes) {
  std::uint32_t value = 0;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

// Encode one integer at `bytes`, which must have room for its width.
inline void store_u16(std::uint8_t* bytes, std::uint16_t value) {
  std::memcpy(bytes, &value, sizeof value);
}

inline void store_u32(std::uint8_t* bytes, std::uint32_t value) {
  std::memcpy(bytes, &value, sizeof value);
}

// Walks over borrowed bytes from front to back and cannot run past their end:
// each operation either succeeds as a whole or returns false and leaves the
// position and the result untouched.
class byte_cursor {
 public:
  explicit byte_cursor(std::span<const std::uint8_t> bytes) : rest_(bytes) {}

  std::size_t remaining() const { return rest_.size(); }
  std::span<const std::uint8_t> rest() const { return rest_; }

  [[nodiscard]] bool u8(std::uint8_t& value) {
    if (rest_.empty()) return false;
    value = rest_.front();
    rest_ = rest_.subspan(1);
    return true;
  }

  [[nodiscard]] bool u16(std::uint16_t& value) {
    if (rest_.size() < sizeof value) return false;
    value = load_u16(rest_.data());
    rest_ = rest_.subspan(sizeof value);
    return true;
  }

  [[nodiscard]] bool u32(std::uint32_t& value) {
    if (rest_.size() < sizeof value) return false;
    value = load_u32(rest_.data());
    rest_ = rest_.subspan(sizeof value);
    return true;
  }

  [[nodiscard]] bool bytes(std::size_t count,
                           std::span<const std::uint8_t>& run) {
    if (rest_.size() < count) return false;
    run = rest_.first(count);
    rest_ = rest_.subspan(count);
    return true;
  }

 private:
  std::span<const std::uint8_t> rest_;
};

#endif  // CHRONEX_COMMON_BYTE_CURSOR_H
