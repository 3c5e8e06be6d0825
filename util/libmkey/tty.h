#ifndef CHRONEX_UTIL_LIBMKEY_TTY_H
#define CHRONEX_UTIL_LIBMKEY_TTY_H

// The passphrase dialogue on the terminal.
//
// The terminal is open, with echo off and signals caught, only between a prompt
// and its reply. Every way out turns echo on again and drops what was typed so
// far: SIGINT and SIGTERM end the program with status 128 plus the signal's
// number, all other signals have their own effect afterwards. When the program
// goes on after a stop, and is in the foreground, the prompt is shown again.
// Signals that are ignored stay ignored; after the reply, all have the actions
// that they had before.

#include <array>

// Room for a passphrase of at most 255 characters and its null byte.
using passphrase_text = std::array<char, 256>;

// Asks for the passphrase of the master key `id` and stores the reply, without
// its line end, in `passphrase`, which the caller must wipe in any case. A
// longer reply is cut. The dialogue is held on "/dev/tty", or on standard error
// and standard input when `use_stdio` is set. Returns false when there is no
// terminal or no reply; the message has then been printed on standard error.
bool tty_ask_passphrase(const char* id, bool use_stdio,
                        passphrase_text& passphrase);

#endif  // CHRONEX_UTIL_LIBMKEY_TTY_H
