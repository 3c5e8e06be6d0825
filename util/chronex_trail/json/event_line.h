#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_JSON_EVENT_LINE_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_JSON_EVENT_LINE_H

// What the lines of all events have in common: how they begin and end, their
// time and place, and the notes about what could not be shown.

#include <cstdint>
#include <string>
#include <string_view>

#include "util/chronex/tables/event_place.h"
#include "util/chronex_trail/json/line_writer.h"
#include "util/chronex_trail/json/source_piece.h"
#include "util/chronex_trail/values/utc_time.h"

class event_line {
 public:
  // The sink stays the caller's.
  explicit event_line(byte_sink& sink) : out_(sink) {}

  // The next event is the first of a file.
  void begin_file();
  // The number of the latest event of the file, and going on behind it.
  std::uint64_t number() const { return number_; }
  void go_on(std::uint64_t number) { number_ = number; }
  // Begins the next event of the file.
  void begin(std::string_view type) {
    notes_.clear();
    out_.put_all(R"({"v":1,"type":")", type, R"(","n":)");
    out_.put_number(++number_);
  }
  // Begins the event that ends the trail, which has no number.
  void begin_end();
  // Writes the notes, if any, and ends the line. Returns 0, or -1 when a write
  // has failed.
  int end();
  // Drops the event that was begun.
  void abandon() { out_.abandon_line(); }
  // Hands over all lines. Returns 0, or -1 when a write has failed.
  int flush() { return out_.flush(); }

  // Members; keys need no escapes. `timestamp` in seconds since the epoch.
  // Time and place of what happened in the log.
  void put_stamp(std::uint32_t timestamp, const event_place& place);
  void put_source(const event_place& place) { source_.put(out_, place); }
  void put_text(std::string_view key, std::string_view utf8);
  void put_number(std::string_view key, std::int64_t number) {
    put_key(key);
    out_.put_number(number);
  }

  // For what is put together elsewhere.
  line_writer& out() { return out_; }
  // Takes notes, each behind a comma.
  std::string& notes() { return notes_; }

 private:
  void make_stamp(std::uint32_t timestamp);
  void put_key(std::string_view key) { out_.put_all(",\"", key, "\":"); }

  line_writer out_;
  std::string notes_;
  source_piece source_;
  utc_time utc_;
  // What put_stamp wrote last, up to the number, with a time and a file that
  // many events share; null = no file's.
  std::string stamp_;
  std::uint32_t stamp_time_ = 0;
  const input_file* stamp_file_ = nullptr;
  std::uint64_t number_ = 0;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_JSON_EVENT_LINE_H
