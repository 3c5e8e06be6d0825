#include "util/chronex_trail/script/clickhouse_syntax.h"

#include <utility>

#include "util/chronex_trail/script/clickhouse_real.h"
#include "util/chronex_trail/script/escapes.h"
#include "util/chronex_trail/values/item_value.h"

namespace {

// Names become names of files, in which most characters take three.
constexpr std::size_t NAME_LENGTH = 63;
constexpr std::size_t MAX_COLUMNS = 1900;

constexpr std::size_t MOST_DIGITS = 38;

constexpr const char* LOCAL_SUFFIX = "@local";

// Statements that make wide tables are long. What is inserted shall be on its
// shard when the statement ends.
constexpr const char* HEAD =
    R"sql(-- A trail for clickhouse-client --multiquery, whole when it ends with the row of run.
SET max_query_size = 16777216;
SET insert_distributed_sync = 1;
)sql";

constexpr backslash_escapes TEXT_ESCAPES = {
    {'\\', '\\'}, {'\'', '\''}, {'\b', 'b'}, {'\f', 'f'},
    {'\n', 'n'},  {'\r', 'r'},  {'\t', 't'}};
constexpr backslash_escapes NAME_ESCAPES = {
    {'\\', '\\'}, {'`', '`'},  {'\b', 'b'}, {'\f', 'f'},
    {'\n', 'n'},  {'\r', 'r'}, {'\t', 't'}};

std::string quoted_name(std::string_view name) {
  std::string quoted = "`";
  NAME_ESCAPES.append(quoted, name);
  return quoted + '`';
}

std::string quoted_text(std::string_view utf8) {
  std::string quoted = "'";
  TEXT_ESCAPES.append(quoted, utf8);
  return quoted + '\'';
}

// What rows are sorted by.
std::string order_of(const table_form& table) {
  const std::string first = quoted_name(table.columns.front().name);
  if (table.record > 0) {
    return '(' + quoted_name(table.columns[table.record - 1].name) + ", " +
           first + ')';
  }
  return table.columns.front().is_required ? first : "tuple()";
}

// What says on which shard a row is.
std::string shard_of(const table_form& table) {
  if (table.record > 0) {
    return quoted_name(table.columns[table.record - 1].name);
  }
  return table.has_key ? quoted_name(table.columns.front().name) : "rand()";
}

bool is_plain(std::uint8_t byte) {
  return byte >= ' ' && byte < 0x7F && byte != '\'' && byte != '\\';
}

}  // namespace

clickhouse_syntax::clickhouse_syntax(bool shared, std::string cluster)
    : shared_(shared),
      cluster_(std::move(cluster)),
      limits_{.name_length = NAME_LENGTH,
              .columns = MAX_COLUMNS,
              .own_columns = {"_part", "_part_index", "_partition_id",
                              "_sample_factor", "_shard_num", "_table"},
              .own_prefix = {},
              .table_twin = cluster_.empty() ? "" : LOCAL_SUFFIX} {}

std::string clickhouse_syntax::type_name(const table_column& column) const {
  const auto made = [&column](const std::string& type) {
    return column.is_required ? type : "Nullable(" + type + ')';
  };
  switch (column.kind) {
    case column_kind::integer:
      return made("Int64");
    case column_kind::natural:
      return made("UInt64");
    case column_kind::decimal:
      return made(column.size > MOST_DIGITS ? "String" : "Decimal(38, 0)");
    case column_kind::real:
      return made("Float64");
    case column_kind::time:
      return made("DateTime('UTC')");
    default:
      return made("String");
  }
}

std::string clickhouse_syntax::head() const { return HEAD; }

std::string clickhouse_syntax::create_with(const std::string& name,
                                           const table_form& table,
                                           const std::string& engine) const {
  std::string text = "CREATE TABLE ";
  if (shared_ || !cluster_.empty()) text += "IF NOT EXISTS ";
  text += quoted_name(name);
  const char* separator = "(";
  for (const table_column& column : table.columns) {
    text += separator + quoted_name(column.name) + ' ' + type_name(column);
    separator = ", ";
  }
  return text + ") ENGINE = " + engine + ";\n";
}

std::string clickhouse_syntax::distributed(const table_form& table) const {
  return "Distributed(" + quoted_text(cluster_) + ", currentDatabase(), " +
         quoted_text(table.name + LOCAL_SUFFIX) + ", " + shard_of(table) + ')';
}

std::string clickhouse_syntax::create(const table_form& table) const {
  const std::string rows = "MergeTree() ORDER BY " + order_of(table);
  const std::string checked = shared_ ? check(table) : "";
  if (cluster_.empty()) return create_with(table.name, table, rows) + checked;
  return create_with(table.name + LOCAL_SUFFIX, table, rows) +
         create_with(table.name, table, distributed(table)) + checked;
}

// What refuses a table that is there with other columns. The server's message
// about what is no number shows the text.
std::string clickhouse_syntax::check(const table_form& table) const {
  std::string columns;
  for (const table_column& column : table.columns) {
    if (!columns.empty()) columns += ", ";
    columns += quoted_text(column.name + ' ' + type_name(column));
  }
  return "SELECT toUInt8(if(arraySort(groupArray(concat(name, ' ', type))) = "
         "arraySort([" +
         columns + "]), '0', " +
         quoted_text("The table " + table.name +
                     " has other columns: load this script into a database of "
                     "its own") +
         ")) FROM system.columns WHERE database = currentDatabase() AND "
         "table = " +
         quoted_text(table.name) + " FORMAT Null;\n";
}

std::string clickhouse_syntax::block_begin(const table_form& table) const {
  std::string text = "INSERT INTO " + quoted_name(table.name);
  const char* separator = "(";
  for (const table_column& column : table.columns) {
    text += separator + quoted_name(column.name);
    separator = ", ";
  }
  return text + ") VALUES ";
}

const row_marks& clickhouse_syntax::marks() const {
  static constexpr row_marks MARKS = {.between_rows = ",",
                                      .begin = "(",
                                      .between_values = ",",
                                      .end = ")",
                                      .null = "NULL"};
  return MARKS;
}

void clickhouse_syntax::append_decimal(std::string& out,
                                       const table_column& column,
                                       std::string_view digits) const {
  const bool is_text = column.size > MOST_DIGITS;
  if (is_text) out += '\'';
  out += digits;
  if (is_text) out += '\'';
}

void clickhouse_syntax::append_real(std::string& out, double number) const {
  append_clickhouse_real(out, number);
}

// As a number: the reader of texts has no calendar behind the year 2105.
void clickhouse_syntax::append_time(std::string& out,
                                    const row_time& time) const {
  out += std::to_string(time.seconds);
}

void clickhouse_syntax::append_text(std::string& out,
                                    std::string_view utf8) const {
  out += '\'';
  TEXT_ESCAPES.append(out, utf8);
  out += '\'';
}

void clickhouse_syntax::append_bytes(
    std::string& out, std::span<const std::uint8_t> bytes) const {
  out += '\'';
  for (const std::uint8_t& byte : bytes) {
    if (is_plain(byte)) {
      out += static_cast<char>(byte);
      continue;
    }
    out += "\\x";
    out.resize(out.size() + 2);
    put_hex_digits({&byte, 1}, out.data() + out.size() - 2);
  }
  out += '\'';
}
