#ifndef CHRONEX_UTIL_CHRONEX_STATE_STATE_FILE_H
#define CHRONEX_UTIL_CHRONEX_STATE_STATE_FILE_H

// State files: sections of a state_writer between a header and a check sum
// (doc/state-file.md).

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "util/chronex/messages/messages.h"
#include "util/chronex/state/state_bytes.h"

inline constexpr std::uint32_t STATE_VERSION = 2;
// States from this version on can be read.
inline constexpr std::uint32_t OLDEST_STATE_VERSION = 1;

// The bytes of a whole state file.
std::vector<std::uint8_t> state_file_bytes(const state_writer& sections);

// The sections in the bytes of a state file, borrowed from them. False for what
// is foreign, newer or damaged; `problem` then says what it is and what to do,
// in one line without line end.
bool open_state(std::span<const std::uint8_t> file,
                std::span<const std::uint8_t>& sections, std::string& problem);

enum class state_found { whole, absent, unusable };

// Reads a file and checks it; `file` owns the bytes and `sections` are the
// sections in them. Of an unusable file a message has been printed.
state_found read_state_file(const std::string& name,
                            std::vector<std::uint8_t>& file,
                            std::span<const std::uint8_t>& sections,
                            run_messages& messages);

// Writes the file for its owner only, as NAME.partial, which is on disk before
// it gets its name: whoever reads finds the old state or the new one, whole.
// Returns 0, or -1 with a message.
int write_state_file(const std::string& name,
                     std::span<const std::uint8_t> bytes,
                     run_messages& messages);

// The same in two steps, for a state that becomes valid together with something
// else: NAME.next first, on disk, and then the name. Return 0, or -1 with a
// message.
int write_next_state(const std::string& name,
                     std::span<const std::uint8_t> bytes,
                     run_messages& messages);
int adopt_next_state(const std::string& name, run_messages& messages);

// The check sum of a whole state file, by which others can name it.
std::span<const std::uint8_t> state_check_sum(
    std::span<const std::uint8_t> file);

#endif  // CHRONEX_UTIL_CHRONEX_STATE_STATE_FILE_H
