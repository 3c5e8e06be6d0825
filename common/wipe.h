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

// Wipes what calls that handled key material may have left behind: the unused
// part of the stack, where registers were saved, and the vector registers,
// which copies of keys pass through. To be called from a function that stays on
// the stack when those calls have returned.
void wipe_traces() noexcept;

// Does that at the end of the enclosing block.
struct trace_guard {
  trace_guard() = default;
  ~trace_guard() { wipe_traces(); }
  trace_guard(const trace_guard&) = delete;
  trace_guard& operator=(const trace_guard&) = delete;
};

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
