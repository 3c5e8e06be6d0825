#include "util/chronex_trail/script/postgresql_syntax.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "util/chronex_trail/script/escapes.h"
#include "util/chronex_trail/sql/identifiers.h"
#include "util/chronex_trail/values/item_value.h"

namespace {

constexpr std::size_t NAME_LENGTH = 63;

// A table takes 1600 columns, and a row must fit a page of 8192 bytes. What is
// longer than 24 bytes can be kept elsewhere, so that no column takes more.
constexpr std::size_t MAX_COLUMNS = 1600;
constexpr std::size_t ROW_SIZE = 7800;
constexpr std::size_t FIXED_SIZE = 8;
constexpr std::size_t LONGEST_SIZE = 24;
// What stands before a value of any length, and behind it until the next number
// can stand: of both columns of a pair.
constexpr std::size_t LENGTH_SIZE = 4;
constexpr std::size_t GAP_SIZE = 4;

// psql must not take rows for commands when a statement before them has failed.
// The reference that dangles until the end keeps the transaction from being
// committed when the script is cut, whoever tries.
constexpr const char* HEAD =
    R"sql(-- A trail for psql, whole when it ends with COMMIT.
\set ON_ERROR_STOP on
\set QUIET on
BEGIN;
SET LOCAL client_encoding = 'UTF8';
SET LOCAL client_min_messages = warning;
CREATE TEMPORARY TABLE "chronex whole"(id integer PRIMARY KEY) ON COMMIT DROP;
CREATE TEMPORARY TABLE "chronex cut"(id integer REFERENCES "chronex whole" DEFERRABLE INITIALLY DEFERRED) ON COMMIT DROP;
INSERT INTO "chronex cut" VALUES (1);
)sql";

// Segments that are loaded at the same time would both make a table that is not
// there. One that is there must have the columns that the rows are made for.
constexpr const char* SHARED_HEAD =
    R"sql(DO 'BEGIN PERFORM pg_advisory_xact_lock(1128813144); END';
CREATE OR REPLACE PROCEDURE pg_temp.check_columns(shared text, names text[], types regtype[]) LANGUAGE plpgsql AS $check$ BEGIN
IF (SELECT array_agg(attname::text ORDER BY attnum) <> names OR array_agg(atttypid::regtype ORDER BY attnum) <> types FROM pg_attribute WHERE attrelid = quote_ident(shared)::regclass AND attnum > 0 AND NOT attisdropped)
THEN RAISE EXCEPTION 'The table "%" has other columns: load this script into a database of its own', shared; END IF;
END $check$;
)sql";

// Without statistics the first questions get plans that take for ever; the
// system would gather them some minutes later. What belongs to others is passed
// over with a warning.
constexpr const char* TAIL = R"sql(SET LOCAL client_min_messages = error;
ANALYZE;
INSERT INTO "chronex whole" VALUES (1);
COMMIT;
)sql";

constexpr backslash_escapes ESCAPES = {{'\\', '\\'}, {'\b', 'b'}, {'\f', 'f'},
                                       {'\n', 'n'},  {'\r', 'r'}, {'\t', 't'},
                                       {'\v', 'v'}};
constexpr backslash_escapes LITERAL_ESCAPES = {
    {'\\', '\\'}, {'\'', '\''}, {'\n', 'n'}, {'\r', 'r'}};

// A text as statements have it, in one line.
std::string quoted_literal(std::string_view text) {
  std::string quoted = "E'";
  LITERAL_ESCAPES.append(quoted, text);
  return quoted + '\'';
}

}  // namespace

postgresql_syntax::postgresql_syntax(bool shared)
    : shared_(shared),
      limits_{
          .name_length = NAME_LENGTH,
          .columns = MAX_COLUMNS,
          .row_size = ROW_SIZE,
          .own_columns = {"tableoid", "xmin", "cmin", "xmax", "cmax", "ctid"},
          .own_prefix = {},
          .table_twin = {}} {}

std::string postgresql_syntax::type_name(const table_column& column) const {
  switch (column.kind) {
    case column_kind::integer:
      return "bigint";
    case column_kind::natural:
    case column_kind::decimal:
      return "numeric";
    case column_kind::real:
      return "double precision";
    case column_kind::bytes:
      return "bytea";
    case column_kind::time:
      return "timestamptz";
    default:
      return "text";
  }
}

std::size_t postgresql_syntax::column_size(const table_column& column) const {
  switch (column.kind) {
    case column_kind::integer:
    case column_kind::real:
    case column_kind::time:
      return FIXED_SIZE;
    case column_kind::bytes:
    case column_kind::text:
      if (column.size == 0) break;
      return std::min(column.size + LENGTH_SIZE, LONGEST_SIZE) + GAP_SIZE;
    default:
      break;
  }
  return LONGEST_SIZE + GAP_SIZE;
}

std::vector<std::string> postgresql_syntax::own_tables() const {
  return {"chronex whole", "chronex cut"};
}

std::string postgresql_syntax::head() const {
  return std::string(HEAD) + (shared_ ? SHARED_HEAD : "");
}

std::string postgresql_syntax::create(const table_form& table) const {
  std::string text = "CREATE TABLE ";
  if (shared_) text += "IF NOT EXISTS ";
  text += quoted_identifier(table.name);
  const char* separator = "(";
  for (const table_column& column : table.columns) {
    const bool is_key = table.has_key && &column == &table.columns.front();
    text += separator + quoted_identifier(column.name) + ' ' +
            type_name(column) + (is_key ? " PRIMARY KEY" : "");
    separator = ", ";
  }
  text += ");\n";
  return shared_ ? text + check(table) : text;
}

// What refuses a table that is there with other columns.
std::string postgresql_syntax::check(const table_form& table) const {
  std::string names;
  std::string types;
  for (const table_column& column : table.columns) {
    const char* const separator = names.empty() ? "" : ", ";
    names += separator + quoted_literal(column.name);
    types += separator + quoted_literal(type_name(column));
  }
  return "CALL pg_temp.check_columns(" + quoted_literal(table.name) +
         ", ARRAY[" + names + "], ARRAY[" + types + "]::regtype[]);\n";
}

std::string postgresql_syntax::index_records(const table_form& table,
                                             const std::string& name) const {
  return "CREATE INDEX IF NOT EXISTS " + quoted_identifier(name) + " ON " +
         quoted_identifier(table.name) + '(' +
         quoted_identifier(table.columns[table.record - 1].name) + ");\n";
}

std::string postgresql_syntax::tail() const { return TAIL; }

std::string postgresql_syntax::block_begin(const table_form& table) const {
  std::string text = "COPY " + quoted_identifier(table.name);
  const char* separator = "(";
  for (const table_column& column : table.columns) {
    text += separator + quoted_identifier(column.name);
    separator = ", ";
  }
  return text + ") FROM stdin;\n";
}

std::string_view postgresql_syntax::block_end() const { return "\\.\n"; }

const row_marks& postgresql_syntax::marks() const {
  static constexpr row_marks MARKS = {.between_rows = "",
                                      .begin = "",
                                      .between_values = "\t",
                                      .end = "\n",
                                      .null = "\\N"};
  return MARKS;
}

void postgresql_syntax::append_decimal(std::string& out,
                                       const table_column& /*column*/,
                                       std::string_view digits) const {
  out += digits;
}

void postgresql_syntax::append_real(std::string& out, double number) const {
  std::array<char, 32> text;
  const char* const end =
      std::to_chars(text.data(), text.data() + text.size(), number).ptr;
  out += std::string_view(text.data(), end);
}

void postgresql_syntax::append_time(std::string& out,
                                    const row_time& time) const {
  out += time.text;
  out += "+00";
}

void postgresql_syntax::append_text(std::string& out,
                                    std::string_view utf8) const {
  ESCAPES.append(out, utf8);
}

void postgresql_syntax::append_bytes(
    std::string& out, std::span<const std::uint8_t> bytes) const {
  out += "\\\\x";
  const std::size_t begin = out.size();
  out.resize(begin + bytes.size() * 2);
  put_hex_digits(bytes, out.data() + begin);
}
