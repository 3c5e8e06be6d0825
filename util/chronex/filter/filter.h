#ifndef CHRONEX_UTIL_CHRONEX_FILTER_FILTER_H
#define CHRONEX_UTIL_CHRONEX_FILTER_FILTER_H

// The filter of a run: the expression texts of the command line, collected,
// compiled once before the first input file is read, and applied to every
// event.

#include <optional>
#include <string>
#include <string_view>

#include "util/chronex/filter/expr.h"
#include "util/chronex/filter/expr_eval.h"
#include "util/chronex/filter/filter_context.h"
#include "util/chronex/messages/messages.h"

enum class event_selection {
  rejected,
  selected,
  // The filter could not be evaluated; the message has been printed, and
  // failure() has it.
  failed,
};

class run_filter {
 public:
  explicit run_filter(run_messages& messages) : messages_(messages) {}
  // The evaluator refers to the expression beside it.
  run_filter(const run_filter&) = delete;
  run_filter& operator=(const run_filter&) = delete;

  // Adds a zero-terminated expression text; an event must satisfy all of them.
  // Returns 0, or -1 after a message when there is no memory; the texts added
  // before are then still there.
  int append_filter_expr(const char* text);

  // Compiles what was added, at most once. Returns 0, or -1 after a message
  // about the error; without any text there is no filter and the result is 0.
  int setup_filter_expr();

  // Applies the filter to an event; without one every event is selected.
  event_selection select_event(const filter_context& context) {
    return evaluator_ ? evaluate(context) : event_selection::selected;
  }

  // Why the last event could not be selected, without line end.
  const std::string& failure() const { return failure_; }

  // All texts added so far, as one expression.
  std::string_view filter_expr_str() const {
    return filter_expr_str_ ? *filter_expr_str_ : std::string_view();
  }
  bool has_filter_expr() const { return evaluator_.has_value(); }
  // Empty when there is no filter.
  const compiled_expr& filter_expr() const { return filter_expr_; }

 private:
  event_selection evaluate(const filter_context& context);
  int store_text(const char* text);
  void print_no_memory(const char* call);

  run_messages& messages_;
  std::string failure_;
  // Unset until there is a text.
  std::optional<std::string> filter_expr_str_;
  compiled_expr filter_expr_;
  // Set as soon as there is an expression to be evaluated.
  std::optional<expr_evaluator> evaluator_;
};

#endif  // CHRONEX_UTIL_CHRONEX_FILTER_FILTER_H
