#ifndef CHRONEX_UTIL_CHRONEX_KEYS_NODE_CRYPT_H
#define CHRONEX_UTIL_CHRONEX_KEYS_NODE_CRYPT_H

// Decryption of data sets that the server stores encrypted.
//
// The log announces a database's data encryption keys in a key context: key
// entries one after another, each
//
//   u32  key id, by which stored records name the key
//   u16  key type: 0 none, 1 XOR, 2 and 3 AES
//   u16  number of key bytes; 0 = none
//        the key bytes: enciphered under a master key when a check value of one
//        follows, else plain
//   u8   number of checksum bytes; 0 = no checksum, else 16
//        the checksum: MD5 digest of the plain key
//   u8   number of check value bytes; 0 = the key is plain, else 16
//        the check value of the master key
//
// A stored record of an encrypted data set has the items that are not encrypted
// first, in schema order. At the next multiple of 4 (the schema's enc_offs)
// stand a u32 key id, a chaining value of 4 bytes, and then the encrypted items
// in schema order as one stream, enciphered in blocks of 16 bytes.

#include <cstdint>
#include <span>
#include <string>

#include "util/chronex/tables/node.h"
#include "util/chronex/trail/trail.h"

// Makes a database's keys from a key context. Keys that cannot be used are left
// out, with a warning and an audit comment. Returns null on failure: for a
// malformed payload `problem` then says in one line, without line end, what is
// wrong; otherwise it stays empty and the message has been printed.
db_key_context_ptr node_create_db_key_context(
    std::span<const std::uint8_t> payload, trail& trail, std::string& problem);

// The key context that the keys were made from, where the run is to be written
// down (trail::keeps_stored); it stays theirs.
std::span<const std::uint8_t> node_key_payload(const db_key_context& context);

// How many of its keys can be used.
std::size_t node_key_count(const db_key_context& context);

// Overwrites and releases the keys; null is allowed.
void node_cleanup_db_key_context(db_key_context* context);

// Turns a stored record (at least media_sz bytes) of an encrypted data set into
// the plain record (rec_sz bytes of `user`). Where the key is not available
// (`context` may be null) the encrypted items get neutral fill values, and the
// result is false.
bool node_decrypt_record(const db_key_context* context, const set_context& set,
                         std::span<std::uint8_t> user,
                         std::span<const std::uint8_t> media);

#endif  // CHRONEX_UTIL_CHRONEX_KEYS_NODE_CRYPT_H
