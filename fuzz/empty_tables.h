#ifndef CHRONEX_FUZZ_EMPTY_TABLES_H
#define CHRONEX_FUZZ_EMPTY_TABLES_H

// The way back to the start of a run.
//
// The program's tables live as long as its only run, and nothing empties them.
// A fuzzer makes many runs in one process and must find the same tables at the
// start of each, or what it finds could not be found again. So the files
// empty_*.cpp compile the modules that own the tables as parts of themselves,
// which lets them reach what these modules keep to themselves; the linker then
// takes no other copy of them.

void empty_sessions();
void empty_nodes();
void empty_images();
// Forgets the numbers of earlier files and actions, and leaves quiet mode.
void empty_continuity();

// All of these.
inline void empty_tables() {
  empty_sessions();
  empty_images();
  empty_nodes();
  empty_continuity();
}

#endif  // CHRONEX_FUZZ_EMPTY_TABLES_H
