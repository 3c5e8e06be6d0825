#include "util/chronex/state/state_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <string_view>

#include "common/md5.h"

namespace {

using byte_run = std::span<const std::uint8_t>;

// What a file begins with, filled up with zero bytes.
constexpr std::size_t SIGNATURE_SIZE = 16;
constexpr std::string_view SIGNATURE{"chronex-state\0\0\0", SIGNATURE_SIZE};
constexpr std::uint16_t BYTE_ORDER_MARK = 1234;
// Signature, version, byte order, two spare bytes, size of the sections.
constexpr std::size_t HEADER_SIZE = SIGNATURE_SIZE + 4 + 2 + 2 + 8;

md5_digest digest_of(byte_run bytes) {
  ko_md5_context context;
  ko__MD5Init(context);
  ko__MD5Update(context, bytes);
  return ko__MD5Final(context);
}

bool has_signature(byte_run file) {
  return file.size() >= SIGNATURE_SIZE &&
         std::equal(SIGNATURE.begin(), SIGNATURE.end(), file.begin());
}

// Size and check sum are those of the file, whatever its version.
bool is_whole(byte_run file) {
  if (file.size() < HEADER_SIZE + MD5_DIGEST_SIZE) return false;
  const byte_run body = file.first(file.size() - MD5_DIGEST_SIZE);
  return std::ranges::equal(digest_of(body), file.last(MD5_DIGEST_SIZE));
}

bool read_all(int descriptor, std::vector<std::uint8_t>& bytes) {
  constexpr std::size_t PIECE = std::size_t{256} * 1024;
  for (;;) {
    const std::size_t have = bytes.size();
    bytes.resize(have + PIECE);
    const ssize_t count = ::read(descriptor, bytes.data() + have, PIECE);
    bytes.resize(have + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    if (count == 0) return true;
    if (count < 0 && errno != EINTR) return false;
  }
}

bool write_all(int descriptor, byte_run bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
    if (count < 0 && errno != EINTR) return false;
    if (count > 0) bytes = bytes.subspan(static_cast<std::size_t>(count));
  }
  return fsync(descriptor) == 0;
}

// That a file has its name must be on disk, too.
bool sync_directory_of(const std::string& name) {
  const std::size_t slash = name.rfind('/');
  const std::string directory =
      slash == std::string::npos ? "." : name.substr(0, slash + 1);
  const int descriptor =
      ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return false;
  // Some file systems have no such thing.
  const bool synced = fsync(descriptor) == 0 || errno == EINVAL;
  ::close(descriptor);
  return synced;
}

// Whatever has the name is removed first: it might be a link, or readable for
// everyone.
bool write_partial(const std::string& name, byte_run bytes) {
  constexpr mode_t OWNER_ONLY = 0600;
  if (unlink(name.c_str()) != 0 && errno != ENOENT) return false;
  const int descriptor =
      ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, OWNER_ONLY);
  if (descriptor < 0) return false;
  const bool written = write_all(descriptor, bytes);
  const int error = errno;
  const bool closed = ::close(descriptor) == 0;
  if (!written) errno = error;
  return written && closed;
}

bool write_as(const std::string& partial, const std::string& name,
              byte_run bytes) {
  return write_partial(partial, bytes) &&
         std::rename(partial.c_str(), name.c_str()) == 0 &&
         sync_directory_of(name);
}

std::string next_name(const std::string& name) { return name + ".next"; }

int report_failure(const std::string& name, run_messages& messages) {
  messages.perror(name.c_str());
  messages.print("Failed to write state\n");
  return -1;
}

}  // namespace

std::vector<std::uint8_t> state_file_bytes(const state_writer& sections) {
  state_writer file;
  for (const char letter : SIGNATURE) {
    file.u8(static_cast<std::uint8_t>(letter));
  }
  file.u32(STATE_VERSION);
  file.u16(BYTE_ORDER_MARK);
  file.u16(0);
  file.u64(sections.written().size());
  file.append(sections);
  std::vector<std::uint8_t> bytes = file.written();
  const md5_digest digest = digest_of(bytes);
  bytes.insert(bytes.end(), digest.begin(), digest.end());
  return bytes;
}

bool open_state(byte_run file, byte_run& sections, std::string& problem) {
  if (!has_signature(file)) {
    problem = "is no state file of chronex-trail; name another file";
    return false;
  }
  if (!is_whole(file)) {
    problem =
        "is damaged; put a copy of it back, or remove it together with the "
        "output and begin again with the first log";
    return false;
  }
  state_reader header(file.subspan(SIGNATURE_SIZE));
  const std::uint32_t version = header.u32();
  const std::uint16_t byte_order = header.u16();
  static_cast<void>(header.u16());
  const std::uint64_t size = header.u64();
  if (byte_order != BYTE_ORDER_MARK) {
    problem = "was written on a machine of another byte order; go on there";
    return false;
  }
  if (version < OLDEST_STATE_VERSION || version > STATE_VERSION) {
    problem = "is a state of version " + std::to_string(version) +
              ", and this program reads versions up to " +
              std::to_string(STATE_VERSION) +
              "; go on with the program that wrote it, or a newer one";
    return false;
  }
  if (size != file.size() - HEADER_SIZE - MD5_DIGEST_SIZE) {
    problem = "is damaged; its size is not what it says";
    return false;
  }
  sections = file.subspan(HEADER_SIZE, size);
  return true;
}

state_found read_state_file(const std::string& name,
                            std::vector<std::uint8_t>& file,
                            std::span<const std::uint8_t>& sections,
                            run_messages& messages) {
  const int descriptor = ::open(name.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0 && errno == ENOENT) return state_found::absent;
  const bool read = descriptor >= 0 && read_all(descriptor, file);
  if (!read) messages.perror(name.c_str());
  if (descriptor >= 0) ::close(descriptor);
  if (!read) return state_found::unusable;
  std::string problem;
  if (open_state(file, sections, problem)) return state_found::whole;
  messages.print("%s: %s\n", name.c_str(), problem.c_str());
  return state_found::unusable;
}

int write_state_file(const std::string& name, byte_run bytes,
                     run_messages& messages) {
  return write_as(name + ".partial", name, bytes)
             ? 0
             : report_failure(name, messages);
}

int write_next_state(const std::string& name, byte_run bytes,
                     run_messages& messages) {
  return write_as(name + ".partial", next_name(name), bytes)
             ? 0
             : report_failure(name, messages);
}

int adopt_next_state(const std::string& name, run_messages& messages) {
  return std::rename(next_name(name).c_str(), name.c_str()) == 0 &&
                 sync_directory_of(name)
             ? 0
             : report_failure(name, messages);
}

byte_run state_check_sum(byte_run file) { return file.last(MD5_DIGEST_SIZE); }
