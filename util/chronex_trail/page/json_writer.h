#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_JSON_WRITER_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_JSON_WRITER_H

// Appends JSON to a string, commas included.

#include <concepts>
#include <optional>
#include <string>
#include <string_view>

#include "util/chronex_trail/json/json_text.h"
#include "util/chronex_trail/values/utf8_text.h"

class json_writer {
 public:
  // Appends to `out`, which stays the caller's.
  explicit json_writer(std::string& out) : out_(out) {}

  // `bracket` is '{' or '['.
  json_writer& open(char bracket) {
    comma();
    out_ += bracket;
    return *this;
  }
  json_writer& close(char bracket) {
    out_ += bracket;
    return *this;
  }
  json_writer& key(std::string_view name) {
    text(name);
    out_ += ':';
    return *this;
  }
  json_writer& text(std::string_view utf8) {
    comma();
    append_json_string(out_, well_formed_utf8(utf8));
    return *this;
  }
  json_writer& text_or_null(const std::optional<std::string>& utf8) {
    return utf8 ? text(std::string_view(*utf8)) : raw("null");
  }
  json_writer& number(std::integral auto value) {
    return raw(std::to_string(value));
  }
  json_writer& flag(bool value) { return raw(value ? "true" : "false"); }
  // JSON that is whole already.
  json_writer& raw(std::string_view json) {
    comma();
    out_ += json;
    return *this;
  }

 private:
  void comma() {
    constexpr std::string_view NEEDS_NONE = "[{:";
    if (out_.empty() || NEEDS_NONE.find(out_.back()) != NEEDS_NONE.npos) return;
    out_ += ',';
  }

  std::string& out_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_JSON_WRITER_H
