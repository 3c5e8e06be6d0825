#include "util/chronex_trail/run/job_pool.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>

#include "common/key_memory.h"
#include "util/chronex/messages/run_failed.h"

namespace {

constexpr int FAILED_STATUS = static_cast<int>(job_end::failed);

// As a process of one job would be ended, by a pipe that nobody reads any more.
void end_as(int signal_number) {
  if (signal_number != SIGPIPE) return;
  std::signal(signal_number, SIG_DFL);
  std::raise(signal_number);
}

}  // namespace

job_pool::~job_pool() { stop(); }

// Jobs whose parts nobody wants any more are ended.
void job_pool::stop() {
  for (std::size_t index = 0; index < running_.size(); ++index) {
    job& each = running_[index];
    if (!each.is_running) continue;
    kill(each.process, SIGKILL);
    waitpid(each.process, nullptr, 0);
    each.is_running = false;
    relay_.dismiss(index);
  }
}

void job_pool::fail(const char* what) {
  messages_.perror(what);
  messages_.print("Failed to start a job\n");
  throw run_failed();
}

void job_pool::open(std::size_t input) {
  if (!relay_.make(input, jobs_) || !turns_.make()) {
    fail("mmap");
  }
}

std::optional<std::size_t> job_pool::start() {
  const pid_t parent = getpid();
  for (std::size_t index = 0; index < jobs_; ++index) {
    if (start_job(index, parent)) return index;
  }
  return std::nullopt;
}

bool job_pool::start_job(std::size_t index, pid_t parent) {
  const pid_t process = fork();
  if (process < 0) fail("fork");
  if (process > 0) {
    running_.push_back({.process = process});
    return false;
  }
  begin_job(index, parent);
  return true;
}

// In the new process.
void job_pool::begin_job(std::size_t index, pid_t parent) {
  // The others are not this one's.
  running_.clear();
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(FAILED_STATUS);
  key_memory_lock_again();
  relay_.become_reader(index);
  standard_error_ = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
  kept_messages_ = memfd_create("messages", MFD_CLOEXEC);
  if (standard_error_ < 0 || kept_messages_ < 0) {
    messages_.perror("memfd_create");
    _exit(FAILED_STATUS);
  }
  keep_messages();
}

void job_pool::drop_messages() const {
  if (ftruncate(kept_messages_, 0) != 0 ||
      lseek(kept_messages_, 0, SEEK_SET) != 0) {
    dprintf(standard_error_, "Failed to keep the messages of a job\n");
    _exit(FAILED_STATUS);
  }
}

std::string job_pool::take_messages() const {
  const off_t size = lseek(kept_messages_, 0, SEEK_CUR);
  if (size <= 0) return {};
  std::string messages(static_cast<std::size_t>(size), '\0');
  const ssize_t count =
      pread(kept_messages_, messages.data(), messages.size(), 0);
  messages.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
  drop_messages();
  return messages;
}

void job_pool::tell_messages(std::string_view messages) const {
  while (!messages.empty()) {
    const ssize_t count =
        write(standard_error_, messages.data(), messages.size());
    // The state of standard error could be told to nobody.
    if (count < 0) break;
    messages.remove_prefix(static_cast<std::size_t>(count));
  }
  dup2(standard_error_, STDERR_FILENO);
}

void job_pool::keep_messages() const { dup2(kept_messages_, STDERR_FILENO); }

bool job_pool::is_running() const {
  return std::ranges::any_of(running_, &job::is_running);
}

void job_pool::await_one() {
  int status = 0;
  const pid_t process = waitpid(-1, &status, 0);
  if (process < 0 && errno == EINTR) return;
  if (process < 0) fail("waitpid");
  const auto ended = std::ranges::find(running_, process, &job::process);
  if (ended == running_.end()) return;
  ended->is_running = false;
  relay_.dismiss(static_cast<std::size_t>(ended - running_.begin()));
  take_end(status);
}

// The job that ends the whole has had its turn: all parts before are written.
void job_pool::take_end(int status) {
  if (WIFSIGNALED(status)) {
    end_with_signal(WTERMSIG(status));
    return;
  }
  const auto end = static_cast<job_end>(WEXITSTATUS(status));
  if (end == job_end::idle) return;
  if (end_ == job_end::idle || end_ == job_end::lost) end_ = end;
  if (end_ != job_end::lost) stop();
}

void job_pool::end_with_signal(int number) {
  end_ = job_end::failed;
  stop();
  end_as(number);
  messages_.print("A job was ended by signal %d\n", number);
}

int job_pool::finish() {
  while (is_running()) await_one();
  if (end_ == job_end::idle || end_ == job_end::lost) {
    messages_.print("A job has failed to go over the inputs\n");
  }
  return end_ == job_end::whole ? 0 : FAILED_STATUS;
}
