// The layout of stored records that follows from a schema.

#include "util/chronex/tables/set_context.h"

#include <gtest/gtest.h>

#include "tests/support/log_builder.h"
#include "tests/support/schema_of.h"

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
