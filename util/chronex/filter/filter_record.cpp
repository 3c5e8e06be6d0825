#include "util/chronex/filter/filter_record.h"

#include <cstring>
#include <string>

#include "common/typeutils.h"
#include "util/chronex/filter/item_lookup.h"
#include "util/chronex/filter/match.h"
#include "util/chronex/tables/node.h"

namespace {

using bytes = std::span<const std::uint8_t>;

// Relations on wider numeric items never hold.
constexpr std::size_t MAX_NUMERIC_SIZE = 8192;

// 0: the data set has no schema.
std::uint64_t layout_of(const filter_context& context) {
  if (context.layout_id != 0) return context.layout_id;
  return context.node->set ? context.node->set->layout_id : 0;
}

void learn_place(const set_context& set, std::string_view name,
                 item_place& place) {
  place.layout_id = set.layout_id;
  place.type = nullptr;
  place.has_value = false;
  const auto [item, element] = find_item(set, without_image_sign(name));
  if (item == nullptr) return;
  const item_type* type = item_type_of(static_cast<char>(item->type));
  if (type == nullptr || (type->numeric && item->size > MAX_NUMERIC_SIZE)) {
    return;
  }
  place.type = type;
  place.offset =
      static_cast<std::uint16_t>(item->offset + element * item->size);
  place.size = item->size;
}

item_place& place_of(const filter_context& context, std::uint64_t layout_id,
                     std::string_view name,
                     learned_slots<item_place>& learned) {
  item_place& known = learned.slot(layout_id);
  if (known.layout_id == layout_id) return known;
  item_place& place =
      known.layout_id != 0 ? learned.displace(layout_id) : known;
  learn_place(*context.node->set, name, place);
  return place;
}

// The literal in the stored form of a numeric item: kept in the place where it
// fits there, and in `work` otherwise. A literal that is no number, or that the
// item cannot hold as it is written, satisfies no relation: the place then
// loses its type.
bytes stored_literal(const std::string& literal, item_place& place,
                     std::span<std::uint8_t> work) {
  const bool fits = place.size <= place.value.size();
  const std::span<std::uint8_t> stored =
      (fits ? std::span(place.value) : work).first(place.size);
  if (place.has_value) return stored;
  if (place.type->scan(stored, nullptr, literal) != 0) place.type = nullptr;
  place.has_value = fits;
  return stored;
}

// One relation on one item, with the literal in the item's stored form; of a
// character item that is the text itself.
struct item_relation {
  expr_token code;
  const item_place& place;
  const std::string& text;
  bytes number;
};

bool test_number(const item_relation& relation, bytes item) {
  return expr_compare(relation.code,
                      relation.place.type->cmp(item, relation.number));
}

bool test_characters(const item_relation& relation, bytes item) {
  item = without_fill(item, relation.place.type->fill);
  const auto* const text = reinterpret_cast<const char*>(item.data());
  const bool wants_match = relation.code == EXPR_TOKEN_EQUAL;
  if (wants_match || relation.code == EXPR_TOKEN_NOT_EQUAL) {
    return match({text, item.size()}, relation.text, true) == wants_match;
  }
  // Only as much of the literal takes part as the item has characters.
  return expr_compare(relation.code,
                      std::strncmp(text, relation.text.c_str(), item.size()));
}

bool test_image(const item_relation& relation, record_image image) {
  const item_place& place = relation.place;
  if (image.size() < std::size_t{place.offset} + place.size) return false;
  const bytes item = image.subspan(place.offset, place.size);
  return place.type->numeric ? test_number(relation, item)
                             : test_characters(relation, item);
}

// The sign of the name chooses only where there is a choice.
bool test_images(const item_relation& relation, const filter_context& context,
                 std::string_view name) {
  const record_image before = context.before_image;
  const record_image after = context.after_image;
  if (!is_there(before)) return is_there(after) && test_image(relation, after);
  if (!is_there(after) || name.starts_with('-')) {
    return test_image(relation, before);
  }
  if (!name.starts_with('+') && test_image(relation, before)) return true;
  return test_image(relation, after);
}

bool test_numeric_item(const filter_context& context, expr_token code,
                       const expr_entry& name, const expr_entry& value,
                       item_place& place) {
  std::array<std::uint8_t, MAX_NUMERIC_SIZE> work;
  const bytes number = stored_literal(value.text, place, work);
  return place.type != nullptr &&
         test_images({code, place, value.text, number}, context, name.text);
}

}  // namespace

std::optional<bool> match_set_pattern(std::string_view name,
                                      std::string_view pattern) {
  const std::size_t name_dot = name.rfind('.');
  const std::size_t pattern_dot = pattern.rfind('.');
  if (name_dot == name.npos || pattern_dot == pattern.npos) return std::nullopt;
  return match(name.substr(0, name_dot), pattern.substr(0, pattern_dot),
               false) &&
         match(name.substr(name_dot + 1), pattern.substr(pattern_dot + 1),
               false);
}

std::optional<bool> expr_filter_set_pattern(const filter_context& context,
                                            const expr_entry& pattern,
                                            learned_slots<set_match>& learned) {
  if (context.node == nullptr) return true;
  const auto id = static_cast<std::uint32_t>(context.node->node_id);
  const set_match& known = learned.slot(id);
  const std::uint64_t version = context.node->table->names_version();
  if (known.node == context.node && known.names_version == version) {
    return known.result;
  }
  const bool displaces = known.node != nullptr && known.node != context.node;
  set_match& fresh = displaces ? learned.displace(id) : learned.slot(id);
  fresh = {context.node, version,
           match_set_pattern(node_name2(*context.node, false), pattern.text)};
  return fresh.result;
}

bool expr_filter_image_op(const filter_context& context, expr_token code) {
  if (context.node == nullptr) return true;
  switch (code) {
    case EXPR_TOKEN_DBPUT:
      return context.operation == '2';
    case EXPR_TOKEN_DBUPDATE:
      return context.operation == '1';
    case EXPR_TOKEN_DBDELETE:
      return context.operation == '3';
    default:
      return false;
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

bool expr_filter_item_value(const filter_context& context, expr_token code,
                            const expr_entry& name, const expr_entry& value,
                            learned_slots<item_place>& learned) {
  if (context.node == nullptr) return true;
  const std::uint64_t layout_id = layout_of(context);
  if (layout_id == 0) return false;
  item_place& place = place_of(context, layout_id, name.text, learned);
  if (place.type == nullptr) return false;
  if (place.type->numeric) {
    return test_numeric_item(context, code, name, value, place);
  }
  return test_images({code, place, value.text, {}}, context, name.text);
}
