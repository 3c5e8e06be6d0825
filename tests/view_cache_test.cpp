// Which record views are kept, and how much memory they take.

#include "util/chronex/report/view_cache.h"

#include <gtest/gtest.h>

#include "tests/support/schema_of.h"

namespace {

const std::vector<log_item> WIDEST = {{"A", 'B', 32767, 1}};
const std::vector<log_item> COMMON = {{"A", 'B', 2047, 1}};

class view_cache_test : public testing::Test {
 protected:
  const record_view* view_of(const set_context& set) {
    return &cache_.view_of(set, {names_});
  }

  run_messages messages_;
  item_name_list names_{messages_};
  view_cache cache_;
};

}  // namespace

TEST_F(view_cache_test, SetsThatTakeTurnsAreKept) {
  std::vector<std::unique_ptr<set_context>> sets;
  std::vector<const record_view*> views;
  for (int i = 0; i < 8; ++i)
    sets.push_back(schema_of(i == 0 ? COMMON : WIDEST));
  for (const auto& set : sets) views.push_back(view_of(*set));
  for (std::size_t i = 0; i < sets.size(); ++i) {
    EXPECT_EQ(views[i], view_of(*sets[i]));
    EXPECT_TRUE(views[i]->is_of(*sets[i]));
  }
}

TEST_F(view_cache_test, ThoseNotUsedForLongestMakeRoom) {
  const auto used = schema_of(COMMON);
  const record_view* const kept = view_of(*used);
  for (int i = 0; i < 64; ++i) {
    const auto other = schema_of(WIDEST);
    EXPECT_EQ(32767U, view_of(*other)->elements().size());
    EXPECT_EQ(kept, view_of(*used));
    EXPECT_LE(cache_.bytes(), view_cache::BUDGET);
  }
  EXPECT_GT(cache_.bytes(), view_cache::BUDGET / 2);
}
