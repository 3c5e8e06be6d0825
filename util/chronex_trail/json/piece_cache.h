#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_JSON_PIECE_CACHE_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_JSON_PIECE_CACHE_H

// Keeps prepared pieces of events, such as the text of a session, under a
// number. The latest piece is always kept; the others only while all together
// take no more than a number of bytes, whatever the inputs hold.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

// Piece has footprint(): the bytes that it takes.
template <typename Piece>
class piece_cache {
 public:
  // `budget` in bytes.
  explicit piece_cache(std::size_t budget) : budget_(budget) {}

  // The piece that has the number's place, which may be another's; null = none.
  Piece* at(std::uint64_t number) const { return place(number).get(); }

  template <typename Visit>
  void for_each(const Visit& visit) {
    for (const std::unique_ptr<Piece>& piece : places_) {
      if (piece) visit(*piece);
    }
  }

  // Drops all pieces.
  void clear() {
    for (std::unique_ptr<Piece>& piece : places_) piece.reset();
    used_ = 0;
  }

  // Takes the place for a new piece. It stays where it is until another takes
  // a place.
  Piece& put(std::uint64_t number, std::unique_ptr<Piece> piece) {
    std::unique_ptr<Piece>& mine = places_[number % PLACES];
    if (mine) used_ -= mine->footprint();
    mine.reset();
    used_ += piece->footprint();
    if (used_ > budget_) {
      clear();
      used_ = piece->footprint();
    }
    mine = std::move(piece);
    return *mine;
  }

 private:
  static constexpr std::size_t PLACES = 256;

  const std::unique_ptr<Piece>& place(std::uint64_t number) const {
    return places_[number % PLACES];
  }

  std::array<std::unique_ptr<Piece>, PLACES> places_;
  std::size_t budget_;
  std::size_t used_ = 0;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_JSON_PIECE_CACHE_H
