#include "util/chronex/filter/selection.h"

#include "util/chronex/filter/expr.h"
#include "util/chronex/filter/expr_eval.h"
#include "util/chronex/filter/filter.h"
#include "util/chronex/report/report.h"

int select_event(const filter_context& context) {
  if (!has_filter_expr) return EVENT_SELECTED;
  const int result = expr_eval(&filter_expr, context);
  if (result == EXPR_HOLDS) return EVENT_SELECTED;
  if (result == EXPR_FAILS) return EVENT_REJECTED;
  message("Failed to evaluate filter expression: %s\n",
          verbose_expr_rc(result));
  return -1;
}
