#ifndef CHRONEX_COMMON_SHARED_MEMORY_H
#define CHRONEX_COMMON_SHARED_MEMORY_H

// Memory that this process has in common with those that it makes by fork, and
// a word in it that they can wait for.

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>

// A block of shared memory with one owner: none, or size() bytes, all zero at
// first. No process but this one and its children can reach it.
class shared_memory {
 public:
  shared_memory() = default;
  shared_memory(const shared_memory&) = delete;
  shared_memory& operator=(const shared_memory&) = delete;
  ~shared_memory();

  // What is mapped consists of these.
  static std::size_t page_size();

  // Maps `size` bytes (> 0). False with errno on failure. To be called once.
  [[nodiscard]] bool allocate(std::size_t size);
  // The same, and the block is there a second time right behind itself: size()
  // bytes from any place of it on stand in a row. `size` is made up of whole
  // pages.
  [[nodiscard]] bool allocate_ring(std::size_t size);

  std::uint8_t* data() const { return block_; }
  std::size_t size() const { return size_; }

 private:
  std::uint8_t* block_ = nullptr;
  std::size_t size_ = 0;
  std::size_t mapped_ = 0;
};

// A number in shared memory. Who wants to wait until something else there has
// changed takes the value, looks, and waits; who changes it advances the number
// afterwards.
class shared_counter {
 public:
  std::uint32_t value() const { return value_.load(); }
  // Counts on and wakes all that wait.
  void advance();
  // Waits until the number is not `seen` any more, and at most for that long;
  // may return before.
  void wait(std::uint32_t seen, std::chrono::milliseconds longest);

 private:
  std::atomic<std::uint32_t> value_{0};
  // Processes that wait; those that were killed meanwhile stay counted.
  std::atomic<std::uint32_t> waiting_{0};
};

#endif  // CHRONEX_COMMON_SHARED_MEMORY_H
