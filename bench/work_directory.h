#ifndef CHRONEX_BENCH_WORK_DIRECTORY_H
#define CHRONEX_BENCH_WORK_DIRECTORY_H

#include <cstdint>
#include <string>

// A new directory, removed with everything in it at the end. Failures are
// std::runtime_error.
class work_directory {
 public:
  explicit work_directory(const std::string& parent);
  ~work_directory();
  work_directory(const work_directory&) = delete;
  work_directory& operator=(const work_directory&) = delete;

  std::string path(const std::string& name) const { return root_ + "/" + name; }
  void require_space(std::uint64_t bytes) const;

 private:
  std::string root_;
};

#endif  // CHRONEX_BENCH_WORK_DIRECTORY_H
