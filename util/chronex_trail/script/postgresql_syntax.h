#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SCRIPT_POSTGRESQL_SYNTAX_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SCRIPT_POSTGRESQL_SYNTAX_H

#include <string>
#include <vector>

#include "util/chronex_trail/script/script_syntax.h"

// Scripts for psql: one transaction, with the rows in COPY blocks.
class postgresql_syntax : public script_syntax {
 public:
  // `shared`: the tables may be there already, with rows of other segments.
  explicit postgresql_syntax(bool shared);

  const engine_limits& limits() const override { return limits_; }
  std::string type_name(const table_column& column) const override;
  std::size_t column_size(const table_column& column) const override;
  std::vector<std::string> own_tables() const override;

  std::string head() const override;
  std::string create(const table_form& table) const override;
  std::string index_records(const table_form& table,
                            const std::string& name) const override;
  std::string tail() const override;

  std::string block_begin(const table_form& table) const override;
  std::string_view block_end() const override;
  const row_marks& marks() const override;

  void append_decimal(std::string& out, const table_column& column,
                      std::string_view digits) const override;
  void append_real(std::string& out, double number) const override;
  void append_time(std::string& out, const row_time& time) const override;
  void append_text(std::string& out, std::string_view utf8) const override;
  void append_bytes(std::string& out,
                    std::span<const std::uint8_t> bytes) const override;

 private:
  std::string check(const table_form& table) const;

  const bool shared_;
  const engine_limits limits_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SCRIPT_POSTGRESQL_SYNTAX_H
