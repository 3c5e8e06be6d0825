#include "util/chronex/messages/messages.h"

#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>

bool is_terminal(int descriptor) {
  const int error = errno;
  const bool terminal = isatty(descriptor) == 1;
  errno = error;
  return terminal;
}

run_messages::run_messages() : on_terminal(is_terminal(STDERR_FILENO)) {}

void run_messages::print(const char* format, ...) {
  if (silent) return;
  make_way();
  std::va_list arguments;
  va_start(arguments, format);
  std::vfprintf(stderr, format, arguments);
  va_end(arguments);
}

void run_messages::perror(const char* name) {
  if (silent) return;
  const int error = errno;
  make_way();
  errno = error;
  std::perror(name);
}

std::string format_text(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  std::va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  va_end(arguments);
  std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
  std::vsnprintf(text.data(), text.size() + 1, format, again);
  va_end(again);
  return text;
}
