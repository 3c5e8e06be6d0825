#include "util/chronex/trail/trail.h"

#include <algorithm>
#include <cassert>
#include <utility>

#include "util/chronex/messages/run_failed.h"

void trail::add_output(trail_output& output) {
  assert(output_count_ < MAX_OUTPUTS);
  output_slots_[output_count_] = &output;
  ++output_count_;
  note_outputs();
}

void trail::replace_output(trail_output& old, trail_output& output) {
  std::ranges::replace(output_slots_, &old, &output);
  note_outputs();
}

void trail::note_outputs() {
  only_counts_ =
      std::ranges::all_of(outputs(), &trail_output::only_counts_operations);
}

void trail::count_operations(std::uint64_t count) {
  for (trail_output* output : outputs()) output->count_operations(count);
}

void trail::session_add_entry(std::int32_t session_id, owned_bytes sign_on) {
  const session_entry* added =
      sessions.session_add_entry(session_id, std::move(sign_on));
  session_entry* const entry = sessions.session_get_entry(session_id);
  if (entry != nullptr && place.file != nullptr) {
    entry->charset = place.file->charset;
  }
  if (added != nullptr && names != nullptr) {
    names->sign_on(added->sign_on.bytes());
  }
}

void trail::node_add_entry(std::int32_t node_id, int type,
                           std::string_view name, std::int32_t db_node_id,
                           std::unique_ptr<set_context> set) {
  const node_entry* entry =
      nodes.node_add_entry(node_id, type, name, db_node_id, std::move(set));
  node_entry* const known = nodes.node_get_entry(node_id);
  if (known != nullptr && place.file != nullptr) {
    known->charset = place.file->charset;
  }
  if (entry == nullptr || names == nullptr) return;
  const auto check = [this](const node_entry& data_set) {
    names->data_set(node_name2(data_set, false), *data_set.set);
  };
  if (entry->set) check(*entry);
  // A database's new name is its data sets' new name.
  if (type == NODE_DATABASE) nodes.for_each_set(node_id, check);
}

void trail::actions_lost() {
  has_lost_actions = true;
  sessions.make_uncertain();
  nodes.make_uncertain();
  images.clear();
}

session_entry* trail::assume_session(std::int32_t session_id) {
  session_entry* const entry = sessions.session_add_entry(session_id, {});
  if (entry != nullptr) entry->is_uncertain = true;
  return entry;
}

int trail::file_begins(const input_file& file) {
  place = {.file = &file};
  watched_from = 0;
  for (trail_output* output : outputs()) {
    if (output->file_begins(file) != 0) return -1;
  }
  return 0;
}

int trail::file_accepted(const input_file& file) {
  for (trail_output* output : outputs()) {
    if (output->file_accepted(file) != 0) return -1;
  }
  return 0;
}

void trail::session_cleanup() {
  sessions.session_cleanup([this](const session_entry& session) {
    for (trail_output* output : outputs()) output->session_ends(session);
  });
}

void trail::file_ends() {
  for (trail_output* output : outputs()) output->file_ends();
}

void trail::tell_action_done() {
  for (trail_output* output : outputs()) output->action_done();
}

void trail::notice(trail_notice what) {
  what.place = place;
  for (trail_output* output : outputs()) {
    if (output->notice(what) != 0) throw run_failed();
  }
}

void trail::notice(notice_kind kind, const std::string& comment) {
  notice({.kind = kind, .comment = comment});
}

int trail::tell_filter_failure() {
  notice({.kind = notice_kind::filter_failed, .problem = filter_.failure()});
  return -1;
}

int trail::comment(std::string_view text) {
  for (trail_output* output : outputs()) {
    if (output->comment(text, place) != 0) return -1;
  }
  return 0;
}
