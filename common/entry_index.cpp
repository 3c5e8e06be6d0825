#include "common/entry_index.h"

#include <unistd.h>

namespace {

std::array<std::uint64_t, 3> draw_multipliers() noexcept {
  std::array<std::uint64_t, 3> drawn{};
  // Without a random source fixed numbers have to serve.
  if (getentropy(drawn.data(), sizeof drawn) != 0) {
    drawn = {0x9e3779b97f4a7c15U, 0xc2b2ae3d27d4eb4fU, 0x165667b19e3779f9U};
  }
  for (std::uint64_t& multiplier : drawn) multiplier |= 1U;
  return drawn;
}

}  // namespace

const std::array<std::uint64_t, 3> HASH_MULTIPLIERS = draw_multipliers();
