#include "util/chronex_trail/run/job_pool.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <utility>

#include "common/key_memory.h"
#include "util/chronex/messages/run_failed.h"

namespace {

constexpr int FAILED_STATUS = static_cast<int>(job_end::failed);

void close_part(int descriptor) {
  if (descriptor >= 0) close(descriptor);
}

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

}  // namespace

job_pool::job_pool(std::size_t jobs, int output, std::string directory,
                   std::function<int(int part)> append, run_messages& messages)
    : jobs_(jobs),
      output_(output),
      directory_(std::move(directory)),
      append_(std::move(append)),
      messages_(messages) {}

// Jobs whose parts nobody wants any more are ended.
job_pool::~job_pool() {
  for (const job& each : pending_) {
    if (each.is_running) {
      kill(each.process, SIGKILL);
      waitpid(each.process, nullptr, 0);
    }
    close_part(each.output);
    close_part(each.messages);
  }
  close_part(standard_error_);
}

void job_pool::fail(const char* what) {
  const int error = errno;
  if (standard_error_ >= 0) dup2(standard_error_, STDERR_FILENO);
  errno = error;
  messages_.perror(what);
  messages_.print("Failed to start a job\n");
  throw run_failed();
}

// Makes a file that has no name and goes away with its last descriptor.
int job_pool::open_part() {
  constexpr mode_t OWNER_ONLY = 0600;
  int part =
      open(directory_.c_str(), O_RDWR | O_TMPFILE | O_CLOEXEC, OWNER_ONLY);
  if (part >= 0) return part;
  std::string name = directory_ + "/chronex-part.XXXXXX";
  part = mkostemp(name.data(), O_CLOEXEC);
  if (part < 0) fail(directory_.c_str());
  unlink(name.c_str());
  return part;
}

void job_pool::keep_silent() {
  standard_error_ = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
  const int nothing = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (standard_error_ < 0 || nothing < 0) fail("/dev/null");
  dup2(nothing, STDERR_FILENO);
  close(nothing);
}

// In the new process.
int job_pool::take_over(const job& mine) const {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  key_memory_lock_again();
  dup2(mine.messages >= 0 ? mine.messages : standard_error_, STDERR_FILENO);
  return mine.output >= 0 ? mine.output : output_;
}

int job_pool::start() {
  while (running_ >= jobs_) await_one();
  job next;
  if (!std::exchange(is_first_, false)) {
    next.output = open_part();
    next.messages = open_part();
  }
  next.process = fork();
  if (next.process < 0) fail("fork");
  if (next.process == 0) {
    // The others are not this one's.
    pending_.clear();
    return take_over(next);
  }
  pending_.push_back(next);
  ++running_;
  return -1;
}

void job_pool::await_one() {
  int status = 0;
  const pid_t process = waitpid(-1, &status, 0);
  if (process < 0) {
    if (errno == EINTR) return;
    fail("waitpid");
  }
  const auto ended = std::ranges::find(pending_, process, &job::process);
  if (ended == pending_.end()) return;
  ended->is_running = false;
  ended->status = WIFEXITED(status) ? WEXITSTATUS(status) : FAILED_STATUS;
  if (WIFSIGNALED(status) && ended->messages >= 0) {
    dprintf(ended->messages, "A job was ended by signal %d\n",
            WTERMSIG(status));
  }
  --running_;
  hand_on();
}

// Adds all parts to the output whose turn has come.
void job_pool::hand_on() {
  while (!pending_.empty() && !pending_.front().is_running) {
    const job done = pending_.front();
    pending_.pop_front();
    if (end_ == job_end::border) {
      end_ = static_cast<job_end>(done.status);
      if (done.messages >= 0) copy_messages(done.messages, standard_error_);
      if (done.output >= 0 && append_(done.output) != 0) end_ = job_end::failed;
    }
    close_part(done.output);
    close_part(done.messages);
  }
}

int job_pool::finish() {
  dup2(standard_error_, STDERR_FILENO);
  while (running_ > 0) await_one();
  return end_ == job_end::whole ? 0 : FAILED_STATUS;
}
