#ifndef CHRONEX_UTIL_LIBMKEY_INI_H
#define CHRONEX_UTIL_LIBMKEY_INI_H

// Reader of sectioned text files of name=value entries, such as the key file:
//
//   ; remark               '#' also begins a remark
//   top = entries before the first section belong to the file's top
//   [section name]         names of sections and entries ignore case
//   name = value           ; a remark
//   name = "  value  "     quotes (also single ones) keep the blanks
//
// A remark line has its ';' or '#' in the first column, a section header its
// '['. A value ends at the first ';' or '#' even inside quotes. A line longer
// than 1023 bytes is read as several lines.
//
// Up to three files are open at once, each known by a handle of 0 to 2. Nothing
// is cached: entries are read forward from the current position, and looking
// for a section rewinds the file.
//
// There are no messages. Every operation that takes a handle returns -1 with
// errno EINVAL when the handle is out of range or holds no file, and -1 with
// the system's errno when the file cannot be read.
//
// Results are copied into buffers of the caller, cut to the buffer's size less
// one and terminated with a null byte; an empty buffer is refused with -1
// (errno EINVAL).

#include <ctime>
#include <span>
#include <string_view>

// Marks all handles free, without closing anything. Returns 0.
int ini_setup();

// Opens `path` for reading and, unless `section` is empty, looks for that
// section. Returns the handle, also when the section was not found (the first
// ini_next_entry then returns 1); -1 with errno ENOSPC when three files are
// open, or with the system's errno when the file cannot be opened or read.
int ini_open_file(const char* path, std::string_view section);

// Rewinds the file and, unless `section` is empty, goes to the line after the
// first header of that name. Returns 0 when found, 1 when not.
int ini_find_section(int handle, std::string_view section);

// Reads the next entry of the current section: its key in upper case and its
// value. Returns 0 for an entry, 1 when there are no more; the next section's
// header then stays unread.
int ini_next_entry(int handle, std::span<char> key, std::span<char> value);

// Reads forward to the next section header, whose entries are read next, and
// stores its name in upper case. Returns 0, or 1 at the end of the file.
int ini_next_section(int handle, std::span<char> name);

// Reads the next line as it stands, remarks and line end included; a line that
// does not fit is returned in pieces. Returns 0 for a line, 1 at the end of the
// file or when the section was used up before, 2 when a section header follows,
// which stays unread. `line` must have room for at least two bytes.
int ini_next_line(int handle, std::span<char> line);

// Stores the time of the file's last modification, in seconds since the epoch.
// Returns 0.
int ini_mtime(int handle, std::time_t* mtime);

// Closes the file and frees the handle. Returns 0.
int ini_close_file(int handle);

// Closes every open file. Returns 0, or what the last close returned.
int ini_cleanup();

#endif  // CHRONEX_UTIL_LIBMKEY_INI_H
