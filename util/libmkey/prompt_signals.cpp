#include "util/libmkey/prompt_signals.h"

#include <array>

namespace {

constexpr std::array STOP_SIGNALS = {SIGTSTP, SIGTTIN, SIGTTOU, SIGCONT};

struct sigaction routed_action;
sigset_t routed;     // the signals that were routed
sigset_t open_mask;  // the mask before that

bool is_harmless(int signal_number) {
  return signal_number == SIGCHLD || signal_number == SIGURG ||
         signal_number == SIGWINCH;
}

bool has_default_action(int signal_number) {
  struct sigaction action {};
  return sigaction(signal_number, nullptr, &action) == 0 &&
         action.sa_handler == SIG_DFL;
}

void set_default(int signal_number) {
  struct sigaction action {};
  action.sa_handler = SIG_DFL;
  sigaction(signal_number, &action, nullptr);
}

}  // namespace

void route_signals(void (*handler)(int)) {
  sigprocmask(SIG_SETMASK, nullptr, &open_mask);
  block_stop_signals();
  sigemptyset(&routed);
  routed_action.sa_handler = handler;
  sigfillset(&routed_action.sa_mask);
  for (int each = 1; each <= SIGRTMAX; ++each) {
    if (is_harmless(each) || !has_default_action(each)) continue;
    // Some cannot be routed, SIGKILL for one.
    if (sigaction(each, &routed_action, nullptr) == 0) {
      sigaddset(&routed, each);
    }
  }
}

const sigset_t& open_signals() { return open_mask; }

void admit_stop_signals() { sigprocmask(SIG_SETMASK, &open_mask, nullptr); }

void block_stop_signals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int each : STOP_SIGNALS) sigaddset(&signals, each);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
}

void unroute_signals() {
  for (int each = 1; each <= SIGRTMAX; ++each) {
    if (sigismember(&routed, each) == 1) set_default(each);
  }
  admit_stop_signals();
}

void take_default_effect(int signal_number) {
  // SIGCONT, too: it arrives while the program is stopped, and belongs to that.
  sigset_t signals;
  sigset_t blocked;
  sigemptyset(&signals);
  sigaddset(&signals, signal_number);
  sigaddset(&signals, SIGCONT);
  set_default(signal_number);
  sigprocmask(SIG_UNBLOCK, &signals, &blocked);
  raise(signal_number);
  sigprocmask(SIG_SETMASK, &blocked, nullptr);
  sigaction(signal_number, &routed_action, nullptr);
}
