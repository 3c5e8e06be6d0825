#ifndef CHRONEX_COMMON_OWNED_BYTES_H
#define CHRONEX_COMMON_OWNED_BYTES_H

// Memory whose allocation may fail without ending the program.
//
// Input files decide how much is allocated, so a failed allocation is an
// ordinary value here, never an exception: each caller has its own message and
// its own way to go on. This is the only place that calls malloc and free.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <span>
#include <utility>

// A block of bytes with one owner. It is either "none" (nothing allocated) or
// holds size() bytes; a block of size 0 is "none".
class owned_bytes {
 public:
  owned_bytes() = default;
  owned_bytes(owned_bytes&& other) noexcept
      : block_(std::move(other.block_)), size_(other.size_) {
    other.size_ = 0;
  }
  owned_bytes& operator=(owned_bytes&& other) noexcept;
  owned_bytes(const owned_bytes&) = delete;
  owned_bytes& operator=(const owned_bytes&) = delete;
  ~owned_bytes() = default;

  // Releases what is held and allocates `size` bytes (size > 0), whose contents
  // are undefined. Returns false when there is no memory: errno is then ENOMEM
  // and the object is none.
  [[nodiscard]] bool allocate(std::size_t size) noexcept;
  // The same with every byte zero.
  [[nodiscard]] bool allocate_zeroed(std::size_t size) noexcept;
  // Makes the block at least `size` bytes long and keeps its contents. Returns
  // false, with errno ENOMEM and the block unchanged, when there is no memory.
  [[nodiscard]] bool grow(std::size_t size) noexcept;
  // Allocates and fills a copy of `bytes`; none (and true) when it is empty.
  [[nodiscard]] bool copy_from(std::span<const std::uint8_t> bytes) noexcept;
  void reset() noexcept;

  explicit operator bool() const { return block_ != nullptr; }
  std::uint8_t* data() { return block_.get(); }
  const std::uint8_t* data() const { return block_.get(); }
  std::size_t size() const { return size_; }
  std::span<std::uint8_t> bytes() { return {block_.get(), size_}; }
  std::span<const std::uint8_t> bytes() const { return {block_.get(), size_}; }

 private:
  struct releaser {
    void operator()(std::uint8_t* block) const noexcept;
  };
  std::unique_ptr<std::uint8_t[], releaser> block_;
  std::size_t size_ = 0;
};

inline constexpr std::size_t CACHE_LINE = 64;
// The larger kind of pages; addresses in such a page are translated by one
// entry of the processor's tables.
inline constexpr std::size_t HUGE_PAGE = std::size_t{2} << 20U;

// Memory for what is read at random places: it begins at a cache line, and from
// the size of a huge page on it consists of those, where the system has them.
class near_memory {
 public:
  near_memory() = default;

  // Releases what is held and allocates `size` bytes (size > 0), whose contents
  // are undefined. Returns false when there is no memory: errno is then ENOMEM
  // and nothing is held.
  [[nodiscard]] bool allocate(std::size_t size) noexcept;
  explicit operator bool() const { return block_ != nullptr; }
  void* data() const { return block_.get(); }

 private:
  struct releaser {
    void operator()(void* block) const noexcept;
  };
  std::unique_ptr<void, releaser> block_;
};

// Makes a T with one owner, or returns null (errno ENOMEM) when there is no
// memory for it. T's constructor must not throw.
template <typename T, typename... Arguments>
std::unique_ptr<T> try_make(Arguments&&... arguments) noexcept {
  static_assert(noexcept(T(std::forward<Arguments>(arguments)...)));
  return std::unique_ptr<T>(new (std::nothrow)
                                T(std::forward<Arguments>(arguments)...));
}

// The same for an array of `count` elements.
template <typename T>
std::unique_ptr<T[]> try_make_array(std::size_t count) noexcept {
  static_assert(noexcept(T()));
  return std::unique_ptr<T[]>(new (std::nothrow) T[count]());
}

#endif  // CHRONEX_COMMON_OWNED_BYTES_H
