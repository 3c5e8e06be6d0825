#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SQL_SQL_GUARDED_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SQL_SQL_GUARDED_H

#include <new>

#include "util/chronex_trail/sql/sql_output.h"

// The first failure is told; what follows it is dropped.
template <typename Event>
int sql_output::guarded(const Event& event) {
  if (!failure_.empty()) return -1;
  try {
    event();
    return 0;
  } catch (const write_error& error) {
    failure_ = error.what();
    return -1;
  } catch (const sql_error& error) {
    failure_ = error.what();
  } catch (const std::bad_alloc&) {
    failure_ = "out of memory";
  }
  messages_.print("The database could not be filled: %s\n", failure_.c_str());
  return -1;
}

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SQL_SQL_GUARDED_H
