#ifndef CHRONEX_UTIL_CHRONEX_MESSAGES_RUN_FAILED_H
#define CHRONEX_UTIL_CHRONEX_MESSAGES_RUN_FAILED_H

#include <exception>

// Ends the run at once with exit status 1, from wherever it is thrown; the
// message has been printed. The driver closes the outputs on the way out, so
// that what was written stays readable.
struct run_failed : std::exception {};

#endif  // CHRONEX_UTIL_CHRONEX_MESSAGES_RUN_FAILED_H
