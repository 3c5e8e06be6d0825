#ifndef CHRONEX_UTIL_CHRONEX_INPUT_GROWTH_WATCH_H
#define CHRONEX_UTIL_CHRONEX_INPUT_GROWTH_WATCH_H

// What to do at the end of what is on disk of a file that may still grow. This
// is all that readers of growing files depend on; they take bytes as ever, and
// the last one that is there may be long in coming.
class growth_watch {
 public:
  growth_watch() = default;
  growth_watch(const growth_watch&) = delete;
  growth_watch& operator=(const growth_watch&) = delete;
  virtual ~growth_watch() = default;

  // All that was on disk of the open file has been read. Waits until there may
  // be more of it; false when nothing more is to be expected, or wanted.
  virtual bool wait_for_more(int descriptor) = 0;
  // The run is to end: what is not there yet will never be waited for.
  virtual bool stopped() const = 0;
};

#endif  // CHRONEX_UTIL_CHRONEX_INPUT_GROWTH_WATCH_H
