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
#include "util/chronex_trail/sql/database.h"
#include "util/chronex_trail/sql/identifiers.h"
#include "util/chronex_trail/sql/row_batch.h"

// A data set's table, ready to take rows.
struct set_table {
  // What it was made for, as in set_piece.
  std::uint64_t schema_id = 0;
  int charset = 0;
  std::uint64_t names_version = 0;
  bool from_audit_file = false;

  // data_set.id
  std::int64_t data_set = 0;
  column_plan plan;
  row_batch rows;

  // Bytes that it took when it was made.
  std::size_t size = 0;
  std::size_t footprint() const { return size; }
};

class set_tables {
 public:
  explicit set_tables(sql_database& database) : database_(database) {}

  // Learns what is in the database already. The tables of its own must be.
  void load();

  // The table of a data set in an event at that place, made if it is not there;
  // valid until the next call.
  set_table& of(const node_entry& node, const set_piece& set,
                const event_place& place);

  // Inserts all rows and lets go of all statements, and makes the indexes of
  // tables that are new.
  void finish();

 private:
  // The name of a data set, in UTF-8.
  struct set_name {
    std::string database;
    bool has_database = false;
    std::string name;

    std::string full() const;
    // Different for all names.
    std::string key() const;
  };
  struct known_form {
    std::string table_name;
    std::int64_t version = 0;
  };

  static set_name name_of(const node_entry& node, const set_piece& set,
                          bool from_audit_file);
  void load_names();
  void make_indexes();
  void flush();
  void remember(const set_name& name, const std::string& form,
                std::int64_t node, const known_form& known,
                std::int64_t data_set);
  std::unique_ptr<set_table> make(const node_entry& node, const set_piece& set,
                                  const event_place& place);
  std::int64_t data_set_of(const node_entry& node, const set_name& name,
                           const std::string& form, const set_piece& set,
                           const column_plan& plan);
  const known_form& form_of(const set_name& name, const std::string& form,
                            const column_plan& plan);
  void create_table(const std::string& name, const column_plan& plan);
  void insert_items(std::int64_t data_set, const node_entry& node,
                    const set_piece& set, const column_plan& plan);

  static constexpr std::size_t KEPT_BYTES = std::size_t{8} << 20;

  sql_database& database_;
  piece_cache<set_table> kept_{KEPT_BYTES};
  identifier_set table_names_;
  // Under name and form; under these and the node; and under the name how many
  // forms there are.
  std::unordered_map<std::string, known_form> forms_;
  std::unordered_map<std::string, std::int64_t> data_sets_;
  std::unordered_map<std::string, std::int64_t> versions_;
  std::int64_t last_data_set_ = 0;
  std::vector<std::string> new_tables_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SQL_SET_TABLES_H
