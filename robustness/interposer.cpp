// A library for LD_PRELOAD that makes one call of a program fail.
//
//   FAULT=CALL:N:HOW      the N-th call of CALL fails, counted from 1
//   FAULT=CALL:N+:HOW     and so do all that follow
//   FAULT_LOG=FILE        where to tell what happened
//
// CALL is "alloc", "libcrypto" for an allocation that the crypto library makes
// for itself, or the name of a system or library function below; HOW is an
// errno number, or "short" for a transfer of a single byte. The log gets "hit"
// when the call failed ("hit output" when it had to do with a descriptor that
// is open for writing), and at the end "left N": the allocated blocks.
//
// It needs no more than the C library, and asks that for nothing that
// allocates.

#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);
}

namespace {

constexpr unsigned TIME_LIMIT = 20;  // seconds
constexpr int SHORT = -1;

const char* log_path = nullptr;
char call_name[16];
long fail_at = 0;
bool sticky = false;
int how = 0;

long seen = 0;
bool hit = false;
long blocks = 0;

void tell(const char* text) {
  if (log_path == nullptr) return;
  const long fd = syscall(SYS_openat, AT_FDCWD, log_path,
                          O_WRONLY | O_CREAT | O_APPEND, 0600);
  syscall(SYS_write, fd, text, std::strlen(text));
  syscall(SYS_close, fd);
}

// Whether this call is the one. `fd` is what it is about, or -1.
bool fails(const char* call, int fd = -1) {
  if (fail_at == 0 || std::strcmp(call, call_name) != 0) return false;
  ++seen;
  if (sticky ? seen < fail_at : seen != fail_at) return false;
  const int saved = errno;
  const long mode = fd < 0 ? -1 : syscall(SYS_fcntl, fd, F_GETFL);
  if (!hit)
    tell(mode >= 0 && (mode & O_ACCMODE) != O_RDONLY ? "hit output\n"
                                                     : "hit\n");
  hit = true;
  errno = how > 0 ? how : saved;
  return true;
}

// `caller` is the return address of the allocation function.
bool allocation_fails(void* caller) {
  if (fail_at == 0) return false;
  dl_find_object object{};
  const bool of_crypto =
      _dl_find_object(caller, &object) == 0 &&
      std::strstr(object.dlfo_link_map->l_name, "libcrypto") != nullptr;
  if (!fails(of_crypto ? "libcrypto" : "alloc")) return false;
  errno = ENOMEM;
  return true;
}

void* counted(void* block) {
  if (block != nullptr) ++blocks;
  return block;
}

template <typename Function>
Function* next(Function* /*same type*/, const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

[[gnu::constructor]] void begin() {
  alarm(TIME_LIMIT);
  log_path = std::getenv("FAULT_LOG");
  const char* fault = std::getenv("FAULT");
  if (fault == nullptr) return;
  const char* colon = std::strchr(fault, ':');
  std::memcpy(call_name, fault, static_cast<std::size_t>(colon - fault));
  char* end = nullptr;
  const long number = std::strtol(colon + 1, &end, 10);
  sticky = *end == '+';
  if (sticky) ++end;
  how = std::strcmp(end + 1, "short") == 0 ? SHORT : std::atoi(end + 1);
  // What the program is started with does not count.
  fail_at = number;
}

[[gnu::destructor]] void end() {
  fail_at = 0;
  char text[32];
  std::snprintf(text, sizeof text, "left %ld\n", blocks);
  tell(text);
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) {
  return allocation_fails(__builtin_return_address(0))
             ? nullptr
             : counted(__libc_malloc(size));
}
void* calloc(std::size_t count, std::size_t size) {
  return allocation_fails(__builtin_return_address(0))
             ? nullptr
             : counted(__libc_calloc(count, size));
}
void* realloc(void* block, std::size_t size) {
  if (allocation_fails(__builtin_return_address(0))) return nullptr;
  void* const moved = __libc_realloc(block, size);
  if (block == nullptr) counted(moved);
  return moved;
}
void* aligned_alloc(std::size_t alignment, std::size_t size) {
  return allocation_fails(__builtin_return_address(0))
             ? nullptr
             : counted(__libc_memalign(alignment, size));
}
int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
  if (allocation_fails(__builtin_return_address(0))) return ENOMEM;
  *block = counted(__libc_memalign(alignment, size));
  return *block != nullptr ? 0 : ENOMEM;
}
void free(void* block) {
  if (block != nullptr) --blocks;
  __libc_free(block);
}

ssize_t read(int fd, void* buffer, std::size_t size) {
  if (size > 0 && fails("read")) {
    if (how != SHORT) return -1;
    size = 1;
  }
  return syscall(SYS_read, fd, buffer, size);
}
ssize_t write(int fd, const void* buffer, std::size_t size) {
  if (size > 0 && fails("write", fd)) {
    if (how != SHORT) return -1;
    size = 1;
  }
  return syscall(SYS_write, fd, buffer, size);
}
int open(const char* path, int flags, ...) {
  if (fails("open")) return -1;
  std::va_list more;
  va_start(more, flags);
  const unsigned mode = (flags & O_CREAT) != 0 ? va_arg(more, unsigned) : 0;
  va_end(more);
  return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}
int close(int fd) {
  const bool failed = fails("close", fd);
  const int error = errno;
  const long result = syscall(SYS_close, fd);
  if (!failed) return static_cast<int>(result);
  errno = error;
  return -1;
}
off_t lseek(int fd, off_t offset, int whence) noexcept {
  return fails("lseek") ? -1 : syscall(SYS_lseek, fd, offset, whence);
}
off64_t lseek64(int fd, off64_t offset, int whence) noexcept {
  return lseek(fd, offset, whence);
}
int dup(int fd) noexcept {
  return fails("dup") ? -1 : static_cast<int>(syscall(SYS_dup, fd));
}
int fstat(int fd, struct stat* status) noexcept {
  return fails("fstat") ? -1 : next(fstat, "fstat")(fd, status);
}
int stat(const char* path, struct stat* status) noexcept {
  return fails("stat") ? -1 : next(stat, "stat")(path, status);
}
int isatty(int fd) noexcept {
  return fails("isatty") ? 0 : next(isatty, "isatty")(fd);
}
int tcgetattr(int fd, termios* settings) noexcept {
  return fails("tcgetattr") ? -1 : next(tcgetattr, "tcgetattr")(fd, settings);
}
int tcsetattr(int fd, int action, const termios* settings) noexcept {
  return fails("tcsetattr")
             ? -1
             : next(tcsetattr, "tcsetattr")(fd, action, settings);
}
FILE* fopen(const char* path, const char* mode) {
  return fails("fopen") ? nullptr : next(fopen, "fopen")(path, mode);
}
std::size_t fread(void* to, std::size_t size, std::size_t count, FILE* file) {
  return fails("fread") ? 0 : next(fread, "fread")(to, size, count, file);
}
char* fgets(char* to, int size, FILE* file) {
  return fails("fgets") ? nullptr : next(fgets, "fgets")(to, size, file);
}

}  // extern "C"
