#include "util/chronex_trail/sql/columns.h"

#include <utility>

#include "util/chronex_trail/sql/identifiers.h"

namespace {

// Arrays of more elements are kept as a whole.
constexpr std::size_t MAX_ELEMENT_COLUMNS = 16;

constexpr const char* BEFORE_SUFFIX = "_before";

// Every number of so many digits is a 64-bit integer.
constexpr std::size_t MAX_INTEGER_DIGITS = 18;

// A byte of a text becomes at most so many of UTF-8.
constexpr std::size_t LONGEST_CHARACTER = 3;

// Place of the record number among the fixed columns, from 1.
constexpr std::size_t RECNO_COLUMN = 4;

const std::vector<table_column>& fixed_columns() {
  static const std::vector<table_column> columns = {
      {.name = "_n", .kind = column_kind::integer, .is_required = true},
      {.name = "_ts", .kind = column_kind::time, .is_required = true},
      {.name = "_op",
       .kind = column_kind::text,
       .size = 1,
       .is_required = true},
      {.name = "_recno", .kind = column_kind::integer, .is_required = true},
      {.name = "_session", .kind = column_kind::integer, .is_required = true}};
  return columns;
}

column_pair decimal_column(std::size_t digits) {
  return {.kind = digits <= MAX_INTEGER_DIGITS ? column_kind::integer
                                               : column_kind::decimal,
          .size = digits};
}

// The kind and size of the columns of an item's elements.
column_pair element_column(const item_view& item) {
  const std::size_t size = item.size;
  switch (item.form) {
    case value_form::integer:
      return {.kind = column_kind::integer};
    case value_form::natural:
      return {.kind = size < sizeof(std::int64_t) ? column_kind::integer
                                                  : column_kind::natural};
    case value_form::real:
      return {.kind = column_kind::real};
    case value_form::packed:
      return decimal_column(size * 2 - 1);
    case value_form::zoned:
      return decimal_column(size);
    case value_form::hex_bytes:
      if (item.type == 'B') return {.kind = column_kind::bytes, .size = size};
      return {.kind = column_kind::text, .size = size * 2};
    default:
      return {.kind = column_kind::text, .size = size * LONGEST_CHARACTER};
  }
}

bool has_element_columns(const item_view& item) {
  return item.count > 1 && item.count <= MAX_ELEMENT_COLUMNS;
}

// Gives out the columns, item by item.
class planner {
 public:
  explicit planner(const sql_engine& engine)
      : engine_(engine), names_(engine.limits().name_length) {
    for (const table_column& column : fixed_columns()) {
      names_.take(column.name);
      row_size_ += engine.column_size(column);
    }
    names_.take(more_columns().name);
    names_.take(more_columns().before_name);
    row_size_ += size_of(more_columns());
    for (const std::string& name : engine.limits().own_columns) {
      names_.take(name);
    }
  }

  // Returns false, and has done nothing, when there is no place left.
  bool add(const item_view& item, std::size_t index) {
    const bool is_split = has_element_columns(item);
    column_pair pair = element_column(item);
    if (item.count > 1 && !is_split) pair = {.kind = column_kind::json};
    pair.item = index;
    const std::size_t pairs = is_split ? item.count : 1;
    if (!reserve(pair, pairs)) return false;
    for (std::size_t k = 0; k < pairs; ++k) {
      pair.element = k;
      add_pair(pair,
               is_split ? item.name + '_' + std::to_string(k + 1) : item.name);
    }
    return true;
  }

  column_plan plan;

 private:
  std::size_t size_of(const column_pair& pair) const {
    return engine_.column_size(column_of(pair, false)) +
           engine_.column_size(column_of(pair, true));
  }

  bool reserve(const column_pair& pair, std::size_t pairs) {
    const engine_limits& limits = engine_.limits();
    const std::size_t size = pairs * size_of(pair);
    if (columns_ + 2 * pairs > limits.columns) return false;
    if (limits.row_size > 0 && row_size_ + size > limits.row_size) return false;
    columns_ += 2 * pairs;
    row_size_ += size;
    return true;
  }

  void add_pair(column_pair pair, const std::string& wanted) {
    pair.name = names_.make_free(wanted, BEFORE_SUFFIX);
    pair.before_name = pair.name + BEFORE_SUFFIX;
    plan.pairs.push_back(std::move(pair));
  }

  const sql_engine& engine_;
  identifier_set names_;
  std::size_t columns_ = FIXED_COLUMNS;
  std::size_t row_size_ = 0;
};

void add_columns(table_form& table, const column_pair& pair) {
  table.columns.push_back(column_of(pair, false));
  table.columns.push_back(column_of(pair, true));
}

}  // namespace

table_column column_of(const column_pair& pair, bool before) {
  return {.name = before ? pair.before_name : pair.name,
          .kind = pair.kind,
          .size = pair.size};
}

const column_pair& more_columns() {
  static const column_pair pair = {.kind = column_kind::json,
                                   .name = "_more",
                                   .before_name = "_more_before"};
  return pair;
}

column_plan plan_columns(const set_piece& set, const sql_engine& engine) {
  planner columns(engine);
  std::size_t index = 0;
  while (index < set.items.size() &&
         columns.add(set.items[index].item, index)) {
    ++index;
  }
  columns.plan.first_more = index;
  columns.plan.has_more = index < set.items.size();
  return std::move(columns.plan);
}

table_form form_of_table(const std::string& name, const column_plan& plan) {
  table_form table{
      .name = name, .columns = fixed_columns(), .record = RECNO_COLUMN};
  for (const column_pair& pair : plan.pairs) add_columns(table, pair);
  if (plan.has_more) add_columns(table, more_columns());
  return table;
}
