#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_IMAGE_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_IMAGE_H

// Record operations on their way out, and the before-images that wait for the
// operation they belong to.

#include <cstdint>
#include <memory>

#include "common/owned_bytes.h"
#include "util/chronex/tables/node.h"
#include "util/chronex/tables/session.h"
#include "util/chronex/trail/output.h"

// Operation codes of the forward log.
inline constexpr int OP_UPDATE = 1;
inline constexpr int OP_PUT = 3;
inline constexpr int OP_NEW_RECORD = 4;
inline constexpr int OP_DELETE = 5;

// The first part of an operation, kept until the operation itself arrives.
struct image_record {
  std::unique_ptr<image_record> next;
  std::uint32_t hash = 0;

  // The key: the value that the forward log gives operation and before-image,
  // the data set, and the record number.
  std::uint32_t image_key = 0;
  std::int32_t node_id = 0;
  std::uint32_t recno = 0;
  // The record before the operation, in clear text, as far as the log has it:
  // the first `before_size` bytes of the buffer. Without `has_before` they are
  // of no meaning.
  owned_bytes before;
  std::size_t before_size = 0;
  bool has_before = false;
  // The stored image was too short, as reported.
  bool known_short = false;
  // Operation code and time stamp (seconds since the epoch) of this part.
  int op = 0;
  std::uint32_t timestamp = 0;
};

// Finds the record that is pending under this key; it stays the table's. Null
// when there is none.
image_record* get_image_record(std::uint32_t image_key, std::int32_t node_id,
                               std::uint32_t recno);

// Returns the record pending under this key, or a new one without before-image.
// Null, with a message on standard error, when there is no memory.
image_record* add_image_record(std::uint32_t image_key, std::int32_t node_id,
                               std::uint32_t recno);

// Takes the record pending under this key out of the table and hands it over.
// Null when there is none.
std::unique_ptr<image_record> fetch_image_record(std::uint32_t image_key,
                                                 std::int32_t node_id,
                                                 std::uint32_t recno);

// Gives back a fetched record; its memory serves the next one.
void release_image_record(std::unique_ptr<image_record> record);

// Filters an operation and, if it is selected, reports and writes it, after
// what must come first: the session's sign-on, the data set's schema, and the
// session's memos that were held back. Returns 0, or -1 after a failure that
// ends the input file; its message has been printed.
int write_image_op(const image_operation& operation);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_IMAGE_H
