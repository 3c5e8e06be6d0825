#include "util/chronex_trail/script/script_engine.h"

#include "util/chronex_trail/sql/trail_tables.h"

start_numbers script_engine::begin(const std::vector<table_form>& tables) {
  blocks_.write(syntax_.head());
  for (const table_form& table : tables) create(table);
  sessions_ = std::make_unique<script_sessions>(syntax_, blocks_,
                                                tables[SESSION_TABLE]);
  const std::int64_t start = segment_ * SEGMENT_NUMBERS;
  return {.n = start, .input = start, .session = start, .data_set = start};
}

known_data_sets script_engine::known() {
  known_data_sets known{.data_sets = {}, .table_names = syntax_.own_tables()};
  for (const table_form& table : trail_tables()) {
    known.table_names.push_back(table.name);
  }
  return known;
}

void script_engine::create(const table_form& table) {
  blocks_.write(syntax_.create(table));
}

std::unique_ptr<row_writer> script_engine::open(const table_form& table,
                                                std::size_t /*row_size*/) {
  return std::make_unique<script_rows>(syntax_, blocks_, table);
}

void script_engine::index_records(const table_form& table,
                                  const std::string& name) {
  const std::string statement = syntax_.index_records(table, name);
  if (statement.empty()) return;
  // Rows that come behind it take longer.
  blocks_.flush();
  blocks_.write(statement);
}

void script_engine::finish_rows() {
  sessions_->finish();
  blocks_.flush();
}

void script_engine::commit() {
  blocks_.flush();
  blocks_.write(syntax_.tail());
}
