#include "bench/timed_run.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <exception>
#include <stdexcept>

namespace {

constexpr int CANNOT_RUN = 127;

double seconds_of(const timeval& time) {
  return static_cast<double>(time.tv_sec) +
         static_cast<double>(time.tv_usec) / 1e6;
}

pid_t start_process() {
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child < 0) {
    throw std::runtime_error(std::string("fork: ") + std::strerror(errno));
  }
  return child;
}

[[noreturn]] void run_command(const std::vector<char*>& arguments,
                              const char* output) {
  const int file = open(output, O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (file < 0 || dup2(file, STDOUT_FILENO) < 0) {
    std::perror(output);
    _exit(CANNOT_RUN);
  }
  execv(arguments[0], arguments.data());
  std::perror(arguments[0]);
  _exit(CANNOT_RUN);
}

}  // namespace

timed_run run_timed(const std::vector<std::string>& words,
                    const std::string& output) {
  std::vector<std::string> copies = words;
  std::vector<char*> arguments;
  arguments.reserve(copies.size() + 1);
  for (std::string& word : copies) arguments.push_back(word.data());
  arguments.push_back(nullptr);

  const auto start = std::chrono::steady_clock::now();
  const pid_t child = start_process();
  if (child == 0) run_command(arguments, output.c_str());
  int status = 0;
  rusage usage{};
  while (wait4(child, &status, 0, &usage) < 0 && errno == EINTR) {
  }
  const std::chrono::duration<double> seconds =
      std::chrono::steady_clock::now() - start;
  return {
      .status = WIFEXITED(status) ? WEXITSTATUS(status) : -1,
      .seconds = seconds.count(),
      .cpu_seconds = seconds_of(usage.ru_utime) + seconds_of(usage.ru_stime),
      .peak_kib = usage.ru_maxrss};
}

void run_apart(const std::function<void()>& work) {
  const pid_t child = start_process();
  if (child == 0) {
    try {
      work();
      _exit(0);
    } catch (const std::exception& problem) {
      std::fprintf(stderr, "%s\n", problem.what());
      _exit(1);
    }
  }
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    throw std::runtime_error("the input files could not be made");
  }
}
