#ifndef CHRONEX_COMMON_SLAB_H
#define CHRONEX_COMMON_SLAB_H

// Objects of one type, made side by side and released one by one.
//
// They have numbers, which take less room than addresses. What a processor
// reads of memory comes in cache lines and pages: each object begins at a cache
// line, and with their number the pieces of memory get larger that they lie in.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>

#include "common/owned_bytes.h"

// The places of a slab: blocks of BLOCK_PLACES, numbered from 0, of which the
// first place is in no use. Places not in use are poisoned for the address
// sanitizer.
class slab_places {
 public:
  static constexpr std::uint32_t BLOCK_PLACES = 256;

  // The size of a place, a multiple of CACHE_LINE.
  explicit slab_places(std::size_t size) noexcept : size_(size) {}
  slab_places(const slab_places&) = delete;
  slab_places& operator=(const slab_places&) = delete;
  ~slab_places();

  // The number of a place of undefined contents, or 0 (errno ENOMEM) without
  // memory.
  std::uint32_t take() noexcept;
  // Takes back what take() gave.
  void give_back(std::uint32_t number) noexcept;

  std::byte* block(std::uint32_t index) const { return blocks_[index]; }

 private:
  struct piece {
    std::unique_ptr<piece> next;
    near_memory memory;
  };

  void* place(std::uint32_t number) const {
    return blocks_[number / BLOCK_PLACES] + number % BLOCK_PLACES * size_;
  }
  bool reserve_blocks(std::uint32_t count) noexcept;
  bool add_blocks() noexcept;

  std::size_t size_;
  // The place that was given back last, which holds the number of the one
  // before it; 0: none.
  std::uint32_t given_back_ = 0;
  // The number of the first place that was never in use.
  std::uint32_t fresh_ = 0;
  std::uint32_t block_count_ = 0;
  // Where the blocks begin, with room for so many.
  std::unique_ptr<std::byte*[]> blocks_;
  std::uint32_t block_room_ = 0;
  std::unique_ptr<piece> pieces_;
};

// Every object must be released before the slab is destroyed.
template <typename T>
class slab {
 public:
  // Makes a T and returns its number, or 0 (errno ENOMEM) without memory.
  std::uint32_t make() noexcept {
    static_assert(std::is_nothrow_default_constructible_v<T>);
    const std::uint32_t number = places_.take();
    if (number != 0) std::construct_at(&(*this)[number]);
    return number;
  }

  void release(std::uint32_t number) noexcept {
    std::destroy_at(&(*this)[number]);
    places_.give_back(number);
  }

  T& operator[](std::uint32_t number) const {
    std::byte* const block = places_.block(number / slab_places::BLOCK_PLACES);
    return *reinterpret_cast<T*>(block +
                                 number % slab_places::BLOCK_PLACES * SIZE);
  }

 private:
  static_assert(alignof(T) <= CACHE_LINE);
  static constexpr std::size_t SIZE =
      (sizeof(T) + CACHE_LINE - 1) / CACHE_LINE * CACHE_LINE;

  slab_places places_{SIZE};
};

#endif  // CHRONEX_COMMON_SLAB_H
