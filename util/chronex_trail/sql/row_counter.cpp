#include "util/chronex_trail/sql/row_counter.h"

#include "util/chronex_trail/values/text_origin.h"

row_counter::row_counter(session_table& sessions, const item_name_list* listed)
    : sessions_(sessions), sets_(listed) {
  tables_.begin(0);
}

bool row_counter::is_current(const earlier_session& row) {
  const session_entry* const entry =
      sessions_.session_get_entry(row.session_id);
  return entry != nullptr && entry->sign_on_id == row.sign_on_id;
}

void row_counter::forget_ended() {
  latest_ = nullptr;
  std::erase_if(shown_,
                [this](const auto& each) { return !is_current(each.second); });
}

int row_counter::file_begins(const input_file& file) {
  ++n_;
  ++input_;
  forget_ended();
  return event_counter::file_begins(file);
}

sign_on_result row_counter::sign_on(const session_entry& session,
                                    sign_on_caller caller,
                                    const event_place& place) {
  ++n_;
  shown_[session.session_id] = {.session_id = session.session_id,
                                .sign_on_id = session.sign_on_id,
                                .charset = session.charset};
  return event_counter::sign_on(session, caller, place);
}

session_work* row_counter::work_of(const session_entry& session) {
  if (latest_ == nullptr || latest_->session_id != session.session_id) {
    const auto found = shown_.find(session.session_id);
    if (found == shown_.end()) return nullptr;
    latest_ = &found->second;
  }
  return latest_->sign_on_id == session.sign_on_id ? &latest_->work : nullptr;
}

int row_counter::sign_off(const session_entry& session,
                          const event_place& place) {
  ++n_;
  session_work* const work = work_of(session);
  if (work != nullptr) work->signed_off_n = n_;
  return event_counter::sign_off(session, place);
}

// Tables for rows are dear to make when there are many data sets in turn, so
// each that was noted is known by what its name and form depend on.
void row_counter::note_set(const node_entry& node, const event_place& place) {
  constexpr std::size_t MOST_NOTED = std::size_t{1} << 18;
  const noted_set set{.charset = charset_at(place),
                      .names_version = node.table->names_version(),
                      .from_audit_file = is_in_audit_file(place)};
  if (noted_.size() >= MOST_NOTED) noted_.clear();
  const auto [known, is_new] = noted_.try_emplace(node.set->schema_id, set);
  if (!is_new && known->second == set) return;
  known->second = set;
  tables_.of(node, sets_.of(node, charset_at(place), place), place);
}

int row_counter::schema(const node_entry& node, const event_place& place) {
  ++n_;
  note_set(node, place);
  return event_counter::schema(node, place);
}

int row_counter::memo(const memo_view& memo) {
  if (!memo.text.empty()) ++n_;
  return event_counter::memo(memo);
}

int row_counter::operation(const image_operation& operation,
                           const event_place& place) {
  ++n_;
  note_set(operation.node, place);
  session_work* const work = work_of(operation.session);
  if (work != nullptr) {
    if (work->first_n == 0) work->first_n = n_;
    work->last_n = n_;
  }
  return event_counter::operation(operation, place);
}

int row_counter::notice(const trail_notice& notice) {
  ++n_;
  return event_counter::notice(notice);
}

int row_counter::comment(std::string_view text, const event_place& place) {
  ++n_;
  return event_counter::comment(text, place);
}

earlier_rows row_counter::rows() {
  forget_ended();
  earlier_rows rows{.n = n_,
                    .input = input_,
                    .data_sets = engine_.data_sets(),
                    .sessions = {}};
  for (const auto& [session_id, row] : shown_) rows.sessions.push_back(row);
  return rows;
}
