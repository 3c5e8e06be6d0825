#include "common/ko_log.h"

#include <cstdarg>
#include <cstdio>

void ko__Log(int /*category*/, int level, const char* format, ...) {
  if (level != 0) return;
  std::va_list arguments;
  va_start(arguments, format);
  std::vfprintf(stderr, format, arguments);
  va_end(arguments);
}
