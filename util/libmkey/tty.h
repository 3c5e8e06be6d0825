#ifndef CHRONEX_UTIL_LIBMKEY_TTY_H
#define CHRONEX_UTIL_LIBMKEY_TTY_H

// The passphrase dialogue on the terminal.
//
// The terminal is open, with echo off and SIGINT and SIGTERM caught, only
// between a prompt and its reply. Every way out turns echo on again; a caught
// signal ends the program with status 128 plus the signal's number. Afterwards
// both signals have their default actions.

#include <array>

// Room for a passphrase of at most 255 characters and its null byte.
using passphrase_text = std::array<char, 256>;

// Asks for the passphrase of the master key `id` and stores the reply, without
// its line end, in `passphrase`, which the caller must wipe. A longer reply is
// cut. The dialogue is held on "/dev/tty", or on standard error and standard
// input when `use_stdio` is set. Returns false when there is no terminal or no
// reply; the message has then been printed on standard error.
bool tty_ask_passphrase(const char* id, bool use_stdio,
                        passphrase_text& passphrase);

#endif  // CHRONEX_UTIL_LIBMKEY_TTY_H
