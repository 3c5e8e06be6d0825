// What the inputs are, and what is missing from them.

#include <algorithm>
#include <array>

#include "util/chronex_trail/summary/part_rows.h"
#include "util/chronex_trail/values/event_names.h"

namespace {

summary_cell input_cell(const trail_figures& figures, std::size_t input) {
  return input == NO_INPUT ? no_cell()
                           : text_cell(figures.completeness.inputs[input].name);
}

constexpr summary_column COMPLETENESS_COLUMNS[] = {{"complete"},
                                                   {"inputs"},
                                                   {"passed_over"},
                                                   {"gaps"},
                                                   {"lost_generations"},
                                                   {"lost_files"},
                                                   {"lost_actions"},
                                                   {"damage"},
                                                   {"reported_losses"},
                                                   {"too_old_inputs"},
                                                   {"unreadable_changes"},
                                                   {"warnings"},
                                                   {"status"}};

row_counts completeness_rows(const trail_figures& figures,
                             std::size_t /*limit*/, row_sink& sink) {
  const completeness_figures& is = figures.completeness;
  const auto passed_over =
      std::ranges::count(is.inputs, false, &input_figures::accepted);
  const std::array row = {flag_cell(is.is_complete()),
                          number_cell(is.inputs.size()),
                          number_cell(passed_over),
                          number_cell(is.gap_count),
                          number_cell(is.lost_generations),
                          number_cell(is.lost_files),
                          number_cell(is.lost_actions),
                          number_cell(is.damage_count),
                          number_cell(is.reported_count),
                          number_cell(is.too_old),
                          number_cell(is.unreadable),
                          number_cell(is.warning_count),
                          number_cell(is.status)};
  sink.row(row);
  return {1, 1};
}

constexpr summary_column INPUT_COLUMNS[] = {
    {"input"},      {"format", 4}, {"character_set", 5},
    {"generation"}, {"sequence"},  {"processed"},
    {"changes"},    {"first", 3},  {"last", 3}};

row_counts input_rows(const trail_figures& figures, std::size_t limit,
                      row_sink& sink) {
  return give_rows(
      figures.completeness.inputs, limit, sink, [](const input_figures& input) {
        const bool is_log = input.is_forward_log;
        cells row = {text_cell(input.name),
                     text_cell(input.format),
                     text_cell(input.character_set),
                     is_log ? number_cell(input.generation) : no_cell(),
                     is_log ? number_cell(input.sequence) : no_cell(),
                     flag_cell(input.accepted),
                     number_cell(input.changes.count.total())};
        append_times(row, input.changes);
        return row;
      });
}

// Files of one generation, or generations, of which one knows the same.
struct numbered_files {
  number_range generations;
  // None: whole generations.
  bool has_files = false;
  number_range files{};
  bool is_present = false;
};

std::vector<numbered_files> all_numbers(const completeness_figures& figures) {
  std::vector<numbered_files> all;
  for (const generation_figures& each : figures.generations) {
    const number_range generation{each.generation, each.generation};
    for (const number_range& files : each.present) {
      all.push_back({generation, true, files, true});
    }
    for (const number_range& files : each.missing) {
      all.push_back({generation, true, files, false});
    }
  }
  for (const number_range& generations : figures.missing_generations) {
    all.push_back({generations});
  }
  std::ranges::sort(all, [](const numbered_files& a, const numbered_files& b) {
    return a.generations.first != b.generations.first
               ? a.generations.first < b.generations.first
               : a.files.first < b.files.first;
  });
  return all;
}

constexpr summary_column NUMBER_COLUMNS[] = {{"generation"},
                                             {"to_generation"},
                                             {"sequence"},
                                             {"to_sequence"},
                                             {"state"}};

row_counts number_rows(const trail_figures& figures, std::size_t limit,
                       row_sink& sink) {
  return give_rows(all_numbers(figures.completeness), limit, sink,
                   [](const numbered_files& each) {
                     const bool has = each.has_files;
                     return std::array{
                         number_cell(each.generations.first),
                         number_cell(each.generations.last),
                         has ? number_cell(each.files.first) : no_cell(),
                         has ? number_cell(each.files.last) : no_cell(),
                         text_cell(each.is_present ? "present" : "missing")};
                   });
}

constexpr summary_column GAP_COLUMNS[] = {
    {"gap"}, {"input"}, {"expected"}, {"found"}, {"missing"}};

row_counts gap_rows(const trail_figures& figures, std::size_t limit,
                    row_sink& sink) {
  const row_counts counts =
      give_rows(figures.completeness.gaps, limit, sink,
                [&figures](const gap_figures& gap) {
                  return std::array{
                      text_cell(shape_of(gap.kind).kind),
                      input_cell(figures, gap.input), number_cell(gap.expected),
                      number_cell(gap.found), number_cell(gap.missing)};
                });
  return {figures.completeness.gap_count, counts.given};
}

constexpr summary_column NOTICE_COLUMNS[] = {
    {"notice"}, {"code", 1}, {"input"}, {"text"}};

row_counts notice_rows(const trail_figures& figures, std::size_t limit,
                       row_sink& sink) {
  const completeness_figures& is = figures.completeness;
  row_counts counts{is.damage_count + is.reported_count + is.warning_count};
  const auto give = [&](std::string_view type,
                        const std::vector<notice_figures>& list) {
    const row_counts given = give_rows(
        list, limit - counts.given, sink,
        [&figures, type](const notice_figures& notice) {
          const std::string_view code = shape_of(notice.kind).kind;
          return std::array{
              text_cell(type), code.empty() ? no_cell() : text_cell(code),
              input_cell(figures, notice.input), text_cell(notice.text)};
        });
    counts.given += given.given;
  };
  give("damage", is.damage);
  give("reported", is.reported);
  give("warning", is.warnings);
  return counts;
}

}  // namespace

const summary_part COMPLETENESS_PART = {.name = "completeness",
                                        .title = "Completeness",
                                        .columns = COMPLETENESS_COLUMNS,
                                        .rows = completeness_rows,
                                        .has_one_row = true};
const summary_part INPUTS_PART = {.name = "inputs",
                                  .title = "Inputs",
                                  .columns = INPUT_COLUMNS,
                                  .rows = input_rows};
const summary_part NUMBERS_PART = {.name = "numbers",
                                   .title = "Generations and sequences",
                                   .columns = NUMBER_COLUMNS,
                                   .rows = number_rows};
const summary_part GAPS_PART = {
    .name = "gaps", .title = "Gaps", .columns = GAP_COLUMNS, .rows = gap_rows};
const summary_part NOTICES_PART = {.name = "notices",
                                   .title = "Damage and warnings",
                                   .columns = NOTICE_COLUMNS,
                                   .rows = notice_rows};
