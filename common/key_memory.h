#ifndef CHRONEX_COMMON_KEY_MEMORY_H
#define CHRONEX_COMMON_KEY_MEMORY_H

// Memory for keys and passphrases that live longer than a call.
//
// It lies in pages of its own, which are locked, so that they never reach the
// swap space, and left out of core files, as far as the system allows either.
// Everything is wiped when it is given back. The pages stay with the process
// and are used again.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <utility>

// Returns `size` bytes, all zero and aligned for any type, or null (errno
// ENOMEM) when there is no memory.
[[nodiscard]] void* key_memory_take(std::size_t size) noexcept;

// Wipes the block and takes it back; null is allowed.
void key_memory_return(void* block, std::size_t size) noexcept;

// Locks all pages once more: a child process starts with none of them locked.
void key_memory_lock_again() noexcept;

// A block of key memory with one owner: none, or size() bytes.
class key_bytes {
 public:
  key_bytes() = default;
  key_bytes(key_bytes&& other) noexcept
      : bytes_(std::exchange(other.bytes_, {})) {}
  key_bytes& operator=(key_bytes&& other) noexcept;
  key_bytes(const key_bytes&) = delete;
  key_bytes& operator=(const key_bytes&) = delete;
  ~key_bytes() { reset(); }

  // Replaces what is held by a copy of `bytes`; none (and true) when that is
  // empty. Returns false when there is no memory; the object is then none.
  [[nodiscard]] bool copy_from(std::span<const std::uint8_t> bytes) noexcept;
  void reset() noexcept;

  explicit operator bool() const { return !bytes_.empty(); }
  const std::uint8_t* data() const { return bytes_.data(); }
  std::size_t size() const { return bytes_.size(); }
  std::span<std::uint8_t> bytes() { return bytes_; }
  std::span<const std::uint8_t> bytes() const { return bytes_; }

 private:
  std::span<std::uint8_t> bytes_;
};

template <typename T>
struct key_memory_releaser {
  void operator()(T* object) const noexcept {
    std::destroy_at(object);
    key_memory_return(object, sizeof *object);
  }
};

// An object in key memory with one owner.
template <typename T>
using key_ptr = std::unique_ptr<T, key_memory_releaser<T>>;

// Makes one, or returns null (errno ENOMEM) when there is no memory.
template <typename T>
key_ptr<T> try_make_key() noexcept {
  static_assert(noexcept(T()) && alignof(T) <= alignof(std::max_align_t));
  void* block = key_memory_take(sizeof(T));
  if (block == nullptr) return nullptr;
  return key_ptr<T>(std::construct_at(static_cast<T*>(block)));
}

#endif  // CHRONEX_COMMON_KEY_MEMORY_H
