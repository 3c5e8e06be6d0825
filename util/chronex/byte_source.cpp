#include "util/chronex/byte_source.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

namespace {

constexpr unsigned GZ_BUFFER_SIZE = 128 * 1024;
constexpr std::size_t LIVE_BUFFER_SIZE = std::size_t{64} * 1024;
// inflate's window size plus the flag that asks for gzip framing.
constexpr int GZIP_WINDOW_BITS = 15 + 16;
constexpr std::array<std::uint8_t, 2> GZIP_MAGIC{0x1f, 0x8b};

bool begins_with_gzip_magic(std::span<const std::uint8_t> bytes) {
  return bytes.size() >= GZIP_MAGIC.size() &&
         std::equal(GZIP_MAGIC.begin(), GZIP_MAGIC.end(), bytes.begin());
}

void no_wait() {}

}  // namespace

gz_source::gz_source(int descriptor) : descriptor_(descriptor) {
  lseek(descriptor_, 0, SEEK_SET);
  const int duplicate = dup(descriptor_);
  if (duplicate >= 0) stream_ = gzdopen(duplicate, "rb");
  if (stream_ == nullptr) {
    error_ = std::strerror(errno);
    if (duplicate >= 0) close(duplicate);
    return;
  }
  gzbuffer(stream_, GZ_BUFFER_SIZE);
}

gz_source::~gz_source() {
  if (stream_ != nullptr) gzclose(stream_);
}

std::size_t gz_source::read(std::span<std::uint8_t> room) {
  if (successor_) return salvage(room);
  if (stream_ == nullptr) return 0;
  const std::size_t count = gzfread(room.data(), 1, room.size(), stream_);
  delivered_ += count;
  if (count > 0) return count;
  int code = Z_OK;
  static_cast<void>(gzerror(stream_, &code));
  // At a truncation zlib has delivered everything that is there.
  truncated_ = code == Z_BUF_ERROR;
  return code == Z_OK || truncated_ ? 0 : salvage(room);
}

// Starts again with a live source, which delivers every byte up to the damage,
// passes over what was delivered before, and goes on from there.
std::size_t gz_source::salvage(std::span<std::uint8_t> room) {
  if (!successor_) {
    if (lseek(descriptor_, 0, SEEK_SET) != 0) {
      error_ = std::strerror(errno);
      return 0;
    }
    successor_ = std::make_unique<live_source>(descriptor_, no_wait);
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
  return count;
}

live_source::live_source(int descriptor, void (*before_wait)())
    : descriptor_(descriptor), before_wait_(before_wait) {}

live_source::~live_source() {
  if (inflater_ready_) inflateEnd(&inflater_);
}

std::size_t live_source::read(std::span<std::uint8_t> room) {
  if (form_ == form::unknown) find_form();
  switch (form_) {
    case form::plain:
      return read_plain(room);
    case form::gzip:
      return inflate_some(room);
    default:
      return 0;
  }
}

std::size_t live_source::read_descriptor(std::span<std::uint8_t> room) {
  before_wait_();
  for (;;) {
    const ssize_t count = ::read(descriptor_, room.data(), room.size());
    if (count >= 0) return static_cast<std::size_t>(count);
    if (errno == EINTR) continue;
    error_ = std::strerror(errno);
    form_ = form::finished;
    return 0;
  }
}

// Two bytes tell whether the input is compressed.
void live_source::find_form() {
  if (!input_.allocate(LIVE_BUFFER_SIZE)) {
    error_ = std::strerror(errno);
    form_ = form::finished;
    return;
  }
  std::size_t have = 0;
  while (have < GZIP_MAGIC.size()) {
    const std::size_t count = read_descriptor(input_.bytes().subspan(have));
    if (count == 0) break;
    have += count;
  }
  pending_ = input_.bytes().first(have);
  form_ = form::plain;
  if (!begins_with_gzip_magic(pending_)) return;
  if (inflateInit2(&inflater_, GZIP_WINDOW_BITS) != Z_OK) {
    error_ = std::strerror(ENOMEM);
    form_ = form::finished;
    return;
  }
  inflater_ready_ = true;
  form_ = form::gzip;
}

std::size_t live_source::read_plain(std::span<std::uint8_t> room) {
  if (pending_.empty()) return read_descriptor(room);
  const std::size_t count = std::min(room.size(), pending_.size());
  std::memcpy(room.data(), pending_.data(), count);
  pending_ = pending_.subspan(count);
  return count;
}

bool live_source::more_compressed() {
  if (!pending_.empty()) return true;
  pending_ = input_.bytes().first(read_descriptor(input_.bytes()));
  return !pending_.empty();
}

// After the end of one gzip member another one may follow; anything else there
// is padding and is passed over.
bool live_source::next_member() {
  if (pending_.size() < GZIP_MAGIC.size()) {
    const std::size_t have = pending_.size();
    std::memmove(input_.data(), pending_.data(), have);
    const std::size_t count = read_descriptor(input_.bytes().subspan(have));
    pending_ = input_.bytes().first(have + count);
  }
  if (!begins_with_gzip_magic(pending_)) return false;
  return inflateReset(&inflater_) == Z_OK;
}

std::size_t live_source::inflate_some(std::span<std::uint8_t> room) {
  inflater_.next_out = room.data();
  inflater_.avail_out = static_cast<uInt>(room.size());
  while (inflater_.avail_out == room.size()) {
    if (!more_compressed()) {
      truncated_ = error_.empty();
      form_ = form::finished;
      break;
    }
    inflater_.next_in = pending_.data();
    inflater_.avail_in = static_cast<uInt>(pending_.size());
    const int code = inflate(&inflater_, Z_NO_FLUSH);
    pending_ = pending_.last(inflater_.avail_in);
    if (code == Z_STREAM_END) {
      if (!next_member()) form_ = form::finished;
    } else if (code != Z_OK && code != Z_BUF_ERROR) {
      error_ =
          inflater_.msg != nullptr ? inflater_.msg : "compressed data error";
      form_ = form::finished;
    }
    if (form_ == form::finished) break;
  }
  return room.size() - inflater_.avail_out;
}
