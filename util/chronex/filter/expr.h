#ifndef CHRONEX_UTIL_CHRONEX_FILTER_EXPR_H
#define CHRONEX_UTIL_CHRONEX_FILTER_EXPR_H

// The compiled form of a filter expression and its error codes.
//
// An expression is compiled once (expr_compile.h) into a list of entries in
// postfix order and evaluated for every event (expr_eval.h). An entry is a
// token with its value: `RECNO > 10` becomes RECNO, 10, >. Once compiled it
// never changes; what evaluation learns is the evaluator's.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

enum expr_token : int {
  EXPR_TOKEN_END = -1,
  EXPR_TOKEN_VALUE = 0,        // a literal; its kind tells which
  EXPR_TOKEN_SET_PATTERN = 1,  // database.set, each part a wildcard pattern
  EXPR_TOKEN_NAME = 2,         // an item or a session attribute
  EXPR_TOKEN_RECNO = 3,
  EXPR_TOKEN_TIMESTAMP = 4,
  EXPR_TOKEN_DBPUT = 5,
  EXPR_TOKEN_DBUPDATE = 6,
  EXPR_TOKEN_DBDELETE = 7,
  EXPR_TOKEN_OR = 8,
  EXPR_TOKEN_AND = 9,
  EXPR_TOKEN_NOT = 10,
  EXPR_TOKEN_LESS = 11,
  EXPR_TOKEN_LESS_EQUAL = 12,
  EXPR_TOKEN_EQUAL = 13,
  EXPR_TOKEN_NOT_EQUAL = 14,
  EXPR_TOKEN_GREATER_EQUAL = 15,
  EXPR_TOKEN_GREATER = 16,
  EXPR_TOKEN_BETWEEN = 17,
  EXPR_TOKEN_LEFT_PARENTHESIS = 18,
  EXPR_TOKEN_RIGHT_PARENTHESIS = 19,
};

enum expr_kind : int {
  EXPR_KIND_NONE = 0,       // operators and keywords without a value
  EXPR_KIND_RECNO = 1,      // the record number of the event
  EXPR_KIND_TIMESTAMP = 2,  // the time of the event
  EXPR_KIND_UNSIGNED = 3,   // number: a record number or a truth value
  EXPR_KIND_NUMBER = 4,     // text: a number exactly as written
  EXPR_KIND_STRING = 5,     // text: a string, or a data set pattern
  EXPR_KIND_NAME = 6,       // text: a name
  EXPR_KIND_BRACE = 7,      // text: the inside of {...}
  EXPR_KIND_TIME = 8,       // number: seconds since the epoch
};

// Errors of expr_compile and expr_eval.
inline constexpr int EXPR_ERROR_MEMORY = -1;
inline constexpr int EXPR_ERROR_UNDERFLOW = -2;
inline constexpr int EXPR_ERROR_COMPLEX = -3;
inline constexpr int EXPR_ERROR_SYNTAX = -4;
inline constexpr int EXPR_ERROR_NUMBER = -5;
inline constexpr int EXPR_ERROR_TIME = -6;
inline constexpr int EXPR_ERROR_PARENTHESIS = -7;
inline constexpr int EXPR_ERROR_RANGE = -8;
inline constexpr int EXPR_ERROR_ARGUMENT = -9;

// The most entries that a compiled expression may hold.
inline constexpr std::size_t EXPR_MAX_ENTRIES = 1000;

// The number is 64 bits wide so that differences to unsigned 32-bit record
// numbers and times are exact.
struct expr_entry {
  expr_token token = EXPR_TOKEN_END;
  expr_kind kind = EXPR_KIND_NONE;
  std::int64_t number = 0;
  std::string text;
};

struct compiled_expr {
  std::vector<expr_entry> entries;  // at most EXPR_MAX_ENTRIES
};

// Tells whether the operator, EXPR_TOKEN_LESS to EXPR_TOKEN_GREATER, holds for
// a left operand that exceeds its value by `difference`.
bool expr_compare(expr_token code, std::int64_t difference);

// The fixed message text of an error code; "syntax error" for an unknown one.
const char* verbose_expr_rc(int code);

#endif  // CHRONEX_UTIL_CHRONEX_FILTER_EXPR_H
