#include "util/chronex/filter/name_check.h"

#include <algorithm>
#include <cctype>
#include <utility>

#include "common/byte_cursor.h"
#include "common/same_text.h"
#include "util/chronex/filter/filter_record.h"
#include "util/chronex/filter/item_lookup.h"
#include "util/chronex/filter/session_attribute.h"
#include "util/chronex/tables/set_context.h"

namespace {

// The length of the UTF-8 sequence of more than one byte at the front of
// `text`; 0 when there is none.
std::size_t utf8_sequence(std::string_view text) {
  const auto first = static_cast<unsigned char>(text.front());
  if (first < 0xC2 || first > 0xF4) return 0;
  const std::size_t length = first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
  if (text.size() < length) return 0;
  const std::string_view rest = text.substr(1, length - 1);
  const bool continues = std::all_of(rest.begin(), rest.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
  });
  return continues ? length : 0;
}

// Whether the text has bytes beyond ASCII and all of them make UTF-8.
bool is_utf8(std::string_view text) {
  bool found = false;
  while (!text.empty()) {
    std::size_t length = 1;
    if ((static_cast<unsigned char>(text.front()) & 0x80) != 0) {
      length = utf8_sequence(text);
      if (length == 0) return false;
      found = true;
    }
    text.remove_prefix(length);
  }
  return found;
}

// The text in its delimiters, as the language wants it.
std::string enclosed(char open, std::string_view text, char close) {
  std::string result(1, open);
  for (const char c : text) {
    if (c == close || c == '\\') result += '\\';
    result += c;
  }
  return result + close;
}

bool is_plain_word(std::string_view name) {
  return !name.empty() &&
         std::isalpha(static_cast<unsigned char>(name.front())) != 0 &&
         name.find_first_of(" \t\r\n\v\f<=>()") == name.npos;
}

const char* operator_text(expr_token code) {
  constexpr const char* TEXTS[] = {" < ", " <= ", " = ", " <> ", " >= ", " > "};
  return TEXTS[code - EXPR_TOKEN_LESS];
}

// The relation that `entries` begin with, with its values in braces.
std::string relation_in_braces(std::span<const expr_entry> entries,
                               std::string_view name) {
  const std::string left =
      is_plain_word(name) ? std::string(name) : enclosed('[', name, ']');
  const std::string value = enclosed('{', entries[1].text, '}');
  if (entries[2].token != EXPR_TOKEN_VALUE) {
    return left + operator_text(entries[2].token) + value;
  }
  return left + " BETWEEN " + value + " AND " +
         enclosed('{', entries[2].text, '}');
}

}  // namespace

name_check::name_check(const compiled_expr& expr) {
  for (std::size_t i = 0; i < expr.entries.size(); ++i) {
    const expr_entry& entry = expr.entries[i];
    has_utf8_ = has_utf8_ || is_utf8(entry.text);
    if (entry.token == EXPR_TOKEN_SET_PATTERN) {
      add({.kind = use::set_pattern, .name = entry.text});
    } else if (entry.token == EXPR_TOKEN_NAME) {
      add_relation(std::span(expr.entries).subspan(i));
    }
  }
}

// One note a name is enough.
void name_check::add(missing_name name) {
  for (const missing_name& known : missing_) {
    if (known.kind == name.kind && same_text(known.name, name.name)) return;
  }
  name.place = name_count_++;
  missing_.push_back(std::move(name));
}

void name_check::add_relation(std::span<const expr_entry> entries) {
  const std::string& name = entries[0].text;
  const bool in_table =
      session_attribute_of(name) != session_attribute::sign_on;
  if (entries[1].kind == EXPR_KIND_BRACE) {
    if (!in_table) add({.kind = use::attribute, .name = name});
    return;
  }
  const std::string_view item = without_image_sign(name);
  add({.kind = use::item,
       .name = std::string(item),
       .as_attribute = relation_in_braces(entries, item),
       .is_attribute = in_table});
}

void name_check::add_item_name(std::string_view name) {
  add({.kind = use::listed_item, .name = std::string(name)});
}

bool name_check::meets(missing_name& missing, std::string_view name,
                       const set_context& set) {
  switch (missing.kind) {
    case use::item: {
      if (find_item(set, missing.name).item != nullptr) return true;
      const item_descriptor* const item =
          find_item_with_elements(set, missing.name);
      if (item != nullptr) missing.elements = item->count;
      return false;
    }
    case use::listed_item:
      return std::ranges::any_of(
          set.item_list(), [&](const item_descriptor& item) {
            return same_text(missing.name, set.item_name(item));
          });
    case use::set_pattern:
      return match_set_pattern(name, missing.name).value_or(false);
    default:
      return false;
  }
}

void name_check::data_set(std::string_view name, const set_context& set) {
  has_data_set_ = true;
  std::erase_if(missing_, [&](missing_name& missing) {
    return meets(missing, name, set);
  });
}

// An item that is missing may turn out to be an attribute.
bool name_check::meets(missing_name& missing,
                       std::span<const std::uint8_t> data) {
  if (missing.kind == use::attribute) {
    return find_sign_on_attribute(data, missing.name.c_str()).has_value();
  }
  if (missing.kind == use::item && !missing.is_attribute) {
    missing.is_attribute =
        find_sign_on_attribute(data, missing.name.c_str()).has_value();
  }
  return false;
}

void name_check::sign_on(std::span<const std::uint8_t> data) {
  std::erase_if(missing_,
                [&](missing_name& missing) { return meets(missing, data); });
}

std::string name_check::note(const missing_name& missing) {
  const std::string& name = missing.name;
  switch (missing.kind) {
    case use::set_pattern:
      return "NOTE: no data set matches " + name + "\n";
    case use::attribute:
      return "NOTE: no session has an attribute named " + name + "\n";
    case use::listed_item:
      return "NOTE: no data set has an item named " + name +
             ", as the item list asks for\n";
    default:
      break;
  }
  const std::string elements =
      " has " + std::to_string(missing.elements) + " elements";
  if (missing.elements != 0 && name.ends_with(']')) {
    return "NOTE: item " + name.substr(0, name.rfind('[')) + elements + ", " +
           name + " is none of them\n";
  }
  if (missing.elements != 0) {
    return "NOTE: item " + name + elements +
           " and is asked for with a subscript: " + name + "[1]\n";
  }
  if (missing.is_attribute) {
    return "NOTE: " + name +
           " is no item but a session attribute, with its value in braces: " +
           missing.as_attribute + "\n";
  }
  return "NOTE: no data set has an item named " + name + "\n";
}

std::vector<std::string> name_check::notes(std::string_view charset) const {
  std::vector<std::string> lines;
  if (!has_data_set_) return lines;
  for (const missing_name& missing : missing_) lines.push_back(note(missing));
  if (has_utf8_ && !charset.empty()) {
    lines.push_back(
        "NOTE: the filter has characters in UTF-8, but those of the inputs "
        "are in " +
        std::string(charset) + "\n");
  }
  return lines;
}

// One byte: a data set was met. Then for each name, in their order: u8 1 = it
// is still missing, 2 = and it is an attribute; u32 elements.
std::vector<std::uint8_t> name_check::progress() const {
  std::vector<std::uint8_t> bytes{has_data_set_};
  for (std::size_t place = 0; place < name_count_; ++place) {
    const auto missing =
        std::ranges::find(missing_, place, &missing_name::place);
    const bool is_missing = missing != missing_.end();
    bytes.push_back(!is_missing ? 0 : missing->is_attribute ? 2 : 1);
    bytes.resize(bytes.size() + sizeof(std::uint32_t));
    store_u32(&bytes[bytes.size() - sizeof(std::uint32_t)],
              is_missing ? missing->elements : 0);
  }
  return bytes;
}

bool name_check::go_on(std::span<const std::uint8_t> progress) {
  byte_cursor cursor(progress);
  std::uint8_t has_data_set = 0;
  if (!cursor.u8(has_data_set)) return false;
  has_data_set_ = has_data_set != 0;
  for (std::size_t place = 0; place < name_count_; ++place) {
    std::uint8_t state = 0;
    std::uint32_t elements = 0;
    if (!cursor.u8(state) || !cursor.u32(elements)) return false;
    const auto missing =
        std::ranges::find(missing_, place, &missing_name::place);
    if (missing == missing_.end()) continue;
    if (state == 0) {
      missing_.erase(missing);
    } else {
      missing->is_attribute = state == 2;
      missing->elements = elements;
    }
  }
  return cursor.remaining() == 0;
}
