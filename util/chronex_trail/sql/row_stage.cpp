#include "util/chronex_trail/sql/row_stage.h"

#include <cstring>
#include <memory>
#include <new>

namespace {

// Bounds the number of tables, each of which has a page. What was not used is
// not there in memory.
constexpr std::size_t MOST_PAGES = 128;

constexpr std::uint8_t TABLE_LEAF = 13;

struct engine_memory {
  void operator()(unsigned char* bytes) const { sqlite3_free(bytes); }
};
using engine_bytes = std::unique_ptr<unsigned char, engine_memory>;

// The first page of an empty database, in memory for MOST_PAGES.
engine_bytes empty_image() {
  sql_database empty;
  empty.open("");
  empty.run("PRAGMA page_size = " + std::to_string(row_stage::PAGE_SIZE) +
            "; PRAGMA auto_vacuum = 0; PRAGMA user_version = 1");
  sqlite3_int64 size = 0;
  const engine_bytes page(sqlite3_serialize(empty.handle(), "main", &size, 0));
  engine_bytes image(static_cast<unsigned char*>(
      sqlite3_malloc64(MOST_PAGES * row_stage::PAGE_SIZE)));
  if (!page || !image) throw std::bad_alloc();
  if (size != row_stage::PAGE_SIZE) return {};
  std::memcpy(image.get(), page.get(), row_stage::PAGE_SIZE);
  return image;
}

void put_u16(std::uint8_t* out, std::size_t number) {
  out[0] = static_cast<std::uint8_t>(number >> 8);
  out[1] = static_cast<std::uint8_t>(number);
}

}  // namespace

row_stage::row_stage(sql_database& database) : database_(database) {
  attach();
  is_usable_ = !image_.empty() && is_seen_at_once();
}

row_stage::~row_stage() {
  sqlite3_exec(database_.handle(), "DETACH stage", nullptr, nullptr, nullptr);
}

void row_stage::attach() {
  database_.run("ATTACH ':memory:' AS stage");
  engine_bytes image = empty_image();
  if (!image) return;
  std::uint8_t* const bytes = image.get();
  // Takes the memory, also when it fails.
  const int code = sqlite3_deserialize(
      database_.handle(), "stage", image.release(), PAGE_SIZE,
      MOST_PAGES * PAGE_SIZE, SQLITE_DESERIALIZE_FREEONCLOSE);
  if (code != SQLITE_OK) return;
  image_ = {bytes, MOST_PAGES * PAGE_SIZE};
  // Pages are read where they are, and not from copies.
  database_.run(
      "PRAGMA stage.journal_mode = OFF; PRAGMA stage.locking_mode = NORMAL;"
      " PRAGMA stage.mmap_size = " +
      std::to_string(image_.size()));
}

row_stage::table row_stage::find(const std::string& types) const {
  const auto known = tables_.find(types);
  return known == tables_.end() ? table() : known->second;
}

row_stage::table row_stage::make(const std::string& types) {
  if (!is_usable_) return {};
  table made{.name = "stage.t" + std::to_string(tables_.size())};
  try {
    database_.run("CREATE TABLE " + made.name + '(' + types + ')');
  } catch (const sql_error&) {
    return {};
  }
  made.root = static_cast<std::uint32_t>(
      database_.number("SELECT max(rootpage) FROM stage.sqlite_schema"));
  return tables_[types] = made;
}

void row_stage::fill(std::uint32_t root, const staged_rows& rows) {
  std::uint8_t* const page = &image_[(root - 1) * PAGE_SIZE];
  const std::size_t begin = PAGE_SIZE - rows.size;
  std::memcpy(page + begin, rows.bytes.data(), rows.size);
  page[0] = TABLE_LEAF;
  put_u16(page + 1, 0);
  put_u16(page + 3, rows.ends.size());
  put_u16(page + 5, begin);
  page[7] = 0;
  std::size_t at = begin;
  std::uint8_t* pointer = page + 8;
  for (const std::uint16_t end : rows.ends) {
    put_u16(pointer, at);
    pointer += ROW_POINTER;
    at = begin + end;
  }
}

// The record has one byte, its own length, and no columns.
bool row_stage::shows(const table& probe, std::uint8_t key) {
  fill(probe.root, {.bytes = {1, key, 1}, .size = 3, .ends = {3}});
  return database_.number("SELECT a FROM " + probe.name) == key;
}

// Whether the engine, inside a transaction, reads a page anew.
bool row_stage::is_seen_at_once() {
  is_usable_ = true;
  const table probe = make("a INTEGER PRIMARY KEY");
  if (probe.root == 0) return false;
  database_.run("BEGIN");
  const bool is_seen = shows(probe, 1) && shows(probe, 2);
  database_.run("COMMIT");
  return is_seen;
}
