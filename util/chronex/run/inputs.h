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
#include "util/chronex/messages/messages.h"

// The inputs in processing order. All are opened and all headers read before
// anything is processed, and they stay open until the run ends.
class input_list {
 public:
  // Both are the run's; `charset_id` is fixed by the first header that names
  // one.
  input_list(run_messages& messages, int& charset_id)
      : messages_(messages), charset_id_(charset_id) {}

  // Opens the operands: forward logs come first, by generation and file
  // sequence, then audit files as given. A single operand "-" is standard
  // input.
  int open(std::span<char* const> operands);

  // Files are read on behind damage of their compression.
  bool passes_over_damage = false;

  std::span<const std::unique_ptr<input_file>> files() const {
    return {fw_files_.get(), fw_nfiles_};
  }

 private:
  int insert_file(const char* operand, std::size_t used);
  int open_standard_input();
  std::unique_ptr<input_file> new_file(const char* name);
  int read_header(input_file& file);
  void place_file(std::unique_ptr<input_file> file, std::size_t used);

  run_messages& messages_;
  int& charset_id_;
  std::unique_ptr<std::unique_ptr<input_file>[]> fw_files_;
  std::size_t fw_nfiles_ = 0;
};

// Whether the operands stand for standard input.
bool is_standard_input(std::span<char* const> operands);

#endif  // CHRONEX_UTIL_CHRONEX_RUN_INPUTS_H
