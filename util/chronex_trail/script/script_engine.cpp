#include "util/chronex_trail/script/script_engine.h"

#include <utility>

#include "util/chronex_trail/sql/trail_tables.h"

start_numbers script_engine::begin(const std::vector<table_form>& tables) {
  blocks_.write(syntax_.head());
  for (const table_form& table : tables) create(table);
  sessions_ = std::make_unique<script_sessions>(syntax_, blocks_,
                                                tables[SESSION_TABLE]);
  const std::int64_t start = segment_ * SEGMENT_NUMBERS;
  return {.n = start, .input = start, .session = start, .data_set = start};
}

std::vector<std::string> script_engine::own_names() const {
  std::vector<std::string> names = names_of_trail_tables();
  for (std::string& name : syntax_.own_tables()) {
    names.push_back(std::move(name));
  }
  return names;
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
