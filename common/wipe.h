#ifndef CHRONEX_COMMON_WIPE_H
#define CHRONEX_COMMON_WIPE_H

// Overwriting of key material before its memory is released.

#include <cstddef>
#include <cstdint>

// The byte that released key material is overwritten with.
inline constexpr std::uint8_t WIPE_BYTE = 0x55;

// Overwrites `size` bytes at `memory` with `fill`. The compiler cannot drop the
// stores, even when the memory is released right after.
void wipe(void* memory, std::size_t size,
          std::uint8_t fill = WIPE_BYTE) noexcept;

// Wipes a piece of memory at the end of the enclosing block, whichever way the
// block is left. The memory must outlive the guard.
class wipe_guard {
 public:
  wipe_guard(void* memory, std::size_t size) noexcept
      : memory_(memory), size_(size) {}
  ~wipe_guard() { wipe(memory_, size_); }
  wipe_guard(const wipe_guard&) = delete;
  wipe_guard& operator=(const wipe_guard&) = delete;

 private:
  void* memory_;
  std::size_t size_;
};

#endif  // CHRONEX_COMMON_WIPE_H
