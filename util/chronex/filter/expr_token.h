#ifndef CHRONEX_UTIL_CHRONEX_FILTER_EXPR_TOKEN_H
#define CHRONEX_UTIL_CHRONEX_FILTER_EXPR_TOKEN_H

// The tokenizer of filter expressions.

#include <string_view>

#include "util/chronex/filter/expr.h"

// Moves the start of `rest` to the next token, behind white space and comments.
void skip_to_token(std::string_view& rest);

// Reads the token that `rest` begins with, white space and comments skipped,
// into `token`, and moves the start of `rest` behind it. Returns 0 or a
// negative EXPR_ERROR_ code, with `token` then undefined. The text must end in
// a NUL that `rest` does not count. Throws std::bad_alloc when there is no
// memory for the token's text.
int next_token(std::string_view& rest, expr_entry& token);

#endif  // CHRONEX_UTIL_CHRONEX_FILTER_EXPR_TOKEN_H
