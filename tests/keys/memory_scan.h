#ifndef CHRONEX_TESTS_KEYS_MEMORY_SCAN_H
#define CHRONEX_TESTS_KEYS_MEMORY_SCAN_H

// Searches the process's whole memory for secrets of the test key file.

#include <array>
#include <cstddef>
#include <string_view>

// How often a secret was found in pages that are locked, where the system locks
// any, and left out of core files; and how often elsewhere.
struct sightings {
  int guarded = 0;
  int exposed = 0;
};

inline constexpr std::array<std::string_view, 4> SECRET_NAMES = {
    "master key's first half", "master key's second half", "passphrase",
    "key from the passphrase"};

// One count for each of SECRET_NAMES. To be called from a signal handler on a
// stack of its own: what the vector registers held at the signal is then in
// memory, too.
std::array<sightings, SECRET_NAMES.size()> scan_memory();

#endif  // CHRONEX_TESTS_KEYS_MEMORY_SCAN_H
