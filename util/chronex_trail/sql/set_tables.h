#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SQL_SET_TABLES_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SQL_SET_TABLES_H

// The tables of data sets. Data sets of one name and schema have a table
// together; a schema that has changed has a table of its own, and one that
// returns to what it was has its earlier table.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "util/chronex/tables/event_place.h"
#include "util/chronex/tables/node.h"
#include "util/chronex_trail/json/piece_cache.h"
#include "util/chronex_trail/json/set_piece.h"
#include "util/chronex_trail/sql/columns.h"
#include "util/chronex_trail/sql/engine.h"
#include "util/chronex_trail/sql/identifiers.h"
#include "util/chronex_trail/sql/known_data_sets.h"
#include "util/chronex_trail/sql/row_writer.h"

// A data set's table, ready to take rows.
struct set_table {
  // What it was made for, as in set_piece.
  std::uint64_t schema_id = 0;
  int charset = 0;
  int names_charset = 0;
  std::uint64_t names_version = 0;
  bool from_audit_file = false;

  // data_set.id
  std::int64_t data_set = 0;
  column_plan plan;
  std::unique_ptr<row_writer> rows;

  // Bytes that it took when it was made.
  std::size_t size = 0;
  std::size_t footprint() const { return size; }
};

class set_tables {
 public:
  explicit set_tables(sql_engine& engine)
      : engine_(engine), table_names_(engine.limits().name_length) {}

  // Learns what is there already, and the highest data_set.id. The tables that
  // every trail has must be.
  void begin(std::int64_t last_data_set);
  // The same for a piece of a trail: the data sets of the pieces in front of it
  // have the ids and tables that they have there. Throws sql_error when what is
  // there is another trail's.
  void begin_piece(const std::vector<known_data_set>& earlier);

  // The table of a data set in an event at that place, made if it is not there;
  // valid until the next call.
  set_table& of(const node_entry& node, const set_piece& set,
                const event_place& place);

  // Inserts all rows, and makes the indexes of tables that are new.
  void add_all();
  // The same, and lets go of all statements.
  void finish();

 private:
  struct known_form {
    std::string table_name;
    std::int64_t version = 0;
    // The table was made.
    bool is_there = false;
  };
  struct known_id {
    std::int64_t id = 0;
    // Its rows in `data_set` and `item` were added.
    bool is_there = false;
  };

  void open_rows();
  void name_earlier(const known_data_set& set);
  void find_earlier(const known_data_set& set);
  void make_indexes();
  void flush();
  void remember(const known_data_set& known);
  std::unique_ptr<set_table> make(const node_entry& node, const set_piece& set,
                                  const event_place& place);
  std::int64_t data_set_of(const node_entry& node, const set_name& name,
                           const std::string& form, const set_piece& set,
                           const column_plan& plan);
  void insert_data_set(const known_data_set& set, const node_entry& node,
                       const set_piece& piece, const column_plan& plan);
  known_form& named_form(const set_name& name, const std::string& form);
  const known_form& form_of(const set_name& name, const std::string& form,
                            const column_plan& plan);
  void bind_columns(const column_pair& pair);
  void insert_items(std::int64_t data_set, const node_entry& node,
                    const set_piece& set, const column_plan& plan);

  static constexpr std::size_t KEPT_BYTES = std::size_t{24} << 20;

  sql_engine& engine_;
  piece_cache<set_table> kept_{KEPT_BYTES};
  identifier_set table_names_;
  // Under name and form; under these and the node; and under the name how many
  // forms there are.
  std::unordered_map<std::string, known_form> forms_;
  std::unordered_map<std::string, known_id> data_sets_;
  std::unordered_map<std::string, std::int64_t> versions_;
  std::int64_t last_data_set_ = 0;
  // Without their columns of items.
  std::vector<table_form> new_tables_;
  std::unique_ptr<row_writer> data_set_rows_;
  std::unique_ptr<row_writer> item_rows_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SQL_SET_TABLES_H
