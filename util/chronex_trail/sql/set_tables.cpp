#include "util/chronex_trail/sql/set_tables.h"

#include <strings.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "util/chronex_trail/sql/trail_tables.h"
#include "util/chronex_trail/values/data_set_name.h"
#include "util/chronex_trail/values/text_origin.h"

namespace {

std::string decoded(std::string_view bytes, int charset) {
  text_scratch scratch;
  return std::string(
      decode_text(bytes, character_table_of(charset), scratch).utf8);
}

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
                    .type = decoded({&view.type, 1}, set.names_charset),
                    .elements = item.count,
                    .size = item.size,
                    .format = item.fmt});
  }
  return rows;
}

std::size_t size_of(const set_table& table) {
  std::size_t size = sizeof table;
  for (const column_pair& pair : table.plan.pairs) {
    size += sizeof pair + pair.name.capacity() + pair.before_name.capacity();
  }
  return size + table.rows->footprint();
}

// About what the texts of a row take: two images, and the time.
std::size_t row_size(const set_context& schema) {
  constexpr std::size_t TIME_SIZE = 19;
  return 2 * static_cast<std::size_t>(schema.rec_sz) + TIME_SIZE;
}

void bind_item(row_writer& row, std::int64_t data_set, const item_row& item) {
  row.begin(data_set);
  row.bind(2, item.position);
  row.bind_text(3, item.name);
  row.bind_text(4, item.type);
  row.bind(5, item.elements);
  row.bind(6, item.size);
  row.bind(7, item.format);
}

bool begins_with(std::string_view text, std::string_view prefix) {
  return !prefix.empty() && text.size() >= prefix.size() &&
         strncasecmp(text.data(), prefix.data(), prefix.size()) == 0;
}

set_name name_of(const node_entry& node, bool from_audit_file) {
  const data_set_name name = data_set_name_of(node, from_audit_file);
  set_name made;
  made.has_database = name.database.has_value();
  if (name.database)
    made.database = decoded(*name.database, name.database_charset);
  made.name = decoded(name.data_set, node.charset);
  return made;
}

}  // namespace

void set_tables::remember(const known_data_set& known) {
  const std::string key = known.name.key() + known.form;
  forms_[key] = {known.table_name, known.version, true};
  data_sets_[key + std::to_string(known.node)] = {known.id, true};
  std::int64_t& version = versions_[known.name.key()];
  version = std::max(version, known.version);
  last_data_set_ = std::max(last_data_set_, known.id);
}

void set_tables::open_rows() {
  const std::vector<table_form>& tables = trail_tables();
  data_set_rows_ = engine_.open(tables[DATA_SET_TABLE], 0);
  item_rows_ = engine_.open(tables[ITEM_TABLE], 0);
}

void set_tables::begin(std::int64_t last_data_set) {
  last_data_set_ = last_data_set;
  const known_data_sets known = engine_.known();
  for (const std::string& name : known.table_names) table_names_.take(name);
  for (const known_data_set& set : known.data_sets) remember(set);
  open_rows();
}

void set_tables::name_earlier(const known_data_set& set) {
  named_form(set.name, set.form);
  data_sets_[set.name.key() + set.form + std::to_string(set.node)] = {
      set.id, engine_.joins_pieces()};
  last_data_set_ = std::max(last_data_set_, set.id);
}

// One that an earlier piece has left where this one is added.
void set_tables::find_earlier(const known_data_set& set) {
  const std::string key = set.name.key() + set.form;
  const auto known = data_sets_.find(key + std::to_string(set.node));
  if (known == data_sets_.end() || known->second.id != set.id ||
      forms_[key].table_name != set.table_name) {
    throw sql_error("what is there is no piece in front of this one");
  }
  known->second.is_there = true;
  forms_[key].is_there = true;
}

void set_tables::begin_piece(const std::vector<known_data_set>& earlier) {
  for (const std::string& name : engine_.own_names()) table_names_.take(name);
  for (const known_data_set& set : earlier) name_earlier(set);
  const known_data_sets there = engine_.known();
  for (const known_data_set& set : there.data_sets) find_earlier(set);
  open_rows();
}

// The table, which has a name but need not have been made.
set_tables::known_form& set_tables::named_form(const set_name& name,
                                               const std::string& form) {
  known_form& known = forms_[name.key() + form];
  if (known.version > 0) return known;
  known.version = ++versions_[name.key()];
  std::string wanted = name.full();
  if (begins_with(wanted, engine_.limits().own_prefix)) wanted.insert(0, "_");
  if (known.version > 1) wanted += '@' + std::to_string(known.version);
  known.table_name =
      table_names_.make_free(wanted, engine_.limits().table_twin);
  return known;
}

const set_tables::known_form& set_tables::form_of(const set_name& name,
                                                  const std::string& form,
                                                  const column_plan& plan) {
  known_form& known = named_form(name, form);
  if (known.is_there) return known;
  engine_.create(form_of_table(known.table_name, plan));
  new_tables_.push_back(form_of_table(known.table_name, {}));
  known.is_there = true;
  return known;
}

void set_tables::bind_columns(const column_pair& pair) {
  item_rows_->bind_text(9, pair.name);
  item_rows_->bind_text(10, pair.before_name);
  item_rows_->bind_text(11, engine_.type_name(column_of(pair, false)));
  item_rows_->end();
}

void set_tables::insert_items(std::int64_t data_set, const node_entry& node,
                              const set_piece& set, const column_plan& plan) {
  const std::vector<item_row> rows = rows_of(*node.set, set);
  row_writer& row = *item_rows_;
  for (const column_pair& pair : plan.pairs) {
    bind_item(row, data_set, rows[pair.item]);
    if (set.items[pair.item].item.count > 1 && pair.kind != column_kind::json) {
      row.bind(8, static_cast<std::int64_t>(pair.element) + 1);
    }
    bind_columns(pair);
  }
  for (std::size_t i = plan.first_more; i < rows.size(); ++i) {
    bind_item(row, data_set, rows[i]);
    bind_columns(more_columns());
  }
}

void set_tables::insert_data_set(const known_data_set& set,
                                 const node_entry& node, const set_piece& piece,
                                 const column_plan& plan) {
  row_writer& row = *data_set_rows_;
  row.begin(set.id);
  if (set.name.has_database) row.bind_text(2, set.name.database);
  row.bind_text(3, set.name.name);
  row.bind(4, set.node);
  row.bind(5, set.version);
  row.bind_text(6, set.table_name);
  row.bind(7, node.set->rec_sz);
  row.end();
  insert_items(set.id, node, piece, plan);
}

std::int64_t set_tables::data_set_of(const node_entry& node,
                                     const set_name& name,
                                     const std::string& form,
                                     const set_piece& set,
                                     const column_plan& plan) {
  known_id& known =
      data_sets_[name.key() + form + std::to_string(node.node_id)];
  if (known.is_there) return known.id;
  const bool is_new = known.id == 0;
  if (is_new) known.id = ++last_data_set_;
  const known_form& table = form_of(name, form, plan);
  const known_data_set row{known.id,     name,          form,
                           node.node_id, table.version, table.table_name};
  insert_data_set(row, node, set, plan);
  known.is_there = true;
  if (is_new) engine_.noted(row);
  return known.id;
}

std::unique_ptr<set_table> set_tables::make(const node_entry& node,
                                            const set_piece& set,
                                            const event_place& place) {
  auto table = std::make_unique<set_table>();
  table->schema_id = set.schema_id;
  table->charset = set.charset;
  table->names_charset = set.names_charset;
  table->names_version = node.table->names_version();
  table->from_audit_file = is_in_audit_file(place);
  table->plan = plan_columns(set, engine_);
  const set_name name = name_of(node, table->from_audit_file);
  const std::string form =
      form_of_items(node.set->rec_sz, rows_of(*node.set, set));
  table->data_set = data_set_of(node, name, form, set, table->plan);
  table->rows = engine_.open(
      form_of_table(form_of(name, form, table->plan).table_name, table->plan),
      row_size(*node.set));
  table->size = size_of(*table);
  return table;
}

set_table& set_tables::of(const node_entry& node, const set_piece& set,
                          const event_place& place) {
  set_table* const kept = kept_.at(set.schema_id);
  if (kept != nullptr && kept->schema_id == set.schema_id &&
      kept->charset == set.charset &&
      kept->names_charset == set.names_charset &&
      kept->names_version == node.table->names_version() &&
      kept->from_audit_file == is_in_audit_file(place)) {
    return *kept;
  }
  return kept_.put(set.schema_id, make(node, set, place),
                   [](set_table& table) { table.rows->flush(); });
}

void set_tables::make_indexes() {
  for (const table_form& table : new_tables_) {
    engine_.index_records(table,
                          table_names_.make_free(table.name + " by record"));
  }
  new_tables_.clear();
}

void set_tables::flush() {
  kept_.for_each([](set_table& table) { table.rows->flush(); });
}

void set_tables::add_all() {
  flush();
  data_set_rows_->flush();
  item_rows_->flush();
  make_indexes();
}

void set_tables::finish() {
  flush();
  kept_.clear();
  data_set_rows_.reset();
  item_rows_.reset();
  make_indexes();
}
