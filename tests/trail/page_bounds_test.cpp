// What a page gathers stays within its limits, whatever the trail.

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "util/chronex/tables/image_record.h"
#include "util/chronex_trail/page/changed_back.h"
#include "util/chronex_trail/page/count_cube.h"
#include "util/chronex_trail/page/name_list.h"
#include "util/chronex_trail/page/row_list.h"

namespace {

constexpr std::int64_t HOUR = 3600;
constexpr std::int64_t JANUARY_2026 = 1767225600;

std::uint64_t all_counts(const count_cube& cube) {
  std::uint64_t sum = 0;
  for (const cube_cell& cell : cube.cells()) sum += cell.count;
  return sum;
}

TEST(PageBounds, CountsInLongerStepsWhereHoursWouldBeTooMany) {
  setenv("TZ", "UTC", 1);
  tzset();
  const struct {
    std::size_t most;
    time_step step;
    std::size_t cells;
  } cases[] = {
      {2400, time_step::hour, 2400},
      {2399, time_step::day, 100},
      {99, time_step::month, 4},
      {3, time_step::all, 1},
  };
  for (const auto& test : cases) {
    count_cube cube;
    const std::uint32_t mix = cube.number({.op = OP_PUT});
    for (std::int64_t hour = 0; hour < 2400; ++hour) {
      // Backwards and twice: a trail need not be in the order of time.
      const std::int64_t begin = JANUARY_2026 + (2399 - hour) * HOUR;
      cube.add({begin, static_cast<std::uint8_t>(hour % 168)}, mix);
    }
    cube.finish(test.most);
    EXPECT_EQ(cube.step(), test.step);
    EXPECT_EQ(cube.cells().size(), test.cells);
    EXPECT_EQ(all_counts(cube), 2400U);
    EXPECT_LE(cube.cells().front().begin, cube.cells().back().begin);
    EXPECT_EQ(cube.hours()[mix][0], 15U);
  }
}

TEST(PageBounds, CountsThoseWithoutRoomAsOthers) {
  name_list names;
  for (std::size_t i = 0; i < name_list::MAX_NAMES; ++i) {
    EXPECT_EQ(names.number("user " + std::to_string(i)), i);
  }
  EXPECT_EQ(names.number("one more"), name_list::OTHERS);
  EXPECT_EQ(names.number(std::nullopt), name_list::OTHERS);
  EXPECT_EQ(names.number("user 7"), 7);

  count_cube cube;
  for (std::size_t i = 0; i < count_cube::MAX_MIXES + 100; ++i) {
    const auto user = static_cast<std::uint16_t>(i);
    cube.add({JANUARY_2026, 0}, cube.number({.op = OP_DELETE, .user = user}));
  }
  cube.finish(count_cube::MAX_CELLS);
  ASSERT_EQ(cube.mixes().size(), count_cube::MAX_MIXES + 1);
  EXPECT_EQ(cube.mixes().back().user, name_list::OTHERS);
  EXPECT_EQ(cube.mixes().back().op, OP_DELETE);
  EXPECT_EQ(cube.cells().back().count, 100U);
  EXPECT_EQ(all_counts(cube), count_cube::MAX_MIXES + 100);
}

TEST(PageBounds, ListsLessWhereValuesAreLarge) {
  constexpr std::size_t MEBIBYTE = std::size_t{1} << 20;
  for (const kept_changes kept : {kept_changes::evenly, kept_changes::latest}) {
    row_list list(1000, kept);
    std::size_t bytes = 0;
    for (std::uint32_t i = 0; i < 200; ++i) {
      if (!list.wants_next()) continue;
      list.add({.recno = i, .values = std::string(MEBIBYTE, 'x')});
      bytes = list.rows().size() * MEBIBYTE;
      EXPECT_LE(bytes, row_list::MAX_BYTES);
    }
    list.finish();
    EXPECT_EQ(list.rows().size() + list.left_out(), 200U);
    EXPECT_GE(list.rows().size(), 32U);
    const bool ends_with_last = list.rows().back().recno == 199;
    EXPECT_EQ(ends_with_last, kept == kept_changes::latest);
  }
}

TEST(PageBounds, KeepsChangesOfTheSameDistance) {
  row_list list(100, kept_changes::evenly);
  for (std::uint32_t i = 0; i < 100'000; ++i) {
    if (list.wants_next()) list.add({.recno = i});
  }
  list.finish();
  ASSERT_EQ(list.rows().size(), 100U);
  EXPECT_EQ(list.left_out(), 99'900U);
  for (std::size_t i = 1; i < 100; ++i) {
    const std::uint32_t distance =
        list.rows()[i].recno - list.rows()[i - 1].recno;
    EXPECT_GE(distance, 512U);
    EXPECT_LE(distance, 1024U);
  }
  EXPECT_EQ(list.rows().front().recno, 0U);
}

TEST(PageBounds, RemembersTheLatestChangeOfAnItem) {
  changed_back_finder finder;
  const std::uint8_t a[] = {1, 2}, b[] = {1, 3}, c[] = {9, 9};
  const record_item item{.data_set = 1, .item = 2, .recno = 3};
  const record_item other{.data_set = 1, .item = 3, .recno = 3};
  EXPECT_EQ(finder.update(item, a, b, 100), 0U);
  EXPECT_EQ(finder.update(other, b, a, 101), 0U);
  EXPECT_EQ(finder.update(item, b, a, 102), 100U);
  EXPECT_EQ(finder.update(item, a, b, 103), 102U);
  // By a detour it is another change.
  EXPECT_EQ(finder.update(item, b, c, 104), 0U);
  EXPECT_EQ(finder.update(item, c, a, 105), 0U);
  EXPECT_EQ(finder.forgotten(), 0U);
  for (std::uint32_t recno = 0; recno < 400'000; ++recno) {
    finder.update({.recno = recno}, a, b, 200);
  }
  EXPECT_GT(finder.forgotten(), 100'000U);
}

}  // namespace
