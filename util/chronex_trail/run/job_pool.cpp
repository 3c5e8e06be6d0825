#include "util/chronex_trail/run/job_pool.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>

#include "common/key_memory.h"
#include "util/chronex/messages/run_failed.h"

namespace {

constexpr int FAILED_STATUS = static_cast<int>(job_end::failed);

// Copies what was told to standard error, whose state nobody could be told.
void copy_messages(int from, int to) {
  std::array<char, 4096> bytes{};
  off_t offset = 0;
  for (;;) {
    const ssize_t count = pread(from, bytes.data(), bytes.size(), offset);
    if (count <= 0) return;
    offset += count;
    if (write(to, bytes.data(), static_cast<std::size_t>(count)) < 0) return;
  }
}

// As a process of one job would be ended, by a pipe that nobody reads any more.
void end_as(int signal_number) {
  if (signal_number != SIGPIPE) return;
  std::signal(signal_number, SIG_DFL);
  std::raise(signal_number);
}

}  // namespace

job_pool::~job_pool() {
  drop_rest();
  for (const job_place& each : places_) {
    if (each.messages >= 0) close(each.messages);
  }
  if (standard_error_ >= 0) close(standard_error_);
}

// Jobs whose parts nobody wants any more are ended.
void job_pool::drop_rest() {
  for (const job& each : pending_) {
    if (each.is_running) {
      kill(each.process, SIGKILL);
      waitpid(each.process, nullptr, 0);
    }
    relay_.dismiss(each.place);
  }
  pending_.clear();
}

void job_pool::fail(const char* what) {
  const int error = errno;
  if (standard_error_ >= 0) dup2(standard_error_, STDERR_FILENO);
  errno = error;
  messages_.perror(what);
  messages_.print("Failed to start a job\n");
  throw run_failed();
}

void job_pool::open(std::size_t input, std::size_t output) {
  if (!relay_.make(input, places_.size(), [this] { await_one(WNOHANG); }) ||
      !turns_.make(places_.size(), output)) {
    fail("mmap");
  }
  standard_error_ = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
  const int nothing = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (standard_error_ < 0 || nothing < 0) fail("/dev/null");
  dup2(nothing, STDERR_FILENO);
  close(nothing);
}

// A place whose job has ended, but not had its turn, is taken still.
std::size_t job_pool::take_place() {
  for (;;) {
    if (end_ != job_end::border) throw run_failed();
    const auto free = std::ranges::find(places_, false, &job_place::is_taken);
    if (free == places_.end()) {
      await_one(0);
      continue;
    }
    if (free->messages < 0) {
      free->messages = memfd_create("messages", MFD_CLOEXEC);
      if (free->messages < 0) fail("memfd_create");
    }
    return static_cast<std::size_t>(free - places_.begin());
  }
}

// In the new process.
void job_pool::begin_job(const job_identity& mine, pid_t parent) {
  is_job_ = true;
  // The others are not this one's.
  pending_.clear();
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(FAILED_STATUS);
  key_memory_lock_again();
  dup2(places_[mine.place].messages, STDERR_FILENO);
  relay_.become_reader(mine.place);
}

std::optional<job_identity> job_pool::start() {
  const job_identity next{.number = started_, .place = take_place()};
  const int messages = places_[next.place].messages;
  if (ftruncate(messages, 0) != 0 || lseek(messages, 0, SEEK_SET) != 0) {
    fail("memfd_create");
  }
  relay_.admit(next.place);
  const pid_t parent = getpid();
  const pid_t process = fork();
  if (process < 0) fail("fork");
  if (process == 0) {
    begin_job(next, parent);
    return next;
  }
  places_[next.place].is_taken = true;
  pending_.push_back({.process = process, .place = next.place});
  ++started_;
  return std::nullopt;
}

void job_pool::tell_messages(std::size_t place) const {
  copy_messages(places_[place].messages, standard_error_);
  dup2(standard_error_, STDERR_FILENO);
}

void job_pool::await_one(int options) {
  int status = 0;
  const pid_t process = waitpid(-1, &status, options);
  if (process == 0 || (process < 0 && errno == EINTR)) return;
  if (process < 0) fail("waitpid");
  const auto ended = std::ranges::find(pending_, process, &job::process);
  if (ended == pending_.end()) return;
  ended->is_running = false;
  ended->status = status;
  relay_.dismiss(ended->place);
  hand_on();
}

// Passes over all whose parts are there. A job that was ended from outside is
// noticed when its turn has come.
void job_pool::hand_on() {
  while (!pending_.empty() && !pending_.front().is_running) {
    const job done = pending_.front();
    pending_.pop_front();
    places_[done.place].is_taken = false;
    const bool went_on =
        WIFEXITED(done.status) &&
        WEXITSTATUS(done.status) == static_cast<int>(job_end::border);
    if (!went_on) end_with(done);
  }
}

void job_pool::end_with(const job& last) {
  const bool is_whole = WIFEXITED(last.status) && WEXITSTATUS(last.status) == 0;
  end_ = is_whole ? job_end::whole : job_end::failed;
  turns_.stop();
  drop_rest();
  if (!WIFSIGNALED(last.status)) return;
  end_as(WTERMSIG(last.status));
  copy_messages(places_[last.place].messages, standard_error_);
  dprintf(standard_error_, "A job was ended by signal %d\n",
          WTERMSIG(last.status));
}

int job_pool::finish() {
  dup2(standard_error_, STDERR_FILENO);
  relay_.close();
  while (!pending_.empty()) await_one(0);
  return end_ == job_end::whole ? 0 : FAILED_STATUS;
}
