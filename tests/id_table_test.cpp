// Tables of entries under ids, held against the library's map.

#include "common/id_table.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <vector>

namespace {

struct entry {
  std::int32_t id = 0;
  bool goes = false;
};

// Unless it is told, the table keeps none.
struct mark {
  std::int32_t number = -1;
  std::int32_t twice = -2;
};

using marked_table = id_table<entry, mark>;

// The ids of a table: what logs have, what hash tables dislike, and noise.
std::vector<std::int32_t> ids_of(int pattern, std::int32_t count) {
  std::mt19937 random(7);
  std::vector<std::int32_t> ids;
  for (std::int32_t i = 0; i < count; ++i) {
    const std::int32_t values[] = {i + 1,
                                   -i,
                                   i * 8,
                                   i << 16U,
                                   static_cast<std::int32_t>(random()),
                                   i % 50 == 0 ? i << 16U : i};
    ids.push_back(values[pattern]);
  }
  return ids;
}

using model = std::map<std::int32_t, entry*>;

// Every other entry is marked with its id.
void add_missing(marked_table& table, model& known,
                 const std::vector<std::int32_t>& ids) {
  for (const std::int32_t id : ids) {
    entry* const present = table.find(id);
    const auto expected = known.find(id);
    ASSERT_EQ(present, expected == known.end() ? nullptr : expected->second);
    if (present != nullptr) continue;
    entry* const added = table.add(id);
    ASSERT_NE(added, nullptr);
    ASSERT_FALSE(added->goes) << "what was in the place before";
    added->id = id;
    known[id] = added;
    ASSERT_EQ(table.locate(id).brief.number, -1);
    if (id % 2 == 0) table.set_brief(id, {id, id});
  }
}

void check_marks(const marked_table& table, const model& known) {
  for (const auto& [id, expected] : known) {
    const auto place = table.locate(id);
    ASSERT_EQ(table.entry_at(place), expected);
    ASSERT_EQ(place.brief.number, id % 2 == 0 ? id : -1);
  }
}

void remove_some(marked_table& table, model& known, unsigned seed) {
  std::mt19937 random(seed);
  for (auto at = known.begin(); at != known.end();) {
    at->second->goes = random() % 3 != 0;
    at = at->second->goes ? known.erase(at) : std::next(at);
  }
  table.remove_if([](const entry& candidate) { return candidate.goes; });
}

model all_of(const marked_table& table) {
  model found;
  table.for_each([&](entry& each) { found[each.id] = &each; });
  return found;
}

}  // namespace

TEST(IdTable, KeepsEntriesWhereTheyAre) {
  for (int pattern = 0; pattern < 6; ++pattern) {
    const auto ids = ids_of(pattern, 5000);
    marked_table table;
    model known;
    for (unsigned round = 0; round < 4; ++round) {
      add_missing(table, known, ids);
      ASSERT_EQ(all_of(table), known) << pattern;
      check_marks(table, known);
      remove_some(table, known, round);
      ASSERT_EQ(all_of(table), known) << pattern;
    }
  }
}

#if defined(__SANITIZE_ADDRESS__)
TEST(IdTableDeathTest, SanitizerSeesUseOfRemovedEntry) {
  id_table<entry> table;
  entry* const kept = table.add(1);
  entry* const removed = table.add(2);
  table.remove_if([&](const entry& each) { return &each == removed; });
  kept->id = 1;
  EXPECT_DEATH(removed->id = 2, "use-after-poison");
}
#endif
