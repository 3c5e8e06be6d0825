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

gz_source::gz_source(int descriptor, unsigned buffer_size)
    : descriptor_(descriptor), buffer_size_(buffer_size) {
  duplicate_ = lseek(descriptor_, 0, SEEK_SET) == 0 ? dup(descriptor_) : -1;
  if (duplicate_ >= 0) stream_ = gzdopen(duplicate_, "rb");
  if (stream_ == nullptr) {
    resource_error_ = errno;
    if (duplicate_ >= 0) close(duplicate_);
    return;
  }
  gzbuffer(stream_, buffer_size_);
}

gz_source::~gz_source() {
  if (stream_ != nullptr) gzclose(stream_);
}

std::size_t gz_source::read(std::span<std::uint8_t> room) {
  if (successor_) return salvage(room);
  if (stream_ == nullptr) return 0;
  // zlib fills its buffer once to find out what the file is. When just that has
  // been taken, it reads plain files straight into `room`.
  const std::size_t wanted =
      delivered_ < buffer_size_
          ? std::min<std::size_t>(room.size(), buffer_size_ - delivered_)
          : room.size();
  const std::size_t count = gzfread(room.data(), 1, wanted, stream_);
  delivered_ += count;
  if (count > 0) return count;
  int code = Z_OK;
  static_cast<void>(gzerror(stream_, &code));
  switch (code) {
    case Z_OK:
      return 0;
    case Z_BUF_ERROR:
      // At a truncation zlib has delivered everything that is there.
      truncated_ = true;
      return 0;
    case Z_MEM_ERROR:
      resource_error_ = ENOMEM;
      return 0;
    default:
      return salvage(room);
  }
}

void gz_source::renew_descriptor() {
  if (stream_ != nullptr) dup2(descriptor_, duplicate_);
}

bool gz_source::is_compressed() const {
  return stream_ != nullptr && gzdirect(stream_) == 0;
}

// Starts again with a live source, which delivers every byte up to the damage,
// passes over what was delivered before, and goes on from there.
std::size_t gz_source::salvage(std::span<std::uint8_t> room) {
  if (!successor_) {
    if (lseek(descriptor_, 0, SEEK_SET) != 0) {
      error_ = std::strerror(errno);
      return 0;
    }
    successor_ = std::make_unique<live_source>(descriptor_, [] {});
    for (std::uint64_t left = delivered_; left > 0;) {
      const std::size_t count = successor_->read(
          room.first(std::min<std::uint64_t>(room.size(), left)));
      if (count == 0) break;
      left -= count;
    }
  }
  const std::size_t count = successor_->read(room);
  error_ = successor_->error();
  truncated_ = successor_->truncated();
  resource_error_ = successor_->resource_error();
  return count;
}

live_source::live_source(int descriptor, std::function<void()> before_wait,
                         content what)
    : descriptor_(descriptor),
      before_wait_(std::move(before_wait)),
      place_(what == content::plain ? place::plain : place::begin) {}

live_source::~live_source() {
  if (inflater_ready_) inflateEnd(&inflater_);
}

std::size_t live_source::read(std::span<std::uint8_t> room) {
  std::size_t count = 0;
  while (count == 0 && place_ != place::end) {
    switch (place_) {
      case place::begin:
      case place::behind_member:
        begin_member();
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

// Reads what is there, waiting for at least one byte. 0 at the end.
std::size_t live_source::read_descriptor(std::span<std::uint8_t> room) {
  if (input_ended_) return 0;
  before_wait_();
  for (;;) {
    const ssize_t count = ::read(descriptor_, room.data(), room.size());
    if (count > 0) return static_cast<std::size_t>(count);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) error_ = std::strerror(errno);
    input_ended_ = true;
    return 0;
  }
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
  return have >= count;
}

// The first bytes tell whether the input is compressed. After one gzip member
// another one may follow; anything else there is padding and is passed over.
void live_source::begin_member() {
  const bool first = place_ == place::begin;
  place_ = place::end;
  if (first && !input_.allocate(LIVE_BUFFER_SIZE)) {
    resource_error_ = errno;
    return;
  }
  const bool compressed =
      have_pending(GZIP_MAGIC.size()) &&
      std::equal(GZIP_MAGIC.begin(), GZIP_MAGIC.end(), pending_.begin());
  if (!compressed) {
    if (first) place_ = place::plain;
    return;
  }
  const int code = inflater_ready_ ? inflateReset(&inflater_)
                                   : inflateInit2(&inflater_, GZIP_WINDOW_BITS);
  if (code != Z_OK) {
    resource_error_ = ENOMEM;
    return;
  }
  inflater_ready_ = true;
  place_ = place::member;
}

std::size_t live_source::read_plain(std::span<std::uint8_t> room) {
  if (pending_.empty()) {
    const std::size_t count = read_descriptor(room);
    if (count == 0) place_ = place::end;
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
      error_ =
          inflater_.msg != nullptr ? inflater_.msg : "compressed data error";
      place_ = place::end;
    }
  }
  return room.size() - inflater_.avail_out;
}
