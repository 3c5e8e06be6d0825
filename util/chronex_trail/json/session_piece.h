#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_JSON_SESSION_PIECE_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_JSON_SESSION_PIECE_H

// What the events of a session have in common.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "util/chronex/tables/session.h"
#include "util/chronex_trail/json/piece_cache.h"

struct session_piece {
  // The sign-on that it was made of.
  std::uint64_t sign_on_id = 0;
  int charset = 0;

  // `,"session":{"id":4,...` without the last brace.
  std::string object;
  // What could not be decoded in it; each note begins with a comma.
  std::string notes;

  std::size_t footprint() const {
    return sizeof *this + object.capacity() + notes.capacity();
  }
};

class session_pieces {
 public:
  // The piece of a session; valid until the next call.
  const session_piece& of(const session_entry& session);

 private:
  static constexpr std::size_t KEPT_BYTES = std::size_t{4} << 20;

  piece_cache<session_piece> kept_{KEPT_BYTES};
};

// Appends `,"attributes":[["user","BOB"],...]`, the pairs of the sign-on data
// in their order, to `object`, and what could not be decoded to `notes`.
void append_session_attributes(const session_entry& session,
                               std::string& object, std::string& notes);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_JSON_SESSION_PIECE_H
