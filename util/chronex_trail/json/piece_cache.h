#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_JSON_PIECE_CACHE_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_JSON_PIECE_CACHE_H

// Keeps prepared pieces of events, such as the text of a session, under a
// number. The latest piece is always kept; the others only while all together
// take no more than a number of bytes, whatever the inputs hold.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

// Piece has footprint(): the bytes that it takes, always the same.
template <typename Piece>
class piece_cache {
 public:
  // `budget` in bytes.
  explicit piece_cache(std::size_t budget) : budget_(budget) {}

  // The piece that has the number's place, which may be another's; null = none.
  Piece* at(std::uint64_t number) const {
    return places_[number & (places_.size() - 1)].piece.get();
  }

  template <typename Visit>
  void for_each(const Visit& visit) {
    for (const place& each : places_) {
      if (each.piece) visit(*each.piece);
    }
  }

  // Drops all pieces.
  void clear() {
    for (place& each : places_) each.piece.reset();
    used_ = 0;
  }

  // Keeps a new piece, which stays where it is until another is put. Those that
  // go for it are shown to `drop` before.
  template <typename Drop>
  Piece& put(std::uint64_t number, std::unique_ptr<Piece> piece,
             const Drop& drop) {
    const std::size_t size = piece->footprint();
    while (is_taken(number) && places_.size() < MAX_PLACES &&
           used_ + size <= budget_) {
      add_places();
    }
    place& mine = place_of(number);
    take_out(mine, drop);
    while (used_ > 0 && used_ + size > budget_) {
      take_out(places_[next_ & (places_.size() - 1)], drop);
      ++next_;
    }
    used_ += size;
    mine = {number, std::move(piece)};
    return *mine.piece;
  }
  Piece& put(std::uint64_t number, std::unique_ptr<Piece> piece) {
    return put(number, std::move(piece), [](Piece& /*dropped*/) {});
  }

 private:
  struct place {
    std::uint64_t number = 0;
    std::unique_ptr<Piece> piece;
  };
  static constexpr std::size_t FIRST_PLACES = 256;
  static constexpr std::size_t MAX_PLACES = std::size_t{64} * 1024;

  place& place_of(std::uint64_t number) {
    return places_[number & (places_.size() - 1)];
  }

  // By a piece of another number.
  bool is_taken(std::uint64_t number) {
    const place& mine = place_of(number);
    return mine.piece && mine.number != number;
  }

  void add_places() {
    std::vector<place> old(places_.size() * 2);
    old.swap(places_);
    for (place& each : old) {
      if (each.piece) place_of(each.number) = std::move(each);
    }
  }

  template <typename Drop>
  void take_out(place& from, const Drop& drop) {
    if (!from.piece) return;
    drop(*from.piece);
    used_ -= from.piece->footprint();
    from.piece.reset();
  }

  // Their number is a power of two.
  std::vector<place> places_{FIRST_PLACES};
  std::size_t budget_;
  std::size_t used_ = 0;
  // The place whose piece goes next when there is no room.
  std::size_t next_ = 0;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_JSON_PIECE_CACHE_H
