#include "util/chronex_trail/follow/log_follower.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>

#include "util/chronex/forward_log/fwlog_header.h"
#include "util/chronex_trail/follow/stop_signal.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

// How long a log, or one that is missing between others, is waited for when
// there are later ones.
constexpr seconds PATIENCE{5};
constexpr milliseconds SHORT_WAIT{250};

bool is_directory(const std::string& name) {
  struct stat status {};
  return stat(name.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool has_actions(const std::string& name) {
  constexpr off_t HEADER_SIZE = 36;
  struct stat status {};
  return stat(name.c_str(), &status) == 0 && status.st_size > HEADER_SIZE;
}

// Whether a file was last written so long ago that no more of it will come.
bool is_old(const std::string& name) {
  struct stat status {};
  return stat(name.c_str(), &status) == 0 &&
         std::time(nullptr) - status.st_mtime > PATIENCE.count();
}

bool is_same_file(int descriptor, const std::string& name) {
  struct stat open {};
  struct stat named {};
  return fstat(descriptor, &open) == 0 && stat(name.c_str(), &named) == 0 &&
         open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}

}  // namespace

bool log_follower::stopped() const { return stop_was_requested(); }

int log_follower::add(const std::string& name) {
  if (is_directory(name)) {
    catalogue_.add_directory(name);
  } else if (access(name.c_str(), R_OK) != 0) {
    run_.messages.perror(name.c_str());
    return -1;
  } else if (!catalogue_.add_file(name)) {
    run_.messages.print("%s: is no forward log, which alone can be followed\n",
                        name.c_str());
    return -1;
  } else {
    catalogue_.add_directory_of(name);
  }
  return 0;
}

int log_follower::open(std::span<char* const> operands) {
  const int stop = catch_stop_signals();
  if (stop < 0) {
    run_.messages.perror("sigaction");
    return -1;
  }
  events_.emplace(stop);
  for (const char* operand : operands) {
    if (add(operand) != 0) return -1;
  }
  for (const std::string& directory : catalogue_.directories()) {
    if (events_->watch_directory(directory)) continue;
    run_.messages.perror(directory.c_str());
    return -1;
  }
  catalogue_.update();
  return 0;
}

void log_follower::wait(milliseconds limit) {
  if (events_->wait(std::min(limit, before_wait()))) catalogue_.update();
}

// Whether what `name` is waited for may have come meanwhile, or will not come.
bool log_follower::has_settled(const std::string& name) {
  if (!missing_since_) missing_since_ = clock::now();
  return is_old(name) || clock::now() - *missing_since_ > PATIENCE;
}

// A log that does not follow its predecessor by its number may come before the
// one that does: they may be moved or compressed one after the other.
bool log_follower::is_due(const log_catalogue::entry& entry) {
  return !current_ || entry.number == *current_ ||
         (!is_within_ && current_->is_followed_by(entry.number)) ||
         has_settled(entry.name);
}

// More of the log is there; it may be the rest of an action, or of damage, that
// is being read.
void log_follower::note_progress(const input_file& log) const {
  const log_position& position = run_.forward_logs.position;
  if (position.file == &log && position.byte == log.stream.position()) {
    on_the_way();
  }
}

bool log_follower::open_log(const log_catalogue::entry& entry) {
  if (check_log && check_log(entry.name) != 0) return false;
  auto file = std::make_unique<input_file>(run_.messages);
  file->name = entry.name;
  if (!file->stream.open(entry.name.c_str(), [] {})) {
    run_.messages.perror(entry.name.c_str());
    return false;
  }
  events_->watch_file(entry.name);
  logs_.push_back(std::move(file));
  input_file& log = *logs_.back();
  if (fwlog_read_file_header(log, run_.charset_id) != 0) return false;
  log.stream.suspend();
  log.stream.take_care(this, run_.forward_logs.passes_over_damage);
  log.stream.set_refilled([this, &log] { note_progress(log); });
  current_ = entry.number;
  is_within_ = false;
  was_moved_ = false;
  return true;
}

int log_follower::go_on_behind(const log_number& last, bool is_within) {
  if (catalogue_.lacks_volume_set(last.volume_set_id)) {
    run_.messages.print(
        "There are no logs of volume set %u, whose state is to be gone on "
        "from\n",
        last.volume_set_id);
    return -1;
  }
  current_ = last;
  is_within_ = is_within;
  return 0;
}

const log_catalogue::entry* log_follower::next_entry() const {
  if (!current_) return catalogue_.first_behind(nullptr);
  return is_within_ ? catalogue_.first_from(*current_, has_rest)
                    : catalogue_.first_behind(&*current_);
}

input_file* log_follower::next() {
  if (!logs_.empty()) {
    logs_.back()->stream.close();
    before_wait();
  }
  missing_since_.reset();
  while (!stopped()) {
    const auto* const entry = next_entry();
    if (entry != nullptr && is_due(*entry)) {
      missing_since_.reset();
      has_failed_ = !open_log(*entry);
      return has_failed_ ? nullptr : logs_.back().get();
    }
    wait(entry == nullptr ? LONGEST_WAIT : SHORT_WAIT);
  }
  return nullptr;
}

// Says on standard error, and to the outputs, what became of the log.
void log_follower::tell(const char* what) {
  const input_file& file = *logs_.back();
  run_.messages.print(
      "WARNING: file %s %s while it was followed\n"
      "         information from the file may be missing or wrong\n",
      file.name.c_str(), what);
  run_.events.notice(
      notice_kind::file_changed,
      format_text("WARNING: while the original forward-log was processed, file "
                  "%s %s while it was followed - information from the file may "
                  "be missing or wrong",
                  file.name.c_str(), what));
}

log_follower::growth log_follower::growth_of(int descriptor) {
  struct stat status {};
  const off_t known = lseek(descriptor, 0, SEEK_CUR);
  if (fstat(descriptor, &status) != 0 || status.st_size < known) {
    return growth::shrunk;
  }
  return status.st_size > known ? growth::more : growth::none;
}

// Its later part may still be written under another name.
void log_follower::look_for_changes(int descriptor) {
  const std::string& name = logs_.back()->name;
  if (was_moved_ || is_same_file(descriptor, name)) return;
  was_moved_ = true;
  tell(access(name.c_str(), F_OK) == 0 ? "was replaced"
                                       : "was removed or renamed");
}

bool log_follower::is_left_behind() {
  const auto* const later = catalogue_.first_behind(&*current_);
  return later != nullptr && has_actions(later->name) &&
         has_settled(logs_.back()->name);
}

bool log_follower::wait_for_more(int descriptor) {
  missing_since_.reset();
  while (!stopped()) {
    switch (growth_of(descriptor)) {
      case growth::more:
        return true;
      case growth::shrunk:
        tell("has become shorter");
        return false;
      default:
        break;
    }
    // What was written before the next log was begun is there by now.
    if (is_left_behind()) return growth_of(descriptor) == growth::more;
    look_for_changes(descriptor);
    wait(missing_since_ ? SHORT_WAIT : LONGEST_WAIT);
  }
  return false;
}
