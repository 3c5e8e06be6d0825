#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_FOLLOW_CHANGE_EVENTS_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_FOLLOW_CHANGE_EVENTS_H

// Waits for changes of files without using the processor: the system tells of
// them where it can. File systems whose other writers it does not see, such as
// those of a network, are looked at twice a second.

#include <chrono>
#include <string>
#include <string_view>

class change_events {
 public:
  // `stop` is a descriptor that ends every wait when it can be read; the
  // caller's. Without `system_events` nothing is told by the system.
  explicit change_events(int stop, bool system_events = true);
  ~change_events();
  change_events(const change_events&) = delete;
  change_events& operator=(const change_events&) = delete;

  // Watches a directory: files in it that come, go, or change. Returns false
  // with errno when it cannot be looked at.
  bool watch_directory(const std::string& name);
  // Watches one file besides, in place of the one before.
  void watch_file(const std::string& name);

  // Waits for a change, but not longer than `limit`. Returns whether anything
  // but the contents of that one file may have changed.
  bool wait(std::chrono::milliseconds limit);

 private:
  void watch(const std::string& name, std::uint32_t changes, int& watch);
  bool read_events();

  int stop_;
  int events_ = -1;
  int file_watch_ = -1;
  std::string file_name_;
  // Something is not watched by the system.
  bool polls_ = false;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_FOLLOW_CHANGE_EVENTS_H
