#include "util/chronex/filter/filter.h"

#include <cassert>
#include <cerrno>
#include <cstring>
#include <new>
#include <optional>
#include <string>
#include <utility>

#include "util/chronex/filter/expr_compile.h"
#include "util/chronex/report/report.h"

compiled_expr filter_expr;
bool has_filter_expr = false;

namespace {

// All texts added so far, as one expression.
std::optional<std::string> filter_expr_str;

void print_no_memory(const char* call) {
  errno = ENOMEM;
  message_perror(call);
}

int store_text(const char* text) {
  try {
    filter_expr_str = text;
    return 0;
  } catch (const std::bad_alloc&) {
    print_no_memory("strdup");
    message("Unable to allocate %u bytes\n",
            static_cast<unsigned>(std::strlen(text) + 1));
    return -1;
  }
}

}  // namespace

int append_filter_expr(const char* text) {
  if (!filter_expr_str) return store_text(text);
  try {
    std::string combined = "(" + *filter_expr_str + ")AND(" + text + ")";
    filter_expr_str = std::move(combined);
    return 0;
  } catch (const std::bad_alloc&) {
    print_no_memory("malloc");
    message("Unable to allocate %d bytes\n",
            static_cast<int>(filter_expr_str->size() + std::strlen(text) + 8));
    return -1;
  }
}

int setup_filter_expr() {
  assert(!has_filter_expr);
  if (!filter_expr_str) return 0;
  const int rc = expr_compile(&filter_expr, filter_expr_str->c_str());
  if (rc != 0) {
    message("Error in filter expression: %s\n", verbose_expr_rc(rc));
    return -1;
  }
  has_filter_expr = true;
  return 0;
}
