#include "util/chronex/filter/expr_eval.h"

#include <array>
#include <cassert>
#include <cstddef>
#include <optional>

#include "util/chronex/tables/session.h"

expr_evaluator::expr_evaluator(const compiled_expr* expr)
    : identity_(std::make_shared<const char>()) {
  assert(expr);
  steps_ = expr_plan(*expr);
}

int expr_evaluator::expr_eval(const filter_context& context) {
  std::array<bool, EXPR_STACK_SIZE + 1> truths;
  std::size_t depth = 0;
  for (expr_step& step : steps_) {
    switch (step.action) {
      case expr_action::both:
        --depth;
        truths[depth - 1] = truths[depth - 1] && truths[depth];
        break;
      case expr_action::either:
        --depth;
        truths[depth - 1] = truths[depth - 1] || truths[depth];
        break;
      case expr_action::opposite:
        truths[depth - 1] = !truths[depth - 1];
        break;
      case expr_action::set_pattern: {
        const std::optional<bool> matches =
            expr_filter_set_pattern(context, *step.value, step.set_matches);
        if (!matches) return EXPR_ERROR_SYNTAX;
        truths[depth++] = *matches;
        break;
      }
      case expr_action::error:
        return step.error;
      default:
        truths[depth++] = test(step, context);
    }
  }
  return truths[depth - 1] ? EXPR_HOLDS : EXPR_FAILS;
}

// The tests that cannot fail.
bool expr_evaluator::test(expr_step& step, const filter_context& context) {
  switch (step.action) {
    case expr_action::operation:
      return expr_filter_image_op(context, step.code);
    case expr_action::record_number:
      return expr_compare(step.code,
                          expr_filter_recno(context, step.value->number));
    case expr_action::time:
      return expr_compare(step.code,
                          expr_filter_timestamp(context, step.value->number));
    case expr_action::item:
      return expr_filter_item_value(context, step.code, *step.name, *step.value,
                                    step.places);
    case expr_action::attribute:
      return expr_filter_session_attribute(context, step.code, *step.name,
                                           *step.value, step.attribute);
    default:
      return test_sign_on(step, context);
  }
}

bool expr_evaluator::test_sign_on(const expr_step& step,
                                  const filter_context& context) {
  sign_on_verdicts& verdicts = context.session->verdicts;
  if (verdicts.filter != identity_) verdicts = {identity_, 0, 0};
  if ((verdicts.known & step.verdict) == 0) {
    const bool holds = expr_filter_session_attribute(
        context, step.code, *step.name, *step.value, step.attribute);
    verdicts.known |= step.verdict;
    if (holds) verdicts.holds |= step.verdict;
  }
  return (verdicts.holds & step.verdict) != 0;
}
