#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_CHANGED_BACK_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_CHANGED_BACK_H

// Finds values that were changed and then changed back to what they were.
//
// The latest change of each item of each record is remembered, in a table whose
// size does not grow: what was pushed out of it is not found again, and
// counted.

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

// An item of a record.
struct record_item {
  std::uint16_t data_set = 0;
  std::uint16_t item = 0;
  std::uint32_t recno = 0;
};

class changed_back_finder {
 public:
  // Tells of an update that changed an item. Returns the time of the change
  // that it takes back, or 0.
  std::uint32_t update(const record_item& place,
                       std::span<const std::uint8_t> before,
                       std::span<const std::uint8_t> after,
                       std::uint32_t timestamp);

  // Changes that were forgotten.
  std::uint64_t forgotten() const { return forgotten_; }

 private:
  static constexpr std::size_t PLACES = std::size_t{1} << 18;

  struct latest_change {
    std::uint64_t place = 0;
    std::uint64_t before = 0;
    std::uint64_t after = 0;
    // 0 = none.
    std::uint32_t timestamp = 0;
  };

  std::vector<latest_change> latest_{PLACES};
  std::uint64_t forgotten_ = 0;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_CHANGED_BACK_H
