#ifndef CHRONEX_UTIL_CHRONEX_FILTER_EXPR_PLAN_H
#define CHRONEX_UTIL_CHRONEX_FILTER_EXPR_PLAN_H

// The steps in which an expression is evaluated.
//
// The entries of a compiled expression work on a stack of EXPR_STACK_SIZE
// places, on which operands of relations wait beside truth values:
// `RECNO > 10` takes two places and leaves one. How full that stack is at an
// entry, and whether the entry finds the operands it needs, is the same for
// every event. So the entries are walked through once, ahead of all events, and
// become steps that have their operands with them and leave truth values only.
// Where the walk meets an error, the steps end with one that gives it: an
// evaluation that gets there fails, be it of the first event or of the last.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "util/chronex/filter/expr.h"
#include "util/chronex/filter/filter_record.h"
#include "util/chronex/filter/session_attribute.h"

// Places of the stack.
inline constexpr std::size_t EXPR_STACK_SIZE = 50;

// Tests of sign-on attributes, counted from the front of the expression, whose
// results are kept with each session, one bit a test. Further ones search the
// session's sign-on data, up to 64 kB a string, for every event.
inline constexpr int EXPR_KEPT_ATTRIBUTES = 64;

enum class expr_action {
  // Tests that push a truth value.
  set_pattern,
  operation,
  record_number,
  time,
  item,
  attribute,          // of a session
  sign_on_attribute,  // the same, with the result kept in the session
  // What combines the two latest truth values, or changes the latest one.
  both,
  either,
  opposite,
  // Ends the evaluation.
  error,
};

struct expr_step {
  expr_action action = expr_action::error;
  // The operator of a relation, or the operation.
  expr_token code = EXPR_TOKEN_END;
  // The operands of a relation; `value` is also a data set pattern. Both are
  // the expression's.
  const expr_entry* name = nullptr;
  const expr_entry* value = nullptr;
  // The EXPR_ERROR_ code of an error.
  int error = 0;
  attribute_value attribute{};
  // The bit of sign_on_verdicts that is this step's.
  std::uint64_t verdict = 0;
  // What evaluations have learned of the latest data sets, in a set pattern and
  // an item relation.
  learned_slots<set_match> set_matches{};
  learned_slots<item_place> places{};
};

// The steps of an expression that was compiled without error; it must outlive
// them. Unless they end with an error they leave one truth value, and at no
// time more than EXPR_STACK_SIZE + 1. Throws std::bad_alloc.
std::vector<expr_step> expr_plan(const compiled_expr& expr);

#endif  // CHRONEX_UTIL_CHRONEX_FILTER_EXPR_PLAN_H
