#include "util/chronex/report/report_stream.h"

#include <unistd.h>

#include <bit>
#include <cerrno>
#include <charconv>

#include "util/chronex/messages/messages.h"
#include "util/chronex/report/visible_text.h"

namespace {

// Characters of the longest 64-bit number.
constexpr std::size_t DECIMAL_SIZE = 20;

template <typename integer>
void put_decimal(report_stream& stream, integer number) {
  const std::span<char> text = stream.room(DECIMAL_SIZE);
  const auto end =
      std::to_chars(text.data(), text.data() + text.size(), number).ptr;
  stream.claim(static_cast<std::size_t>(end - text.data()));
}

}  // namespace

report_stream::report_stream(int descriptor) noexcept
    : descriptor_(descriptor), on_terminal_(is_terminal(descriptor)) {}

void report_stream::put_visible(std::string_view text) {
  for (const char character : text) {
    const auto byte = static_cast<std::uint8_t>(character);
    if (is_terminal_control(byte)) {
      write_octal(byte, room(OCTAL_SIZE).data());
      claim(OCTAL_SIZE);
    } else {
      put(character);
    }
  }
}

void report_stream::put_large(std::string_view text) {
  while (!text.empty()) {
    if (used_ == buffer_.size()) flush();
    const std::size_t piece = std::min(text.size(), buffer_.size() - used_);
    std::memcpy(buffer_.data() + used_, text.data(), piece);
    used_ += piece;
    text.remove_prefix(piece);
  }
}

void report_stream::fill(char character, std::size_t count) {
  while (count > 0) {
    const std::size_t piece = std::min(count, MAX_ROOM);
    std::memset(room(piece).data(), character, piece);
    claim(piece);
    count -= piece;
  }
}

void report_stream::put_signed(std::int64_t number) {
  put_decimal(*this, number);
}

void report_stream::put_unsigned(std::uint64_t number) {
  put_decimal(*this, number);
}

void report_stream::put_two_digits(int number) {
  if (number >= 0 && number < 10) put('0');
  put_signed(number);
}

void report_stream::put_hex(std::uint64_t number, int min_digits) {
  constexpr std::string_view DIGITS = "0123456789abcdef";
  const int digits = std::max<int>(
      {1, min_digits, static_cast<int>(std::bit_width(number) + 3) / 4});
  const auto size = static_cast<std::size_t>(digits);
  const std::span<char> text = room(size);
  for (std::size_t i = size; i > 0; --i) {
    text[i - 1] = DIGITS[number % 16];
    number /= 16;
  }
  claim(size);
}

void report_stream::flush() {
  std::size_t done = 0;
  while (done < used_ && error_ == 0) {
    const ssize_t written =
        write(descriptor_, buffer_.data() + done, used_ - done);
    if (written >= 0) {
      done += static_cast<std::size_t>(written);
    } else if (errno != EINTR) {
      error_ = errno;
    }
  }
  used_ = 0;
}
