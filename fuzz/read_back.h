#ifndef CHRONEX_FUZZ_READ_BACK_H
#define CHRONEX_FUZZ_READ_BACK_H

// What must hold between an audit file and the audit file that is made from it.

#include <cstdint>
#include <vector>

#include "fuzz/fuzz_support.h"

// Makes an audit file from one that a run has written. Ends the fuzzer unless
// it can be read to its end and gives
// - the same operations in the same order, each under the same schema;
// - the same sign-ons, sign-offs and memos in the same order, where each
//   sign-on says something new and is of use at once, and each memo has one.
std::vector<std::uint8_t> fuzz_read_back(fuzz_bytes audit_file);

#endif  // CHRONEX_FUZZ_READ_BACK_H
