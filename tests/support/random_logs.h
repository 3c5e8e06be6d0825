#ifndef CHRONEX_TESTS_SUPPORT_RANDOM_LOGS_H
#define CHRONEX_TESTS_SUPPORT_RANDOM_LOGS_H

// Random series of forward logs: sessions, data sets, keys and images that wait
// reach from one file into the next; numbers are missing and repeated, and
// files are cut or broken.

#include <cstdint>
#include <random>
#include <string>
#include <vector>

struct random_log {
  std::string name;
  std::string bytes;
};

class random_source {
 public:
  explicit random_source(std::uint64_t seed) : engine_(seed) {}

  // From 0 up to, but without, `limit`.
  std::uint32_t below(std::size_t limit) {
    return static_cast<std::uint32_t>(engine_() % limit);
  }
  bool chance(std::uint32_t percent) { return below(100) < percent; }
  template <typename T, std::size_t COUNT>
  const T& one_of(const T (&choices)[COUNT]) {
    return choices[below(COUNT)];
  }

 private:
  std::mt19937_64 engine_;
};

// The same for the same random numbers. In the order of their headers; the last
// one is whole.
std::vector<random_log> make_random_logs(random_source& random);

// How long the header of such a log is.
std::size_t random_log_header_size();

#endif  // CHRONEX_TESTS_SUPPORT_RANDOM_LOGS_H
