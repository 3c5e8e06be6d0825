#include "util/chronex/input/input_stream.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace {

// One read from the source: enough for calls of the system to cost little, and
// little enough to stay in a processor's second cache.
constexpr std::size_t READ_SIZE = input_relay::READ_SIZE;
static_assert(READ_SIZE + input_stream::MAX_PEEK <= input_relay::LEAST_SIZE);
// All files are opened for their headers before one is read on, so that much of
// a file, which holds a header, is read as if there were no more.
constexpr unsigned HEAD_SIZE = 64;
// Room for one read behind what is left of the last one.
constexpr std::size_t WINDOW_SIZE = READ_SIZE + input_stream::MAX_PEEK;
static_assert(input_stream::MAX_PEEK >= input_stream::MAX_RUN);

// A file whose place to read on from could not be reached: all that it has is
// what is wrong, an errno.
class unreachable_source final : public byte_source {
 public:
  explicit unreachable_source(int code) { error_ = std::strerror(code); }
  std::size_t read(std::span<std::uint8_t> /*room*/) override { return 0; }
  bool is_compressed() const override { return false; }
};

// A plain file that is read past the place of its descriptor: other processes
// may have the descriptor, too, and where there are many files the calls that
// set the place count.
class apart_source final : public byte_source {
 public:
  apart_source(int descriptor, std::uint64_t place)
      : descriptor_(descriptor), place_(place) {}
  std::size_t read(std::span<std::uint8_t> room) override {
    ssize_t count = 0;
    do {
      count = pread(descriptor_, room.data(), room.size(),
                    static_cast<off_t>(place_));
    } while (count < 0 && errno == EINTR);
    if (count < 0) error_ = std::strerror(errno);
    if (count <= 0) return 0;
    place_ += static_cast<std::uint64_t>(count);
    return static_cast<std::size_t>(count);
  }
  bool is_compressed() const override { return false; }

 private:
  const int descriptor_;
  std::uint64_t place_;
};

// A regular file, read from there on.
std::unique_ptr<byte_source> read_from(std::uint64_t place, int descriptor,
                                       live_settings settings) {
  if (lseek(descriptor, static_cast<off_t>(place), SEEK_SET) < 0) {
    return std::make_unique<unreachable_source>(errno);
  }
  return std::make_unique<live_source>(descriptor, std::move(settings));
}

}  // namespace

input_stream::~input_stream() { close(); }

void input_stream::close() {
  source_.reset();
  window_.reset();
  if (descriptor_ >= 0) ::close(descriptor_);
  descriptor_ = -1;
}

bool input_stream::open(const char* path, std::function<void()> before_wait) {
  is_own_ = true;
  return adopt(::open(path, O_RDONLY | O_CLOEXEC), std::move(before_wait));
}

bool input_stream::open_duplicate(int descriptor,
                                  std::function<void()> before_wait) {
  is_own_ = false;
  return adopt(dup(descriptor), std::move(before_wait));
}

bool input_stream::adopt(int descriptor, std::function<void()> before_wait) {
  if (descriptor < 0) return false;
  if (!is_own_ && (fcntl(descriptor, F_GETFL) & O_ACCMODE) == O_WRONLY) {
    ::close(descriptor);
    errno = EBADF;
    return false;
  }
  descriptor_ = descriptor;
  before_wait_ = std::move(before_wait);
  struct stat status {};
  // A descriptor that was handed over in the middle of a file is read from
  // there.
  regular_ = fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) &&
             (is_own_ || lseek(descriptor, 0, SEEK_CUR) == 0);
  return true;
}

void input_stream::take_care(growth_watch* growth, bool passes_over_damage) {
  growth_ = growth;
  passes_over_damage_ = passes_over_damage;
}

std::unique_ptr<byte_source> input_stream::make_source() {
  const bool is_careful = growth_ != nullptr || passes_over_damage_;
  const bool is_whole = regular_ && !is_careful;
  is_head_ = is_whole && resume_at_ == 0;
  if (is_whole && !reads_apart_) is_plain_ = is_plain_ || is_plain_file();
  if (reads_apart_ || (is_whole && is_plain_ && is_own_)) {
    delivered_ = resume_at_;
    return std::make_unique<apart_source>(descriptor_, resume_at_);
  }
  live_settings settings{.is_plain = is_plain_,
                         .passes_over_damage = passes_over_damage_,
                         .growth = growth_};
  if (regular_) {
    delivered_ = is_plain_ ? resume_at_ : 0;
    return read_from(delivered_, descriptor_, std::move(settings));
  }
  settings.before_wait = before_wait_;
  return std::make_unique<live_source>(descriptor_, std::move(settings));
}

// Makes window and source; after a pause, passes over what was taken before it.
bool input_stream::ready() {
  if (source_) return true;
  if (relay_ != nullptr) {
    attach();
    return true;
  }
  if (!have_window()) return false;
  source_ = make_source();
  pass_over(resume_at_);
  return true;
}

// Has the relay deliver what comes next.
void input_stream::attach() {
  source_ = relay_->attach(relay_number_, resume_at_);
  if (!source_) source_ = std::make_unique<unreachable_source>(ESPIPE);
  is_head_ = false;
  delivered_ = resume_at_;
  view_ = relay_->window();
}

bool input_stream::have_window() {
  if (!window_ && !window_.allocate(WINDOW_SIZE)) {
    resource_error_ = errno;
    return false;
  }
  view_ = window_.data();
  return true;
}

// Has the source deliver bytes that were taken already.
void input_stream::pass_over(std::uint64_t bytes) {
  while (delivered_ < bytes) {
    const std::size_t piece =
        std::min<std::uint64_t>(READ_SIZE, bytes - delivered_);
    const std::size_t count = source_->read({view_, piece});
    if (count == 0) break;
    delivered_ += count;
  }
}

// One read from the source, to behind what is in the window; 0 at the end.
std::size_t input_stream::read_on() {
  is_head_ = is_head_ && delivered_ < HEAD_SIZE;
  const std::size_t size = is_head_ ? HEAD_SIZE - delivered_ : READ_SIZE;
  const std::size_t count = source_->read({view_ + end_, size});
  end_ += count;
  delivered_ += count;
  return count;
}

void input_stream::note_end() {
  error_ = source_->error();
  truncated_ = source_->truncated();
  resource_error_ = source_->resource_error();
}

// Lets the window begin with what has not been taken.
void input_stream::drop_taken() {
  if (relay_ != nullptr) {
    relay_->drop(next_);
    view_ = relay_->window();
  } else {
    std::memmove(view_, view_ + next_, end_ - next_);
  }
  end_ -= next_;
  next_ = 0;
}

// Gets `count` bytes into the window; false when fewer are left, which stay.
bool input_stream::gather(std::size_t count) {
  if (!ready()) return false;
  drop_taken();
  while (end_ < count) {
    if (read_on() == 0) {
      note_end();
      return false;
    }
  }
  if (refilled_) refilled_();
  return true;
}

bool input_stream::fill(std::size_t count) {
  if (gather(count)) return true;
  end_ = next_;
  return false;
}

std::span<const std::uint8_t> input_stream::peek(std::size_t count,
                                                 patience how) {
  if (end_ - next_ < count && ready()) {
    source_->let_wait(how == patience::waits);
    gather(count);
    source_->let_wait(true);
  }
  return {view_ + next_, end_ - next_};
}

bool input_stream::read(std::span<std::uint8_t> destination) {
  while (!destination.empty()) {
    const std::size_t piece = std::min(destination.size(), MAX_RUN);
    const std::uint8_t* run = take(piece);
    if (run == nullptr) return false;
    std::memcpy(destination.data(), run, piece);
    destination = destination.subspan(piece);
  }
  return true;
}

bool input_stream::skip(std::uint64_t count) {
  while (count > 0) {
    const std::uint64_t piece = std::min<std::uint64_t>(count, MAX_RUN);
    if (take(piece) == nullptr) return false;
    count -= piece;
  }
  return true;
}

void input_stream::verify_rest() {
  if (!is_compressed()) return;
  source_->let_wait(false);
  bool has_more = true;
  while (has_more) {
    next_ = end_;
    drop_taken();
    has_more = read_on() > 0;
    if (has_more && refilled_) refilled_();
  }
  note_end();
}

std::uint64_t input_stream::stored_size() const {
  struct stat status {};
  const bool known = regular_ && fstat(descriptor_, &status) == 0;
  return known ? static_cast<std::uint64_t>(status.st_size) : 0;
}

// What decompresses the file moves the place of its descriptor.
std::uint64_t input_stream::stored_position() const {
  if (is_plain_ || reads_apart_) return delivered_;
  const off_t position = regular_ ? lseek(descriptor_, 0, SEEK_CUR) : 0;
  return position > 0 ? static_cast<std::uint64_t>(position) : 0;
}

// Whether it is certain to be a regular file that is not compressed.
bool input_stream::is_plain_file() const {
  if (!regular_) return false;
  std::array<std::uint8_t, 2> magic{};
  const ssize_t count = pread(descriptor_, magic.data(), magic.size(), 0);
  return count >= 0 &&
         (count < static_cast<ssize_t>(magic.size()) || magic != GZIP_MAGIC);
}

bool input_stream::go_to(std::uint64_t position) {
  const std::uint64_t at = this->position();
  if (position < at) return false;
  if (!is_plain_file()) return skip(position - at);
  if (!have_window()) return false;
  if (lseek(descriptor_, static_cast<off_t>(position), SEEK_SET) < 0) {
    error_ = std::strerror(errno);
    return false;
  }
  source_ = std::make_unique<live_source>(
      descriptor_, live_settings{.is_plain = true, .growth = growth_});
  is_head_ = false;
  next_ = 0;
  end_ = 0;
  delivered_ = position;
  resume_at_ = 0;
  return true;
}

bool input_stream::share(input_relay& relay, std::uint64_t number) {
  suspend();
  reads_apart_ = is_plain_file();
  if (reads_apart_) return false;
  relay_ = &relay;
  relay_number_ = number;
  return true;
}

std::unique_ptr<byte_source> input_stream::shared_source() const {
  return read_from(0, descriptor_, {});
}

void input_stream::suspend() {
  if (regular_) go_back(position());
}

void input_stream::go_back(std::uint64_t position) {
  if (!regular_) return;
  is_plain_ = is_plain_ || (delivered_ > 0 && !is_compressed());
  resume_at_ = position;
  delivered_ = 0;
  next_ = 0;
  end_ = 0;
  source_.reset();
  window_.reset();
  view_ = nullptr;
}
