#include "util/chronex/filter/expr_token.h"

#include <strings.h>

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <string>
#include <utility>

#include "util/chronex/filter/date_time.h"

namespace {

struct keyword {
  const char* text;
  expr_token token;
  expr_kind kind;
};

constexpr keyword KEYWORDS[] = {
    {"BETWEEN", EXPR_TOKEN_BETWEEN, EXPR_KIND_NONE},
    {"OR", EXPR_TOKEN_OR, EXPR_KIND_NONE},
    {"AND", EXPR_TOKEN_AND, EXPR_KIND_NONE},
    {"NOT", EXPR_TOKEN_NOT, EXPR_KIND_NONE},
    {"RECNO", EXPR_TOKEN_RECNO, EXPR_KIND_RECNO},
    {"TIMESTAMP", EXPR_TOKEN_TIMESTAMP, EXPR_KIND_TIMESTAMP},
    {"DBPUT", EXPR_TOKEN_DBPUT, EXPR_KIND_NONE},
    {"DBUPDATE", EXPR_TOKEN_DBUPDATE, EXPR_KIND_NONE},
    {"DBDELETE", EXPR_TOKEN_DBDELETE, EXPR_KIND_NONE},
};

bool is_space(char c) {
  return std::isspace(static_cast<unsigned char>(c)) != 0;
}

bool is_digit(char c) { return c >= '0' && c <= '9'; }

bool is_letter(char c) {
  return std::isalpha(static_cast<unsigned char>(c)) != 0;
}

bool ends_word(char c) {
  return is_space(c) || c == '<' || c == '=' || c == '>' || c == '(' ||
         c == ')';
}

void set_token(expr_entry& token, expr_token code, expr_kind kind,
               std::string text = {}) {
  token.token = code;
  token.kind = kind;
  token.number = 0;
  token.text = std::move(text);
}

// A data set is always written with its database: the '.' makes the difference.
void set_name(expr_entry& token, std::string text) {
  if (text.find('.') != text.npos) {
    set_token(token, EXPR_TOKEN_SET_PATTERN, EXPR_KIND_STRING, std::move(text));
  } else {
    set_token(token, EXPR_TOKEN_NAME, EXPR_KIND_NAME, std::move(text));
  }
}

int read_operator(std::string_view& rest, expr_entry& token, expr_token code) {
  rest.remove_prefix(1);
  const char next = rest.empty() ? '\0' : rest.front();
  if (code == EXPR_TOKEN_LESS && next == '=') {
    code = EXPR_TOKEN_LESS_EQUAL;
    rest.remove_prefix(1);
  } else if (code == EXPR_TOKEN_LESS && next == '>') {
    code = EXPR_TOKEN_NOT_EQUAL;
    rest.remove_prefix(1);
  } else if (code == EXPR_TOKEN_GREATER && next == '=') {
    code = EXPR_TOKEN_GREATER_EQUAL;
    rest.remove_prefix(1);
  }
  set_token(token, code, EXPR_KIND_NONE);
  return 0;
}

int read_number(std::string_view& rest, expr_entry& token) {
  const date_time_literal literal = scan_date_time(rest);
  if (literal.status == date_time_status::out_of_range) return EXPR_ERROR_RANGE;
  if (literal.status == date_time_status::found) {
    set_token(token, EXPR_TOKEN_VALUE, EXPR_KIND_TIME);
    token.number = literal.time;
    rest.remove_prefix(literal.length);
    return 0;
  }
  // Only the extent matters here: what the number is worth depends on what it
  // is compared with. The text ends in a NUL, where strtod stops at the latest.
  char* end = nullptr;
  errno = 0;
  static_cast<void>(std::strtod(rest.data(), &end));
  if (errno == ERANGE) return EXPR_ERROR_RANGE;
  const auto length = static_cast<std::size_t>(end - rest.data());
  set_token(token, EXPR_TOKEN_VALUE, EXPR_KIND_NUMBER,
            std::string(rest.substr(0, length)));
  rest.remove_prefix(length);
  return 0;
}

int read_word(std::string_view& rest, expr_entry& token) {
  std::size_t length = 0;
  while (length < rest.size() && !ends_word(rest[length])) ++length;
  std::string word(rest.substr(0, length));
  rest.remove_prefix(length);
  for (const keyword& entry : KEYWORDS) {
    if (strcasecmp(word.c_str(), entry.text) == 0) {
      set_token(token, entry.token, entry.kind);
      return 0;
    }
  }
  set_name(token, std::move(word));
  return 0;
}

// Reads the text between the first character and `close`. A backslash makes
// the next character literal and is dropped.
int read_enclosed(std::string_view& rest, char close, std::string& text) {
  for (std::size_t i = 1; i < rest.size(); ++i) {
    if (rest[i] == close) {
      rest.remove_prefix(i + 1);
      return 0;
    }
    if (rest[i] == '\\' && ++i == rest.size()) break;
    text.push_back(rest[i]);
  }
  return EXPR_ERROR_SYNTAX;
}

int read_delimited(std::string_view& rest, expr_entry& token) {
  const char open = rest.front();
  const char close = open == '[' ? ']' : open == '{' ? '}' : open;
  std::string text;
  const int rc = read_enclosed(rest, close, text);
  if (rc != 0) return rc;
  if (open == '[') {
    set_name(token, std::move(text));
  } else {
    set_token(token, EXPR_TOKEN_VALUE,
              open == '{' ? EXPR_KIND_BRACE : EXPR_KIND_STRING,
              std::move(text));
  }
  return 0;
}

// A number, or a word; after a sign the next character tells which.
int read_other(std::string_view& rest, expr_entry& token) {
  const char first = rest.front();
  const bool has_sign = first == '+' || first == '-';
  const char second = rest.size() > 1 ? rest[1] : '\0';
  if (is_digit(has_sign ? second : first)) return read_number(rest, token);
  if (is_letter(has_sign ? second : first)) return read_word(rest, token);
  if (first == '*' || first == '?') return read_word(rest, token);
  return EXPR_ERROR_SYNTAX;
}

}  // namespace

void skip_to_token(std::string_view& rest) {
  while (!rest.empty()) {
    if (is_space(rest.front())) {
      rest.remove_prefix(1);
    } else if (rest.front() == '#') {
      const std::size_t end = rest.find_first_of("\r\n");
      rest.remove_prefix(end == rest.npos ? rest.size() : end);
    } else {
      return;
    }
  }
}

int next_token(std::string_view& rest, expr_entry& token) {
  skip_to_token(rest);
  if (rest.empty()) {
    set_token(token, EXPR_TOKEN_END, EXPR_KIND_NONE);
    return 0;
  }
  switch (rest.front()) {
    case '<':
      return read_operator(rest, token, EXPR_TOKEN_LESS);
    case '=':
      return read_operator(rest, token, EXPR_TOKEN_EQUAL);
    case '>':
      return read_operator(rest, token, EXPR_TOKEN_GREATER);
    case '(':
      return read_operator(rest, token, EXPR_TOKEN_LEFT_PARENTHESIS);
    case ')':
      return read_operator(rest, token, EXPR_TOKEN_RIGHT_PARENTHESIS);
    case '"':
    case '\'':
    case '[':
    case '{':
      return read_delimited(rest, token);
    default:
      return read_other(rest, token);
  }
}
