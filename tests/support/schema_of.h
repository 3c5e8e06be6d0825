#ifndef CHRONEX_TESTS_SUPPORT_SCHEMA_OF_H
#define CHRONEX_TESTS_SUPPORT_SCHEMA_OF_H

#include <memory>
#include <string>
#include <vector>

#include "tests/support/log_builder.h"
#include "util/chronex/tables/set_context.h"

// The schema of a data set with these items, which must make one. Every schema
// has ids of its own.
inline std::unique_ptr<set_context> schema_of(
    const std::vector<log_item>& items) {
  static std::uint64_t last_id = 0;
  const std::string list = item_list_bytes(items);
  std::string problem;
  run_messages messages;
  auto set = node_create_set_context(
      {reinterpret_cast<const std::uint8_t*>(list.data()), list.size()},
      problem, messages);
  set->schema_id = ++last_id;
  set->layout_id = last_id;
  return set;
}

#endif  // CHRONEX_TESTS_SUPPORT_SCHEMA_OF_H
