#include "util/chronex/keys/sealed_origin.h"

#include <span>

#include "util/chronex/keys/key_context.h"

std::shared_ptr<const sealed_origin> sealed_origins::of(
    const node_entry& data_set, const db_key_context* keys) {
  const std::shared_ptr<const key_bytes> payload =
      keys != nullptr ? keys->payload : nullptr;
  std::shared_ptr<const sealed_origin>& known = known_[data_set.node_id];
  if (!known || known->schema_id != data_set.set->schema_id ||
      known->key_payload != payload) {
    const std::span<const std::uint8_t> list = data_set.set->list_bytes();
    known = std::make_shared<sealed_origin>(
        sealed_origin{.schema_id = data_set.set->schema_id,
                      .item_list = {list.begin(), list.end()},
                      .key_payload = payload});
  }
  return known;
}
