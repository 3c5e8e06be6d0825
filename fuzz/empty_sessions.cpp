#include "fuzz/empty_tables.h"
#include "util/chronex/tables/session.cpp"  // NOLINT(bugprone-suspicious-include)

void empty_sessions() {
  session_hash.remove_if([](const session_entry&) { return true; });
  // Forgets also which of them was the last.
  session_cleanup();
}
