#include "util/chronex_trail/page/item_text.h"

#include <algorithm>

#include "util/chronex_trail/json/json_text.h"
#include "util/chronex_trail/json/value_text.h"

namespace {

using byte_run = std::span<const std::uint8_t>;

void append_hex(std::string& out, byte_run bytes) {
  const std::size_t begin = out.size();
  out.resize(begin + 2 * bytes.size());
  put_hex_digits(bytes, out.data() + begin);
}

void append_reason(std::string& out, std::string_view why, byte_run raw) {
  out += R"({"why":")";
  out += why;
  if (!raw.empty()) {
    out += R"(","raw":")";
    append_hex(out, raw.first(std::min(raw.size(), item_text::MAX_BYTES)));
  }
  out += "\"}";
}

// The forms whose values are as long as the item.
bool grows(value_form form) {
  return form == value_form::text || form == value_form::hex_bytes ||
         form == value_form::hex_number;
}

}  // namespace

// Appends the value, or why there is none.
void item_text::append_value(std::string& out, value_form form, byte_run bytes,
                             const character_table& characters) {
  const std::size_t begin = out.size();
  out.resize(begin + value_text_room(bytes.size()));
  const value_text value =
      put_value(form, bytes, characters, scratch_, out.data() + begin);
  const bool is_there = value.problem == value_problem::none ||
                        value.problem == value_problem::undecodable;
  out.resize(is_there ? static_cast<std::size_t>(value.end - out.data())
                      : begin);
  if (!is_there) append_reason(out, problem_name(value.problem), bytes);
}

void item_text::append_element(std::string& out, const item_view& item,
                               byte_run bytes,
                               const character_table& characters) {
  if (item.form == value_form::text) bytes = without_padding(bytes);
  if (!grows(item.form) || bytes.size() <= MAX_BYTES) {
    append_value(out, item.form, bytes, characters);
    return;
  }
  out += R"({"cut":)";
  append_value(out, item.form, bytes.first(MAX_BYTES), characters);
  append_json_member(out, "size", static_cast<std::int64_t>(bytes.size()));
  out += '}';
}

void item_text::append(std::string& out, const item_view& item,
                       const shown_image& image,
                       const character_table& characters) {
  if (item.encrypted && image.sealed) {
    append_reason(out, "encrypted", {});
    return;
  }
  if (item.count == 1) {
    append_element(out, item, item.element(image.bytes, 0), characters);
    return;
  }
  const std::size_t shown = std::min<std::size_t>(item.count, MAX_ELEMENTS);
  out += '[';
  for (std::size_t k = 0; k < shown; ++k) {
    if (k > 0) out += ',';
    append_element(out, item, item.element(image.bytes, k), characters);
  }
  if (shown < item.count) {
    out += R"(,{"more":)";
    out += std::to_string(item.count - shown);
    out += '}';
  }
  out += ']';
}
