#ifndef CHRONEX_TESTS_TRAIL_FOLLOWED_LOGS_H
#define CHRONEX_TESTS_TRAIL_FOLLOWED_LOGS_H

// Logs that are written while a program follows them.

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "tests/support/log_builder.h"
#include "tests/support/run_program.h"

inline constexpr int SET = 7;
inline constexpr int BOB = 5;

inline log_builder log_of(std::uint32_t generation, std::uint32_t sequence) {
  return log_builder({.generation = generation, .sequence = sequence});
}

inline log_builder& start(log_builder& log) {
  log.database(1, "shop").data_set(SET, 1, "orders", {{"A", 'X', 1, 4}});
  return log.sign_on(BOB, {"user{BOB}"});
}

// A directory with a directory of logs in it, and a follower of that.
class followed_logs {
 public:
  followed_logs() { std::filesystem::create_directory(directory.path("logs")); }
  ~followed_logs() {
    if (process_ > 0) directory.stop(process_, SIGKILL);
  }

  void follow(const std::vector<std::string>& operands = {"logs"},
              std::vector<std::string> arguments = {"json", "--follow"}) {
    arguments.insert(arguments.end(), operands.begin(), operands.end());
    // What the one before has shown.
    std::filesystem::remove(directory.path("(out)"));
    std::filesystem::remove(directory.path("(err)"));
    process_ = directory.start_trail(arguments);
  }
  program_result stop(int signal) {
    const int process = process_;
    process_ = 0;
    return directory.stop(process, signal);
  }

  void append(const std::string& name, std::string_view bytes) const {
    std::ofstream(directory.path("logs/" + name),
                  std::ios::binary | std::ios::app)
        << bytes;
  }
  // In pieces that end anywhere.
  void append_torn(const std::string& name, std::string_view bytes) const {
    std::size_t size = 1;
    while (!bytes.empty()) {
      append(name, bytes.substr(0, size));
      bytes.remove_prefix(std::min(size, bytes.size()));
      size = size * 7 % 101 + 1;
      std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
  }
  // How many changes the follower has shown.
  std::size_t changes(const std::string& name = "(out)") const {
    const std::string out = directory.read_raw(name);
    std::size_t count = 0;
    for (std::size_t at = 0;
         (at = out.find("\"type\":\"change\"", at)) != std::string::npos;
         ++at) {
      ++count;
    }
    return count;
  }
  // Waits until so many changes, or a text on standard error, are there.
  template <typename Condition>
  static bool comes(Condition condition) {
    for (int i = 0; i < 2000 && !condition(); ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return condition();
  }
  bool shows(std::size_t count) const {
    return comes([&] { return changes() >= count; });
  }
  bool says(const std::string& text) const {
    return comes([&] {
      return directory.read_raw("(err)").find(text) != std::string::npos;
    });
  }
  void make_old(const std::string& name) const {
    std::filesystem::last_write_time(
        directory.path("logs/" + name),
        std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
  }

  test_directory directory;

 private:
  int process_ = 0;
};

#endif  // CHRONEX_TESTS_TRAIL_FOLLOWED_LOGS_H
