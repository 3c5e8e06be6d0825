#include "common/owned_bytes.h"

#include <sys/mman.h>

#include <cstdlib>
#include <cstring>
#include <utility>

void owned_bytes::releaser::operator()(std::uint8_t* block) const noexcept {
  std::free(block);
}

owned_bytes& owned_bytes::operator=(owned_bytes&& other) noexcept {
  block_ = std::move(other.block_);
  size_ = std::exchange(other.size_, 0);
  return *this;
}

bool owned_bytes::allocate(std::size_t size) noexcept {
  reset();
  block_.reset(static_cast<std::uint8_t*>(std::malloc(size)));
  size_ = block_ ? size : 0;
  return block_ != nullptr;
}

bool owned_bytes::allocate_zeroed(std::size_t size) noexcept {
  reset();
  block_.reset(static_cast<std::uint8_t*>(std::calloc(size, 1)));
  size_ = block_ ? size : 0;
  return block_ != nullptr;
}

bool owned_bytes::grow(std::size_t size) noexcept {
  if (size <= size_) return true;
  void* moved = std::realloc(block_.get(), size);
  if (moved == nullptr) return false;
  // realloc has already released the old block.
  static_cast<void>(block_.release());
  block_.reset(static_cast<std::uint8_t*>(moved));
  size_ = size;
  return true;
}

bool owned_bytes::copy_from(std::span<const std::uint8_t> bytes) noexcept {
  reset();
  if (bytes.empty()) return true;
  if (!allocate(bytes.size())) return false;
  std::memcpy(block_.get(), bytes.data(), bytes.size());
  return true;
}

void owned_bytes::reset() noexcept {
  block_.reset();
  size_ = 0;
}

void near_memory::releaser::operator()(void* block) const noexcept {
  std::free(block);
}

bool near_memory::allocate(std::size_t size) noexcept {
  const std::size_t unit = size >= HUGE_PAGE ? HUGE_PAGE : CACHE_LINE;
  const std::size_t whole = (size + unit - 1) / unit * unit;
  block_.reset();
  block_.reset(std::aligned_alloc(unit, whole));
  if (!block_) return false;
  // Only a wish: it does no harm when the system has no such pages.
  if (unit == HUGE_PAGE) madvise(block_.get(), whole, MADV_HUGEPAGE);
  return true;
}
