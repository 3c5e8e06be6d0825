#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SCRIPT_SCRIPT_ENGINE_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SCRIPT_SCRIPT_ENGINE_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "util/chronex_trail/files/byte_sink.h"
#include "util/chronex_trail/script/script_blocks.h"
#include "util/chronex_trail/script/script_sessions.h"
#include "util/chronex_trail/script/script_syntax.h"
#include "util/chronex_trail/sql/engine.h"

// The numbers and ids of a segment begin behind its number times this.
inline constexpr std::int64_t SEGMENT_NUMBERS = 1'000'000'000'000;
inline constexpr std::int64_t MAX_SEGMENT = 1'000'000;

// A trail's tables as a script for an engine's client.
class script_engine : public sql_engine {
 public:
  // Both stay the caller's. `segment` makes numbers and ids those of a part of
  // a trail; 0: it is all of one.
  script_engine(byte_sink& sink, const script_syntax& syntax,
                std::int64_t segment)
      : syntax_(syntax), segment_(segment), blocks_(sink, syntax) {}

  const engine_limits& limits() const override { return syntax_.limits(); }
  std::string type_name(const table_column& column) const override {
    return syntax_.type_name(column);
  }
  std::size_t column_size(const table_column& column) const override {
    return syntax_.column_size(column);
  }

  start_numbers begin(const std::vector<table_form>& tables) override;
  known_data_sets known() override {
    return {.data_sets = {}, .table_names = own_names()};
  }
  std::vector<std::string> own_names() const override;
  bool joins_pieces() const override { return true; }
  void create(const table_form& table) override;
  std::unique_ptr<row_writer> open(const table_form& table,
                                   std::size_t row_size) override;
  void index_records(const table_form& table, const std::string& name) override;
  session_rows& sessions() override { return *sessions_; }
  void finish_rows() override;
  void commit() override;

 private:
  const script_syntax& syntax_;
  const std::int64_t segment_;
  script_blocks blocks_;
  std::unique_ptr<session_rows> sessions_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SCRIPT_SCRIPT_ENGINE_H
