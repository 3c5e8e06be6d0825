#include "util/chronex_trail/run/filter_error.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "util/chronex/filter/expr_compile.h"

namespace {

constexpr std::string_view BLANKS = " \t\r\n\v\f";

// The line that is number `index`, from 0, without its end.
std::string_view line_of(std::string_view text, std::size_t index) {
  for (; index > 0; --index) text.remove_prefix(text.find('\n') + 1);
  return text.substr(0, text.find('\n'));
}

// What a terminal could take for a command becomes a question mark.
std::string printable(std::string_view line) {
  std::string result(line);
  std::ranges::replace_if(
      result,
      [](unsigned char byte) {
        return (byte < ' ' && byte != '\t') || byte == 0x7F;
      },
      '?');
  return result;
}

// As wide as the beginning of a line, of which it keeps the tabs.
std::string blanks_under(std::string_view beginning) {
  std::string result(beginning);
  std::ranges::replace_if(
      result, [](char character) { return character != '\t'; }, ' ');
  return result;
}

}  // namespace

bool tell_filter_error(const std::string& text, const std::string& encoded,
                       run_messages& messages) {
  compiled_expr expr;
  expr_error_place place;
  const int rc = expr_compile(&expr, encoded.c_str(), &place);
  if (rc == 0) return false;
  messages.print("Error in filter expression: %s\n", verbose_expr_rc(rc));
  if (rc == EXPR_ERROR_MEMORY) return true;
  std::string_view before = std::string_view(encoded).substr(0, place.offset);
  // A text that ends too early does so behind its last word.
  if (before.size() == std::string_view(encoded.c_str()).size()) {
    before = before.substr(0, before.find_last_not_of(BLANKS) + 1);
  }
  const auto lines_before = std::ranges::count(before, '\n');
  before.remove_prefix(before.rfind('\n') + 1);
  messages.print(
      "  %s\n  %s^\n  expected: %s\n",
      printable(line_of(text, static_cast<std::size_t>(lines_before))).c_str(),
      blanks_under(before).c_str(), place.expected);
  return true;
}
