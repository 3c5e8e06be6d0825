#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_FILES_RESULT_FILE_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_FILES_RESULT_FILE_H

// The file that a command makes, or standard output.
//
// A file is written as NAME.partial and gets its name only when it is complete:
// until then an old file of that name lives, and nothing that was cut can pass
// for whole. What is no regular file, such as a device or a pipe, is written as
// it is.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "util/chronex/messages/messages.h"
#include "util/chronex_trail/files/byte_sink.h"
#include "util/chronex_trail/files/gzip_writer.h"

// A file as far as it is known, and the digest of its last bytes.
struct file_extent {
  std::uint64_t size = 0;
  std::vector<std::uint8_t> tail_digest;

  // That of an empty file.
  static file_extent nothing();
};

class result_file : public byte_sink {
 public:
  explicit result_file(run_messages& messages) : messages_(messages) {}
  ~result_file() override;

  // Opens the file; "-" is standard output. A name that ends in ".gz" makes it
  // compressed. `is_private` keeps it from everyone but its owner. Returns 0,
  // or -1 with a message.
  int open(const std::string& name, bool is_private);

  // Opens a file to be written on in place, behind its first `known` bytes:
  // what else is in it goes away. Returns 0, or -1 with a message.
  int open_behind(const std::string& name, const file_extent& known,
                  bool is_private);
  // Writes all that there is so far to the disk. Returns 0 and how much of a
  // file there is, or -1 with a message.
  int reach_disk(file_extent& reached);

  // In a process that writes a part of the file: what would go to the system
  // goes to `sink`, the caller's, which hands it to write_now() when it may.
  void divert(byte_sink& sink) { diverted_ = &sink; }
  int write_now(std::string_view bytes);
  // Other processes have written parts of the file, as whole members.
  void go_on_behind_parts() {
    if (compressed_) compressed_->go_on();
  }

  int write(std::string_view bytes) override;
  int write_buffer(std::unique_ptr<text_buffer>& buffer,
                   std::size_t size) override;
  int flush() override;

  // Ends the file. It gets its name if it is complete; else it stays as
  // NAME.partial, and a message says so. Returns 0, or -1 with a message when
  // something could not be written.
  int close(bool is_complete);

 private:
  // What is written to the system.
  class descriptor_sink : public byte_sink {
   public:
    explicit descriptor_sink(result_file& file) : file_(file) {}
    int write(std::string_view bytes) override {
      return file_.diverted_ != nullptr ? file_.diverted_->write(bytes)
                                        : file_.write_now(bytes);
    }
    int write_buffer(std::unique_ptr<text_buffer>& buffer,
                     std::size_t size) override {
      return file_.diverted_ != nullptr
                 ? file_.diverted_->write_buffer(buffer, size)
                 : file_.write_now({buffer->data(), size});
    }

   private:
    result_file& file_;
  };

  int open_partial(bool is_private);
  int cut(const file_extent& known);
  int finish_writing();
  int failure(const char* name);

  run_messages& messages_;
  descriptor_sink system_{*this};
  // Null: the system.
  byte_sink* diverted_ = nullptr;
  std::optional<gzip_writer> compressed_;
  std::string name_;
  // Empty: the file is written under its own name.
  std::string partial_name_;
  int descriptor_ = -1;
  bool failed_ = false;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_FILES_RESULT_FILE_H
