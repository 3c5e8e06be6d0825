#include "util/chronex_trail/stats/name_tally.h"

#include <algorithm>

#include "common/entry_index.h"

std::uint32_t name_hash(std::string_view name) {
  std::uint64_t hash = HASH_MULTIPLIERS[0];
  for (const char byte : name) {
    hash = (hash ^ static_cast<unsigned char>(byte)) * HASH_MULTIPLIERS[1];
    hash ^= hash >> 32U;
  }
  return static_cast<std::uint32_t>((hash * HASH_MULTIPLIERS[2]) >> 32U);
}

std::string_view text_store::keep(std::string_view text) {
  constexpr std::size_t BLOCK = std::size_t{16} * 1024;
  if (text.size() >= free_.size()) {
    const std::size_t size = std::max(BLOCK, text.size() + 1);
    blocks_.push_back(std::make_unique_for_overwrite<char[]>(size));
    free_ = {blocks_.back().get(), size};
  }
  std::ranges::copy(text, free_.begin());
  const std::string_view kept(free_.data(), text.size());
  free_ = free_.subspan(text.size());
  return kept;
}

std::uint32_t name_tally::number_of(std::optional<std::string_view> name) {
  const std::string_view text = name.value_or("");
  const std::uint32_t hash = name_hash(text);
  const std::uint32_t known = index_.find(hash, [&](std::uint32_t number) {
    return names_[number].name == text &&
           names_[number].known() == name.has_value();
  });
  if (known != position_index::NONE) return known;
  const auto number = static_cast<std::uint32_t>(names_.size());
  names_.push_back({.name = name ? texts_.keep(text) : std::string_view()});
  index_.insert(hash, number);
  return number;
}

std::uint32_t set_tally::number_of(std::optional<std::string_view> database,
                                   std::string_view name) {
  const std::string_view base = database.value_or("");
  const std::uint32_t hash = name_hash(name) + name_hash(base);
  const std::uint32_t known = index_.find(hash, [&](std::uint32_t number) {
    const set_figures& set = sets_[number];
    return set.name == name && set.database == base &&
           set.has_database == database.has_value();
  });
  if (known != position_index::NONE) return known;
  const auto number = static_cast<std::uint32_t>(sets_.size());
  sets_.push_back({.database = std::string(base),
                   .has_database = database.has_value(),
                   .name = std::string(name)});
  index_.insert(hash, number);
  return number;
}
