#include "util/chronex_trail/sql/row_batch.h"

#include <algorithm>
#include <cstring>

row_batch::row_batch(sql_database& database, const std::string& table,
                     int columns, std::size_t row_size)
    : columns_(columns) {
  if (row_size > 0) {
    rows_ = std::clamp(MAX_PARAMETERS / columns, 1, MAX_ROWS);
    rows_ = std::min(rows_, static_cast<int>(MAX_KEPT / (row_size + 1)) + 1);
  }
  std::string row = "(?";
  for (int i = 1; i < columns; ++i) row += ",?";
  row += ')';
  // Rows that are not filled have a key that is there, and are passed over.
  std::string text = "INSERT OR IGNORE INTO " + table + " VALUES" + row;
  for (int i = 1; i < rows_; ++i) text += ',' + row;
  statement_ = database.prepare(text, true);
  kept_.resize(std::min(MAX_KEPT, static_cast<std::size_t>(rows_) * row_size));
}

void row_batch::begin(std::int64_t first) {
  first_ = filled_ * columns_;
  if (filled_ == 0) first_key_ = first;
  statement_.bind(first_ + 1, first);
}

const char* row_batch::keep(const char* bytes, std::size_t size) {
  if (size == 0 || size > kept_.size() - kept_size_) return nullptr;
  char* const copy = kept_.data() + kept_size_;
  std::memcpy(copy, bytes, size);
  kept_size_ += size;
  return copy;
}

void row_batch::bind_text(int column, std::string_view utf8) {
  const char* const copy = keep(utf8.data(), utf8.size());
  if (copy != nullptr) {
    statement_.bind_text(first_ + column, {copy, utf8.size()});
  } else {
    statement_.bind_text(first_ + column, utf8, true);
  }
}

void row_batch::bind_bytes(int column, std::span<const std::uint8_t> bytes) {
  const auto* const copy = reinterpret_cast<const std::uint8_t*>(
      keep(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
  if (copy != nullptr) {
    statement_.bind_bytes(first_ + column, {copy, bytes.size()});
  } else {
    statement_.bind_bytes(first_ + column, bytes, true);
  }
}

void row_batch::end() {
  if (++filled_ == rows_) flush();
}

void row_batch::flush() {
  if (filled_ == 0) return;
  for (; filled_ < rows_; ++filled_) {
    statement_.bind(filled_ * columns_ + 1, first_key_);
  }
  statement_.run();
  statement_.clear();
  filled_ = 0;
  kept_size_ = 0;
}

std::size_t row_batch::footprint() const {
  return kept_.capacity() +
         static_cast<std::size_t>(sqlite3_stmt_status(
             statement_.handle(), SQLITE_STMTSTATUS_MEMUSED, 0));
}
