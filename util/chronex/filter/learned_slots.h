#ifndef CHRONEX_UTIL_CHRONEX_FILTER_LEARNED_SLOTS_H
#define CHRONEX_UTIL_CHRONEX_FILTER_LEARNED_SLOTS_H

// What a test of a filter has learned of data sets.
//
// A test runs for every record of the log, while a database has some hundred
// data sets at most. So what was learned of the latest ones is kept, each in
// the slot that its number falls into. Where there are more, and they keep
// displacing one another, the slots become more.

#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

// A default T has nothing learned.
template <typename T>
class learned_slots {
 public:
  // Of a test that learns something.
  static constexpr std::size_t LEAST = 256;

  // No slots: of a test that learns nothing.
  learned_slots() = default;
  // A power of two. Throws std::bad_alloc.
  explicit learned_slots(std::size_t count) : slots_(count), last_(count - 1) {}

  // As many bytes may be taken in all, unless there were more from the start.
  void set_limit(std::size_t bytes) { limit_ = bytes; }

  T& slot(std::uint64_t number) { return slots_[number & last_]; }

  // The slot of a data set that displaces another one from it. It may be empty
  // then, like all others: what they had is learned anew.
  T& displace(std::uint64_t number) {
    if (++displaced_ > last_) grow();
    return slot(number);
  }

 private:
  // Without memory for more, as many go on to serve.
  void grow() {
    displaced_ = 0;
    const std::size_t count = (last_ + 1) * 2;
    if (count * sizeof(T) > limit_) return;
    try {
      slots_ = std::vector<T>(count);
      last_ = count - 1;
    } catch (const std::bad_alloc&) {
    }
  }

  std::vector<T> slots_;
  // The index of the last slot.
  std::size_t last_ = 0;
  std::size_t displaced_ = 0;
  std::size_t limit_ = 0;
};

#endif  // CHRONEX_UTIL_CHRONEX_FILTER_LEARNED_SLOTS_H
