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

// One procedure per rule of the grammar. Each expects the first token of its
// rule to be the current one, leaves the first token behind it there, and
// returns 0 or the error that ends the compilation. They keep nothing in their
// frames that nesting could multiply.
class parser {
 public:
  parser(compiled_expr& expr, std::string_view text)
      : expr_(expr), rest_(text) {}

  int parse();

 private:
  int advance() { return next_token(rest_, token_); }
  int push_token(expr_entry entry);
  int push_operator(expr_token code);
  int push_current();

  int boolean_or();
  int boolean_and();
  int boolean_not();
  int primary();
  int parenthesis();
  int relation();
  int relation_between(expr_token left);
  int relation_push_value(expr_token left);
  int convert_recno();

  compiled_expr& expr_;
  std::string_view rest_;
  expr_entry token_;  // the current token
  int nesting_ = 0;
};

bool is_relational(expr_token code) {
  return code >= EXPR_TOKEN_LESS && code <= EXPR_TOKEN_GREATER;
}

int parser::parse() {
  int rc = advance();
  if (rc == 0) rc = boolean_or();
  if (rc != 0) return rc;
  return token_.token == EXPR_TOKEN_END ? 0 : EXPR_ERROR_SYNTAX;
}

int parser::push_token(expr_entry entry) {
  if (expr_.entries.size() >= EXPR_MAX_ENTRIES) return EXPR_ERROR_COMPLEX;
  expr_.entries.push_back(std::move(entry));
  return 0;
}

int parser::push_operator(expr_token code) {
  expr_entry entry;
  entry.token = code;
  return push_token(std::move(entry));
}

int parser::push_current() {
  const int rc = push_token(std::exchange(token_, {}));
  return rc != 0 ? rc : advance();
}

int parser::boolean_or() {
  int rc = boolean_and();
  while (rc == 0 && token_.token == EXPR_TOKEN_OR) {
    rc = advance();
    if (rc == 0) rc = boolean_and();
    if (rc == 0) rc = push_operator(EXPR_TOKEN_OR);
  }
  return rc;
}

int parser::boolean_and() {
  int rc = boolean_not();
  while (rc == 0 && token_.token == EXPR_TOKEN_AND) {
    rc = advance();
    if (rc == 0) rc = boolean_not();
    if (rc == 0) rc = push_operator(EXPR_TOKEN_AND);
  }
  return rc;
}

int parser::boolean_not() {
  if (token_.token != EXPR_TOKEN_NOT) return primary();
  int rc = advance();
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
      return push_current();
    case EXPR_TOKEN_NAME:
    case EXPR_TOKEN_RECNO:
    case EXPR_TOKEN_TIMESTAMP:
      return relation();
    default:
      return EXPR_ERROR_SYNTAX;
  }
}

int parser::parenthesis() {
  if (nesting_ == EXPR_MAX_NESTING) return EXPR_ERROR_COMPLEX;
  ++nesting_;
  int rc = advance();
  if (rc == 0) rc = boolean_or();
  if (rc != 0) return rc;
  if (token_.token != EXPR_TOKEN_RIGHT_PARENTHESIS) {
    return EXPR_ERROR_PARENTHESIS;
  }
  --nesting_;
  return advance();
}

int parser::relation() {
  const expr_token left = token_.token;
  int rc = push_current();
  if (rc != 0) return rc;
  const expr_token code = token_.token;
  if (code == EXPR_TOKEN_BETWEEN) return relation_between(left);
  if (!is_relational(code)) return EXPR_ERROR_SYNTAX;
  rc = advance();
  if (rc == 0) rc = relation_push_value(left);
  if (rc == 0) rc = push_operator(code);
  return rc;
}

int parser::relation_between(expr_token left) {
  int rc = advance();
  if (rc == 0) rc = relation_push_value(left);
  if (rc == 0 && token_.token == EXPR_TOKEN_AND) rc = advance();
  if (rc == 0) rc = relation_push_value(left);
  if (rc == 0) rc = push_operator(EXPR_TOKEN_BETWEEN);
  return rc;
}

int parser::relation_push_value(expr_token left) {
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
  return push_current();
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

int expr_compile(compiled_expr* expr, const char* expr_s) {
  assert(expr);
  assert(expr_s);
  expr->entries.clear();
  try {
    return parser(*expr, expr_s).parse();
  } catch (const std::bad_alloc&) {
    return EXPR_ERROR_MEMORY;
  }
}
