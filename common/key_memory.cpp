#include "common/key_memory.h"

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <memory_resource>
#include <new>
#include <span>

#include "common/wipe.h"

namespace {

// Whole pages from the system, protected as far as it allows.
class protected_pages final : public std::pmr::memory_resource {
 public:
  void lock_again() const {
    for (const page_run& run : std::span(known_).first(known_count_)) {
      static_cast<void>(mlock(run.begin, run.length));
    }
  }

 private:
  struct page_run {
    void* begin = nullptr;
    std::size_t length = 0;
  };

  static std::size_t whole_pages(std::size_t size) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return (size + page - 1) / page * page;
  }

  void* do_allocate(std::size_t size, std::size_t /*alignment*/) override {
    const std::size_t length = whole_pages(size);
    void* pages = mmap(nullptr, length, PROT_READ | PROT_WRITE,
                       MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED) throw std::bad_alloc();
    // Either may be refused, for instance beyond the limit of locked memory.
    static_cast<void>(mlock(pages, length));
    static_cast<void>(madvise(pages, length, MADV_DONTDUMP));
    if (known_count_ < known_.size()) known_[known_count_++] = {pages, length};
    return pages;
  }

  void do_deallocate(void* pages, std::size_t size,
                     std::size_t /*alignment*/) override {
    for (page_run& run : std::span(known_).first(known_count_)) {
      if (run.begin == pages) run = known_[--known_count_];
    }
    munmap(pages, whole_pages(size));
  }

  bool do_is_equal(const memory_resource& other) const noexcept override {
    return this == &other;
  }

  // The runs that a child process locks again; keys take few.
  std::array<page_run, 64> known_;
  std::size_t known_count_ = 0;
};

// An object that is never destroyed: keys may be released by the destructors of
// any other.
template <typename T>
class immortal {
 public:
  template <typename... Arguments>
  explicit immortal(Arguments... arguments)
      : object_(std::construct_at(reinterpret_cast<T*>(place_.data()),
                                  arguments...)) {}
  T* get() { return object_; }

 private:
  alignas(T) std::array<std::byte, sizeof(T)> place_;
  T* object_;
};

protected_pages& key_pages() {
  static immortal<protected_pages> pages;
  return *pages.get();
}

std::pmr::memory_resource& key_pool() {
  static immortal<std::pmr::unsynchronized_pool_resource> pool(&key_pages());
  return *pool.get();
}

// The pool has blocks of sizes that are no multiple of the alignment, one
// beside the other.
std::size_t aligned_size(std::size_t size) {
  constexpr std::size_t ALIGNMENT = alignof(std::max_align_t);
  return (size + ALIGNMENT - 1) / ALIGNMENT * ALIGNMENT;
}

}  // namespace

void key_memory_lock_again() noexcept { key_pages().lock_again(); }

void* key_memory_take(std::size_t size) noexcept {
  try {
    return std::memset(key_pool().allocate(aligned_size(size)), 0, size);
  } catch (const std::bad_alloc&) {
    errno = ENOMEM;
    return nullptr;
  }
}

void key_memory_return(void* block, std::size_t size) noexcept {
  if (block == nullptr) return;
  wipe(block, size);
  key_pool().deallocate(block, aligned_size(size));
}

key_bytes& key_bytes::operator=(key_bytes&& other) noexcept {
  if (this == &other) return *this;
  reset();
  bytes_ = std::exchange(other.bytes_, {});
  return *this;
}

bool key_bytes::copy_from(std::span<const std::uint8_t> bytes) noexcept {
  reset();
  if (bytes.empty()) return true;
  void* block = key_memory_take(bytes.size());
  if (block == nullptr) return false;
  std::memcpy(block, bytes.data(), bytes.size());
  bytes_ = {static_cast<std::uint8_t*>(block), bytes.size()};
  return true;
}

void key_bytes::reset() noexcept {
  key_memory_return(bytes_.data(), bytes_.size());
  bytes_ = {};
}
