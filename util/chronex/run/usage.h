#ifndef CHRONEX_UTIL_CHRONEX_RUN_USAGE_H
#define CHRONEX_UTIL_CHRONEX_RUN_USAGE_H

// Prints the banner and the usage text on standard error and ends the program
// with exit status 2.
[[noreturn]] void usage();

// The line that -version prints, without line end.
extern const char* const VERSION_LINE;

#endif  // CHRONEX_UTIL_CHRONEX_RUN_USAGE_H
