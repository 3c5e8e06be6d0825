#include "util/libmkey/protect.h"

#include <sys/prctl.h>
#include <sys/resource.h>

void protect_process() noexcept {
  constexpr rlimit NO_CORE{.rlim_cur = 0, .rlim_max = 0};
  static_cast<void>(setrlimit(RLIMIT_CORE, &NO_CORE));
  // Holds also where cores go to a program, which the limit does not stop.
  static_cast<void>(prctl(PR_SET_DUMPABLE, 0, 0, 0, 0));
}
