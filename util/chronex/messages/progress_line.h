#ifndef CHRONEX_UTIL_CHRONEX_MESSAGES_PROGRESS_LINE_H
#define CHRONEX_UTIL_CHRONEX_MESSAGES_PROGRESS_LINE_H

#include <string_view>

// A line at the bottom of the terminal that is standard error, which comes and
// goes without a trace. There is one terminal, so there is one such line.
//
// It is taken back with blanks, which every terminal understands. A signal that
// ends the program takes it back, too.
class progress_line {
 public:
  progress_line() = default;
  progress_line(const progress_line&) = delete;
  progress_line& operator=(const progress_line&) = delete;
  ~progress_line() { clear(); }

  // Shows a text in place of the one before. It takes `columns`, fewer than the
  // terminal has.
  void show(std::string_view text, int columns);

  // Takes the line back, if it is there. Leaves errno alone.
  void clear();
};

#endif  // CHRONEX_UTIL_CHRONEX_MESSAGES_PROGRESS_LINE_H
