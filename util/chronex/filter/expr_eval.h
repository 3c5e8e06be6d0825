#ifndef CHRONEX_UTIL_CHRONEX_FILTER_EXPR_EVAL_H
#define CHRONEX_UTIL_CHRONEX_FILTER_EXPR_EVAL_H

// The evaluator of compiled filter expressions.

#include <memory>
#include <vector>

#include "util/chronex/filter/expr.h"
#include "util/chronex/filter/expr_plan.h"
#include "util/chronex/filter/filter_context.h"

// Results of expr_eval besides the negative EXPR_ERROR_ codes.
inline constexpr int EXPR_HOLDS = 1;
inline constexpr int EXPR_FAILS = 2;

// Evaluates one expression for one event after another. What it learns on the
// way makes the next evaluation faster and never changes a result.
class expr_evaluator {
 public:
  // `expr` was compiled without error and outlives the evaluator. Throws
  // std::bad_alloc.
  explicit expr_evaluator(const compiled_expr* expr);

  // EXPR_HOLDS, EXPR_FAILS or a negative EXPR_ERROR_ code, for the caller to
  // print. AND and OR evaluate both sides, so an error on either counts.
  // Allocates nothing.
  int expr_eval(const filter_context& context);

 private:
  bool test(expr_step& step, const filter_context& context);
  bool test_sign_on(const expr_step& step, const filter_context& context);

  std::vector<expr_step> steps_;
  // Marks the verdicts in sessions that are this evaluator's.
  std::shared_ptr<const void> identity_;
};

#endif  // CHRONEX_UTIL_CHRONEX_FILTER_EXPR_EVAL_H
