#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_RUN_JOB_END_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_RUN_JOB_END_H

// How a job ends: the exit status of its process.
enum class job_end : int {
  // It has made the last part, of a run whose exit status is 0 or 1.
  whole = 0,
  failed = 1,
  // There are no more parts for it to make.
  idle = 3,
  // The part before its own was not made.
  lost = 4,
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_RUN_JOB_END_H
