#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_JSON_SOURCE_PIECE_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_JSON_SOURCE_PIECE_H

#include <cstdint>
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
  // The text up to the number of a place in a file, and what comes then.
  const std::string& numbered(const event_place& place);
  static void put_number(line_writer& out, std::uint32_t number) {
    out.put_number(std::uint64_t{number});
    out.put('}');
  }

 private:
  void make_texts(const event_place& place);

  const input_file* file_ = nullptr;
  // The object without its last brace, and the same up to the number in it.
  std::string text_;
  std::string numbered_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_JSON_SOURCE_PIECE_H
