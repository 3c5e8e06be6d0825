#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_JSON_SOURCE_PIECE_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_JSON_SOURCE_PIECE_H

#include <string>

#include "util/chronex/tables/event_place.h"
#include "util/chronex_trail/json/line_writer.h"

// Writes `,"source":{...}`: where in the inputs something stands. The text of a
// file is made once.
class source_piece {
 public:
  // A file of another name may from now on have the same address.
  void forget() { file_ = nullptr; }
  // Nothing when the place is in no file.
  void put(line_writer& out, const event_place& place);

 private:
  const input_file* file_ = nullptr;
  // The object without its last brace, and the same up to the number in it.
  std::string text_;
  std::string numbered_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_JSON_SOURCE_PIECE_H
