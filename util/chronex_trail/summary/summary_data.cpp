// The figures as CSV and JSON.

#include <algorithm>
#include <string_view>
#include <vector>

#include "util/chronex_trail/json/json_text.h"
#include "util/chronex_trail/summary/part_text.h"
#include "util/chronex_trail/values/csv_text.h"
#include "util/chronex_trail/values/utc_time.h"
#include "util/chronex_trail/values/utf8_text.h"

namespace {

bool is_data(const summary_part& part) {
  return part.where != summary_part::shown_in::tables;
}

std::size_t limit_of(const summary_part& part,
                     const summary_settings& settings) {
  return part.is_ranked ? settings.top.value_or(ALL_ROWS) : ALL_ROWS;
}

// A row an object.
class json_rows : public row_sink {
 public:
  explicit json_rows(piece_writer& out) : out_(out) {}

  void begin(const summary_part& part) {
    part_ = &part;
    append_json_string(out_.text, part.name);
    out_.text += part.has_one_row ? ":" : ":[";
    separator_ = "";
  }
  void end() {
    if (!part_->has_one_row) out_.text += ']';
  }

  void row(std::span<const summary_cell> cells) override {
    out_.text += separator_;
    separator_ = ",";
    for (std::size_t i = 0; i < cells.size(); ++i) {
      out_.text += i == 0 ? '{' : ',';
      append_json_string(out_.text, part_->columns[i].name);
      out_.text += ':';
      append_value(cells[i]);
    }
    out_.text += '}';
    out_.pause();
  }

 private:
  void append_value(const summary_cell& cell) {
    switch (cell.is) {
      case summary_cell::kind::none:
        out_.text += "null";
        return;
      case summary_cell::kind::text:
        append_json_string(out_.text, cell.text);
        return;
      case summary_cell::kind::number:
        out_.text += std::to_string(cell.number);
        return;
      case summary_cell::kind::time:
        append_json_string(out_.text,
                           time_.text(static_cast<std::uint32_t>(cell.number)));
        return;
      case summary_cell::kind::flag:
        out_.text += cell.number != 0 ? "true" : "false";
    }
  }

  piece_writer& out_;
  const summary_part* part_ = nullptr;
  std::string_view separator_;
  utc_time time_;
};

// The columns of all parts, each name once.
std::vector<std::string_view> all_columns() {
  std::vector<std::string_view> names;
  for (const summary_part* part : summary_parts()) {
    if (!is_data(*part)) continue;
    for (const summary_column& column : part->columns) {
      if (std::ranges::find(names, column.name) == names.end()) {
        names.push_back(column.name);
      }
    }
  }
  return names;
}

// A row a line, with its cells under their names.
class csv_rows : public row_sink {
 public:
  explicit csv_rows(piece_writer& out) : out_(out), names_(all_columns()) {
    out_.text += "part";
    for (const std::string_view name : names_) {
      out_.text += ',';
      out_.text += name;
    }
    out_.text += "\r\n";
  }

  void begin(const summary_part& part) {
    part_ = &part;
    places_.clear();
    for (const std::string_view name : names_) {
      places_.push_back(
          std::ranges::find(part.columns, name, &summary_column::name) -
          part.columns.begin());
    }
  }

  void row(std::span<const summary_cell> cells) override {
    out_.text += part_->name;
    for (const std::ptrdiff_t place : places_) {
      out_.text += ',';
      if (place < std::ssize(cells)) {
        append_value(cells[static_cast<std::size_t>(place)]);
      }
    }
    out_.text += "\r\n";
    out_.pause();
  }

 private:
  void append_value(const summary_cell& cell) {
    switch (cell.is) {
      case summary_cell::kind::none:
        return;
      case summary_cell::kind::text:
        append_csv_text(out_.text, cell.text);
        return;
      case summary_cell::kind::time:
        out_.text += time_.text(static_cast<std::uint32_t>(cell.number));
        return;
      default:
        out_.text += std::to_string(cell.number);
    }
  }

  piece_writer& out_;
  std::vector<std::string_view> names_;
  const summary_part* part_ = nullptr;
  // Of each column of the file the part's; behind the last = it has none.
  std::vector<std::ptrdiff_t> places_;
  utc_time time_;
};

}  // namespace

int write_summary_csv(const trail_figures& figures,
                      const summary_settings& settings, byte_sink& sink) {
  piece_writer out(sink);
  csv_rows rows(out);
  for (const summary_part* part : summary_parts()) {
    if (!is_data(*part)) continue;
    rows.begin(*part);
    part->rows(figures, limit_of(*part, settings), rows);
  }
  return out.flush();
}

int write_summary_json(const trail_figures& figures,
                       const summary_settings& settings, byte_sink& sink) {
  piece_writer out(sink);
  json_rows rows(out);
  out.text = R"({"v":1,"type":"statistics")";
  append_json_member(out.text, "time_zone", well_formed_utf8(time_zone_name()));
  for (const summary_part* part : summary_parts()) {
    if (!is_data(*part)) continue;
    out.text += ',';
    rows.begin(*part);
    part->rows(figures, limit_of(*part, settings), rows);
    rows.end();
  }
  out.text += "}\n";
  return out.flush();
}
