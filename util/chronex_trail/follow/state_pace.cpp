#include "util/chronex_trail/follow/state_pace.h"

#include <algorithm>

#include "util/chronex_trail/follow/log_follower.h"

state_pace::place state_pace::present() const {
  const log_position& position = run_.forward_logs.position;
  return {position.file, position.byte, position.is_done};
}

state_pace::milliseconds state_pace::settle(
    const std::function<void()>& write) {
  const place now_at = present();
  if (now_at == written_) return log_follower::LONGEST_WAIT;
  const clock::time_point begin = clock::now();
  if (begin < next_) return std::chrono::ceil<milliseconds>(next_ - begin);
  write();
  written_ = now_at;
  const clock::time_point end = clock::now();
  next_ = end + std::max<clock::duration>(shortest_, share_ * (end - begin));
  return log_follower::LONGEST_WAIT;
}
