#ifndef CHRONEX_UTIL_LIBMKEY_PROMPT_SIGNALS_H
#define CHRONEX_UTIL_LIBMKEY_PROMPT_SIGNALS_H

// The signals that a passphrase prompt must not be left by with echo off.
//
// Routed are all signals that end, stop or continue the program and have their
// default actions; what is ignored or handled stays so. Signals that stop or
// continue it take effect only while open_signals() is the signal mask: from
// them the program comes back, and its caller must know where.

#include <csignal>

// Leads the signals to `handler`, which runs with all signals blocked, and
// blocks those that stop or continue the program.
void route_signals(void (*handler)(int));

// The signal mask that route_signals found.
const sigset_t& open_signals();

// Lets blocked signals of that kind take effect, and blocks them again.
void admit_stop_signals();
void block_stop_signals();

// Gives all routed signals their default actions and the old mask again.
void unroute_signals();

// For the handler: lets the signal have its default effect. Returns when the
// program has been stopped and continued.
void take_default_effect(int signal_number);

#endif  // CHRONEX_UTIL_LIBMKEY_PROMPT_SIGNALS_H
