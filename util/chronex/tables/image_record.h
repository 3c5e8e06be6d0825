#ifndef CHRONEX_UTIL_CHRONEX_TABLES_IMAGE_RECORD_H
#define CHRONEX_UTIL_CHRONEX_TABLES_IMAGE_RECORD_H

// The before-images and markers that wait for the operation they belong to.

#include <cstddef>
#include <cstdint>
#include <memory>

#include "common/entry_index.h"
#include "common/owned_bytes.h"
#include "util/chronex/messages/messages.h"

// Operation codes of the forward log.
inline constexpr int OP_UPDATE = 1;
inline constexpr int OP_PUT = 3;
inline constexpr int OP_NEW_RECORD = 4;
inline constexpr int OP_DELETE = 5;

// What a stored image is deciphered with; known where that is done.
struct sealed_origin;

// The first part of an operation, kept until the operation itself arrives.
struct image_record {
  // The next of the spare records.
  std::unique_ptr<image_record> next;
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
  // Of an encrypted data set, where the run is to be written down: behind these
  // bytes stand as many of the image as it was stored, and this is what it was
  // deciphered with.
  std::size_t stored_size = 0;
  std::shared_ptr<const sealed_origin> origin;
  // Its encrypted items have fill values, for want of a key.
  bool sealed = false;
  // The stored image was too short, as reported.
  bool known_short = false;
  // Operation code and time stamp (seconds since the epoch) of this part.
  int op = 0;
  std::uint32_t timestamp = 0;
};

class image_table {
 public:
  explicit image_table(run_messages& messages) : messages_(messages) {}
  image_table(const image_table&) = delete;
  image_table& operator=(const image_table&) = delete;
  ~image_table();

  // Finds the record that is pending under this key; it stays the table's. Null
  // when there is none.
  image_record* get_image_record(std::uint32_t image_key, std::int32_t node_id,
                                 std::uint32_t recno);

  // Returns the record pending under this key, or a new one without
  // before-image. Null, with a message on standard error, when there is no
  // memory.
  image_record* add_image_record(std::uint32_t image_key, std::int32_t node_id,
                                 std::uint32_t recno);

  // Takes the record pending under this key out of the table and hands it over.
  // Null when there is none.
  std::unique_ptr<image_record> fetch_image_record(std::uint32_t image_key,
                                                   std::int32_t node_id,
                                                   std::uint32_t recno);

  // Calls `visit` with every pending record, in no particular order.
  template <typename Visit>
  void for_each(Visit visit) {
    record_hash_.for_each([&](const image_record* record) { visit(*record); });
  }

  // Drops all records that are pending.
  void clear() {
    record_hash_.remove_if([](std::uint32_t /*hash*/, image_record* record) {
      const std::unique_ptr<image_record> dropped(record);
      return true;
    });
  }

  // Gives back a fetched record; its memory serves the next one.
  void release_image_record(std::unique_ptr<image_record> record);

 private:
  std::unique_ptr<image_record> new_record();

  run_messages& messages_;
  // Its records are the table's.
  entry_index<image_record*> record_hash_;
  // Released records, for the next before-images.
  std::unique_ptr<image_record> spare_records_;
  int spare_count_ = 0;
};

#endif  // CHRONEX_UTIL_CHRONEX_TABLES_IMAGE_RECORD_H
