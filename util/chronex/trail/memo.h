#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_MEMO_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_MEMO_H

#include <cstdint>

#include "common/owned_bytes.h"
#include "util/chronex/tables/session.h"

// A memo on its way from an input into its session.
struct memo_event {
  // The text, followed by one zero byte that `size` does not count; none when
  // size is 0.
  owned_bytes text{};
  std::int32_t size = 0;
  std::uint32_t mode = 0;
  // Seconds since the epoch.
  std::uint32_t timestamp = 0;
};

// Makes the memo its session's latest of its kind, whatever the filter says of
// it, then filters it and reports and writes it with the session's sign-on.
// Memos of other modes than the three are only reported. Returns 0, or -1 after
// a failure that ends the input file; its message has been printed.
int process_memo(session_entry& session, memo_event memo);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_MEMO_H
