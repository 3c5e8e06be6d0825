#include "util/chronex/report/report.h"

#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>

report_settings report;
int verbose = 0;

void print_conditional_newline() {
  static bool first_entry = true;
  if (report.blank_line != 0 || first_entry) report.fp->put('\n');
  first_entry = false;
}

void report_flush() {
  if (report.fp != nullptr) report.fp->flush();
}

void report_action_done() {
  static const bool watched = isatty(STDOUT_FILENO) == 1;
  if (watched) report_flush();
}

void message(const char* format, ...) {
  report_flush();
  std::va_list arguments;
  va_start(arguments, format);
  std::vfprintf(stderr, format, arguments);
  va_end(arguments);
}

void message_perror(const char* name) {
  const int error = errno;
  report_flush();
  errno = error;
  std::perror(name);
}
