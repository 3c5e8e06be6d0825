#include "util/chronex_trail/json/event_line.h"

namespace {

// Notes of one event that took more are not kept as room for the next.
constexpr std::size_t KEPT_NOTES = std::size_t{1} << 20;

}  // namespace

void event_line::begin_file() {
  number_ = 0;
  source_.forget();
}

void event_line::begin(std::string_view type) {
  notes_.clear();
  out_.put_all(R"({"v":1,"type":")", type, R"(","n":)");
  out_.put_number(++number_);
}

void event_line::begin_end() {
  notes_.clear();
  out_.put(R"({"v":1,"type":"end")");
}

int event_line::end() {
  if (!notes_.empty()) {
    out_.put(R"(,"notes":[)");
    out_.put(std::string_view(notes_).substr(1));
    out_.put(']');
    if (notes_.capacity() > KEPT_NOTES) notes_ = std::string();
  }
  out_.put('}');
  return out_.end_line();
}

// Many events have the time of the one before.
void event_line::put_time(std::uint32_t timestamp) {
  if (time_text_.empty() || timestamp != time_) {
    time_text_ = ",\"ts\":\"";
    time_text_ += utc_.text(timestamp);
    time_text_ += "\",\"ts_ms\":";
    time_text_ += std::to_string(std::uint64_t{timestamp} * 1000);
    time_ = timestamp;
  }
  out_.put(time_text_);
}

void event_line::put_key(std::string_view key) {
  out_.put_all(",\"", key, "\":");
}

void event_line::put_text(std::string_view key, std::string_view utf8) {
  put_key(key);
  out_.put_string(utf8);
}

void event_line::put_number(std::string_view key, std::int64_t number) {
  put_key(key);
  out_.put_number(number);
}
