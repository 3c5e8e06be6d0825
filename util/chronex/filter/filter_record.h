#ifndef CHRONEX_UTIL_CHRONEX_FILTER_FILTER_RECORD_H
#define CHRONEX_UTIL_CHRONEX_FILTER_FILTER_RECORD_H

// The tests of filter expressions on record operations.
//
// For a memo event, which has no node, every test holds and the record number
// compares as equal. For an operation, what is missing (schema, item,
// subscript, image) makes a relation false, whatever its operator.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "util/chronex/filter/expr.h"
#include "util/chronex/filter/filter_context.h"
#include "util/chronex/filter/learned_slots.h"

struct item_type;

// The result of a data set pattern for one data set, good as long as
// node_table::names_version() stays the same.
struct set_match {
  const node_entry* node = nullptr;  // null: nothing learned yet
  std::uint64_t names_version = 0;
  std::optional<bool> result;
};

// An item relation seen from one schema.
struct item_place {
  std::uint64_t layout_id = 0;  // 0: nothing learned yet
  // Null: the relation does not hold for any record of this data set.
  const item_type* type = nullptr;
  std::uint16_t offset = 0;  // of the item or its element in the record
  std::uint16_t size = 0;
  // Whether the first `size` bytes of `value` are the literal in the stored
  // form of the item. Wider items have it scanned for every event.
  bool has_value = false;
  std::array<std::uint8_t, 40> value = {};
};

// Whether the event's data set is one that the pattern names; no value when the
// data set's name or the pattern has no '.'. Database and set part are matched
// each on its own, without regard to case. `learned` is this
// pattern's.
std::optional<bool> expr_filter_set_pattern(const filter_context& context,
                                            const expr_entry& pattern,
                                            learned_slots<set_match>& learned);

// The same for one name, given without id.
std::optional<bool> match_set_pattern(std::string_view name,
                                      std::string_view pattern);

// Whether the event is the operation of EXPR_TOKEN_DBPUT, EXPR_TOKEN_DBUPDATE
// or EXPR_TOKEN_DBDELETE.
bool expr_filter_image_op(const filter_context& context, expr_token code);

// The event's record number less `number`.
std::int64_t expr_filter_recno(const filter_context& context,
                               std::int64_t number);

// The event's time less `time`, in seconds.
std::int64_t expr_filter_timestamp(const filter_context& context,
                                   std::int64_t time);

// Whether the relation `name code value` holds for the named item
// (item_lookup.h). A leading '-' of the name asks for the before-image, a
// leading '+' for the after-image, and with neither one of the two must satisfy
// the relation. `value` is a number or string. `learned` is that
// of this pair of name and value.
bool expr_filter_item_value(const filter_context& context, expr_token code,
                            const expr_entry& name, const expr_entry& value,
                            learned_slots<item_place>& learned);

#endif  // CHRONEX_UTIL_CHRONEX_FILTER_FILTER_RECORD_H
