#include "util/chronex/filter/expr_compile.h"

#include <cassert>
#include <cerrno>
#include <cstdlib>
#include <limits>
#include <new>
#include <string_view>
#include <utility>

#include "util/chronex/filter/expr_token.h"

namespace {

// What may stand at a place of the grammar.
constexpr const char* EXPECTED_TERM =
    "a test, NOT or \"(\"; a test is DBPUT, DBUPDATE, DBDELETE, a data set "
    "pattern with a dot, or begins with RECNO, TIMESTAMP or a name";
constexpr const char* EXPECTED_PRIMARY =
    "a test or \"(\"; a test is DBPUT, DBUPDATE, DBDELETE, a data set pattern "
    "with a dot, or begins with RECNO, TIMESTAMP or a name";
constexpr const char* EXPECTED_OPERATOR =
    "an operator: <, <=, =, <>, >=, > or BETWEEN";
constexpr const char* EXPECTED_RECNO = "a whole number from 0 to 4294967295";
constexpr const char* EXPECTED_TIME =
    "a date from 1970-01-01 to 2038-12-31, after one blank also a time: "
    "2024-01-15 10:30";
constexpr const char* EXPECTED_VALUE =
    "a number, a text in quotes, or in braces the text of a session attribute";
constexpr const char* EXPECTED_UPPER_VALUE = "AND or the upper value";
constexpr const char* EXPECTED_END = "AND, OR or the end of the expression";
constexpr const char* EXPECTED_CLOSING = "AND, OR or \")\"";
// What a token lacks that cannot be read.
constexpr const char* EXPECTED_QUOTE = "a closing quote behind the text";
constexpr const char* EXPECTED_BRACKET = "a \"]\" behind the name";
constexpr const char* EXPECTED_BRACE = "a \"}\" behind the text";
constexpr const char* EXPECTED_IN_RANGE =
    "a date from 1970 to 2038 with months to 12, days to 31 and hours to 23, "
    "or a number that floating point can hold";
// What would be simple enough.
constexpr const char* EXPECTED_FEWER_ENTRIES =
    "the end of an expression of at most 1000 parts";
constexpr const char* EXPECTED_FEWER_PARENTHESES =
    "no more than 10000 open parentheses";

const char* expected_value(expr_token left) {
  if (left == EXPR_TOKEN_RECNO) return EXPECTED_RECNO;
  return left == EXPR_TOKEN_TIMESTAMP ? EXPECTED_TIME : EXPECTED_VALUE;
}

// What the unreadable token that begins with `first` should have been; null
// when any other token would do.
const char* expected_of_token(char first, int error) {
  if (error == EXPR_ERROR_RANGE) return EXPECTED_IN_RANGE;
  switch (first) {
    case '"':
    case '\'':
      return EXPECTED_QUOTE;
    case '[':
      return EXPECTED_BRACKET;
    case '{':
      return EXPECTED_BRACE;
    default:
      return nullptr;
  }
}

// One procedure per rule of the grammar. Each expects the first token of its
// rule to be the current one, leaves the first token behind it there, and
// returns 0 or the error that ends the compilation. They keep nothing in their
// frames that nesting could multiply.
class parser {
 public:
  parser(compiled_expr& expr, std::string_view text)
      : expr_(expr), text_(text), rest_(text) {}

  int parse();
  // The current token's, where an error was met.
  const expr_error_place& place() const { return place_; }

 private:
  // Reads the next token; `expected` says what may stand there.
  int advance(const char* expected);
  int too_complex(const char* expected);
  const char* behind_test() const {
    return nesting_ > 0 ? EXPECTED_CLOSING : EXPECTED_END;
  }
  int push_token(expr_entry entry);
  int push_operator(expr_token code);
  // Takes the current token and reads the next one.
  int push_current(const char* expected);

  int boolean_or();
  int boolean_and();
  int boolean_not();
  int primary();
  int parenthesis();
  int relation();
  int relation_between(expr_token left);
  int relation_push_value(expr_token left, const char* expected);
  int convert_recno();

  compiled_expr& expr_;
  std::string_view text_;
  std::string_view rest_;
  expr_error_place place_;
  expr_entry token_;  // the current token
  int nesting_ = 0;
};

bool is_relational(expr_token code) {
  return code >= EXPR_TOKEN_LESS && code <= EXPR_TOKEN_GREATER;
}

int parser::parse() {
  int rc = advance(EXPECTED_TERM);
  if (rc == 0) rc = boolean_or();
  if (rc != 0) return rc;
  return token_.token == EXPR_TOKEN_END ? 0 : EXPR_ERROR_SYNTAX;
}

int parser::advance(const char* expected) {
  skip_to_token(rest_);
  place_ = {text_.size() - rest_.size(), expected};
  const char first = rest_.empty() ? '\0' : rest_.front();
  const int rc = next_token(rest_, token_);
  if (rc == 0) return 0;
  const char* const whole = expected_of_token(first, rc);
  if (whole != nullptr) place_.expected = whole;
  return rc;
}

int parser::too_complex(const char* expected) {
  place_.expected = expected;
  return EXPR_ERROR_COMPLEX;
}

int parser::push_token(expr_entry entry) {
  if (expr_.entries.size() >= EXPR_MAX_ENTRIES) {
    return too_complex(EXPECTED_FEWER_ENTRIES);
  }
  expr_.entries.push_back(std::move(entry));
  return 0;
}

int parser::push_operator(expr_token code) {
  expr_entry entry;
  entry.token = code;
  return push_token(std::move(entry));
}

int parser::push_current(const char* expected) {
  const int rc = push_token(std::exchange(token_, {}));
  return rc != 0 ? rc : advance(expected);
}

int parser::boolean_or() {
  int rc = boolean_and();
  while (rc == 0 && token_.token == EXPR_TOKEN_OR) {
    rc = advance(EXPECTED_TERM);
    if (rc == 0) rc = boolean_and();
    if (rc == 0) rc = push_operator(EXPR_TOKEN_OR);
  }
  return rc;
}

int parser::boolean_and() {
  int rc = boolean_not();
  while (rc == 0 && token_.token == EXPR_TOKEN_AND) {
    rc = advance(EXPECTED_TERM);
    if (rc == 0) rc = boolean_not();
    if (rc == 0) rc = push_operator(EXPR_TOKEN_AND);
  }
  return rc;
}

int parser::boolean_not() {
  if (token_.token != EXPR_TOKEN_NOT) return primary();
  int rc = advance(EXPECTED_PRIMARY);
  if (rc == 0) rc = primary();
  if (rc == 0) rc = push_operator(EXPR_TOKEN_NOT);
  return rc;
}

int parser::primary() {
  switch (token_.token) {
    case EXPR_TOKEN_LEFT_PARENTHESIS:
      return parenthesis();
    case EXPR_TOKEN_SET_PATTERN:
    case EXPR_TOKEN_DBPUT:
    case EXPR_TOKEN_DBUPDATE:
    case EXPR_TOKEN_DBDELETE:
      return push_current(behind_test());
    case EXPR_TOKEN_NAME:
    case EXPR_TOKEN_RECNO:
    case EXPR_TOKEN_TIMESTAMP:
      return relation();
    default:
      return EXPR_ERROR_SYNTAX;
  }
}

int parser::parenthesis() {
  if (nesting_ == EXPR_MAX_NESTING) {
    return too_complex(EXPECTED_FEWER_PARENTHESES);
  }
  ++nesting_;
  int rc = advance(EXPECTED_TERM);
  if (rc == 0) rc = boolean_or();
  if (rc != 0) return rc;
  if (token_.token != EXPR_TOKEN_RIGHT_PARENTHESIS) {
    return EXPR_ERROR_PARENTHESIS;
  }
  --nesting_;
  return advance(behind_test());
}

int parser::relation() {
  const expr_token left = token_.token;
  int rc = push_current(EXPECTED_OPERATOR);
  if (rc != 0) return rc;
  const expr_token code = token_.token;
  if (code == EXPR_TOKEN_BETWEEN) return relation_between(left);
  if (!is_relational(code)) return EXPR_ERROR_SYNTAX;
  rc = advance(expected_value(left));
  if (rc == 0) rc = relation_push_value(left, behind_test());
  if (rc == 0) rc = push_operator(code);
  return rc;
}

int parser::relation_between(expr_token left) {
  int rc = advance(expected_value(left));
  if (rc == 0) rc = relation_push_value(left, EXPECTED_UPPER_VALUE);
  if (rc == 0 && token_.token == EXPR_TOKEN_AND) {
    rc = advance(expected_value(left));
  }
  if (rc == 0) rc = relation_push_value(left, behind_test());
  if (rc == 0) rc = push_operator(EXPR_TOKEN_BETWEEN);
  return rc;
}

int parser::relation_push_value(expr_token left, const char* expected) {
  if (token_.token != EXPR_TOKEN_VALUE) return EXPR_ERROR_SYNTAX;
  if (left == EXPR_TOKEN_NAME && token_.kind == EXPR_KIND_TIME) {
    return EXPR_ERROR_SYNTAX;
  }
  if (left == EXPR_TOKEN_TIMESTAMP && token_.kind != EXPR_KIND_TIME) {
    return EXPR_ERROR_TIME;
  }
  if (left == EXPR_TOKEN_RECNO) {
    if (token_.kind != EXPR_KIND_NUMBER) return EXPR_ERROR_NUMBER;
    const int rc = convert_recno();
    if (rc != 0) return rc;
  }
  return push_current(expected);
}

// Record numbers are unsigned 32-bit. strtoul takes a minus sign and wraps the
// number round, the most negative ones to small numbers.
int parser::convert_recno() {
  char* end = nullptr;
  errno = 0;
  const unsigned long number = std::strtoul(token_.text.c_str(), &end, 10);
  const bool is_negative = token_.text.front() == '-' && number != 0;
  if (errno != 0 || *end != '\0' || is_negative ||
      number > std::numeric_limits<std::uint32_t>::max()) {
    return EXPR_ERROR_RANGE;
  }
  token_.kind = EXPR_KIND_UNSIGNED;
  token_.number = static_cast<std::int64_t>(number);
  token_.text.clear();
  return 0;
}

}  // namespace

int expr_compile(compiled_expr* expr, const char* expr_s,
                 expr_error_place* place) {
  assert(expr);
  assert(expr_s);
  expr->entries.clear();
  try {
    parser text(*expr, expr_s);
    const int rc = text.parse();
    if (rc != 0 && place != nullptr) *place = text.place();
    return rc;
  } catch (const std::bad_alloc&) {
    return EXPR_ERROR_MEMORY;
  }
}
