#include "util/chronex_trail/page/figures_json.h"

#include "util/chronex_trail/values/event_names.h"

namespace {

// What a page has room for.
constexpr std::size_t MAX_NAMES = 20'000;

void put_input_number(json_writer& out, std::size_t input) {
  if (input == NO_INPUT) {
    out.key("input").raw("null");
  } else {
    out.key("input").number(input);
  }
}

void put_changes(json_writer& out, const change_figures& changes) {
  out.key("puts").number(changes.count.puts);
  out.key("updates").number(changes.count.updates);
  out.key("deletes").number(changes.count.deletes);
  out.key("first").number(changes.first).key("last").number(changes.last);
}

void put_input(json_writer& out, const input_figures& input) {
  out.open('{').key("name").text(input.name).key("format").text(input.format);
  out.key("accepted").flag(input.accepted);
  if (input.is_forward_log) {
    out.key("generation").number(input.generation);
    out.key("sequence").number(input.sequence);
  }
  put_changes(out, input.changes);
  out.close('}');
}

void put_gap(json_writer& out, const gap_figures& gap) {
  out.open('{').key("kind").text(shape_of(gap.kind).kind);
  put_input_number(out, gap.input);
  out.key("expected").number(gap.expected).key("found").number(gap.found);
  out.key("missing").number(gap.missing).close('}');
}

void put_notices(json_writer& out, std::string_view key,
                 const std::vector<notice_figures>& notices) {
  out.key(key).open('[');
  for (const notice_figures& notice : notices) {
    out.open('{');
    put_input_number(out, notice.input);
    out.key("text").text(notice.text).close('}');
  }
  out.close(']');
}

void put_ranges(json_writer& out, std::string_view key,
                const std::vector<number_range>& ranges) {
  out.key(key).open('[');
  for (const number_range& range : ranges) {
    out.open('[').number(range.first).number(range.last).close(']');
  }
  out.close(']');
}

void put_generations(json_writer& out, const completeness_figures& figures) {
  put_ranges(out, "missing_generations", figures.missing_generations);
  out.key("generations").open('[');
  for (const generation_figures& generation : figures.generations) {
    out.open('{').key("generation").number(generation.generation);
    put_ranges(out, "present", generation.present);
    put_ranges(out, "missing", generation.missing);
    out.close('}');
  }
  out.close(']');
}

void put_completeness(json_writer& out, const completeness_figures& figures) {
  out.key("completeness").open('{');
  out.key("complete").flag(figures.is_complete());
  out.key("status").number(figures.status);
  out.key("inputs").open('[');
  for (const input_figures& input : figures.inputs) put_input(out, input);
  out.close(']');
  put_generations(out, figures);
  out.key("gaps").open('[');
  for (const gap_figures& gap : figures.gaps) put_gap(out, gap);
  out.close(']');
  put_notices(out, "damage", figures.damage);
  put_notices(out, "warnings", figures.warnings);
  put_notices(out, "reported", figures.reported);
  out.key("gap_count").number(figures.gap_count);
  out.key("lost_generations").number(figures.lost_generations);
  out.key("lost_files").number(figures.lost_files);
  out.key("lost_actions").number(figures.lost_actions);
  out.key("damage_count").number(figures.damage_count);
  out.key("warning_count").number(figures.warning_count);
  out.key("reported_count").number(figures.reported_count);
  out.key("too_old").number(figures.too_old);
  out.key("unreadable").number(figures.unreadable);
  out.close('}');
}

void put_data_sets(json_writer& out, const trail_figures& figures) {
  out.key("data_sets").open('[');
  for (const set_figures& set : figures.data_sets) {
    out.open('{').key("name").text(set.full_name());
    out.key("has_database").flag(set.has_database);
    out.key("unreadable").number(set.unreadable);
    put_changes(out, set.changes);
    out.close('}');
  }
  out.close(']');
}

void put_users(json_writer& out, const trail_figures& figures) {
  out.key("users").open('[');
  std::size_t room = MAX_NAMES;
  for (const name_figures& user : figures.users) {
    if (room-- == 0) break;
    out.open('{').key("name");
    if (user.known()) {
      out.text(user.name);
    } else {
      out.raw("null");
    }
    put_changes(out, user.changes);
    out.key("sessions").number(user.sessions).close('}');
  }
  out.close(']');
}

void put_records(json_writer& out, const trail_figures& figures) {
  out.key("record_bound").number(figures.record_bound);
  out.key("record_count").number(figures.record_count);
  out.key("records").open('[');
  for (const record_figures& record : figures.records) {
    out.open('[').number(record.data_set).number(record.recno);
    out.number(record.at_least).number(record.at_most).close(']');
  }
  out.close(']');
}

}  // namespace

void put_figures(json_writer& out, const trail_figures& figures) {
  out.open('{');
  put_completeness(out, figures.completeness);
  out.key("changes").open('{');
  put_changes(out, figures.changes);
  out.close('}');
  put_data_sets(out, figures);
  put_users(out, figures);
  out.key("user_count").number(figures.users.size());
  out.key("sessions").number(figures.session_count);
  out.key("transactions").number(figures.transaction_count);
  put_records(out, figures);
  out.close('}');
}
