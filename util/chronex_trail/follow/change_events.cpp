#include "util/chronex_trail/follow/change_events.h"

#include <poll.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>

namespace {

using std::chrono::milliseconds;

constexpr milliseconds POLL_INTERVAL{500};
// What is written through a mapping of a file is not told by the system.
constexpr milliseconds LONGEST_WAIT{5000};

constexpr std::uint32_t IN_DIRECTORY = IN_CREATE | IN_MODIFY | IN_CLOSE_WRITE |
                                       IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE |
                                       IN_DELETE_SELF | IN_MOVE_SELF;
constexpr std::uint32_t CONTENTS = IN_MODIFY | IN_CLOSE_WRITE;
constexpr std::uint32_t OF_FILE = IN_MODIFY | IN_ATTRIB;

// Types of file systems (statfs) on which others may write unseen: NFS, SMB,
// CIFS, SMB2, FUSE, 9P, Ceph, AFS, Lustre, GPFS.
constexpr std::array<std::uint32_t, 10> SHARED_TYPES = {
    0x6969,     0x517B,     0xFF534D42, 0xFE534D42, 0x65735546,
    0x01021997, 0x00C36400, 0x5346414F, 0x0BD00BD0, 0x47504653};

bool is_shared(const std::string& name) {
  struct statfs status {};
  return statfs(name.c_str(), &status) != 0 ||
         std::ranges::count(SHARED_TYPES,
                            static_cast<std::uint32_t>(status.f_type)) > 0;
}

std::string_view base_name(std::string_view path) {
  return path.substr(path.rfind('/') + 1);
}

}  // namespace

change_events::change_events(int stop, bool system_events) : stop_(stop) {
  if (system_events) events_ = inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
  polls_ = events_ < 0;
}

change_events::~change_events() {
  if (events_ >= 0) close(events_);
}

void change_events::watch(const std::string& name, std::uint32_t changes,
                          int& watch) {
  if (events_ >= 0) watch = inotify_add_watch(events_, name.c_str(), changes);
  if (watch < 0 || is_shared(name)) polls_ = true;
}

bool change_events::watch_directory(const std::string& name) {
  struct stat status {};
  if (stat(name.c_str(), &status) != 0) return false;
  int unused = -1;
  watch(name, IN_DIRECTORY, unused);
  return true;
}

// A link may lead to where no directory is watched.
void change_events::watch_file(const std::string& name) {
  if (file_watch_ >= 0) inotify_rm_watch(events_, file_watch_);
  file_watch_ = -1;
  file_name_ = base_name(name);
  watch(name, OF_FILE, file_watch_);
}

// Returns whether something else than the watched file has changed.
bool change_events::read_events() {
  alignas(inotify_event) std::array<char, 16384> buffer;
  bool others = false;
  for (;;) {
    const ssize_t size = read(events_, buffer.data(), buffer.size());
    if (size <= 0) return others;
    for (std::size_t at = 0; at < static_cast<std::size_t>(size);) {
      inotify_event event;
      std::memcpy(&event, buffer.data() + at, sizeof event);
      const char* const name = buffer.data() + at + sizeof event;
      const bool is_growth =
          (event.mask & ~CONTENTS) == 0 &&
          (event.wd == file_watch_ || (event.len > 0 && file_name_ == name));
      others = others || !is_growth;
      at += sizeof event + event.len;
    }
  }
}

bool change_events::wait(milliseconds limit) {
  limit = std::min(limit, polls_ ? POLL_INTERVAL : LONGEST_WAIT);
  std::array<pollfd, 2> waited{{{stop_, POLLIN, 0}, {events_, POLLIN, 0}}};
  const int ready =
      poll(waited.data(), waited.size(), static_cast<int>(limit.count()));
  if (ready <= 0) return true;
  return waited[1].revents != 0 && read_events();
}
