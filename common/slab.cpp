#include "common/slab.h"

#include <sanitizer/asan_interface.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

constexpr std::uint32_t FIRST_BLOCK_ROOM = 16;
// Blocks that are allocated together, at most.
constexpr std::uint32_t PIECE_BLOCKS = 128;

}  // namespace

// A chain of owners would otherwise be released by recursion.
slab_places::~slab_places() {
  while (pieces_) pieces_ = std::move(pieces_->next);
}

std::uint32_t slab_places::take() noexcept {
  const std::uint32_t number = given_back_;
  if (number != 0) {
    ASAN_UNPOISON_MEMORY_REGION(place(number), size_);
    std::memcpy(&given_back_, place(number), sizeof given_back_);
    return number;
  }
  if (fresh_ == block_count_ * BLOCK_PLACES && !add_blocks()) return 0;
  ASAN_UNPOISON_MEMORY_REGION(place(fresh_), size_);
  return fresh_++;
}

void slab_places::give_back(std::uint32_t number) noexcept {
  std::memcpy(place(number), &given_back_, sizeof given_back_);
  given_back_ = number;
  ASAN_POISON_MEMORY_REGION(place(number), size_);
}

bool slab_places::reserve_blocks(std::uint32_t count) noexcept {
  if (count <= block_room_) return true;
  const std::uint32_t room = std::max(2 * block_room_, FIRST_BLOCK_ROOM);
  std::unique_ptr<std::byte*[]> blocks = try_make_array<std::byte*>(room);
  if (!blocks) return false;
  std::copy_n(blocks_.get(), block_count_, blocks.get());
  blocks_ = std::move(blocks);
  block_room_ = room;
  return true;
}

// There are as many new blocks as old ones, up to a limit.
bool slab_places::add_blocks() noexcept {
  const std::uint32_t count = std::clamp(block_count_, 1U, PIECE_BLOCKS);
  // The numbers end.
  if (block_count_ + count > UINT32_MAX / BLOCK_PLACES) return false;
  std::unique_ptr<piece> added = try_make<piece>();
  const std::size_t block_size = BLOCK_PLACES * size_;
  if (!added || !reserve_blocks(block_count_ + count) ||
      !added->memory.allocate(count * block_size)) {
    return false;
  }
  auto* const begin = static_cast<std::byte*>(added->memory.data());
  ASAN_POISON_MEMORY_REGION(begin, count * block_size);
  for (std::uint32_t i = 0; i < count; ++i) {
    blocks_[block_count_ + i] = begin + i * block_size;
  }
  // No object has the number 0.
  if (block_count_ == 0) fresh_ = 1;
  block_count_ += count;
  added->next = std::move(pieces_);
  pieces_ = std::move(added);
  return true;
}
