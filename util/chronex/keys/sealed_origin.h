#ifndef CHRONEX_UTIL_CHRONEX_KEYS_SEALED_ORIGIN_H
#define CHRONEX_UTIL_CHRONEX_KEYS_SEALED_ORIGIN_H

// What the before-images of encrypted data sets are deciphered with.
//
// A run that is to be written down keeps such an image as it was stored, too.
// Until its operation comes, schema and keys may have been replaced: so the
// image keeps those of its own.

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include "common/key_memory.h"
#include "util/chronex/tables/node.h"

struct sealed_origin {
  // set_context::schema_id; 0 = of another run.
  std::uint64_t schema_id = 0;
  // As node_create_set_context takes it.
  std::vector<std::uint8_t> item_list;
  // As node_create_db_key_context takes it; null: there are no keys.
  std::shared_ptr<const key_bytes> key_payload;
};

class sealed_origins {
 public:
  // That of images stored now: of a data set with schema, whose database has
  // these keys, which may be null. Throws std::bad_alloc.
  std::shared_ptr<const sealed_origin> of(const node_entry& data_set,
                                          const db_key_context* keys);

 private:
  // The latest of each data set, under its node id.
  std::unordered_map<std::int32_t, std::shared_ptr<const sealed_origin>> known_;
};

#endif  // CHRONEX_UTIL_CHRONEX_KEYS_SEALED_ORIGIN_H
