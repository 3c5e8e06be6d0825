#ifndef CHRONEX_UTIL_CHRONEX_FILTER_FILTER_H
#define CHRONEX_UTIL_CHRONEX_FILTER_FILTER_H

// The filter of a run: the expression texts of the command line, collected and
// compiled once before the first input file is read, and then applied to every
// event.

#include <optional>
#include <string>

#include "util/chronex/filter/expr.h"
#include "util/chronex/filter/filter_context.h"
#include "util/chronex/messages/messages.h"

// Results of select_event.
inline constexpr int EVENT_SELECTED = 1;
inline constexpr int EVENT_REJECTED = 0;

class run_filter {
 public:
  explicit run_filter(run_messages& messages) : messages_(messages) {}

  // Adds a zero-terminated expression text; an event must satisfy all of them.
  // Returns 0, or -1 after a message when there is no memory; the texts added
  // before are then still there.
  int append_filter_expr(const char* text);

  // Compiles what was added, at most once per run. Returns 0, or -1 after a
  // message about the error; without any text there is no filter and the result
  // is 0.
  int setup_filter_expr();

  // Applies the filter to an event: EVENT_SELECTED (also when there is no
  // filter), EVENT_REJECTED, or -1 when it could not be evaluated; the message
  // has been printed.
  int select_event(const filter_context& context) {
    return has_filter_expr ? evaluate(context) : EVENT_SELECTED;
  }

  // The compiled expression, to be evaluated only if the flag is set.
  compiled_expr filter_expr;
  bool has_filter_expr = false;

 private:
  int evaluate(const filter_context& context);
  int store_text(const char* text);
  void print_no_memory(const char* call);

  run_messages& messages_;
  // All texts added so far, as one expression.
  std::optional<std::string> filter_expr_str_;
};

#endif  // CHRONEX_UTIL_CHRONEX_FILTER_FILTER_H
