#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SQL_SQL_ERROR_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SQL_SQL_ERROR_H

#include <stdexcept>

// What the engine says went wrong.
class sql_error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Something could not be written, of which a message tells already.
class write_error : public sql_error {
 public:
  write_error() : sql_error("the output could not be written") {}
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SQL_SQL_ERROR_H
