#ifndef CHRONEX_COMMON_CHAINED_TABLE_H
#define CHRONEX_COMMON_CHAINED_TABLE_H

// A chained hash table of owned entries.
//
// Keys come from input files, so two things matter: the number of buckets grows
// with the number of entries, and the hash is keyed with numbers drawn once per
// process, so that no file can be made to crowd one bucket.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include "common/owned_bytes.h"

// The odd multipliers of the hashes, drawn once per process.
extern const std::array<std::uint64_t, 3> HASH_MULTIPLIERS;

// Hashes of one and of three 32-bit keys.
inline std::uint32_t keyed_hash(std::uint32_t key) {
  return static_cast<std::uint32_t>((key * HASH_MULTIPLIERS[0]) >> 32U);
}
inline std::uint32_t keyed_hash(std::uint32_t a, std::uint32_t b,
                                std::uint32_t c) {
  return static_cast<std::uint32_t>((a * HASH_MULTIPLIERS[0] +
                                     b * HASH_MULTIPLIERS[1] +
                                     c * HASH_MULTIPLIERS[2]) >>
                                    32U);
}

// Entry must have the members `std::unique_ptr<Entry> next` and
// `std::uint32_t hash`, both the table's to use.
template <typename Entry>
class chained_table {
 public:
  explicit chained_table(std::size_t initial_buckets) noexcept
      : initial_buckets_(initial_buckets) {}
  chained_table(const chained_table&) = delete;
  chained_table& operator=(const chained_table&) = delete;
  // Chains are taken apart link by link: a chain of owners would otherwise be
  // released by recursion.
  ~chained_table() {
    for (std::size_t i = 0; i < bucket_count_; ++i) {
      while (buckets_[i]) buckets_[i] = std::move(buckets_[i]->next);
    }
  }

  // Returns the entry of this hash for which `matches` holds, or null.
  template <typename Matches>
  Entry* find(std::uint32_t hash, Matches matches) const {
    if (bucket_count_ == 0) return nullptr;
    for (Entry* entry = buckets_[bucket_of(hash)].get(); entry != nullptr;
         entry = entry->next.get()) {
      if (entry->hash == hash && matches(*entry)) return entry;
    }
    return nullptr;
  }

  // Makes sure that an insert finds its buckets; false without memory.
  [[nodiscard]] bool reserve() {
    if (bucket_count_ == 0) return resize(initial_buckets_);
    // Without memory for more buckets the chains just get longer.
    if (entry_count_ >= bucket_count_ / 2)
      static_cast<void>(resize(bucket_count_ * 2));
    return true;
  }

  // Adds an entry, which must not be there yet; needs a reserve() before.
  Entry& insert(std::uint32_t hash, std::unique_ptr<Entry> entry) {
    entry->hash = hash;
    std::unique_ptr<Entry>& head = buckets_[bucket_of(hash)];
    entry->next = std::move(head);
    head = std::move(entry);
    ++entry_count_;
    return *head;
  }

  // Takes the entry of this hash for which `matches` holds out of the table and
  // hands it over; null when there is none.
  template <typename Matches>
  std::unique_ptr<Entry> remove(std::uint32_t hash, Matches matches) {
    if (bucket_count_ == 0) return nullptr;
    for (std::unique_ptr<Entry>* link = &buckets_[bucket_of(hash)]; *link;
         link = &(*link)->next) {
      if ((*link)->hash == hash && matches(**link)) return unlink(*link);
    }
    return nullptr;
  }

  // Calls `visit` with every entry.
  template <typename Visit>
  void for_each(Visit visit) {
    for (std::size_t i = 0; i < bucket_count_; ++i) {
      for (Entry* entry = buckets_[i].get(); entry != nullptr;
           entry = entry->next.get()) {
        visit(*entry);
      }
    }
  }

  // Releases every entry for which `matches` holds.
  template <typename Matches>
  void remove_if(Matches matches) {
    for (std::size_t i = 0; i < bucket_count_; ++i) {
      for (std::unique_ptr<Entry>* link = &buckets_[i]; *link;) {
        if (matches(**link)) {
          unlink(*link);
        } else {
          link = &(*link)->next;
        }
      }
    }
  }

 private:
  std::size_t bucket_of(std::uint32_t hash) const {
    return hash & (bucket_count_ - 1);
  }

  std::unique_ptr<Entry> unlink(std::unique_ptr<Entry>& link) {
    std::unique_ptr<Entry> entry = std::move(link);
    link = std::move(entry->next);
    --entry_count_;
    return entry;
  }

  bool resize(std::size_t bucket_count) {
    std::unique_ptr<std::unique_ptr<Entry>[]> old = std::move(buckets_);
    const std::size_t old_count = bucket_count_;
    buckets_ = try_make_array<std::unique_ptr<Entry>>(bucket_count);
    if (!buckets_) {
      buckets_ = std::move(old);
      return false;
    }
    bucket_count_ = bucket_count;
    for (std::size_t i = 0; i < old_count; ++i) {
      while (old[i]) {
        std::unique_ptr<Entry> entry = std::move(old[i]);
        old[i] = std::move(entry->next);
        std::unique_ptr<Entry>& head = buckets_[bucket_of(entry->hash)];
        entry->next = std::move(head);
        head = std::move(entry);
      }
    }
    return true;
  }

  std::size_t initial_buckets_;  // a power of two
  std::size_t bucket_count_ = 0;
  std::size_t entry_count_ = 0;
  std::unique_ptr<std::unique_ptr<Entry>[]> buckets_;
};

#endif  // CHRONEX_COMMON_CHAINED_TABLE_H
