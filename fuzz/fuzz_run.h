#ifndef CHRONEX_FUZZ_FUZZ_RUN_H
#define CHRONEX_FUZZ_FUZZ_RUN_H

// Runs of the whole program, but for its command line, one after the other in
// one process.

#include <cstdint>

#include "fuzz/fuzz_support.h"
#include "util/chronex/run/run.h"

// At most this many input files make up a run.
inline constexpr std::size_t FUZZ_MAX_FILES = 4;

// What the settings of a run can differ in from: the full report in item view,
// an audit file, -v, and no filter.
inline constexpr std::uint8_t RUN_HEX_DUMPS = 1;
inline constexpr std::uint8_t RUN_FILTERED = 2;
inline constexpr std::uint8_t RUN_ITEM_LIST = 4;
inline constexpr std::uint8_t RUN_ITEM_LIMIT = 8;
inline constexpr std::uint8_t RUN_BRIEF = 16;
inline constexpr std::uint8_t RUN_NO_REPORT = 32;
inline constexpr std::uint8_t RUN_NO_AUDIT = 64;
// What chronex-trail does with --resync.
inline constexpr std::uint8_t RUN_PASSES_OVER_DAMAGE = 128;

// The settings that an input file asks for: the upper byte of its character set
// id, which is at the same place in forward-log and audit files and which the
// program does nothing with but pass it on.
std::uint8_t fuzz_run_settings(fuzz_bytes file);

// The files that an input stands for: it is cut at every file signature.
std::vector<fuzz_bytes> fuzz_run_files(fuzz_bytes input);

// Sets up what all runs share: the key store with one AES master key (the text
// "a master key of thirty-two chars"). To be called once; a fuzzer that links
// this module has it called.
void fuzz_run_setup();

// Makes one run over the files. Returns
// whether it succeeded. `audit_file` receives the audit file's contents unless
// it is null; it is empty when there is none.
bool fuzz_run(std::span<const fuzz_bytes> files, std::uint8_t settings,
              std::vector<std::uint8_t>* audit_file);

#endif  // CHRONEX_FUZZ_FUZZ_RUN_H
