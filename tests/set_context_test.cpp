// The layout of stored records that follows from a schema.

#include "util/chronex/tables/set_context.h"

#include <gtest/gtest.h>

#include "tests/support/log_builder.h"
#include "tests/support/schema_of.h"
#include "util/chronex/tables/node.h"

TEST(SetContext, PlacesTheEncryptedPart) {
  constexpr std::uint32_t SEALED = LOG_ITEM_ENCRYPTED;
  struct {
    std::vector<log_item> items;
    int record_size;
    int encrypted_at;
    int stored_size;
  } const cases[] = {
      {{{"A", 'X', 1, 10, SEALED >> 1U}, {"B", 'I', 2, 4}}, 18, -1, 18},
      {{{"A", 'X', 1, 10}, {"B", 'I', 2, 4, SEALED}}, 18, 12, 36},
      {{{"B", 'X', 1, 17, SEALED | 1U}, {"A", 'X', 1, 12}}, 29, 12, 52},
      {{{"B", 'X', 1, 16, SEALED}}, 16, 0, 24},
  };
  for (const auto& test : cases) {
    const auto set = schema_of(test.items);
    EXPECT_EQ(test.record_size, set->rec_sz);
    EXPECT_EQ(test.encrypted_at, set->enc_offs);
    EXPECT_EQ(test.stored_size, set->media_sz);
  }
}

TEST(SetContext, IsSharedBetweenDataSetsWithEqualItems) {
  const std::vector<log_item> plain{{"A", 'X', 1, 10}, {"B", 'I', 2, 4}};
  const std::vector<log_item> other{{"A", 'X', 1, 10}, {"C", 'I', 2, 4}};
  run_messages messages;
  node_table nodes(messages);
  const auto add = [&](std::int32_t id, const std::vector<log_item>& items) {
    std::string problem;
    const std::string list = item_list_bytes(items);
    auto set = nodes.make_set(
        {reinterpret_cast<const std::uint8_t*>(list.data()), list.size()},
        problem);
    nodes.node_add_entry(id, NODE_DATA_SET, "ORDERS", 0, std::move(set));
    return *nodes.node_get_entry(id)->set;
  };
  const set_context first = add(1, plain);
  const set_context same = add(2, plain);
  const set_context different = add(3, other);
  EXPECT_EQ(same.layout_id, first.layout_id);
  EXPECT_EQ(same.rec_sz, 18);
  EXPECT_NE(same.schema_id, first.schema_id);
  EXPECT_NE(different.layout_id, first.layout_id);
  EXPECT_EQ(different.item_name(different.item_list()[1]), "C");
}
