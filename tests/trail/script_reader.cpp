#include "tests/trail/script_reader.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace {

[[noreturn]] void fail(std::string_view text) {
  throw std::runtime_error("no script: " + std::string(text.substr(0, 80)));
}

// Takes a text apart from the left.
class scanner {
 public:
  explicit scanner(std::string_view text) : text_(text) {}

  bool at_end() const { return text_.empty(); }
  std::string_view rest() const { return text_; }
  bool skip(std::string_view expected) {
    if (!text_.starts_with(expected)) return false;
    text_.remove_prefix(expected.size());
    return true;
  }
  void expect(std::string_view expected) {
    if (!skip(expected)) fail(text_);
  }
  std::string_view until(std::string_view end) {
    const std::size_t length = text_.find(end);
    if (length == text_.npos) fail(text_);
    const std::string_view found = text_.substr(0, length);
    text_.remove_prefix(length + end.size());
    return found;
  }
  std::string_view until_any_of(std::string_view ends) {
    const std::size_t length =
        std::min(text_.find_first_of(ends), text_.size());
    const std::string_view found = text_.substr(0, length);
    text_.remove_prefix(length);
    return found;
  }
  char next() {
    if (text_.empty()) fail(text_);
    const char character = text_.front();
    text_.remove_prefix(1);
    return character;
  }

 private:
  std::string_view text_;
};

char unescaped(char letter) {
  constexpr std::string_view LETTERS = "bfnrtv";
  constexpr std::string_view CHARACTERS = "\b\f\n\r\t\v";
  const std::size_t at = LETTERS.find(letter);
  return at == LETTERS.npos ? letter : CHARACTERS[at];
}

// "NAME" with doubled quotes.
std::string doubled_name(scanner& text) {
  text.expect("\"");
  std::string name(text.until("\""));
  while (text.skip("\"")) name += '"' + std::string(text.until("\""));
  return name;
}

// What stands between a quote, which was read, and the next one.
std::string escaped_text(scanner& text, char quote) {
  const std::string ends = {quote, '\n', '\\'};
  std::string found(text.until_any_of(ends));
  for (char next = text.next(); next != quote; next = text.next()) {
    if (next == '\n') fail("a line that is cut");
    if (text.skip("x")) {
      const std::string digits = {text.next(), text.next()};
      found += static_cast<char>(std::stoi(digits, nullptr, 16));
    } else {
      found += unescaped(text.next());
    }
    found += text.until_any_of(ends);
  }
  return found;
}

std::string backquoted_name(scanner& text) {
  text.expect("`");
  return escaped_text(text, '`');
}

template <typename Name>
std::vector<std::string> names_in_parentheses(scanner& text, const Name& name) {
  std::vector<std::string> names;
  text.expect("(");
  do {
    names.push_back(name(text));
  } while (text.skip(", "));
  text.expect(")");
  return names;
}

std::vector<script_value> copied_row(std::string_view line) {
  std::vector<script_value> row(1, std::string());
  scanner text(line);
  while (!text.at_end()) {
    row.back()->append(text.until_any_of("\t\\"));
    if (text.at_end()) break;
    if (text.next() == '\t') {
      row.emplace_back(std::string());
    } else if (text.skip("N")) {
      row.back().reset();
    } else {
      row.back()->push_back(unescaped(text.next()));
    }
  }
  return row;
}

script_value inserted_value(scanner& text) {
  if (text.skip("NULL")) return std::nullopt;
  if (text.skip("'")) return escaped_text(text, '\'');
  if (text.skip("(")) return '(' + std::string(text.until(")")) + ')';
  if (text.skip("reinterpretAsFloat64(")) return std::string(text.until("))"));
  return std::string(text.until_any_of(",)"));
}

std::vector<script_value> inserted_row(scanner& text) {
  std::vector<script_value> row;
  text.expect("(");
  do {
    row.push_back(inserted_value(text));
  } while (text.skip(","));
  text.expect(")");
  return row;
}

void add_row(script_table& table, std::vector<script_value> row) {
  if (row.size() != table.columns.size()) fail("a row of another size");
  table.rows.push_back(std::move(row));
}

// A statement may go over several lines, within double quotes; those of a call
// stand in texts.
std::string statement(scanner& text) {
  if (text.rest().starts_with("CALL ")) return std::string(text.until("\n"));
  std::string found;
  bool is_quoted = false;
  do {
    const std::string_view line = text.until("\n");
    for (const char character : line) is_quoted ^= character == '"';
    found += std::string(line) + (is_quoted ? "\n" : "");
  } while (is_quoted);
  return found;
}

}  // namespace

script_contents read_postgresql(std::string_view script) {
  script_contents contents;
  scanner text(script);
  while (!text.at_end()) {
    if (!text.skip("COPY ")) {
      contents.statements.push_back(statement(text));
      continue;
    }
    script_table& table = contents.tables[doubled_name(text)];
    table.columns = names_in_parentheses(text, doubled_name);
    ++table.blocks;
    text.expect(" FROM stdin;\n");
    while (!text.skip("\\.\n")) add_row(table, copied_row(text.until("\n")));
  }
  return contents;
}

script_contents read_clickhouse(std::string_view script) {
  script_contents contents;
  scanner text(script);
  while (!text.at_end()) {
    if (!text.skip("INSERT INTO ")) {
      contents.statements.emplace_back(text.until("\n"));
      continue;
    }
    script_table& table = contents.tables[backquoted_name(text)];
    table.columns = names_in_parentheses(text, backquoted_name);
    ++table.blocks;
    text.expect(" VALUES ");
    do {
      add_row(table, inserted_row(text));
    } while (text.skip(","));
    text.expect(";\n");
  }
  return contents;
}
