#include "common/shared_memory.h"

#include <linux/futex.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <ctime>

namespace {

constexpr int READ_WRITE = PROT_READ | PROT_WRITE;

std::uint8_t* bytes_or_null(void* mapped) {
  return mapped == MAP_FAILED ? nullptr : static_cast<std::uint8_t*>(mapped);
}

// Maps a file without a name into twice its size of address space.
std::uint8_t* map_twice(int file, std::size_t size) {
  if (ftruncate(file, static_cast<off_t>(size)) != 0) return nullptr;
  std::uint8_t* const room = bytes_or_null(
      mmap(nullptr, 2 * size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  if (room == nullptr) return nullptr;
  for (std::uint8_t* const place : {room, room + size}) {
    if (mmap(place, size, READ_WRITE, MAP_SHARED | MAP_FIXED, file, 0) ==
        MAP_FAILED) {
      munmap(room, 2 * size);
      return nullptr;
    }
  }
  return room;
}

// Processes have their own addresses for the word: the call is not told that it
// is private to one.
long futex(const std::atomic<std::uint32_t>& word, int operation,
           std::uint32_t value, const timespec* timeout) {
  return syscall(SYS_futex, &word, operation, value, timeout, nullptr, 0);
}

}  // namespace

shared_memory::~shared_memory() {
  if (block_ != nullptr) munmap(block_, mapped_);
}

std::size_t shared_memory::page_size() {
  return static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

bool shared_memory::allocate(std::size_t size) {
  block_ = bytes_or_null(
      mmap(nullptr, size, READ_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  if (block_ == nullptr) return false;
  size_ = size;
  mapped_ = size;
  return true;
}

bool shared_memory::allocate_ring(std::size_t size) {
  const int file = memfd_create("ring", MFD_CLOEXEC);
  if (file < 0) return false;
  block_ = map_twice(file, size);
  close(file);
  if (block_ == nullptr) return false;
  size_ = size;
  mapped_ = 2 * size;
  return true;
}

void shared_counter::advance() {
  constexpr std::uint32_t EVERYONE = INT32_MAX;
  value_.fetch_add(1);
  // Who counts itself as waiting only now will find that the value has changed.
  if (waiting_ == 0) return;
  futex(value_, FUTEX_WAKE, EVERYONE, nullptr);
}

void shared_counter::wait(std::uint32_t seen,
                          std::chrono::milliseconds longest) {
  const auto seconds =
      std::chrono::duration_cast<std::chrono::seconds>(longest);
  const std::chrono::nanoseconds rest = longest - seconds;
  const timespec timeout{.tv_sec = seconds.count(), .tv_nsec = rest.count()};
  waiting_.fetch_add(1);
  futex(value_, FUTEX_WAIT, seen, &timeout);
  waiting_.fetch_sub(1);
}
