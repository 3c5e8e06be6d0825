#include "util/chronex/filter/filter_record.h"

#include <array>
#include <cassert>
#include <charconv>
#include <cstddef>
#include <cstring>
#include <optional>
#include <span>
#include <string_view>

#include "common/same_text.h"
#include "common/typeutils.h"
#include "util/chronex/filter/match.h"
#include "util/chronex/tables/node.h"

namespace {

// Relations on wider numeric items never hold.
constexpr std::size_t MAX_NUMERIC_SIZE = 8192;

int match_set_pattern(std::string_view name, std::string_view pattern) {
  const std::size_t name_dot = name.rfind('.');
  const std::size_t pattern_dot = pattern.rfind('.');
  if (name_dot == name.npos || pattern_dot == pattern.npos) return -1;
  const bool matches =
      match(name.substr(0, name_dot), pattern.substr(0, pattern_dot), false) &&
      match(name.substr(name_dot + 1), pattern.substr(pattern_dot + 1), false);
  return matches ? 1 : 0;
}

bool is_signed(std::string_view name) {
  return name.starts_with('-') || name.starts_with('+');
}

// Returns k when `name` is the item's name followed by [k], k being a plain
// decimal number from 1 to `count`. The item's name ends at a zero byte.
std::optional<std::size_t> subscript_of(std::string_view name,
                                        std::string_view item_name,
                                        std::size_t count) {
  item_name = item_name.substr(0, item_name.find('\0'));
  if (name.size() < item_name.size() + 3 ||
      !same_text(name.substr(0, item_name.size()), item_name)) {
    return std::nullopt;
  }
  const std::string_view rest = name.substr(item_name.size());
  if (rest.front() != '[' || rest.back() != ']' || rest[1] == '0') {
    return std::nullopt;
  }
  std::size_t subscript = 0;
  const char* const digits_end = rest.data() + rest.size() - 1;
  const auto [end, error] =
      std::from_chars(rest.data() + 1, digits_end, subscript);
  if (error != std::errc() || end != digits_end || subscript > count) {
    return std::nullopt;
  }
  return subscript;
}

// Finds the item that `name` (without sign) stands for and notes its type and
// place; without one the type stays null.
void find_item(const set_context& set, std::string_view name,
               item_place& place) {
  for (const item_descriptor& item : set.item_list()) {
    std::size_t element = 0;
    if (item.count == 1) {
      if (!same_text(name, set.item_name(item))) continue;
    } else {
      const std::optional<std::size_t> subscript =
          subscript_of(name, set.item_name(item), item.count);
      if (!subscript) continue;
      element = *subscript - 1;
    }
    place.type = item_type_of(static_cast<char>(item.type));
    place.offset =
        static_cast<std::uint16_t>(item.offset + element * item.size);
    place.size = item.size;
    return;
  }
}

// A literal that is no number, or that the item cannot hold as it is written,
// satisfies no relation.
bool scan_literal(const item_type& type, std::string_view literal,
                  std::span<std::uint8_t> buffer) {
  return type.scan(buffer, nullptr, literal) == 0;
}

bool fits_place(const item_place& place) {
  return place.size <= place.value.size();
}

void learn_place(const set_context& set, std::string_view name,
                 std::string_view literal, item_place& place) {
  place.schema_id = set.schema_id;
  place.type = nullptr;
  if (is_signed(name)) name.remove_prefix(1);
  find_item(set, name, place);
  if (place.type == nullptr || !place.type->numeric) return;
  if (place.size > MAX_NUMERIC_SIZE ||
      (fits_place(place) &&
       !scan_literal(*place.type, literal,
                     std::span(place.value).first(place.size)))) {
    place.type = nullptr;
  }
}

// One relation on one item, with the literal in the item's stored form; of a
// character item that is the text itself.
struct item_relation {
  expr_token code;
  const item_place& place;
  const std::string& text;
  std::span<const std::uint8_t> number;
};

int test_number(const item_relation& relation,
                std::span<const std::uint8_t> item) {
  return expr_compare(relation.code,
                      relation.place.type->cmp(item, relation.number));
}

int test_characters(const item_relation& relation,
                    std::span<const std::uint8_t> item) {
  item = without_fill(item, relation.place.type->fill);
  const auto* const text = reinterpret_cast<const char*>(item.data());
  const bool wants_match = relation.code == EXPR_TOKEN_EQUAL;
  if (wants_match || relation.code == EXPR_TOKEN_NOT_EQUAL) {
    return match({text, item.size()}, relation.text, true) == wants_match ? 1
                                                                          : 0;
  }
  // Only as much of the literal takes part as the item has characters.
  return expr_compare(relation.code,
                      std::strncmp(text, relation.text.c_str(), item.size()));
}

int test_image(const item_relation& relation,
               std::span<const std::uint8_t> image) {
  const item_place& place = relation.place;
  if (image.size() < std::size_t{place.offset} + place.size) return 0;
  const auto item = image.subspan(place.offset, place.size);
  return place.type->numeric ? test_number(relation, item)
                             : test_characters(relation, item);
}

// The sign of the name chooses only where there is a choice.
int test_images(const item_relation& relation, const filter_context& context,
                std::string_view name) {
  const bool has_before = context.before_image.data() != nullptr;
  const bool has_after = context.after_image.data() != nullptr;
  if (!has_before && !has_after) return 0;
  if (!has_before) return test_image(relation, context.after_image);
  if (!has_after) return test_image(relation, context.before_image);
  if (!name.starts_with('+')) {
    const int held = test_image(relation, context.before_image);
    if (held != 0 || name.starts_with('-')) return held;
  }
  return test_image(relation, context.after_image);
}

int test_wide_number(item_relation relation, const filter_context& context,
                     std::string_view name) {
  std::array<std::uint8_t, MAX_NUMERIC_SIZE> buffer;
  const std::span<std::uint8_t> number =
      std::span(buffer).first(relation.place.size);
  if (!scan_literal(*relation.place.type, relation.text, number)) return 0;
  relation.number = number;
  return test_images(relation, context, name);
}

}  // namespace

int expr_filter_set_pattern(const filter_context& context,
                            expr_entry& pattern) {
  if (context.node == nullptr) return 1;
  assert(pattern.set_matches.size() == EXPR_CACHE_SLOTS);
  const auto id = static_cast<std::uint32_t>(context.node->node_id);
  set_match& learned = pattern.set_matches[id % EXPR_CACHE_SLOTS];
  const std::uint64_t version = context.node->table->names_version();
  if (learned.node != context.node || learned.names_version != version) {
    learned.node = context.node;
    learned.names_version = version;
    learned.result =
        match_set_pattern(node_name2(*context.node, false), pattern.text);
  }
  return learned.result;
}

int expr_filter_image_op(const filter_context& context, expr_token code) {
  if (context.node == nullptr) return 1;
  switch (code) {
    case EXPR_TOKEN_DBPUT:
      return context.operation == '2' ? 1 : 0;
    case EXPR_TOKEN_DBUPDATE:
      return context.operation == '1' ? 1 : 0;
    case EXPR_TOKEN_DBDELETE:
      return context.operation == '3' ? 1 : 0;
    default:
      return 0;
  }
}

std::int64_t expr_filter_recno(const filter_context& context,
                               std::int64_t number) {
  if (context.node == nullptr) return 0;
  return std::int64_t{context.record_number} - number;
}

std::int64_t expr_filter_timestamp(const filter_context& context,
                                   std::int64_t time) {
  return std::int64_t{context.timestamp} - time;
}

int expr_filter_item_value(const filter_context& context, expr_token code,
                           const expr_entry& name, expr_entry& value) {
  if (context.node == nullptr) return 1;
  const set_context* const set = context.node->set.get();
  if (set == nullptr) return 0;
  assert(value.places.size() == EXPR_CACHE_SLOTS);
  item_place& place = value.places[set->schema_id % EXPR_CACHE_SLOTS];
  if (place.schema_id != set->schema_id) {
    learn_place(*set, name.text, value.text, place);
  }
  if (place.type == nullptr) return 0;

  std::span<const std::uint8_t> number;
  if (place.type->numeric) {
    if (!fits_place(place)) {
      return test_wide_number({code, place, value.text, {}}, context,
                              name.text);
    }
    number = std::span(place.value).first(place.size);
  }
  return test_images({code, place, value.text, number}, context, name.text);
}
