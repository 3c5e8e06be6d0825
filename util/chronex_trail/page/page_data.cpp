#include "util/chronex_trail/page/page_data.h"

#include <cstdlib>
#include <optional>

#include "util/chronex_trail/page/figures_json.h"
#include "util/chronex_trail/page/json_writer.h"
#include "util/chronex_trail/values/event_names.h"

namespace {

constexpr std::size_t PART_BYTES = std::size_t{192} * 1024;
constexpr std::size_t PART_ROWS = 2000;

void put_names(json_writer& out, std::string_view key, const name_list& names) {
  out.key(key).open('[');
  for (const auto& name : names.names()) out.text_or_null(name);
  out.close(']');
}

void put_office(json_writer& out, const office_times& office) {
  out.key("office").open('{');
  out.key("first_hour").number(office.first_hour);
  out.key("end_hour").number(office.end_hour);
  out.key("first_day").number(office.first_day);
  out.key("last_day").number(office.last_day).close('}');
}

void put_zone(json_writer& out, const change_figures& changes) {
  constexpr std::int64_t DAY = 86400;
  const char* const name = std::getenv("TZ");
  out.key("zone").open('{').key("name").text(name == nullptr ? "" : name);
  out.key("offsets").open('[');
  for (const zone_offset& offset :
       offsets_between(changes.first - DAY, changes.last + DAY)) {
    out.open('[').number(offset.from).number(offset.offset).close(']');
  }
  out.close(']').close('}');
}

std::string_view name_of(time_step step) {
  switch (step) {
    case time_step::hour:
      return "hour";
    case time_step::day:
      return "day";
    case time_step::month:
      return "month";
    default:
      return "all";
  }
}

// Numbers of names; -1 = others.
int shown_number(std::uint16_t number) {
  return number == name_list::OTHERS ? -1 : number;
}

void put_mixes(json_writer& out, const count_cube& cube) {
  out.key("mixes").open('[');
  for (const change_mix& mix : cube.mixes()) {
    out.open('[').text(op_letter(mix.op)).number(shown_number(mix.user));
    out.number(shown_number(mix.program)).number(shown_number(mix.data_set));
    out.close(']');
  }
  out.close(']');
}

// Steps as [BEGIN,MIX,COUNT,MIX,COUNT ...].
void put_cells(json_writer& out, const count_cube& cube) {
  out.key("steps").open('[');
  std::optional<std::int64_t> begin;
  for (const cube_cell& cell : cube.cells()) {
    if (begin != cell.begin) {
      if (begin) out.close(']');
      begin = cell.begin;
      out.open('[').number(cell.begin);
    }
    out.number(cell.mix).number(cell.count);
  }
  if (begin) out.close(']');
  out.close(']');
}

// Of each mix [HOUR,COUNT ...]; only where the steps do not tell.
void put_hours(json_writer& out, const count_cube& cube) {
  out.key("hours").open('[');
  if (cube.step() != time_step::hour) {
    for (const count_cube::hour_counts& counts : cube.hours()) {
      out.open('[');
      for (std::size_t hour = 0; hour < counts.size(); ++hour) {
        if (counts[hour] > 0) out.number(hour).number(counts[hour]);
      }
      out.close(']');
    }
  }
  out.close(']');
}

void put_cube(json_writer& out, const count_cube& cube) {
  out.key("cube").open('{').key("step").text(name_of(cube.step()));
  put_mixes(out, cube);
  put_cells(out, cube);
  put_hours(out, cube);
  out.close('}');
}

void put_layout(json_writer& out, const page_layout& layout) {
  out.open('{').key("data_set").number(shown_number(layout.data_set));
  out.key("items").open('[');
  for (const std::string& name : layout.item_names) out.text(name);
  out.close(']').key("types").text(layout.item_types).close('}');
}

void put_taken_back(json_writer& out, const change_taken_back& back) {
  out.open('[').number(shown_number(back.layout->data_set));
  out.number(back.recno).text(back.layout->item_names[back.item]);
  out.number(back.changed).number(back.taken_back);
  out.number(shown_number(back.session->user));
  out.raw(back.value).raw(back.between).close(']');
}

void put_all_taken_back(json_writer& out, const page_output& gathered) {
  out.key("taken_back").open('{');
  out.key("count").number(gathered.taken_back_count());
  out.key("forgotten").number(gathered.forgotten_changes());
  out.key("list").open('[');
  for (const change_taken_back& back : gathered.taken_back()) {
    put_taken_back(out, back);
  }
  out.close(']').close('}');
}

void put_memos(json_writer& out, const page_session& session) {
  out.open('[');
  for (const page_memo& memo : session.memos) {
    out.open('[').number(memo.timestamp).text(memo.mode).text(memo.text);
    out.close(']');
  }
  out.close(']').number(session.memo_count);
}

void put_session(json_writer& out, const page_session& session) {
  out.open('[').number(session.id).number(session.conntime);
  out.number(shown_number(session.user));
  out.number(shown_number(session.program));
  out.number(session.first).number(session.last);
  out.number(session.puts).number(session.updates).number(session.deletes);
  out.flag(session.signed_off).open('[');
  for (const auto& [key, value] : session.attributes) {
    out.open('[').text(key).text(value).close(']');
  }
  out.close(']');
  put_memos(out, session);
  out.close(']');
}

// A column of the rows [begin, end).
template <typename Value>
void put_column(json_writer& out, std::string_view key, std::size_t begin,
                std::size_t end, const Value& value) {
  out.key(key).open('[');
  for (std::size_t i = begin; i < end; ++i) out.number(value(i));
  out.close(']');
}

}  // namespace

page_data::page_data(const page_output& gathered, const trail_figures& figures,
                     const page_settings& settings)
    : gathered_(gathered), figures_(figures), settings_(settings) {
  number_shared();
}

void page_data::number_shared() {
  for (const page_row& row : gathered_.rows().rows()) {
    if (session_numbers_.emplace(row.session.get(), sessions_.size()).second) {
      sessions_.push_back(row.session.get());
    }
    if (layout_numbers_.emplace(row.layout.get(), layouts_.size()).second) {
      layouts_.push_back(row.layout.get());
    }
  }
}

std::string page_data::summary() const {
  std::string text;
  json_writer out(text);
  out.open('{').key("v").number(1).key("options").open('[');
  for (const std::string& option : settings_.filter_options) out.text(option);
  out.close(']');
  put_office(out, settings_.office);
  put_zone(out, figures_.changes);
  out.key("rows").number(gathered_.rows().rows().size());
  out.key("left_out").number(gathered_.rows().left_out());
  out.key("evenly").flag(gathered_.rows().kept() == kept_changes::evenly);
  out.key("figures");
  put_figures(out, figures_);
  put_names(out, "users", gathered_.users());
  put_names(out, "programs", gathered_.programs());
  put_names(out, "data_sets", gathered_.data_sets());
  put_cube(out, gathered_.cube());
  out.key("layouts").open('[');
  for (const page_layout* layout : layouts_) put_layout(out, *layout);
  out.close(']');
  put_all_taken_back(out, gathered_);
  out.close('}');
  return text;
}

std::string page_data::sessions() const {
  std::string text;
  json_writer out(text);
  out.open('[');
  for (const page_session* session : sessions_) put_session(out, *session);
  out.close(']');
  return text;
}

std::string page_data::columns(std::size_t begin, std::size_t end) const {
  const auto& rows = gathered_.rows().rows();
  std::string text;
  json_writer out(text);
  out.open('{').key("op").text("");
  text.pop_back();
  for (std::size_t i = begin; i < end; ++i) text += op_letter(rows[i].op);
  text += '"';
  const auto put = [&](std::string_view key, const auto& value) {
    put_column(out, key, begin, end, value);
  };
  put("time", [&](std::size_t i) { return rows[i].timestamp; });
  put("recno", [&](std::size_t i) { return rows[i].recno; });
  put("layout",
      [&](std::size_t i) { return layout_numbers_.at(rows[i].layout.get()); });
  put("session", [&](std::size_t i) {
    return session_numbers_.at(rows[i].session.get());
  });
  put("input", [&](std::size_t i) { return rows[i].input; });
  put("place", [&](std::size_t i) { return rows[i].place; });
  out.close('}');
  return text;
}

std::string page_data::values(std::size_t& begin) const {
  const auto& rows = gathered_.rows().rows();
  std::string text;
  const std::size_t first = begin;
  while (begin < rows.size() && begin - first < PART_ROWS &&
         text.size() < PART_BYTES) {
    if (begin > first) text += '\n';
    text += rows[begin++].values;
  }
  return text;
}
