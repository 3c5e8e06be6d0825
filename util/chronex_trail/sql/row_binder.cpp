#include "util/chronex_trail/sql/row_binder.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <optional>

#include "util/chronex_trail/json/item_note.h"
#include "util/chronex_trail/json/value_text.h"
#include "util/chronex_trail/values/decimal_digits.h"

namespace {

constexpr int FIRST_ITEM_COLUMN = FIXED_COLUMNS + 1;

// Takes every number there is.
constexpr std::size_t NUMBER_ROOM = 32;

// The number that the shortest text of a float stands for.
double shown_number(float value) {
  std::array<char, NUMBER_ROOM> text;
  const char* const end =
      std::to_chars(text.data(), text.data() + text.size(), value).ptr;
  double shown = 0;
  std::from_chars(text.data(), end, shown);
  return shown;
}

// Every text of six digits has a float of its own, so that the one of a number
// with few decimals is the shortest.
double shown_number_of(float value) {
  constexpr double SCALE = 100;
  constexpr double LARGEST = 999999;
  const double scaled = std::rint(double{value} * SCALE);
  if (std::fabs(scaled) <= LARGEST &&
      static_cast<float>(scaled / SCALE) == value) {
    return scaled / SCALE;
  }
  return shown_number(value);
}

// A number without a problem; none when it has one.
std::optional<double> plain_real(record_image bytes) {
  if (bytes.size() == sizeof(double)) {
    const auto value = stored_number<double>(bytes);
    if (!std::isfinite(value)) return std::nullopt;
    return value;
  }
  const auto value = stored_number<float>(bytes);
  if (!std::isfinite(value)) return std::nullopt;
  return shown_number_of(value);
}

std::optional<std::int64_t> plain_number(value_form form, record_image bytes) {
  switch (form) {
    case value_form::integer:
      return stored_integer(bytes);
    case value_form::natural:
      return static_cast<std::int64_t>(stored_natural(bytes));
    case value_form::packed:
      return packed_number(bytes);
    default:
      return zoned_number(bytes);
  }
}

bool is_sealed(const item_view& item, const shown_image& image) {
  return item.encrypted && image.sealed;
}

bool differs(const item_view& item, record_image before, record_image after) {
  const record_image old_bytes = item.of(before);
  return std::memcmp(old_bytes.data(), item.of(after).data(),
                     old_bytes.size()) != 0;
}

}  // namespace

void row_binder::bind_before(set_table& table, const set_piece& set,
                             const shown_image& image) {
  bind_image(table, set, image, FIRST_ITEM_COLUMN + 1);
}

void row_binder::bind_after(set_table& table, const set_piece& set,
                            const shown_image& image) {
  bind_image(table, set, image, FIRST_ITEM_COLUMN);
}

// Columns of an image are every second one from the first.
void row_binder::bind_image(set_table& table, const set_piece& set,
                            const shown_image& image, int first) {
  if (!image.exists()) return;
  const character_table& characters = character_table_of(set.charset);
  int at = first;
  for (const column_pair& pair : table.plan.pairs) {
    bind_pair(*table.rows, at, pair,
              {set, image, set.items[pair.item], characters});
    at += 2;
  }
  if (table.plan.has_more) bind_more(table, set, image, at);
}

void row_binder::bind_pair(row_writer& row, int at, const column_pair& pair,
                           const item_place& place) {
  if (place.keyed.item.encrypted) {
    bind_encrypted(row, at, pair, place);
  } else {
    bind_element(row, at, pair, place);
  }
}

// Notes about an item as a whole come with its first column, or behind those of
// its last one.
void row_binder::bind_encrypted(row_writer& row, int at,
                                const column_pair& pair,
                                const item_place& place) {
  const item_view& item = place.keyed.item;
  if (is_sealed(item, place.image)) {
    if (pair.element == 0) put_sealed(place);
    return;
  }
  bind_element(row, at, pair, place);
  if (pair.kind == column_kind::json || pair.element + 1 == item.count) {
    note_fill(place);
  }
}

// Encrypted values are NULL. Returns whether it is one.
bool row_binder::put_sealed(const item_place& place) {
  if (!is_sealed(place.keyed.item, place.image)) return false;
  append_item_note(notes_,
                   {place.image.name, place.set.quoted_name(place.keyed)},
                   "encrypted");
  return true;
}

void row_binder::note_fill(const item_place& place) {
  const item_view& item = place.keyed.item;
  if (item.encrypted && place.image.may_be_sealed &&
      has_fill_values(item, place.image.bytes)) {
    append_item_note(notes_,
                     {place.image.name, place.set.quoted_name(place.keyed)},
                     "maybe_encrypted");
  }
}

void row_binder::note_problem(const item_place& place, std::size_t k,
                              value_problem problem) {
  if (problem == value_problem::none) return;
  append_element_note(notes_,
                      {place.image.name, place.set.quoted_name(place.keyed)},
                      place.keyed.item, k, place.image.bytes, problem);
}

// Most values have no problem, and go to their column as they are stored.
void row_binder::bind_element(row_writer& row, int at, const column_pair& pair,
                              const item_place& place) {
  const item_view& item = place.keyed.item;
  const record_image bytes = item.element(place.image.bytes, pair.element);
  switch (pair.kind) {
    case column_kind::integer:
      if (const auto number = plain_number(item.form, bytes)) {
        return row.bind(at, *number);
      }
      break;
    case column_kind::real:
      if (const auto number = plain_real(bytes)) {
        return row.bind_real(at, *number);
      }
      break;
    case column_kind::bytes:
      return row.bind_bytes(at, bytes);
    case column_kind::json:
      json_.clear();
      append_item(place);
      return row.bind_text(at, json_);
    default:
      break;
  }
  bind_any(row, at, pair, place);
}

void row_binder::bind_any(row_writer& row, int at, const column_pair& pair,
                          const item_place& place) {
  const item_view& item = place.keyed.item;
  const item_value value =
      read_value(item.form, item.element(place.image.bytes, pair.element),
                 place.characters, scratch_);
  note_problem(place, pair.element, value.problem);
  if (value.is_null()) return;
  if (pair.kind == column_kind::natural) {
    row.bind_natural(at, value.natural);
  } else if (pair.kind == column_kind::decimal) {
    row.bind_decimal(at, value.text);
  } else {
    row.bind_text(at, value.text);
  }
}

void row_binder::append_element(const item_place& place, std::size_t k) {
  const item_view& item = place.keyed.item;
  const std::size_t begin = json_.size();
  json_.resize(begin + value_text_room(item.size));
  const value_text value =
      put_value(item.form, item.element(place.image.bytes, k), place.characters,
                scratch_, json_.data() + begin);
  json_.resize(static_cast<std::size_t>(value.end - json_.data()));
  note_problem(place, k, value.problem);
}

// Appends an item's value as JSON.
void row_binder::append_item(const item_place& place) {
  const std::size_t count = place.keyed.item.count;
  if (count > 1) json_ += '[';
  for (std::size_t k = 0; k < count; ++k) {
    if (k > 0) json_ += ',';
    append_element(place, k);
  }
  if (count > 1) json_ += ']';
}

// The items without columns as one object.
void row_binder::bind_more(set_table& table, const set_piece& set,
                           const shown_image& image, int at) {
  const character_table& characters = character_table_of(set.charset);
  json_.clear();
  for (std::size_t i = table.plan.first_more; i < set.items.size(); ++i) {
    const item_place place{set, image, set.items[i], characters};
    json_ += set.key(place.keyed);
    if (put_sealed(place)) {
      json_ += "null";
      continue;
    }
    append_item(place);
    note_fill(place);
  }
  json_.front() = '{';
  table.rows->bind_text(at, json_ + '}');
}

const std::string& row_binder::changed(const set_piece& set,
                                       const shown_image& before,
                                       const shown_image& after) {
  changed_ = '[';
  for (const keyed_item& keyed : set.items) {
    if (is_sealed(keyed.item, before) || is_sealed(keyed.item, after)) continue;
    if (!differs(keyed.item, before.bytes, after.bytes)) continue;
    if (changed_.size() > 1) changed_ += ',';
    changed_ += set.quoted_name(keyed);
  }
  return changed_ += ']';
}
