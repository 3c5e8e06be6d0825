#ifndef CHRONEX_UTIL_CHRONEX_FILTER_EXPR_EVAL_H
#define CHRONEX_UTIL_CHRONEX_FILTER_EXPR_EVAL_H

// The evaluator of compiled filter expressions.

#include <cstddef>

#include "util/chronex/filter/expr.h"
#include "util/chronex/filter/filter_context.h"

// Results of expr_eval besides the negative EXPR_ERROR_ codes.
inline constexpr int EXPR_HOLDS = 1;
inline constexpr int EXPR_FAILS = 2;

// Entries of the evaluation stack.
inline constexpr std::size_t EXPR_STACK_SIZE = 50;

// Evaluates the expression for an event: EXPR_HOLDS, EXPR_FAILS or a negative
// EXPR_ERROR_ code, for the caller to print. AND and OR evaluate both sides, so
// an error on either counts. Allocates nothing; the entries keep what they
// learn of the event's data set.
int expr_eval(compiled_expr* expr, const filter_context& context);

#endif  // CHRONEX_UTIL_CHRONEX_FILTER_EXPR_EVAL_H
