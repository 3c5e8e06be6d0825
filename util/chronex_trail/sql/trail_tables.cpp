#include "util/chronex_trail/sql/trail_tables.h"

#include <utility>

namespace {

constexpr auto NUMBER = column_kind::integer;
constexpr auto TEXT = column_kind::text;
constexpr auto JSON = column_kind::json;
constexpr auto TIME = column_kind::time;

table_column required(const char* name, column_kind kind) {
  return {.name = name, .kind = kind, .is_required = true};
}

table_column id(const char* name) { return required(name, NUMBER); }

table_form table(const char* name, std::vector<table_column> columns) {
  return {.name = name, .columns = std::move(columns)};
}

// A table in which a number may come twice.
table_form list(const char* name, std::vector<table_column> columns) {
  table_form made = table(name, std::move(columns));
  made.has_key = false;
  return made;
}

table_form change_table() {
  constexpr std::size_t RECNO = 5;
  table_form made = table("change", {id("n"),
                                     required("ts", TIME),
                                     required("op", TEXT),
                                     id("data_set"),
                                     id("recno"),
                                     id("session"),
                                     {"input", NUMBER},
                                     {"generation", NUMBER},
                                     {"sequence", NUMBER},
                                     {"action", NUMBER},
                                     {"memo_begin", TEXT},
                                     {"memo_end", TEXT},
                                     {"memo_text", TEXT},
                                     {"changed", JSON},
                                     {"notes", JSON}});
  made.record = RECNO;
  return made;
}

table_form session_table_form() {
  return table("session", {id("id"),
                           {"session_id", NUMBER},
                           {"user", TEXT},
                           {"program", TEXT},
                           {"host", TEXT},
                           {"connected", TIME},
                           {"attributes", JSON},
                           {"first_n", NUMBER},
                           {"last_n", NUMBER},
                           {"signed_off_n", NUMBER}});
}

table_form item_table() {
  return list("item", {id("data_set"),
                       {"position", NUMBER},
                       {"name", TEXT},
                       {"type", TEXT},
                       {"elements", NUMBER},
                       {"size", NUMBER},
                       {"format", NUMBER},
                       {"element", NUMBER},
                       {"column_name", TEXT},
                       {"before_column", TEXT},
                       {"column_type", TEXT}});
}

std::vector<table_form> make_tables() {
  return {table("input", {id("id"),
                          {"name", TEXT},
                          {"format", TEXT},
                          {"generation", NUMBER},
                          {"sequence", NUMBER},
                          {"character_set", TEXT},
                          {"size", NUMBER},
                          {"sha256", TEXT}}),
          session_table_form(),
          table("data_set", {id("id"),
                             {"database", TEXT},
                             {"name", TEXT},
                             {"node", NUMBER},
                             {"version", NUMBER},
                             {"table_name", TEXT},
                             {"record_size", NUMBER}}),
          item_table(),
          change_table(),
          table("memo", {id("n"),
                         required("ts", TIME),
                         id("session"),
                         {"mode", TEXT},
                         {"text", TEXT}}),
          table("notice", {id("n"),
                           {"type", TEXT},
                           {"kind", TEXT},
                           {"input", NUMBER},
                           {"text", TEXT},
                           {"found", NUMBER},
                           {"expected", NUMBER},
                           {"missing", NUMBER}}),
          list("run", {{"version", TEXT},
                       {"options", JSON},
                       {"started", TIME},
                       {"finished", TIME},
                       {"changes", NUMBER},
                       {"gaps", NUMBER},
                       {"warnings", NUMBER},
                       {"status", NUMBER}})};
}

}  // namespace

const std::vector<table_form>& trail_tables() {
  static const std::vector<table_form> tables = make_tables();
  return tables;
}

std::vector<std::string> names_of_trail_tables() {
  std::vector<std::string> names;
  for (const table_form& table : trail_tables()) names.push_back(table.name);
  return names;
}
