#include "common/wipe.h"

void wipe(void* memory, std::size_t size, std::uint8_t fill) noexcept {
  auto* byte = static_cast<volatile std::uint8_t*>(memory);
  for (std::size_t i = 0; i < size; ++i) byte[i] = fill;
}
