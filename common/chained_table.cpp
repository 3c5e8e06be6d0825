#include "common/chained_table.h"

#include <unistd.h>

#include <array>

namespace {

struct hash_key {
  // Odd multipliers of a multiply-and-shift hash.
  std::array<std::uint64_t, 3> multiplier{
      0x9e3779b97f4a7c15U, 0xc2b2ae3d27d4eb4fU, 0x165667b19e3779f9U};

  hash_key() noexcept {
    std::array<std::uint64_t, 3> drawn{};
    // Without a random source the fixed multipliers serve.
    if (getentropy(drawn.data(), sizeof drawn) != 0) return;
    for (std::size_t i = 0; i < drawn.size(); ++i)
      multiplier[i] = drawn[i] | 1U;
  }
};

const hash_key KEY;

}  // namespace

std::uint32_t keyed_hash(std::uint32_t key) {
  return static_cast<std::uint32_t>((key * KEY.multiplier[0]) >> 32U);
}

std::uint32_t keyed_hash(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
  return static_cast<std::uint32_t>(
      (a * KEY.multiplier[0] + b * KEY.multiplier[1] + c * KEY.multiplier[2]) >>
      32U);
}
