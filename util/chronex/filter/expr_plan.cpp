#include "util/chronex/filter/expr_plan.h"

#include <utility>

namespace {

// What all tests of an expression may learn: of one relation on an item that is
// 262,144 data sets.
constexpr std::size_t LEARNED_BYTES = std::size_t{16} << 20U;
static_assert(sizeof(item_place) == 64);

// The walk over the entries. Its steps return 0 or the error that ends it.
class planner {
 public:
  explicit planner(std::vector<expr_step>& steps) : steps_(steps) {}

  int walk(const compiled_expr& expr);

 private:
  int plan_entry(const expr_entry& entry);
  int plan_set_pattern(const expr_entry& pattern);
  int plan_boolean(expr_action action);
  int plan_not();
  int plan_relation(expr_token code);
  int plan_between();
  int relational_step(expr_token code, const expr_entry* left,
                      const expr_entry* value);
  int name_step(expr_step step);

  // An operand waits as its entry, a truth value as null.
  int push(const expr_entry* operand);
  int push_truth(expr_step step);
  int pop(const expr_entry*& operand);
  int pop_truth();

  std::vector<expr_step>& steps_;
  std::vector<const expr_entry*> stack_;
  int kept_attributes_ = 0;
};

int planner::walk(const compiled_expr& expr) {
  for (const expr_entry& entry : expr.entries) {
    const int rc = plan_entry(entry);
    if (rc != 0) return rc;
  }
  return pop_truth();
}

int planner::plan_entry(const expr_entry& entry) {
  switch (entry.token) {
    case EXPR_TOKEN_VALUE:
    case EXPR_TOKEN_NAME:
    case EXPR_TOKEN_RECNO:
    case EXPR_TOKEN_TIMESTAMP:
      return push(&entry);
    case EXPR_TOKEN_SET_PATTERN:
      return plan_set_pattern(entry);
    case EXPR_TOKEN_DBPUT:
    case EXPR_TOKEN_DBUPDATE:
    case EXPR_TOKEN_DBDELETE:
      return push_truth(
          {.action = expr_action::operation, .code = entry.token});
    case EXPR_TOKEN_OR:
      return plan_boolean(expr_action::either);
    case EXPR_TOKEN_AND:
      return plan_boolean(expr_action::both);
    case EXPR_TOKEN_NOT:
      return plan_not();
    case EXPR_TOKEN_BETWEEN:
      return plan_between();
    default:
      return plan_relation(entry.token);
  }
}

int planner::push(const expr_entry* operand) {
  if (stack_.size() == EXPR_STACK_SIZE) return EXPR_ERROR_COMPLEX;
  stack_.push_back(operand);
  return 0;
}

// A test comes before the place that its result takes.
int planner::push_truth(expr_step step) {
  steps_.push_back(std::move(step));
  return push(nullptr);
}

int planner::pop(const expr_entry*& operand) {
  if (stack_.empty()) return EXPR_ERROR_UNDERFLOW;
  operand = stack_.back();
  stack_.pop_back();
  return 0;
}

int planner::pop_truth() {
  const expr_entry* operand = nullptr;
  const int rc = pop(operand);
  if (rc != 0) return rc;
  return operand == nullptr ? 0 : EXPR_ERROR_SYNTAX;
}

int planner::plan_set_pattern(const expr_entry& pattern) {
  return push_truth({.action = expr_action::set_pattern,
                     .value = &pattern,
                     .set_matches = learned_slots<set_match>(
                         learned_slots<set_match>::LEAST)});
}

int planner::plan_boolean(expr_action action) {
  int rc = pop_truth();
  if (rc == 0) rc = pop_truth();
  return rc != 0 ? rc : push_truth({.action = action});
}

int planner::plan_not() {
  const int rc = pop_truth();
  return rc != 0 ? rc : push_truth({.action = expr_action::opposite});
}

int planner::plan_relation(expr_token code) {
  const expr_entry* value = nullptr;
  const expr_entry* left = nullptr;
  int rc = pop(value);
  if (rc == 0) rc = pop(left);
  if (rc == 0) rc = relational_step(code, left, value);
  return rc != 0 ? rc : push(nullptr);
}

int planner::plan_between() {
  const expr_entry* upper = nullptr;
  const expr_entry* lower = nullptr;
  const expr_entry* left = nullptr;
  int rc = pop(upper);
  if (rc == 0) rc = pop(lower);
  if (rc == 0) rc = pop(left);
  if (rc == 0) rc = relational_step(EXPR_TOKEN_GREATER_EQUAL, left, lower);
  if (rc == 0) rc = relational_step(EXPR_TOKEN_LESS_EQUAL, left, upper);
  return rc != 0 ? rc : push_truth({.action = expr_action::both});
}

int planner::relational_step(expr_token code, const expr_entry* left,
                             const expr_entry* value) {
  if (left == nullptr || value == nullptr) return EXPR_ERROR_SYNTAX;
  expr_step step{.code = code, .name = left, .value = value};
  if (left->kind == EXPR_KIND_NAME) return name_step(std::move(step));
  if (left->kind == EXPR_KIND_RECNO && value->kind == EXPR_KIND_UNSIGNED) {
    step.action = expr_action::record_number;
  } else if (left->kind == EXPR_KIND_TIMESTAMP &&
             value->kind == EXPR_KIND_TIME) {
    step.action = expr_action::time;
  } else {
    return EXPR_ERROR_SYNTAX;
  }
  steps_.push_back(std::move(step));
  return 0;
}

int planner::name_step(expr_step step) {
  const expr_kind kind = step.value->kind;
  if (kind == EXPR_KIND_BRACE) {
    step.action = expr_action::attribute;
    step.attribute = expr_read_attribute_value(*step.name, *step.value);
    if (step.attribute.error != 0) return step.attribute.error;
    if (step.attribute.attribute == session_attribute::sign_on &&
        kept_attributes_ < EXPR_KEPT_ATTRIBUTES) {
      step.action = expr_action::sign_on_attribute;
      step.verdict = std::uint64_t{1} << kept_attributes_++;
    }
  } else if (kind == EXPR_KIND_NUMBER || kind == EXPR_KIND_STRING) {
    step.action = expr_action::item;
    step.places = learned_slots<item_place>(learned_slots<item_place>::LEAST);
  } else {
    return EXPR_ERROR_SYNTAX;
  }
  steps_.push_back(std::move(step));
  return 0;
}

}  // namespace

std::vector<expr_step> expr_plan(const compiled_expr& expr) {
  std::vector<expr_step> steps;
  const int error = planner(steps).walk(expr);
  if (error != 0) {
    steps.push_back({.action = expr_action::error, .error = error});
  }
  for (expr_step& step : steps) {
    step.set_matches.set_limit(LEARNED_BYTES / steps.size());
    step.places.set_limit(LEARNED_BYTES / steps.size());
  }
  return steps;
}
