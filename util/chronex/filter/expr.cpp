#include "util/chronex/filter/expr.h"

bool expr_compare(expr_token code, std::int64_t difference) {
  switch (code) {
    case EXPR_TOKEN_LESS:
      return difference < 0;
    case EXPR_TOKEN_LESS_EQUAL:
      return difference <= 0;
    case EXPR_TOKEN_EQUAL:
      return difference == 0;
    case EXPR_TOKEN_NOT_EQUAL:
      return difference != 0;
    case EXPR_TOKEN_GREATER_EQUAL:
      return difference >= 0;
    case EXPR_TOKEN_GREATER:
      return difference > 0;
    default:
      return false;
  }
}

const char* verbose_expr_rc(int code) {
  switch (code) {
    case EXPR_ERROR_MEMORY:
      return "memory allocation failed";
    case EXPR_ERROR_UNDERFLOW:
      return "expression stack underflow";
    case EXPR_ERROR_COMPLEX:
      return "expression too complex";
    case EXPR_ERROR_NUMBER:
      return "number expected";
    case EXPR_ERROR_TIME:
      return "date/time expected";
    case EXPR_ERROR_PARENTHESIS:
      return "right paranthesis expected";
    case EXPR_ERROR_RANGE:
      return "numeric value out of range";
    case EXPR_ERROR_ARGUMENT:
      return "incorrect argument";
    default:
      return "syntax error";
  }
}
