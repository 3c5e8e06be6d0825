#include "util/chronex_trail/stats/completeness_tally.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "util/chronex/input/charset.h"
#include "util/chronex_trail/values/event_names.h"
#include "util/chronex_trail/values/text_origin.h"

namespace {

// The comment about a server abort says of nothing that it is missing.
constexpr std::string_view ABORT_COMMENT = "a server abort was detected";

void keep(std::vector<notice_figures>& list, std::uint64_t& count,
          notice_kind kind, std::size_t input, std::string text) {
  ++count;
  if (list.size() == completeness_figures::MAX_LISTED) return;
  list.push_back({kind, input, std::move(text)});
}

// Adds a number behind the last range, or to it.
void append_number(std::vector<number_range>& ranges, std::uint32_t number) {
  if (!ranges.empty() && ranges.back().last + 1 == number) {
    ranges.back().last = number;
  } else {
    ranges.push_back({number, number});
  }
}

}  // namespace

std::size_t completeness_tally::input_of(const event_place& place) const {
  return place.file == nullptr ? NO_INPUT : figures_.inputs.size() - 1;
}

void completeness_tally::file_begins(const input_file& file) {
  input_figures input{.name = well_formed_utf8(name_as_given(file)),
                      .format = std::string(format_name(file)),
                      .character_set = charset_name(file.charset)};
  if (file.type == FWLOG_FILE) {
    input.is_forward_log = true;
    input.generation = file.generation;
    input.sequence = file.sequence;
  }
  figures_.inputs.push_back(std::move(input));
}

void completeness_tally::add_missing(const trail_notice& notice) {
  const number_range missing{notice.expected, notice.found - 1};
  switch (notice.kind) {
    case notice_kind::missing_generations:
      figures_.lost_generations += notice.missing;
      figures_.missing_generations.push_back(missing);
      return;
    case notice_kind::missing_files:
      figures_.lost_files += notice.missing;
      generation(notice.place.file->generation).missing.push_back(missing);
      return;
    default:
      figures_.lost_actions += notice.missing;
  }
}

void completeness_tally::add_gap(const trail_notice& notice) {
  add_missing(notice);
  ++figures_.gap_count;
  if (figures_.gaps.size() == completeness_figures::MAX_LISTED) return;
  figures_.gaps.push_back({notice.kind, input_of(notice.place), notice.expected,
                           notice.found, notice.missing});
}

void completeness_tally::notice(const trail_notice& notice) {
  const std::size_t input = input_of(notice.place);
  switch (shape_of(notice.kind).event) {
    case notice_event::gap:
      add_gap(notice);
      return;
    case notice_event::repeat:
      if (notice.kind != notice_kind::repeated_actions) {
        figures_.inputs.back().accepted = false;
      }
      return;
    case notice_event::damage:
      keep(figures_.damage, figures_.damage_count, notice.kind, input,
           well_formed_utf8(notice.text()));
      return;
    case notice_event::warning:
      if (notice.kind == notice_kind::old_version) ++figures_.too_old;
      keep(figures_.warnings, figures_.warning_count, notice.kind, input,
           well_formed_utf8(notice.text()));
  }
}

void completeness_tally::comment(std::string_view text,
                                 const event_place& place) {
  if (!text.starts_with(WARNING_LEAD) ||
      text.find(ABORT_COMMENT) != text.npos) {
    return;
  }
  text.remove_prefix(WARNING_LEAD.size());
  keep(figures_.reported, figures_.reported_count, notice_kind::bad_format,
       input_of(place),
       std::string(
           decode_text(text, character_table_of(charset_at(place)), scratch_)
               .utf8));
}

// Files come by ascending generation and sequence.
generation_figures& completeness_tally::generation(std::uint32_t number) {
  for (generation_figures& known : figures_.generations) {
    if (known.generation == number) return known;
  }
  return figures_.generations.emplace_back(
      generation_figures{.generation = number});
}

void completeness_tally::end() {
  for (const input_figures& input : figures_.inputs) {
    if (!input.is_forward_log || !input.accepted) continue;
    append_number(generation(input.generation).present, input.sequence);
  }
  std::ranges::sort(figures_.generations, {}, &generation_figures::generation);
}
