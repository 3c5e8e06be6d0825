#include "util/chronex/filter/filter.h"

#include <cassert>
#include <cerrno>
#include <cstring>
#include <new>
#include <utility>

#include "util/chronex/filter/expr_compile.h"

void run_filter::print_no_memory(const char* call) {
  errno = ENOMEM;
  messages_.perror(call);
}

int run_filter::store_text(const char* text) {
  try {
    filter_expr_str_ = text;
    return 0;
  } catch (const std::bad_alloc&) {
    filter_expr_str_.reset();
    print_no_memory("strdup");
    messages_.print("Unable to allocate %u bytes\n",
                    static_cast<unsigned>(std::strlen(text) + 1));
    return -1;
  }
}

int run_filter::append_filter_expr(const char* text) {
  if (!filter_expr_str_) return store_text(text);
  try {
    std::string combined = "(" + *filter_expr_str_ + ")AND(" + text + ")";
    filter_expr_str_ = std::move(combined);
    return 0;
  } catch (const std::bad_alloc&) {
    print_no_memory("malloc");
    messages_.print(
        "Unable to allocate %d bytes\n",
        static_cast<int>(filter_expr_str_->size() + std::strlen(text) + 8));
    return -1;
  }
}

int run_filter::setup_filter_expr() {
  assert(!has_filter_expr());
  if (!filter_expr_str_) return 0;
  int rc = expr_compile(&filter_expr_, filter_expr_str_->c_str());
  if (rc == 0) {
    try {
      evaluator_.emplace(&filter_expr_);
    } catch (const std::bad_alloc&) {
      rc = EXPR_ERROR_MEMORY;
    }
  }
  if (rc == 0) return 0;
  messages_.print("Error in filter expression: %s\n", verbose_expr_rc(rc));
  return -1;
}

event_selection run_filter::evaluate(const filter_context& context) {
  const int result = evaluator_->expr_eval(context);
  if (result == EXPR_HOLDS) return event_selection::selected;
  if (result == EXPR_FAILS) return event_selection::rejected;
  failure_ = format_text("Failed to evaluate filter expression: %s",
                         verbose_expr_rc(result));
  messages_.print("%s\n", failure_.c_str());
  return event_selection::failed;
}
