#ifndef CHRONEX_UTIL_CHRONEX_RUN_INPUTS_H
#define CHRONEX_UTIL_CHRONEX_RUN_INPUTS_H

// The input files of a run: opened, their headers read, and put in order.
//
// Functions return 0, or -1 after a failure that ends the run with exit status
// 1; its message has been printed.

#include <cstddef>
#include <memory>
#include <span>

#include "util/chronex/input/input_file.h"

// The inputs in processing order. All are opened and all headers read before
// anything is processed, and they stay open until the run ends.
struct input_list {
  std::unique_ptr<std::unique_ptr<input_file>[]> fw_files;
  std::size_t fw_nfiles = 0;

  std::span<const std::unique_ptr<input_file>> files() const {
    return {fw_files.get(), fw_nfiles};
  }
};

// Refuses an audit output that is one of the operands: opening it would destroy
// the input. `output_descriptor` is that of an output that is open already, or
// -1 when the output is the file `audit_fname`.
int inputs_check_output(std::span<char* const> operands, int output_descriptor,
                        const char* audit_fname);

// Opens the operands: forward logs come first, by generation and file sequence,
// then audit files as given. A single operand "-" is standard input.
int inputs_open(std::span<char* const> operands, input_list& list);

// Processes one input by its type.
int inputs_process(input_file& file);

#endif  // CHRONEX_UTIL_CHRONEX_RUN_INPUTS_H
