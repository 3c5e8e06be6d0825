#ifndef CHRONEX_UTIL_LIBMKEY_MKEY_H
#define CHRONEX_UTIL_LIBMKEY_MKEY_H

// The key file unlock: master keys come out of the key file, with a passphrase
// typed on the terminal, into the master key store (server/misc/keyutil.h).
//
// All messages go to standard error. A wrong passphrase is asked again; most
// other problems, such as a key file that cannot be read, end the program with
// status 1. An interrupt at the prompt ends it with status 128 plus the
// signal's number. Passphrases and keys are in key memory (key_memory.h) and
// wiped on every way out; only a signal leaves the master keys that are already
// in the store to the system.

#include <string>
#include <vector>

// The names of a list as KO_MKEYFILE has it: separated by ':', blanks before a
// name do not count. Null stands for the default key file.
std::vector<std::string> ko_mkey_files(const char* files);

// Protects the process (protect.h), loads the crypto library, empties the
// master key store and unlocks the master keys that the environment names:
// KO_MKEYID holds their ids, KO_MKEYFILE the key files. Master keys that lack
// parts at the end are dropped. Returns 0, or 1 on failure; the keys unlocked
// before a failure stay.
int ko_mkey_init();

// Unlocks the master keys of the list `ids` in order, each from the first of
// the files that has it. Both are lists of names separated by ':'; null for
// `files` means "kodb.key" in the current directory. The dialogue is held on
// standard error and standard input instead of the terminal when `use_stdio` is
// set. The crypto library must have been loaded. Returns 0 when all keys were
// added, 1 when `ids` is null, and -1 on failure.
int ko_mkey_enable(const char* files, const char* ids, bool use_stdio);

#endif  // CHRONEX_UTIL_LIBMKEY_MKEY_H
