#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SUMMARY_PART_TEXT_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SUMMARY_PART_TEXT_H

#include <string>

#include "util/chronex_trail/files/byte_sink.h"
#include "util/chronex_trail/stats/figures.h"
#include "util/chronex_trail/summary/summary.h"
#include "util/chronex_trail/summary/summary_part.h"

// Text that goes to a sink in pieces. A failed write drops what follows.
class piece_writer {
 public:
  explicit piece_writer(byte_sink& sink) : sink_(sink) {}

  // What is to be written, for callers to append to.
  std::string text;

  // Hands the text over if there is much of it.
  void pause() {
    if (text.size() >= PIECE) flush();
  }
  // Hands over all. Returns 0, or -1 after a failed write.
  int flush() {
    if (!failed_ && sink_.write(text) != 0) failed_ = true;
    text.clear();
    return failed_ ? -1 : 0;
  }

 private:
  static constexpr std::size_t PIECE = std::size_t{64} * 1024;

  byte_sink& sink_;
  bool failed_ = false;
};

// The name of the zone that local times are in, as it was asked for, or else
// its short name.
std::string time_zone_name();

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SUMMARY_PART_TEXT_H
