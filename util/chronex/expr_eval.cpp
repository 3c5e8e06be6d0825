#include "util/chronex/expr_eval.h"

#include <cassert>
#include <cstdint>

#include "util/chronex/filter_record.h"
#include "util/chronex/session_attribute.h"

namespace {

// A value on the stack: a number, or the entry that holds the text.
struct operand {
  expr_kind kind;
  std::int64_t number;
  expr_entry* entry;
};

class evaluator {
 public:
  explicit evaluator(const filter_context& context) : context_(context) {}

  int apply(expr_entry& entry);
  int result();

 private:
  int push(expr_kind kind, std::int64_t number, expr_entry* entry);
  // Pushes the truth value 1 or 0, or passes on a negative error code.
  int push_truth(int truth);
  int pop(operand& value);
  int pop_truth(bool& truth);

  int apply_set_pattern(expr_entry& pattern);
  int apply_boolean(expr_token code);
  int apply_not();
  int apply_relation(expr_token code);
  int apply_between();
  int relational_result(expr_token code, const operand& left,
                        const operand& right);

  const filter_context& context_;
  operand stack_[EXPR_STACK_SIZE];
  std::size_t depth_ = 0;
};

int evaluator::push(expr_kind kind, std::int64_t number, expr_entry* entry) {
  if (depth_ == EXPR_STACK_SIZE) return EXPR_ERROR_COMPLEX;
  stack_[depth_] = {kind, number, entry};
  ++depth_;
  return 0;
}

int evaluator::push_truth(int truth) {
  return truth < 0 ? truth : push(EXPR_KIND_UNSIGNED, truth, nullptr);
}

int evaluator::pop(operand& value) {
  if (depth_ == 0) return EXPR_ERROR_UNDERFLOW;
  --depth_;
  value = stack_[depth_];
  return 0;
}

int evaluator::pop_truth(bool& truth) {
  operand value = {};
  const int rc = pop(value);
  if (rc != 0) return rc;
  truth = value.number != 0;
  return value.kind == EXPR_KIND_UNSIGNED ? 0 : EXPR_ERROR_SYNTAX;
}

int evaluator::apply(expr_entry& entry) {
  switch (entry.token) {
    case EXPR_TOKEN_VALUE:
    case EXPR_TOKEN_NAME:
    case EXPR_TOKEN_RECNO:
    case EXPR_TOKEN_TIMESTAMP:
      return push(entry.kind, entry.number, &entry);
    case EXPR_TOKEN_SET_PATTERN:
      return apply_set_pattern(entry);
    case EXPR_TOKEN_DBPUT:
    case EXPR_TOKEN_DBUPDATE:
    case EXPR_TOKEN_DBDELETE:
      return push_truth(expr_filter_image_op(context_, entry.token));
    case EXPR_TOKEN_OR:
    case EXPR_TOKEN_AND:
      return apply_boolean(entry.token);
    case EXPR_TOKEN_NOT:
      return apply_not();
    case EXPR_TOKEN_LESS:
    case EXPR_TOKEN_LESS_EQUAL:
    case EXPR_TOKEN_EQUAL:
    case EXPR_TOKEN_NOT_EQUAL:
    case EXPR_TOKEN_GREATER_EQUAL:
    case EXPR_TOKEN_GREATER:
      return apply_relation(entry.token);
    case EXPR_TOKEN_BETWEEN:
      return apply_between();
    default:
      return EXPR_ERROR_SYNTAX;
  }
}

int evaluator::result() {
  operand value = {};
  const int rc = pop(value);
  if (rc != 0) return rc;
  return value.number != 0 ? EXPR_HOLDS : EXPR_FAILS;
}

int evaluator::apply_set_pattern(expr_entry& pattern) {
  if (pattern.kind != EXPR_KIND_STRING) return EXPR_ERROR_SYNTAX;
  const int truth = expr_filter_set_pattern(context_, pattern);
  return push_truth(truth < 0 ? EXPR_ERROR_SYNTAX : truth);
}

int evaluator::apply_boolean(expr_token code) {
  bool right = false;
  bool left = false;
  int rc = pop_truth(right);
  if (rc == 0) rc = pop_truth(left);
  if (rc != 0) return rc;
  return push_truth(code == EXPR_TOKEN_AND ? left && right : left || right);
}

int evaluator::apply_not() {
  bool truth = false;
  const int rc = pop_truth(truth);
  return rc != 0 ? rc : push_truth(!truth);
}

int evaluator::apply_relation(expr_token code) {
  operand right = {};
  operand left = {};
  int rc = pop(right);
  if (rc == 0) rc = pop(left);
  if (rc != 0) return rc;
  return push_truth(relational_result(code, left, right));
}

int evaluator::apply_between() {
  operand upper = {};
  operand lower = {};
  operand left = {};
  int rc = pop(upper);
  if (rc == 0) rc = pop(lower);
  if (rc == 0) rc = pop(left);
  if (rc != 0) return rc;
  const int above = relational_result(EXPR_TOKEN_GREATER_EQUAL, left, lower);
  if (above < 0) return above;
  const int below = relational_result(EXPR_TOKEN_LESS_EQUAL, left, upper);
  if (below < 0) return below;
  return push_truth(above != 0 && below != 0);
}

int evaluator::relational_result(expr_token code, const operand& left,
                                 const operand& right) {
  if (left.kind == EXPR_KIND_NAME && right.kind == EXPR_KIND_BRACE) {
    return expr_filter_session_attribute(context_, code, *left.entry,
                                         *right.entry);
  }
  if (left.kind == EXPR_KIND_NAME &&
      (right.kind == EXPR_KIND_NUMBER || right.kind == EXPR_KIND_STRING)) {
    const int truth =
        expr_filter_item_value(context_, code, *left.entry, *right.entry);
    return truth < 0 ? EXPR_ERROR_ARGUMENT : truth;
  }
  if (left.kind == EXPR_KIND_RECNO && right.kind == EXPR_KIND_UNSIGNED) {
    return expr_compare(code, expr_filter_recno(context_, right.number));
  }
  if (left.kind == EXPR_KIND_TIMESTAMP && right.kind == EXPR_KIND_TIME) {
    return expr_compare(code, expr_filter_timestamp(context_, right.number));
  }
  return EXPR_ERROR_SYNTAX;
}

}  // namespace

int expr_eval(compiled_expr* expr, const filter_context& context) {
  assert(expr);
  evaluator run(context);
  for (expr_entry& entry : expr->entries) {
    const int rc = run.apply(entry);
    if (rc != 0) return rc;
  }
  return run.result();
}
