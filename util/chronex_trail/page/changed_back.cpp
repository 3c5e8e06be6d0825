#include "util/chronex_trail/page/changed_back.h"

#include <functional>
#include <string_view>

namespace {

std::uint64_t hash_of(std::span<const std::uint8_t> bytes) {
  return std::hash<std::string_view>()(
      {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

std::uint64_t number_of(const record_item& place) {
  return std::uint64_t{place.recno} << 32 |
         std::uint64_t{place.data_set} << 16 | place.item;
}

}  // namespace

std::uint32_t changed_back_finder::update(const record_item& place,
                                          std::span<const std::uint8_t> before,
                                          std::span<const std::uint8_t> after,
                                          std::uint32_t timestamp) {
  // Spreads neighbours over the table.
  constexpr std::uint64_t SPREAD = 0x9E3779B97F4A7C15;
  constexpr int HIGH_BITS = 46;
  const std::uint64_t number = number_of(place);
  latest_change& latest = latest_[number * SPREAD >> HIGH_BITS];
  const latest_change now{number, hash_of(before), hash_of(after), timestamp};
  const latest_change old = latest;
  latest = now;
  if (old.timestamp == 0) return 0;
  if (old.place != number) {
    ++forgotten_;
    return 0;
  }
  return old.before == now.after && old.after == now.before ? old.timestamp : 0;
}
