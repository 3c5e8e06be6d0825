#include "common/wipe.h"

#include <array>

#include "common/vector_registers.h"

namespace {

// Deeper than the crypto library's calls and the dynamic loader go.
constexpr std::size_t WIPED_STACK = std::size_t{64} * 1024;

// Not inlined: whatever is below the caller's frame lies in this array.
[[gnu::noinline]] void wipe_unused_stack() noexcept {
  std::array<std::uint8_t, WIPED_STACK> stack;
  wipe(stack.data(), stack.size());
}

}  // namespace

void wipe(void* memory, std::size_t size, std::uint8_t fill) noexcept {
  auto* byte = static_cast<volatile std::uint8_t*>(memory);
  for (std::size_t i = 0; i < size; ++i) byte[i] = fill;
}

[[gnu::noinline]] void wipe_traces() noexcept {
  wipe_unused_stack();
  clear_vector_registers();
}
