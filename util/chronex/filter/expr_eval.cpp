#include "util/chronex/filter/expr_eval.h"

#include <cassert>
#include <cstddef>
#include <span>

#include "util/chronex/filter/filter_record.h"
#include "util/chronex/filter/session_attribute.h"

namespace {

// Whether the relation holds: 1 or 0, or a negative error code.
int relational_result(const filter_context& context, expr_token code,
                      const expr_entry& left, expr_entry& right) {
  switch (left.kind) {
    case EXPR_KIND_NAME:
      if (right.kind == EXPR_KIND_BRACE) {
        return expr_filter_session_attribute(context, code, left, right);
      }
      if (right.kind == EXPR_KIND_NUMBER || right.kind == EXPR_KIND_STRING) {
        const int truth = expr_filter_item_value(context, code, left, right);
        return truth < 0 ? EXPR_ERROR_ARGUMENT : truth;
      }
      return EXPR_ERROR_SYNTAX;
    case EXPR_KIND_RECNO:
      if (right.kind != EXPR_KIND_UNSIGNED) return EXPR_ERROR_SYNTAX;
      return expr_compare(code, expr_filter_recno(context, right.number));
    case EXPR_KIND_TIMESTAMP:
      if (right.kind != EXPR_KIND_TIME) return EXPR_ERROR_SYNTAX;
      return expr_compare(code, expr_filter_timestamp(context, right.number));
    default:
      return EXPR_ERROR_SYNTAX;
  }
}

// Walks over the entries from front to back. A relation is applied as a whole,
// since its left operand, its value or two and its operator stand together; so
// only truth values wait on the stack.
class evaluator {
 public:
  evaluator(std::span<expr_entry> entries, const filter_context& context)
      : rest_(entries), context_(context) {}

  int run();

 private:
  int step();
  int apply_relation();
  int apply_set_pattern();
  int apply_boolean(expr_token code);
  int apply_not();

  // Whether that many operands find room on the stack.
  bool has_room(std::size_t operands) const {
    return depth_ + operands <= EXPR_STACK_SIZE;
  }
  // Takes `count` entries and pushes the truth value they stand for, 1 or 0, or
  // passes on a negative error code.
  int finish(std::size_t count, int truth);

  std::span<expr_entry> rest_;
  const filter_context& context_;
  std::size_t depth_ = 0;
  bool stack_[EXPR_STACK_SIZE];
};

int evaluator::run() {
  while (!rest_.empty()) {
    const int rc = step();
    if (rc != 0) return rc;
  }
  if (depth_ == 0) return EXPR_ERROR_UNDERFLOW;
  return stack_[depth_ - 1] ? EXPR_HOLDS : EXPR_FAILS;
}

int evaluator::step() {
  const expr_token code = rest_.front().token;
  switch (code) {
    case EXPR_TOKEN_NAME:
    case EXPR_TOKEN_RECNO:
    case EXPR_TOKEN_TIMESTAMP:
      return apply_relation();
    case EXPR_TOKEN_SET_PATTERN:
      return apply_set_pattern();
    case EXPR_TOKEN_DBPUT:
    case EXPR_TOKEN_DBUPDATE:
    case EXPR_TOKEN_DBDELETE:
      return finish(1, expr_filter_image_op(context_, code));
    case EXPR_TOKEN_OR:
    case EXPR_TOKEN_AND:
      return apply_boolean(code);
    case EXPR_TOKEN_NOT:
      return apply_not();
    default:
      return EXPR_ERROR_SYNTAX;
  }
}

int evaluator::finish(std::size_t count, int truth) {
  if (truth < 0) return truth;
  if (!has_room(1)) return EXPR_ERROR_COMPLEX;
  rest_ = rest_.subspan(count);
  stack_[depth_] = truth != 0;
  ++depth_;
  return 0;
}

int evaluator::apply_relation() {
  if (!has_room(2)) return EXPR_ERROR_COMPLEX;
  if (rest_.size() < 3) return EXPR_ERROR_SYNTAX;
  const expr_entry& left = rest_[0];
  const expr_token code = rest_[2].token;
  if (code != EXPR_TOKEN_VALUE) {
    return finish(3, relational_result(context_, code, left, rest_[1]));
  }
  if (!has_room(3)) return EXPR_ERROR_COMPLEX;
  if (rest_.size() < 4 || rest_[3].token != EXPR_TOKEN_BETWEEN) {
    return EXPR_ERROR_SYNTAX;
  }
  const int above =
      relational_result(context_, EXPR_TOKEN_GREATER_EQUAL, left, rest_[1]);
  if (above < 0) return above;
  const int below =
      relational_result(context_, EXPR_TOKEN_LESS_EQUAL, left, rest_[2]);
  if (below < 0) return below;
  return finish(4, above != 0 && below != 0);
}

int evaluator::apply_set_pattern() {
  expr_entry& pattern = rest_.front();
  if (pattern.kind != EXPR_KIND_STRING) return EXPR_ERROR_SYNTAX;
  const int truth = expr_filter_set_pattern(context_, pattern);
  return finish(1, truth < 0 ? EXPR_ERROR_SYNTAX : truth);
}

int evaluator::apply_boolean(expr_token code) {
  if (depth_ < 2) return EXPR_ERROR_UNDERFLOW;
  const bool right = stack_[depth_ - 1];
  const bool left = stack_[depth_ - 2];
  depth_ -= 2;
  return finish(1, code == EXPR_TOKEN_AND ? left && right : left || right);
}

int evaluator::apply_not() {
  if (depth_ < 1) return EXPR_ERROR_UNDERFLOW;
  --depth_;
  return finish(1, !stack_[depth_]);
}

}  // namespace

int expr_eval(compiled_expr* expr, const filter_context& context) {
  assert(expr);
  return evaluator(expr->entries, context).run();
}
