#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_FOLLOW_STATE_PACE_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_FOLLOW_STATE_PACE_H

#include <chrono>
#include <cstdint>
#include <functional>

#include "util/chronex_trail/run/trail_run.h"

// When a run that follows logs writes down its state: once something has come,
// but not too often, and for a small part of its time.
class state_pace {
 public:
  using milliseconds = std::chrono::milliseconds;

  // The run is the caller's. `shortest`: between two states; `share`: how many
  // times as long as it took to write a state it is waited with the next.
  state_pace(const trail_run& run, milliseconds shortest, int share)
      : run_(run), shortest_(shortest), share_(share) {}

  // To be called between two actions, from time to time, and when all that is
  // there has been read. Calls `write` if a state is due. Returns when to call
  // again at the latest, if nothing else comes.
  milliseconds settle(const std::function<void()>& write);

 private:
  using clock = std::chrono::steady_clock;

  struct place {
    const input_file* file = nullptr;
    std::uint64_t byte = 0;
    bool is_done = false;
    bool operator==(const place&) const = default;
  };
  place present() const;

  const trail_run& run_;
  const milliseconds shortest_;
  const int share_;
  place written_;
  clock::time_point next_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_FOLLOW_STATE_PACE_H
