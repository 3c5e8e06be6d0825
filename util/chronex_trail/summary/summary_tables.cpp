// The figures as tables.

#include <algorithm>

#include "util/chronex/messages/messages.h"
#include "util/chronex_trail/summary/part_text.h"
#include "util/chronex_trail/summary/text_table.h"
#include "util/chronex_trail/values/terminal_text.h"

namespace {

// Lists that are in an order of their own have at least these rows.
constexpr std::size_t LEAST_ROWS = 31;

std::size_t limit_of(const summary_part& part,
                     const summary_settings& settings) {
  const std::size_t top = settings.top.value_or(settings.DEFAULT_TOP);
  return part.is_ranked ? top : std::max(top, LEAST_ROWS);
}

void append_left_out(std::string& text, const summary_part& part,
                     const row_counts& counts) {
  if (counts.all == counts.given) return;
  text += format_text(part.keeps_last ? "and %zu before\n" : "and %zu more\n",
                      counts.all - counts.given);
}

void append_part(std::string& text, const trail_figures& figures,
                 const summary_part& part, const summary_settings& settings) {
  text_table table(part);
  const row_counts counts = part.rows(figures, limit_of(part, settings), table);
  if (table.is_empty()) return;
  if (!text.empty()) text += '\n';
  text += part.title;
  text += "\n\n";
  text += part.has_one_row ? table.list(settings.width)
                           : table.lines(settings.width);
  append_left_out(text, part, counts);
  if (part.note != nullptr) text += part.note(figures);
}

}  // namespace

int write_summary_tables(const trail_figures& figures,
                         const summary_settings& settings, byte_sink& sink) {
  piece_writer out(sink);
  for (const summary_part* part : summary_parts()) {
    if (part->where == summary_part::shown_in::data) continue;
    append_part(out.text, figures, *part, settings);
  }
  out.text += "\nTime zone: " + terminal_text(time_zone_name()) + '\n';
  return out.flush();
}
