#include "util/chronex_trail/sql/columns.h"

#include <iterator>

#include "util/chronex_trail/sql/identifiers.h"

namespace {

// Arrays of more elements are kept as a whole.
constexpr std::size_t MAX_ELEMENT_COLUMNS = 16;

constexpr const char* BEFORE_SUFFIX = "_before";

// Every number of so many digits is a 64-bit integer.
constexpr std::size_t MAX_INTEGER_DIGITS = 18;

column_kind decimal_kind(std::size_t digits) {
  return digits <= MAX_INTEGER_DIGITS ? column_kind::integer
                                      : column_kind::text;
}

column_kind kind_of(const item_view& item) {
  switch (item.form) {
    case value_form::integer:
      return column_kind::integer;
    case value_form::natural:
      return item.size < sizeof(std::int64_t) ? column_kind::integer
                                              : column_kind::text;
    case value_form::real:
      return column_kind::real;
    case value_form::packed:
      return decimal_kind(item.size * std::size_t{2} - 1);
    case value_form::zoned:
      return decimal_kind(item.size);
    case value_form::hex_bytes:
      return item.type == 'B' ? column_kind::bytes : column_kind::text;
    default:
      return column_kind::text;
  }
}

bool has_element_columns(const item_view& item) {
  return item.count > 1 && item.count <= MAX_ELEMENT_COLUMNS;
}

// Gives out the columns, item by item.
class planner {
 public:
  planner() {
    for (const char* name : FIXED_COLUMNS) names_.take(name);
    names_.take(MORE_COLUMN);
    names_.take(MORE_BEFORE_COLUMN);
  }

  // Returns false, and has done nothing, when there is no place left.
  bool add(const item_view& item, std::size_t index) {
    const std::size_t pairs = has_element_columns(item) ? item.count : 1;
    if (columns_ + 2 * pairs > MAX_ITEM_COLUMNS) return false;
    columns_ += 2 * pairs;
    if (pairs == 1) {
      add_pair(item.count == 1 ? kind_of(item) : column_kind::array, index, 0,
               item.name);
    }
    for (std::size_t k = 0; pairs > 1 && k < pairs; ++k) {
      add_pair(kind_of(item), index, k,
               item.name + '_' + std::to_string(k + 1));
    }
    return true;
  }

  column_plan plan;

 private:
  void add_pair(column_kind kind, std::size_t item, std::size_t element,
                const std::string& wanted) {
    const std::string name = names_.make_free(wanted, BEFORE_SUFFIX);
    plan.pairs.push_back({item, element, kind, name, name + BEFORE_SUFFIX});
  }

  identifier_set names_;
  std::size_t columns_ = std::size(FIXED_COLUMNS);
};

}  // namespace

const char* column_type_name(column_kind kind) {
  switch (kind) {
    case column_kind::integer:
      return "INTEGER";
    case column_kind::real:
      return "REAL";
    case column_kind::bytes:
      return "BLOB";
    default:
      return "TEXT";
  }
}

column_plan plan_columns(const set_piece& set) {
  planner columns;
  std::size_t index = 0;
  while (index < set.items.size() &&
         columns.add(set.items[index].item, index)) {
    ++index;
  }
  columns.plan.first_more = index;
  columns.plan.has_more = index < set.items.size();
  return std::move(columns.plan);
}
