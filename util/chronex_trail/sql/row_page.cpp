#include "util/chronex_trail/sql/row_page.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>

#include "util/chronex_trail/sql/row_batch.h"

namespace {

// What a length, a key or a type takes at most.
constexpr std::size_t LONGEST_VARINT = 9;

// Room for the texts of a row, at first.
constexpr std::size_t FIRST_KEPT = 256;

// Bytes of the numbers of each type.
constexpr std::array<std::uint8_t, 10> NUMBER_SIZES = {0, 1, 2, 3, 4,
                                                       6, 8, 8, 0, 0};
// The type of a number that needs so many bytes.
constexpr std::array<std::uint8_t, 9> NUMBER_TYPES = {1, 1, 2, 3, 4,
                                                      5, 5, 6, 6};
static_assert(std::endian::native == std::endian::little);

std::size_t varint_size(std::uint64_t number) {
  std::size_t size = 1;
  while (number >= 0x80 && size < LONGEST_VARINT) {
    number >>= 7;
    ++size;
  }
  return size;
}

// All 8 bits of a ninth byte count.
std::uint8_t* put_long_varint(std::uint64_t number, std::uint8_t* out) {
  const std::size_t size = varint_size(number);
  std::size_t left = size;
  if (size == LONGEST_VARINT) {
    out[--left] = static_cast<std::uint8_t>(number);
    number >>= 8;
  }
  while (left-- > 0) {
    const unsigned more = left + 1 < size ? 0x80 : 0;
    out[left] = static_cast<std::uint8_t>((number & 0x7F) | more);
    number >>= 7;
  }
  return out + size;
}

std::uint8_t* put_varint(std::uint64_t number, std::uint8_t* out) {
  if (number >= 0x80) return put_long_varint(number, out);
  *out = static_cast<std::uint8_t>(number);
  return out + 1;
}

// The number as a column that this class has made.
std::int64_t number_of(std::uint64_t bits, std::uint64_t type) {
  const unsigned size = NUMBER_SIZES[type];
  if (size == 0) return type == 9 ? 1 : 0;
  const auto left = static_cast<std::int64_t>(__builtin_bswap64(bits));
  return left >> (64 - size * 8);
}

}  // namespace

row_page::row_page(sql_database& database, row_stage& stage,
                   const row_stage::table& staged, const std::string& table,
                   int columns, std::size_t room)
    : database_(database),
      stage_(stage),
      root_(staged.root),
      table_(table),
      room_(room),
      insertion_(database.prepare(
          "INSERT INTO main." + table + " SELECT * FROM " + staged.name, true)),
      cells_(static_cast<std::size_t>(columns)),
      kept_(FIRST_KEPT) {}

void row_page::begin(std::int64_t first) {
  key_ = first;
  kept_size_ = 0;
  types_size_ = cells_.size();
  body_size_ = 0;
  std::ranges::fill(cells_, cell());
}

// A type of one byte is counted already.
void row_page::set(int column, std::uint64_t bits, std::uint64_t type,
                   std::size_t size) {
  cells_[static_cast<std::size_t>(column) - 1] = {bits, type};
  body_size_ += size;
  if (type >= 0x80) types_size_ += varint_size(type) - 1;
}

void row_page::bind(int column, std::int64_t number) {
  const auto size_bits =
      static_cast<std::uint64_t>(number < 0 ? ~number : number);
  if (size_bits < 2 && number >= 0) {
    set(column, 0, ZERO + size_bits, 0);
    return;
  }
  // One bit more is for the sign.
  const auto bytes =
      static_cast<std::size_t>(std::bit_width(size_bits)) / 8 + 1;
  const std::uint64_t type = NUMBER_TYPES[bytes];
  const std::size_t size = NUMBER_SIZES[type];
  const auto left = static_cast<std::uint64_t>(number) << (64 - size * 8);
  set(column, __builtin_bswap64(left), type, size);
}

// The engine keeps whole numbers as such, if they take less so.
void row_page::bind_real(int column, double number) {
  constexpr double LARGEST_SHORT = 140737488355327;
  if (std::fabs(number) <= LARGEST_SHORT && std::trunc(number) == number) {
    bind(column, static_cast<std::int64_t>(number));
  } else {
    set(column, __builtin_bswap64(std::bit_cast<std::uint64_t>(number)), REAL,
        sizeof number);
  }
}

void row_page::keep(int column, const void* bytes, std::size_t size,
                    std::uint64_t type) {
  if (size > kept_.size() - kept_size_) {
    kept_.resize(std::max(kept_size_ + size, kept_.size() * 2));
  }
  if (size > 0) std::memcpy(kept_.data() + kept_size_, bytes, size);
  set(column, kept_size_, type + size * 2, size);
  kept_size_ += size;
}

// Of numbers eight bytes are written, of which those that count stay.
std::uint8_t* row_page::put_columns(std::uint8_t* types,
                                    std::uint8_t* body) const {
  for (const cell& each : cells_) {
    types = put_varint(each.type, types);
    if (each.is_kept()) {
      std::memcpy(body, kept_.data() + each.bits, each.kept_size());
      body += each.kept_size();
    } else {
      std::memcpy(body, &each.bits, sizeof each.bits);
      body += NUMBER_SIZES[each.type];
    }
  }
  return body;
}

void row_page::add_record(std::size_t header_size, std::size_t record_size) {
  const std::size_t room = rows_.size + record_size + 3 * LONGEST_VARINT;
  if (room > rows_.bytes.size()) {
    rows_.bytes.resize(std::max(room, rows_.bytes.size() * 2));
  }
  std::uint8_t* out = rows_.bytes.data() + rows_.size;
  out = put_varint(record_size, out);
  out = put_varint(static_cast<std::uint64_t>(key_), out);
  std::uint8_t* const record = out;
  out = put_columns(put_varint(header_size, out), record + header_size);
  rows_.size = static_cast<std::size_t>(out - rows_.bytes.data());
  rows_.ends.push_back(static_cast<std::uint16_t>(rows_.size));
}

void row_page::end() {
  // The length counts itself.
  const std::size_t header_size =
      types_size_ + (types_size_ + 1 < 0x80 ? 1 : 2);
  const std::size_t record_size = header_size + body_size_;
  const std::size_t size =
      record_size + 2 * LONGEST_VARINT + row_stage::ROW_POINTER;
  const std::size_t used =
      rows_.size + rows_.ends.size() * row_stage::ROW_POINTER;
  const bool is_too_long =
      size > row_stage::ROOM || record_size > row_stage::LONGEST_RECORD;
  if (is_too_long || used + size > room_) flush();
  if (is_too_long) {
    insert_alone();
  } else {
    add_record(header_size, record_size);
  }
}

void row_page::bind_alone(row_writer& row, int column) const {
  const cell& mine = cells_[static_cast<std::size_t>(column) - 1];
  if (mine.is_kept()) {
    const std::uint8_t* const bytes = kept_.data() + mine.bits;
    if (mine.type % 2 == 0)
      return row.bind_bytes(column, {bytes, mine.kept_size()});
    row.bind_text(column,
                  {reinterpret_cast<const char*>(bytes), mine.kept_size()});
  } else if (mine.type == REAL) {
    row.bind_real(column, std::bit_cast<double>(__builtin_bswap64(mine.bits)));
  } else if (mine.type != 0) {
    row.bind(column, number_of(mine.bits, mine.type));
  }
}

// Inserts a row that is too long for a page.
void row_page::insert_alone() {
  row_batch row(database_, table_, static_cast<int>(cells_.size()), 0);
  row.begin(key_);
  for (int i = 2; i <= static_cast<int>(cells_.size()); ++i) bind_alone(row, i);
  row.end();
}

void row_page::flush() {
  if (rows_.ends.empty()) return;
  stage_.fill(root_, rows_);
  insertion_.run();
  rows_.size = 0;
  rows_.ends.clear();
}

std::size_t row_page::footprint() const {
  return cells_.capacity() * sizeof(cell) + kept_.capacity() + room_ +
         room_ / 16 +
         static_cast<std::size_t>(sqlite3_stmt_status(
             insertion_.handle(), SQLITE_STMTSTATUS_MEMUSED, 0));
}
