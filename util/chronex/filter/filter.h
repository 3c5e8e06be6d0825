#ifndef CHRONEX_UTIL_CHRONEX_FILTER_FILTER_H
#define CHRONEX_UTIL_CHRONEX_FILTER_FILTER_H

// The filter of the run: the expression texts of the command line, collected
// and compiled once before the first input file is read.

#include "util/chronex/filter/expr.h"

// The compiled expression, to be evaluated only if the flag is set.
extern compiled_expr filter_expr;
extern bool has_filter_expr;

// Adds a zero-terminated expression text; an event must satisfy all of them.
// Returns 0, or -1 after a message when there is no memory; the texts added
// before are then still there.
int append_filter_expr(const char* text);

// Compiles what was added, at most once per run. Returns 0, or -1 after a
// message about the error; without any text there is no filter and the result
// is 0.
int setup_filter_expr();

#endif  // CHRONEX_UTIL_CHRONEX_FILTER_FILTER_H
