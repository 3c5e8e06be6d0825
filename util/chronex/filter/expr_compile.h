#ifndef CHRONEX_UTIL_CHRONEX_FILTER_EXPR_COMPILE_H
#define CHRONEX_UTIL_CHRONEX_FILTER_EXPR_COMPILE_H

// The compiler of filter expressions.
//
//   expression:  and-term { OR and-term }
//   and-term:    not-term { AND not-term }
//   not-term:    [ NOT ] primary
//   primary:     '(' expression ')' | data-set-pattern
//              | DBPUT | DBUPDATE | DBDELETE | relation
//   relation:    operand ( < | <= | = | <> | >= | > ) value
//              | operand BETWEEN value [ AND ] value
//   operand:     name | RECNO | TIMESTAMP

#include <cstddef>

#include "util/chronex/filter/expr.h"

// How deep parentheses may nest. The parser recurses, so the limit is what
// keeps a text of nothing but parentheses from running out of stack.
inline constexpr int EXPR_MAX_NESTING = 10000;

// Where a text could not be compiled, for those who show it to its writer.
struct expr_error_place {
  // Where in the text the token begins that could not be used; the text's
  // length when the text ends too early.
  std::size_t offset = 0;
  // What could have stood there, in a few words; a constant.
  const char* expected = "";
};

// Compiles the zero-terminated text `expr_s` into `expr`, whose old entries are
// dropped. Returns 0 or a negative EXPR_ERROR_ code. Tokens are read one ahead,
// and only then: the first error met in that order is the one returned, and
// `expr` then holds a part that must not be evaluated; `place`, which may be
// null, is set to that error's place. Prints nothing.
int expr_compile(compiled_expr* expr, const char* expr_s,
                 expr_error_place* place = nullptr);

#endif  // CHRONEX_UTIL_CHRONEX_FILTER_EXPR_COMPILE_H
