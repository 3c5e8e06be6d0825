#ifndef CHRONEX_UTIL_CHRONEX_RUN_STANDARD_DESCRIPTORS_H
#define CHRONEX_UTIL_CHRONEX_RUN_STANDARD_DESCRIPTORS_H

// A closed standard descriptor would be given to the next file that is opened,
// and reports or messages would end up in it. A placeholder takes its place, in
// the direction that makes every use of it fail. To be called before anything
// is opened.
void occupy_standard_descriptors();

#endif  // CHRONEX_UTIL_CHRONEX_RUN_STANDARD_DESCRIPTORS_H
