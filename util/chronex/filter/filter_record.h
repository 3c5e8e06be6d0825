#ifndef CHRONEX_UTIL_CHRONEX_FILTER_FILTER_RECORD_H
#define CHRONEX_UTIL_CHRONEX_FILTER_FILTER_RECORD_H

// The tests of filter expressions on record operations.
//
// For a memo event, which has no node, every test holds and the record number
// compares as equal. For an operation, what is missing (schema, item,
// subscript, image) makes a relation false, whatever its operator.

#include <cstdint>

#include "util/chronex/filter/expr.h"
#include "util/chronex/filter/filter_context.h"

// Whether the event's data set is one that the pattern names: 1 or 0, or -1
// when the data set's name or the pattern has no '.'. Database and set part are
// matched each on its own, without regard to case.
int expr_filter_set_pattern(const filter_context& context, expr_entry& pattern);

// Whether the event is the operation of EXPR_TOKEN_DBPUT, EXPR_TOKEN_DBUPDATE
// or EXPR_TOKEN_DBDELETE: 1 or 0.
int expr_filter_image_op(const filter_context& context, expr_token code);

// The event's record number less `number`.
std::int64_t expr_filter_recno(const filter_context& context,
                               std::int64_t number);

// The event's time less `time`, in seconds.
std::int64_t expr_filter_timestamp(const filter_context& context,
                                   std::int64_t time);

// Whether the relation `name code value` holds for the named item: 1 or 0, or
// -1 when `code` is no relational operator. `name` is the item's name, for an
// item with several elements followed by [k]; a leading '-' asks for the before
// image, a leading '+' for the after image, and with neither one of the two
// must satisfy the relation. `value` is a number or string, compiled as the
// value of this name.
int expr_filter_item_value(const filter_context& context, expr_token code,
                           const expr_entry& name, expr_entry& value);

#endif  // CHRONEX_UTIL_CHRONEX_FILTER_FILTER_RECORD_H
