#ifndef CHRONEX_UTIL_CHRONEX_AUDIT_FILE_AUDIT_FORMAT_H
#define CHRONEX_UTIL_CHRONEX_AUDIT_FILE_AUDIT_FORMAT_H

// The layout of an audit file, for its writers and its reader.
//
// All integers are unsigned and in the byte order of the machine that wrote the
// file. The file begins with a header of 20 bytes:
//
//    0  16  signature block: "KORV.AUDIT", the version as two two-digit numbers
//           with a point ("01.00"), and a zero byte
//   16   2  byte-order mark, 1234
//   18   2  character set id
//
// Records follow back to back until the end of the file, each with a head of 5
// bytes: a tag (1, an ASCII digit) and the size of the payload (4, never 0, at
// most 1 MiB). The payloads:
//
//   '1' comment: the text.
//   '2' session sign-on: session id (4), then the sign-on data.
//   '3' session sign-off: session id (4).
//   '4' data set schema:
//        0   4  node id
//        4   2  length of the name
//        6   2  record size
//        8   2  number of items
//       10   2  0
//       12   n  name, then for each item: u8 name length, the name, u8 type
//               letter, u16 count, u16 size, u32 format flags
//   '5' image operation:
//        0   4  session id
//        4   4  node id of the data set
//        8   4  time stamp, seconds since the epoch
//       12   4  record number
//       16   1  '1' DBUPDATE, '2' DBPUT, '3' DBDELETE
//       17   1  1: a before-image follows
//       18   1  1: an after-image follows
//       19   1  0
//       20      the before-image, then the after-image, each of record size
//   '7' memo:
//        0   4  session id
//        4   4  time stamp, seconds since the epoch
//        8   4  mode: 98 DBBEGIN, 101 DBEND, 109 DBMEMO
//       12      the text

#include <cstddef>
#include <cstdint>

#include "util/chronex/input/input_file.h"

inline constexpr char AUDIT_SIGNATURE[] = "KORV.AUDIT";

// Tag and size of a record.
inline constexpr std::size_t AUDIT_RECORD_HEAD_SIZE = 5;
inline constexpr std::uint32_t AUDIT_MAX_RECORD_SIZE = 0x100000;

inline constexpr std::uint8_t AUDIT_TAG_COMMENT = '1';
inline constexpr std::uint8_t AUDIT_TAG_SIGN_ON = '2';
inline constexpr std::uint8_t AUDIT_TAG_SIGN_OFF = '3';
inline constexpr std::uint8_t AUDIT_TAG_SCHEMA = '4';
inline constexpr std::uint8_t AUDIT_TAG_IMAGE_OP = '5';
inline constexpr std::uint8_t AUDIT_TAG_MEMO = '7';

// The fixed parts of the payloads. put() encodes one at `bytes`, which has room
// for SIZE bytes; get() decodes one from as many.

struct session_sign_on_t {
  static constexpr std::uint32_t SIZE = 4;
  std::uint32_t session_id = 0;

  void put(std::uint8_t* bytes) const;
  static session_sign_on_t get(const std::uint8_t* bytes);
};

using session_sign_off_t = session_sign_on_t;

struct audit_node_schema_t {
  static constexpr std::uint32_t SIZE = 12;
  std::uint32_t node_id = 0;
  std::uint16_t name_sz = 0;
  std::uint16_t rec_sz = 0;
  std::uint16_t item_cnt = 0;

  void put(std::uint8_t* bytes) const;
  static audit_node_schema_t get(const std::uint8_t* bytes);
};

struct image_op_t {
  static constexpr std::uint32_t SIZE = 20;
  std::uint32_t session_id = 0;
  std::uint32_t node_id = 0;
  std::uint32_t timestamp = 0;
  std::uint32_t recno = 0;
  std::uint8_t op = 0;
  std::uint8_t has_before = 0;
  std::uint8_t has_after = 0;

  void put(std::uint8_t* bytes) const;
  static image_op_t get(const std::uint8_t* bytes);
};

struct memo_t {
  static constexpr std::uint32_t SIZE = 12;
  std::uint32_t session_id = 0;
  std::uint32_t timestamp = 0;
  std::uint32_t mode = 0;

  void put(std::uint8_t* bytes) const;
  static memo_t get(const std::uint8_t* bytes);
};

#endif  // CHRONEX_UTIL_CHRONEX_AUDIT_FILE_AUDIT_FORMAT_H
