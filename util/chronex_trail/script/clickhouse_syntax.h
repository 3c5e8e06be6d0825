#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SCRIPT_CLICKHOUSE_SYNTAX_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SCRIPT_CLICKHOUSE_SYNTAX_H

#include <string>

#include "util/chronex_trail/script/script_syntax.h"

// Scripts for clickhouse-client --multiquery, each statement a line.
//
// With a cluster each table is two: NAME@local keeps the rows of one shard, and
// NAME is all of them, distributed by record, or by key.
class clickhouse_syntax : public script_syntax {
 public:
  // `shared`: the tables may be there already, with rows of other segments.
  // `cluster` may be empty: none.
  clickhouse_syntax(bool shared, std::string cluster);

  const engine_limits& limits() const override { return limits_; }
  std::string type_name(const table_column& column) const override;
  std::size_t column_size(const table_column& /*column*/) const override {
    return 0;
  }

  std::string head() const override;
  std::string create(const table_form& table) const override;
  std::string index_records(const table_form& /*table*/,
                            const std::string& /*name*/) const override {
    return {};
  }
  std::string tail() const override { return {}; }

  std::string block_begin(const table_form& table) const override;
  std::string_view block_end() const override { return ";\n"; }
  const row_marks& marks() const override;

  void append_decimal(std::string& out, const table_column& column,
                      std::string_view digits) const override;
  void append_real(std::string& out, double number) const override;
  void append_time(std::string& out, const row_time& time) const override;
  void append_text(std::string& out, std::string_view utf8) const override;
  void append_bytes(std::string& out,
                    std::span<const std::uint8_t> bytes) const override;

 private:
  std::string create_with(const std::string& name, const table_form& table,
                          const std::string& engine) const;
  std::string distributed(const table_form& table) const;
  std::string check(const table_form& table) const;

  const bool shared_;
  const std::string cluster_;
  const engine_limits limits_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SCRIPT_CLICKHOUSE_SYNTAX_H
