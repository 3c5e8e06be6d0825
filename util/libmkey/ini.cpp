#include "util/libmkey/ini.h"

#include <sys/stat.h>
#include <sys/types.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <optional>

#include "common/same_text.h"

namespace {

// States of a handle, which are also the results that stand for them.
constexpr int IN_SECTION = 0;  // more lines of the section may follow
constexpr int AT_END = 1;      // no more entries until a section is looked for
constexpr int AT_HEADER = 2;   // ini_next_line has met a section header

struct file_closer {
  void operator()(std::FILE* fp) const noexcept { std::fclose(fp); }
};

struct ini_slot {
  std::unique_ptr<std::FILE, file_closer> fp;
  int state = IN_SECTION;
};

std::array<ini_slot, 3> ini;
int setup_flag = 0;

// One line, or a piece of a longer one, with its line end.
using line_buffer = std::array<char, 1024>;

struct ini_entry {
  std::string_view key;
  std::string_view value;
};

bool is_space(char c) {
  return std::isspace(static_cast<unsigned char>(c)) != 0;
}

std::string_view skip_space(std::string_view text) {
  while (!text.empty() && is_space(text.front())) text.remove_prefix(1);
  return text;
}

std::string_view trim(std::string_view text) {
  while (!text.empty() && is_space(text.back())) text.remove_suffix(1);
  return skip_space(text);
}

bool is_comment(std::string_view line) {
  return line.starts_with(';') || line.starts_with('#');
}

// The name in a section header line; none for any other line.
std::optional<std::string_view> header_name(std::string_view line) {
  if (!line.starts_with('[')) return std::nullopt;
  const std::size_t end = line.find(']');
  if (end == std::string_view::npos) return std::nullopt;
  return trim(line.substr(1, end - 1));
}

// The value that begins at `text`, the rest of the line after the '='.
std::string_view parse_value(std::string_view text) {
  text = skip_space(text);
  if (text.starts_with('"') || text.starts_with('\'')) {
    const std::array<char, 6> ends{text.front(), ';', '#', '\r', '\n', '\0'};
    text.remove_prefix(1);
    return text.substr(0, text.find_first_of(ends.data()));
  }
  return trim(text.substr(0, text.find_first_of(";#\r\n")));
}

std::optional<ini_entry> parse_entry(std::string_view line) {
  const std::size_t equals = line.find('=');
  if (equals == std::string_view::npos) return std::nullopt;
  return ini_entry{.key = trim(line.substr(0, equals)),
                   .value = parse_value(line.substr(equals + 1))};
}

void copy_text(std::string_view text, std::span<char> out) {
  const std::size_t size = std::min(text.size(), out.size() - 1);
  std::copy_n(text.begin(), size, out.begin());
  out[size] = '\0';
}

void copy_upper_case(std::string_view text, std::span<char> out) {
  copy_text(text, out);
  for (char* c = out.data(); *c != '\0'; ++c) {
    *c = static_cast<char>(std::toupper(static_cast<unsigned char>(*c)));
  }
}

// The next line up to its first null byte; none at the end of the file or when
// it cannot be read.
std::optional<std::string_view> read_line(ini_slot& slot, line_buffer& buffer) {
  if (std::fgets(buffer.data(), static_cast<int>(buffer.size()),
                 slot.fp.get()) == nullptr) {
    return std::nullopt;
  }
  return std::string_view(buffer.data());
}

// The result when there are no more lines: a failed read is told from the end
// of the file, so that a damaged file does not pass for a short one.
int no_more_lines(ini_slot& slot) {
  if (std::ferror(slot.fp.get()) != 0) return -1;
  slot.state = AT_END;
  return AT_END;
}

// The handle's slot, or null with errno set when it has no file.
ini_slot* open_slot(int handle) {
  const auto index = static_cast<std::size_t>(handle);
  if (setup_flag == 0 || handle < 0 || index >= ini.size() || !ini[index].fp) {
    errno = EINVAL;
    return nullptr;
  }
  return &ini[index];
}

int invalid_argument() {
  errno = EINVAL;
  return -1;
}

// Reads on to the line after the first header named `section`.
int ini__find_section(ini_slot& slot, std::string_view section) {
  line_buffer buffer;
  while (const auto line = read_line(slot, buffer)) {
    const auto name = header_name(*line);
    if (name && same_text(*name, section)) return IN_SECTION;
  }
  return no_more_lines(slot);
}

// Reads the next entry. A line that begins with '[' ends the section even when
// its ']' is missing: what follows must not be taken for this section's.
int ini__next_entry(ini_slot& slot, std::span<char> key,
                    std::span<char> value) {
  line_buffer buffer;
  off_t position = ftello(slot.fp.get());
  while (const auto line = read_line(slot, buffer)) {
    if (line->starts_with('[')) {
      slot.state = AT_END;
      return fseeko(slot.fp.get(), position, SEEK_SET) == 0 ? AT_END : -1;
    }
    if (!is_comment(*line)) {
      if (const auto entry = parse_entry(*line)) {
        copy_upper_case(entry->key, key);
        copy_text(entry->value, value);
        return 0;
      }
    }
    position = ftello(slot.fp.get());
  }
  return no_more_lines(slot);
}

}  // namespace

int ini_setup() {
  for (ini_slot& slot : ini) {
    static_cast<void>(slot.fp.release());
    slot.state = IN_SECTION;
  }
  setup_flag = 1;
  return 0;
}

int ini_open_file(const char* path, std::string_view section) {
  if (setup_flag == 0) ini_setup();
  const auto slot = std::find_if(ini.begin(), ini.end(),
                                 [](const ini_slot& each) { return !each.fp; });
  if (slot == ini.end()) {
    errno = ENOSPC;
    return -1;
  }
  slot->fp.reset(std::fopen(path, "rb"));
  if (!slot->fp) return -1;
  slot->state = IN_SECTION;
  if (!section.empty() && ini__find_section(*slot, section) < 0) {
    const int read_errno = errno;
    slot->fp.reset();
    errno = read_errno;
    return -1;
  }
  return static_cast<int>(slot - ini.begin());
}

int ini_find_section(int handle, std::string_view section) {
  ini_slot* slot = open_slot(handle);
  if (slot == nullptr) return -1;
  std::rewind(slot->fp.get());
  slot->state = IN_SECTION;
  if (section.empty()) return IN_SECTION;
  return ini__find_section(*slot, section);
}

int ini_next_entry(int handle, std::span<char> key, std::span<char> value) {
  ini_slot* slot = open_slot(handle);
  if (slot == nullptr) return -1;
  if (key.empty() || value.empty()) return invalid_argument();
  if (slot->state == AT_END) return AT_END;
  return ini__next_entry(*slot, key, value);
}

int ini_next_section(int handle, std::span<char> name) {
  ini_slot* slot = open_slot(handle);
  if (slot == nullptr) return -1;
  if (name.empty()) return invalid_argument();
  line_buffer buffer;
  while (const auto line = read_line(*slot, buffer)) {
    const auto found = header_name(*line);
    if (!found) continue;
    copy_upper_case(*found, name);
    slot->state = IN_SECTION;
    return 0;
  }
  return no_more_lines(*slot);
}

int ini_next_line(int handle, std::span<char> line) {
  ini_slot* slot = open_slot(handle);
  if (slot == nullptr) return -1;
  if (line.size() < 2) return invalid_argument();
  if (slot->state != IN_SECTION) return slot->state;
  const off_t position = ftello(slot->fp.get());
  if (std::fgets(line.data(), static_cast<int>(line.size()), slot->fp.get()) ==
      nullptr) {
    return no_more_lines(*slot);
  }
  if (line.front() != '[') return 0;
  line.front() = '\0';
  if (fseeko(slot->fp.get(), position, SEEK_SET) != 0) return -1;
  slot->state = AT_HEADER;
  return AT_HEADER;
}

int ini_mtime(int handle, std::time_t* mtime) {
  const ini_slot* slot = open_slot(handle);
  if (slot == nullptr) return -1;
  struct stat status {};
  if (fstat(fileno(slot->fp.get()), &status) != 0) return -1;
  *mtime = status.st_mtime;
  return 0;
}

int ini_close_file(int handle) {
  ini_slot* slot = open_slot(handle);
  if (slot == nullptr) return -1;
  slot->fp.reset();
  return 0;
}

int ini_cleanup() {
  int result = 0;
  for (ini_slot& slot : ini) {
    if (slot.fp) result = std::fclose(slot.fp.release());
  }
  setup_flag = 0;
  return result;
}
