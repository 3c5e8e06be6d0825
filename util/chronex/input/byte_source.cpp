#include "util/chronex/input/byte_source.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace {

constexpr std::size_t LIVE_BUFFER_SIZE = std::size_t{64} * 1024;
// inflate's window size plus the flag that asks for gzip framing.
constexpr int GZIP_WINDOW_BITS = 15 + 16;

}  // namespace

live_source::live_source(int descriptor, live_settings settings)
    : descriptor_(descriptor), settings_(std::move(settings)) {
  if (settings_.is_plain) place_ = place::plain;
}

live_source::~live_source() {
  if (inflater_ready_) inflateEnd(&inflater_);
}

std::size_t live_source::read(std::span<std::uint8_t> room) {
  std::size_t count = 0;
  input_is_dry_ = false;
  while (count == 0 && place_ != place::end && !input_is_dry_) {
    switch (place_) {
      case place::begin:
        begin();
        break;
      case place::behind_member:
        end_member();
        break;
      case place::damaged:
        seek_member();
        break;
      case place::plain:
        count = read_plain(room);
        break;
      default:
        count = inflate_some(room);
    }
  }
  return count;
}

// Reads what is there, waiting for at least one byte. 0 at the end, or without
// waiting where there is nothing yet.
std::size_t live_source::read_descriptor(std::span<std::uint8_t> room) {
  if (stop_requested()) input_ended_ = true;
  if (input_ended_) return 0;
  settings_.before_wait();
  do {
    const ssize_t count = ::read(descriptor_, room.data(), room.size());
    if (count > 0) return static_cast<std::size_t>(count);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) error_ = std::strerror(errno);
    input_is_dry_ = count == 0 && settings_.growth != nullptr && !waits_;
    input_ended_ = !input_is_dry_ && (count < 0 || !more_may_come());
  } while (!input_ended_ && !input_is_dry_);
  return 0;
}

bool live_source::stop_requested() const {
  return settings_.growth != nullptr && settings_.growth->stopped();
}

bool live_source::more_may_come() {
  return settings_.growth != nullptr &&
         settings_.growth->wait_for_more(descriptor_);
}

// Makes sure that `count` bytes are pending; false when the input has fewer.
bool live_source::have_pending(std::size_t count) {
  if (pending_.size() >= count) return true;
  std::size_t have = pending_.size();
  if (have > 0) std::memmove(input_.data(), pending_.data(), have);
  while (have < count) {
    const std::size_t got = read_descriptor(input_.bytes().subspan(have));
    if (got == 0) break;
    have += got;
  }
  pending_ = input_.bytes().first(have);
  behind_begin_ = pending_;
  return have >= count;
}

// The first bytes tell whether the input is compressed.
void live_source::begin() {
  if (!input_ && !input_.allocate(LIVE_BUFFER_SIZE)) {
    resource_error_ = errno;
    place_ = place::end;
  } else if (member_follows()) {
    begin_member();
  } else if (!input_is_dry_) {
    place_ = place::plain;
  }
}

bool live_source::member_follows() {
  return have_pending(GZIP_MAGIC.size()) &&
         std::equal(GZIP_MAGIC.begin(), GZIP_MAGIC.end(), pending_.begin());
}

void live_source::begin_member() {
  const int code = inflater_ready_ ? inflateReset(&inflater_)
                                   : inflateInit2(&inflater_, GZIP_WINDOW_BITS);
  if (code != Z_OK) {
    resource_error_ = ENOMEM;
    place_ = place::end;
    return;
  }
  inflater_ready_ = true;
  behind_begin_ = pending_.subspan(1);
  place_ = place::member;
}

// After one gzip member another one may follow; anything else there is padding
// and is passed over.
void live_source::end_member() {
  if (member_follows()) {
    begin_member();
  } else if (!input_is_dry_) {
    place_ = settings_.passes_over_damage ? place::damaged : place::end;
  }
}

// Compressed data may look like the begin of a member. Such a one breaks off
// soon, and the search goes on.
void live_source::seek_member() {
  while (have_pending(GZIP_MAGIC.size())) {
    const auto found = std::search(pending_.begin(), pending_.end(),
                                   GZIP_MAGIC.begin(), GZIP_MAGIC.end());
    const bool is_there = found != pending_.end();
    // The last byte may be the first of the next begin.
    pending_ =
        is_there
            ? pending_.last(static_cast<std::size_t>(pending_.end() - found))
            : pending_.last(1);
    if (!is_there) continue;
    if (error_.empty()) error_ = "unknown data between compressed data";
    begin_member();
    return;
  }
  if (!input_is_dry_) place_ = place::end;
}

std::size_t live_source::read_plain(std::span<std::uint8_t> room) {
  if (pending_.empty()) {
    const std::size_t count = read_descriptor(room);
    if (input_ended_) place_ = place::end;
    return count;
  }
  const std::size_t count = std::min(room.size(), pending_.size());
  std::memcpy(room.data(), pending_.data(), count);
  pending_ = pending_.subspan(count);
  return count;
}

// Decompresses until there is something, or the member ends.
std::size_t live_source::inflate_some(std::span<std::uint8_t> room) {
  inflater_.next_out = room.data();
  inflater_.avail_out = static_cast<uInt>(room.size());
  while (inflater_.avail_out == room.size() && place_ == place::member) {
    if (!have_pending(1)) {
      if (input_is_dry_) break;
      truncated_ = error_.empty();
      place_ = place::end;
      break;
    }
    inflater_.next_in = pending_.data();
    inflater_.avail_in = static_cast<uInt>(pending_.size());
    const int code = inflate(&inflater_, Z_NO_FLUSH);
    pending_ = pending_.last(inflater_.avail_in);
    if (code == Z_STREAM_END) {
      place_ = place::behind_member;
    } else if (code == Z_MEM_ERROR) {
      resource_error_ = ENOMEM;
      place_ = place::end;
    } else if (code != Z_OK && code != Z_BUF_ERROR) {
      break_off();
    }
  }
  return room.size() - inflater_.avail_out;
}

void live_source::break_off() {
  if (error_.empty()) {
    error_ = inflater_.msg != nullptr ? inflater_.msg : "compressed data error";
  }
  place_ = settings_.passes_over_damage ? place::damaged : place::end;
  // The damage may be noticed only behind the begin of the next member.
  pending_ = behind_begin_;
}
