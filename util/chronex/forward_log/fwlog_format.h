#ifndef CHRONEX_UTIL_CHRONEX_FORWARD_LOG_FWLOG_FORMAT_H
#define CHRONEX_UTIL_CHRONEX_FORWARD_LOG_FWLOG_FORMAT_H

// The layout of a forward-log file.
//
// All integers are unsigned unless stated and in the byte order of the machine
// that wrote the file. The header of versions 1.01 and later has 36 bytes:
//
//    0  10  signature "KORV.FWLOG", or "KORV.FWAUD" for an audit-only log
//   10   6  version text: decimal major, ".", decimal minor, zero byte
//   16   2  byte-order mark, 1234
//   18   2  character set id
//   20   4  volume release
//   24   4  volume set id
//   28   4  volume generation
//   32   4  file sequence within the generation, from 1
//
// Version 1.00 and older have no bytes 16 to 23, and no audit information.
//
// Actions follow until the end of the file, each with a tag byte, the action's
// number within the file (4, from 1) and its time stamp (4, seconds since the
// epoch). The bodies behind that, by tag ("-" is of no use here):
//
//   '1' record:       0 1 type (13 operation, 28 server abort), 1 1 -,
//                     2 2 data size, 4 4 node id, 8 4 image key,
//                     12 4 session id; then the data, which for an operation
//                     are: 0 8 -, 8 4 record number, 12 4 -, 16 1 operation
//                     code (1 update, 3 put, 4 new-record marker, 5 delete),
//                     17 the stored record after an update or put
//   '2' page:         8192 bytes
//   '3' cluster:      0 8 -, 8 4 page count (signed); then pages of 8192 bytes
//   '4' meta:         0 4 -, 4 4 data size (at most 8192); then the data
//   '5' before-image: 0 4 image key, 4 4 session id, 8 4 node id,
//                     12 4 record number, 16 1 operation code, 17 1 -,
//                     18 2 image size (at most 8192); then the stored record
//   '6' audit:        0 4 session id, 4 1 type (0 memo, 10 sign-on,
//                     11 sign-off, others: info), 5 1 -, 6 2 data size; then
//                     the data. A memo is a mode (4) and the text, a sign-on
//                     is the sign-on data, a sign-off has none.
//   '7' context:      0 4 node id, 4 1 type (1 database, 3 data set,
//                     5 database encryption keys), 5 1 -, 6 2 data size; then
//                     the data. A database is its name; a data set is its
//                     database's node id (4), a name length (1), the name, and
//                     the item list.
//   'F' end:          nothing
//   'S' slave sync:   16 bytes

#include <cstddef>
#include <cstdint>
#include <string_view>

inline constexpr std::string_view FWLOG_SIGNATURE = "KORV.FWLOG";
inline constexpr std::string_view FWLOG_AUDIT_ONLY_SIGNATURE = "KORV.FWAUD";

inline constexpr std::uint8_t FW_TAG_RECORD = '1';
inline constexpr std::uint8_t FW_TAG_PAGE = '2';
inline constexpr std::uint8_t FW_TAG_CLUSTER = '3';
inline constexpr std::uint8_t FW_TAG_META = '4';
inline constexpr std::uint8_t FW_TAG_BEFORE_IMAGE = '5';
inline constexpr std::uint8_t FW_TAG_AUDIT = '6';
inline constexpr std::uint8_t FW_TAG_CONTEXT = '7';
inline constexpr std::uint8_t FW_TAG_END = 'F';
inline constexpr std::uint8_t FW_TAG_SLAVE_SYNC = 'S';

inline constexpr std::size_t FW_PREFIX_SIZE = 8;
inline constexpr std::size_t FW_PAGE_SIZE = 8192;
inline constexpr std::size_t FW_CLUSTER_HEADER_SIZE = 12;
inline constexpr std::size_t FW_META_HEADER_SIZE = 8;
inline constexpr std::size_t FW_SLAVE_SYNC_SIZE = 16;
inline constexpr std::size_t FW_AUDIT_HEADER_SIZE = 8;
inline constexpr std::size_t FW_CONTEXT_HEADER_SIZE = 8;
inline constexpr std::size_t FW_RECORD_HEADER_SIZE = 16;
inline constexpr std::size_t FW_BEFORE_IMAGE_HEADER_SIZE = 20;
// What precedes the stored record in the data of an operation.
inline constexpr std::size_t FW_OPERATION_HEAD_SIZE = 17;

inline constexpr std::uint8_t RECORD_OPERATION = 13;
inline constexpr std::uint8_t RECORD_SERVER_ABORT = 28;

inline constexpr std::uint8_t AUDIT_MEMO = 0;
inline constexpr std::uint8_t AUDIT_SIGN_ON = 10;
inline constexpr std::uint8_t AUDIT_SIGN_OFF = 11;

inline constexpr std::uint8_t CONTEXT_DATABASE = 1;
inline constexpr std::uint8_t CONTEXT_DATA_SET = 3;
inline constexpr std::uint8_t CONTEXT_DATABASE_KEYS = 5;

#endif  // CHRONEX_UTIL_CHRONEX_FORWARD_LOG_FWLOG_FORMAT_H
