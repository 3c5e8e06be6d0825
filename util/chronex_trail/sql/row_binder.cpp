#include "util/chronex_trail/sql/row_binder.h"

#include <array>
#include <charconv>
#include <cstring>

#include "util/chronex_trail/json/item_note.h"
#include "util/chronex_trail/json/value_text.h"

namespace {

constexpr int FIRST_ITEM_COLUMN = FIXED_COLUMNS + 1;

// Takes every number there is.
constexpr std::size_t NUMBER_ROOM = 32;

// The number that the shortest text of a real number stands for, at the width
// at which it is stored.
double shown_number(double value, std::size_t size) {
  if (size != sizeof(float)) return value;
  std::array<char, NUMBER_ROOM> text;
  const char* const end = std::to_chars(text.data(), text.data() + text.size(),
                                        static_cast<float>(value))
                              .ptr;
  double shown = 0;
  std::from_chars(text.data(), end, shown);
  return shown;
}

std::int64_t whole_number(value_form form, const item_value& value) {
  if (form == value_form::integer) return value.integer;
  if (form == value_form::natural) {
    return static_cast<std::int64_t>(value.natural);
  }
  std::int64_t number = 0;
  std::from_chars(value.text.data(), value.text.data() + value.text.size(),
                  number);
  return number;
}

void bind_value(row_writer& row, int at, column_kind kind,
                const item_view& item, const item_value& value) {
  switch (kind) {
    case column_kind::integer:
      return row.bind(at, whole_number(item.form, value));
    case column_kind::natural:
      return row.bind_natural(at, value.natural);
    case column_kind::decimal:
      return row.bind_decimal(at, value.text);
    case column_kind::real:
      return row.bind_real(at, shown_number(value.real, item.size));
    default:
      return row.bind_text(at, value.text);
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
  std::size_t pair = 0;
  int at = first;
  for (std::size_t i = 0; i < table.plan.first_more; ++i) {
    at = bind_item(table, pair, {set, image, set.items[i], characters}, at);
  }
  if (table.plan.has_more) bind_more(table, set, image, at);
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

// Returns the column of the next item.
int row_binder::bind_item(set_table& table, std::size_t& pair,
                          const item_place& place, int at) {
  const std::vector<column_pair>& pairs = table.plan.pairs;
  const bool sealed = put_sealed(place);
  const std::size_t item = pairs[pair].item;
  for (; pair < pairs.size() && pairs[pair].item == item; ++pair, at += 2) {
    if (!sealed) bind_element(*table.rows, at, pairs[pair], place);
  }
  if (!sealed) note_fill(place);
  return at;
}

void row_binder::note_problem(const item_place& place, std::size_t k,
                              value_problem problem) {
  if (problem == value_problem::none) return;
  append_element_note(notes_,
                      {place.image.name, place.set.quoted_name(place.keyed)},
                      place.keyed.item, k, place.image.bytes, problem);
}

item_value row_binder::read(const item_place& place, std::size_t k) {
  const item_view& item = place.keyed.item;
  const item_value value =
      read_value(item.form, item.element(place.image.bytes, k),
                 place.characters, scratch_);
  note_problem(place, k, value.problem);
  return value;
}

void row_binder::bind_element(row_writer& row, int at, const column_pair& pair,
                              const item_place& place) {
  const item_view& item = place.keyed.item;
  if (pair.kind == column_kind::json) {
    json_.clear();
    append_item(place);
    row.bind_text(at, json_);
    return;
  }
  if (pair.kind == column_kind::bytes) {
    row.bind_bytes(at, item.element(place.image.bytes, pair.element));
    return;
  }
  const item_value value = read(place, pair.element);
  if (!value.is_null()) bind_value(row, at, pair.kind, item, value);
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
