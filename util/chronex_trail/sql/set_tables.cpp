#include "util/chronex_trail/sql/set_tables.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

#include "util/chronex_trail/values/data_set_name.h"
#include "util/chronex_trail/values/text_origin.h"

namespace {

// No name has this character.
constexpr char SEPARATOR = '\0';

// The engine keeps these names for itself.
constexpr std::string_view RESERVED_PREFIX = "sqlite_";

std::string decoded(std::string_view bytes, int charset) {
  text_scratch scratch;
  return std::string(
      decode_text(bytes, character_table_of(charset), scratch).utf8);
}

// One item as the tables `item` has it, but for its columns.
struct item_row {
  std::int64_t position = 0;
  std::string name;
  std::string type;
  std::int64_t elements = 0;
  std::int64_t size = 0;
  std::int64_t format = 0;

  // Items are the same when this is.
  std::string form() const {
    std::string text = name;
    for (const std::string& part :
         {type, std::to_string(position), std::to_string(elements),
          std::to_string(size), std::to_string(format)}) {
      text += SEPARATOR + part;
    }
    return text + SEPARATOR;
  }
};

// The rows of the items that have columns.
std::vector<item_row> rows_of(const set_context& schema, const set_piece& set) {
  std::vector<item_row> rows;
  std::int64_t position = 0;
  for (const item_descriptor& item : schema.item_list()) {
    ++position;
    if (rows.size() == set.items.size()) break;
    const item_view& view = set.items[rows.size()].item;
    if (view.offset != item.offset) continue;
    rows.push_back({.position = position,
                    .name = view.name,
                    .type = decoded({&view.type, 1}, set.charset),
                    .elements = item.count,
                    .size = item.size,
                    .format = item.fmt});
  }
  return rows;
}

std::string form_of_items(std::int64_t record_size,
                          const std::vector<item_row>& rows) {
  std::string form = std::to_string(record_size) + SEPARATOR;
  for (const item_row& row : rows) form += row.form();
  return form;
}

std::size_t column_count(const column_plan& plan) {
  return std::size(FIXED_COLUMNS) + 2 * plan.pairs.size() +
         (plan.has_more ? 2 : 0);
}

std::size_t size_of(const set_table& table) {
  std::size_t size = sizeof table;
  for (const column_pair& pair : table.plan.pairs) {
    size += sizeof pair + pair.name.capacity() + pair.before_name.capacity();
  }
  return size + table.rows.footprint();
}

// About what the texts of a row take: two images, and the time.
std::size_t row_size(const set_context& schema) {
  constexpr std::size_t TIME_SIZE = 19;
  return 2 * static_cast<std::size_t>(schema.rec_sz) + TIME_SIZE;
}

void bind_item(sql_statement& statement, std::int64_t data_set,
               const item_row& row) {
  statement.clear();
  statement.bind(1, data_set);
  statement.bind(2, row.position);
  statement.bind_text(3, row.name);
  statement.bind_text(4, row.type);
  statement.bind(5, row.elements);
  statement.bind(6, row.size);
  statement.bind(7, row.format);
}

}  // namespace

std::string set_tables::set_name::full() const {
  return has_database ? database + '.' + name : name;
}

std::string set_tables::set_name::key() const {
  return (has_database ? "+" : "-") + database + SEPARATOR + name + SEPARATOR;
}

set_tables::set_name set_tables::name_of(const node_entry& node,
                                         const set_piece& set,
                                         bool from_audit_file) {
  const data_set_name name = data_set_name_of(node, from_audit_file);
  set_name made;
  made.has_database = name.database.has_value();
  if (name.database) made.database = decoded(*name.database, set.charset);
  made.name = decoded(name.data_set, set.charset);
  return made;
}

void set_tables::remember(const set_name& name, const std::string& form,
                          std::int64_t node, const known_form& known,
                          std::int64_t data_set) {
  const std::string key = name.key() + form;
  forms_[key] = known;
  data_sets_[key + std::to_string(node)] = data_set;
  std::int64_t& version = versions_[name.key()];
  version = std::max(version, known.version);
  last_data_set_ = std::max(last_data_set_, data_set);
}

void set_tables::load_names() {
  sql_statement names = database_.prepare("SELECT name FROM sqlite_master");
  while (names.step()) table_names_.take(names.text(0));
}

void set_tables::load() {
  load_names();
  sql_statement sets = database_.prepare(
      "SELECT id, database, name, node, version, table_name, record_size,"
      " database IS NOT NULL FROM data_set");
  sql_statement items = database_.prepare(
      "SELECT DISTINCT position, name, type, elements, size, format"
      " FROM item WHERE data_set = ? ORDER BY position");
  while (sets.step()) {
    std::vector<item_row> rows;
    items.bind(1, sets.integer(0));
    while (items.step()) {
      rows.push_back({items.integer(0), std::string(items.text(1)),
                      std::string(items.text(2)), items.integer(3),
                      items.integer(4), items.integer(5)});
    }
    remember({.database = std::string(sets.text(1)),
              .has_database = sets.integer(7) != 0,
              .name = std::string(sets.text(2))},
             form_of_items(sets.integer(6), rows), sets.integer(3),
             {std::string(sets.text(5)), sets.integer(4)}, sets.integer(0));
  }
}

void set_tables::create_table(const std::string& name,
                              const column_plan& plan) {
  std::string text = "CREATE TABLE " + quoted_identifier(name) +
                     "(_n INTEGER PRIMARY KEY, _ts TEXT, _op TEXT,"
                     " _recno INTEGER, _session INTEGER";
  for (const column_pair& pair : plan.pairs) {
    const std::string type = column_type_name(pair.kind);
    text += ", " + quoted_identifier(pair.name) + ' ' + type;
    text += ", " + quoted_identifier(pair.before_name) + ' ' + type;
  }
  if (plan.has_more) text += ", _more TEXT, _more_before TEXT";
  database_.run(text + ')');
  new_tables_.push_back(name);
}

const set_tables::known_form& set_tables::form_of(const set_name& name,
                                                  const std::string& form,
                                                  const column_plan& plan) {
  const auto known = forms_.find(name.key() + form);
  if (known != forms_.end()) return known->second;
  const std::int64_t version = versions_[name.key()] + 1;
  std::string wanted = name.full();
  if (sqlite3_strnicmp(wanted.c_str(), RESERVED_PREFIX.data(),
                       RESERVED_PREFIX.size()) == 0) {
    wanted.insert(0, "_");
  }
  if (version > 1) wanted += '@' + std::to_string(version);
  const std::string table_name = table_names_.make_free(wanted);
  create_table(table_name, plan);
  versions_[name.key()] = version;
  return forms_[name.key() + form] = {table_name, version};
}

void set_tables::insert_items(std::int64_t data_set, const node_entry& node,
                              const set_piece& set, const column_plan& plan) {
  sql_statement insert = database_.prepare(
      "INSERT INTO item VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
  const std::vector<item_row> rows = rows_of(*node.set, set);
  for (const column_pair& pair : plan.pairs) {
    bind_item(insert, data_set, rows[pair.item]);
    if (set.items[pair.item].item.count > 1 &&
        pair.kind != column_kind::array) {
      insert.bind(8, static_cast<std::int64_t>(pair.element) + 1);
    }
    insert.bind_text(9, pair.name);
    insert.bind_text(10, pair.before_name);
    insert.bind_text(11, column_type_name(pair.kind));
    insert.run();
  }
  for (std::size_t i = plan.first_more; i < rows.size(); ++i) {
    bind_item(insert, data_set, rows[i]);
    insert.bind_text(9, MORE_COLUMN);
    insert.bind_text(10, MORE_BEFORE_COLUMN);
    insert.bind_text(11, "TEXT");
    insert.run();
  }
}

std::int64_t set_tables::data_set_of(const node_entry& node,
                                     const set_name& name,
                                     const std::string& form,
                                     const set_piece& set,
                                     const column_plan& plan) {
  const auto known =
      data_sets_.find(name.key() + form + std::to_string(node.node_id));
  if (known != data_sets_.end()) return known->second;
  const known_form table = form_of(name, form, plan);
  const std::int64_t id = last_data_set_ + 1;
  sql_statement insert =
      database_.prepare("INSERT INTO data_set VALUES(?, ?, ?, ?, ?, ?, ?)");
  insert.bind(1, id);
  if (name.has_database) insert.bind_text(2, name.database);
  insert.bind_text(3, name.name);
  insert.bind(4, node.node_id);
  insert.bind(5, table.version);
  insert.bind_text(6, table.table_name);
  insert.bind(7, node.set->rec_sz);
  insert.run();
  insert_items(id, node, set, plan);
  remember(name, form, node.node_id, table, id);
  return id;
}

std::unique_ptr<set_table> set_tables::make(const node_entry& node,
                                            const set_piece& set,
                                            const event_place& place) {
  auto table = std::make_unique<set_table>();
  table->schema_id = set.schema_id;
  table->charset = set.charset;
  table->names_version = node.table->names_version();
  table->from_audit_file = is_in_audit_file(place);
  table->plan = plan_columns(set);
  const set_name name = name_of(node, set, table->from_audit_file);
  const std::string form =
      form_of_items(node.set->rec_sz, rows_of(*node.set, set));
  table->data_set = data_set_of(node, name, form, set, table->plan);
  table->rows.prepare(
      database_, quoted_identifier(form_of(name, form, table->plan).table_name),
      static_cast<int>(column_count(table->plan)), row_size(*node.set));
  table->size = size_of(*table);
  return table;
}

set_table& set_tables::of(const node_entry& node, const set_piece& set,
                          const event_place& place) {
  set_table* const kept = kept_.at(set.schema_id);
  if (kept != nullptr && kept->schema_id == set.schema_id &&
      kept->charset == set.charset &&
      kept->names_version == node.table->names_version() &&
      kept->from_audit_file == is_in_audit_file(place)) {
    return *kept;
  }
  // The new one may take the place of any that has rows to insert.
  flush();
  return kept_.put(set.schema_id, make(node, set, place));
}

void set_tables::make_indexes() {
  for (const std::string& table : new_tables_) {
    const std::string name = table_names_.make_free(table + " by record");
    database_.run("CREATE INDEX " + quoted_identifier(name) + " ON " +
                  quoted_identifier(table) + "(_recno)");
  }
  new_tables_.clear();
}

void set_tables::flush() {
  kept_.for_each([](set_table& table) { table.rows.flush(); });
}

void set_tables::finish() {
  flush();
  kept_.clear();
  make_indexes();
}
