#include "util/chronex_trail/json/line_writer.h"

#include <algorithm>

#include "util/chronex_trail/json/json_text.h"
#include "util/chronex_trail/values/item_value.h"

namespace {

// Texts are escaped in parts that fit a room whatever is in them.
constexpr std::size_t TEXT_PART = 4096;

}  // namespace

void line_writer::put_string(std::string_view utf8) {
  put('"');
  do {
    const std::string_view part = utf8.substr(0, TEXT_PART);
    char* const out = room(part.size() * LONGEST_ESCAPE + 8);
    claim(put_json_text(part, out));
    utf8.remove_prefix(part.size());
  } while (!utf8.empty());
  put('"');
}

bool line_writer::put_plain_string(std::span<const std::uint8_t> bytes) {
  if (bytes.size() > TEXT_PART) return false;
  char* const out = room(bytes.size() + WORD + 2);
  char* const end = put_plain_ascii(bytes, bytes.size(), out + 1);
  if (end == nullptr) return false;
  *out = '"';
  *end = '"';
  claim(end + 1);
  return true;
}

void line_writer::put_hex(std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const auto part = bytes.first(std::min(bytes.size(), TEXT_PART));
    char* const out = room(part.size() * 2);
    claim(put_hex_digits(part, out));
    bytes = bytes.subspan(part.size());
  }
}

int line_writer::flush() {
  if (!failed_ && used_ > 0) {
    failed_ = sink_.write_buffer(buffer_, used_) != 0;
  }
  if (used_ > line_begin_) line_is_cut_ = true;
  used_ = 0;
  line_begin_ = 0;
  return failed_ ? -1 : 0;
}

void line_writer::put_large(std::string_view text) {
  while (!text.empty()) {
    const std::string_view part = text.substr(0, MAX_ROOM);
    put(part);
    text.remove_prefix(part.size());
  }
}
