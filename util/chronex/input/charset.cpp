#include "util/chronex/input/charset.h"

const char* charset_name(int id) {
  switch (id) {
    case 0:
      return "hp-roman8";
    case 1:
      return "iso-8859-1";
    default:
      return "unknown";
  }
}
