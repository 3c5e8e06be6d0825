#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_STATS_COMPLETENESS_TALLY_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_STATS_COMPLETENESS_TALLY_H

// What the inputs are, and what is missing from them.

#include <cstdint>
#include <string_view>

#include "util/chronex/input/input_file.h"
#include "util/chronex/trail/output.h"
#include "util/chronex_trail/stats/figures.h"
#include "util/chronex_trail/values/utf8_text.h"

class completeness_tally {
 public:
  // The figures stay the caller's.
  explicit completeness_tally(completeness_figures& figures)
      : figures_(figures) {}

  // All throw std::bad_alloc.
  void file_begins(const input_file& file);
  void file_accepted() { figures_.inputs.back().accepted = true; }
  void notice(const trail_notice& notice);
  void comment(std::string_view text, const event_place& place);
  // Changes in the present input.
  void add(const change_figures& changes) {
    if (figures_.inputs.empty()) return;
    figures_.inputs.back().changes.add(changes);
  }
  // Puts the numbers of the files that were accepted together.
  void end();

 private:
  std::size_t input_of(const event_place& place) const;
  void add_gap(const trail_notice& notice);
  void add_missing(const trail_notice& notice);
  generation_figures& generation(std::uint32_t number);

  completeness_figures& figures_;
  text_scratch scratch_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_STATS_COMPLETENESS_TALLY_H
