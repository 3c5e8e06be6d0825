#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_JSON_LINE_WRITER_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_JSON_LINE_WRITER_H

// Collects the text of events in one buffer, without a formatting library in
// between, and hands it to a sink in large pieces. A failed write is
// remembered; what follows is dropped.

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <string_view>

#include "util/chronex_trail/files/byte_sink.h"
#include "util/chronex_trail/json/number_text.h"

class line_writer {
 public:
  // The sink stays the caller's.
  explicit line_writer(byte_sink& sink) : sink_(sink) {}
  line_writer(const line_writer&) = delete;
  line_writer& operator=(const line_writer&) = delete;

  // So much is handed over at a time, or a little more.
  static constexpr std::size_t HANDED_OVER = std::size_t{64} * 1024;
  // Room for `size` characters; what is written there counts once the end of it
  // is claimed. Until all of it was put in, nothing is handed over.
  static constexpr std::size_t MAX_ROOM =
      std::tuple_size_v<text_buffer> - HANDED_OVER;
  char* room(std::size_t size) {
    assert(size <= MAX_ROOM);
    if (size > buffer_->size() - used_) flush();
    return buffer_->data() + used_;
  }
  void claim(const char* end) {
    used_ = static_cast<std::size_t>(end - buffer_->data());
  }

  // Where the next character goes.
  const char* position() const { return buffer_->data() + used_; }

  void put(char character) {
    char* const out = room(1);
    *out = character;
    claim(out + 1);
  }
  void put(std::string_view text) {
    if (text.size() > MAX_ROOM) {
      put_large(text);
      return;
    }
    char* const out = room(text.size());
    if (!text.empty()) std::memcpy(out, text.data(), text.size());
    claim(out + text.size());
  }
  // Several texts, which fit a room together.
  template <typename... Text>
  void put_all(const Text&... texts) {
    char* out = room((std::string_view(texts).size() + ...));
    ((out = copy(std::string_view(texts), out)), ...);
    claim(out);
  }
  void put_number(std::uint64_t number) {
    claim(put_natural(number, room(NUMBER_ROOM)));
  }
  void put_number(std::int64_t number) {
    claim(put_integer(number, room(NUMBER_ROOM)));
  }
  // Well-formed UTF-8 as a JSON string, quotes included.
  void put_string(std::string_view utf8);
  // The same for short texts that are ASCII without anything to escape. Returns
  // false, and has written nothing, when they are not.
  bool put_plain_string(std::span<const std::uint8_t> bytes);
  // Two hex digits a byte.
  void put_hex(std::span<const std::uint8_t> bytes);

  // Ends a line. Returns 0, or -1 when a write has failed.
  int end_line() {
    put('\n');
    line_begin_ = used_;
    line_is_cut_ = false;
    if (used_ >= HANDED_OVER) flush();
    return failed_ ? -1 : 0;
  }
  // Drops the line that was begun. When parts of it are gone already, nothing
  // may follow them: then all that comes is dropped, too.
  void abandon_line() {
    if (line_is_cut_) failed_ = true;
    used_ = line_begin_;
  }
  // Hands over all there is. Returns 0, or -1 when a write has failed.
  int flush();

 private:
  static char* copy(std::string_view text, char* out) {
    std::memcpy(out, text.data(), text.size());
    return out + text.size();
  }
  void put_large(std::string_view text);

  byte_sink& sink_;
  bool failed_ = false;
  std::size_t used_ = 0;
  // Where the line begins; when parts of it were handed over, where the rest
  // does.
  std::size_t line_begin_ = 0;
  bool line_is_cut_ = false;
  std::unique_ptr<text_buffer> buffer_ =
      std::make_unique_for_overwrite<text_buffer>();
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_JSON_LINE_WRITER_H
