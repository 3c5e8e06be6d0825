#ifndef CHRONEX_UTIL_LIBMKEY_PROTECT_H
#define CHRONEX_UTIL_LIBMKEY_PROTECT_H

// Keeps the process's memory from others, for the rest of its life: it leaves
// no core files, and only a privileged user can trace it or read its memory. A
// system that refuses is no failure.
void protect_process() noexcept;

#endif  // CHRONEX_UTIL_LIBMKEY_PROTECT_H
