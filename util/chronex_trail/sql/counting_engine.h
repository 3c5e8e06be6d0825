#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SQL_COUNTING_ENGINE_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SQL_COUNTING_ENGINE_H

#include <memory>
#include <string>
#include <vector>

#include "util/chronex_trail/sql/engine.h"
#include "util/chronex_trail/sql/trail_tables.h"

// Keeps nothing but which data sets there were. Names of tables mean nothing
// here, as engines take names of different lengths.
class counting_engine : public sql_engine {
 public:
  const engine_limits& limits() const override { return limits_; }
  std::string type_name(const table_column& /*column*/) const override {
    return {};
  }
  start_numbers begin(const std::vector<table_form>& /*tables*/) override {
    return {};
  }
  known_data_sets known() override { return {}; }
  std::vector<std::string> own_names() const override { return {}; }
  void create(const table_form& /*table*/) override {}
  std::unique_ptr<row_writer> open(const table_form& table,
                                   std::size_t row_size) override;
  void index_records(const table_form& /*table*/,
                     const std::string& /*name*/) override {}
  // Is never asked for.
  session_rows& sessions() override { throw sql_error("no rows of sessions"); }
  void finish_rows() override {}
  void commit() override {}
  void noted(const known_data_set& set) override { data_sets_.push_back(set); }

  const std::vector<known_data_set>& data_sets() const { return data_sets_; }

 private:
  const engine_limits limits_{.name_length = 255,
                              .columns = 1,
                              .own_columns = {},
                              .own_prefix = {},
                              .table_twin = {}};
  std::vector<known_data_set> data_sets_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SQL_COUNTING_ENGINE_H
