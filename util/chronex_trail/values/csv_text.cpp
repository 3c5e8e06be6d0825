#include "util/chronex_trail/values/csv_text.h"

void append_csv_text(std::string& line, std::string_view text) {
  if (!text.empty() && text.find_first_of(",\"\r\n") == text.npos) {
    line += text;
    return;
  }
  line += '"';
  for (const char character : text) {
    if (character == '"') line += '"';
    line += character;
  }
  line += '"';
}
