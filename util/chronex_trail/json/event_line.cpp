#include "util/chronex_trail/json/event_line.h"

namespace {

// Notes of one event that took more are not kept as room for the next.
constexpr std::size_t KEPT_NOTES = std::size_t{1} << 20;

}  // namespace

void event_line::begin_file() {
  number_ = 0;
  source_.forget();
  stamp_file_ = nullptr;
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

void event_line::make_stamp(std::uint32_t timestamp) {
  stamp_ = ",\"ts\":\"";
  stamp_ += utc_.text(timestamp);
  stamp_ += "\",\"ts_ms\":";
  stamp_ += std::to_string(std::uint64_t{timestamp} * 1000);
  stamp_time_ = timestamp;
  stamp_file_ = nullptr;
}

void event_line::put_stamp(std::uint32_t timestamp, const event_place& place) {
  if (place.file == nullptr || place.number == 0) {
    make_stamp(timestamp);
    out_.put(stamp_);
    source_.put(out_, place);
    return;
  }
  if (timestamp != stamp_time_ || place.file != stamp_file_) {
    make_stamp(timestamp);
    stamp_ += source_.numbered(place);
    stamp_file_ = place.file;
  }
  out_.put(stamp_);
  source_piece::put_number(out_, place.number);
}

void event_line::put_text(std::string_view key, std::string_view utf8) {
  put_key(key);
  out_.put_string(utf8);
}
