#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_PAGE_DATA_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_PAGE_DATA_H

// What was gathered for a page, as JSON texts for its script. doc/page.md
// describes them.

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

#include "util/chronex_trail/page/page_output.h"
#include "util/chronex_trail/page/page_settings.h"
#include "util/chronex_trail/stats/figures.h"

class page_data {
 public:
  // All stay the caller's.
  page_data(const page_output& gathered, const trail_figures& figures,
            const page_settings& settings);

  // Everything but the changes and their sessions.
  std::string summary() const;
  std::string sessions() const;
  // The columns of rows [begin, end).
  std::string columns(std::size_t begin, std::size_t end) const;
  // The values of rows from `begin` on, a line each, until it is a part of
  // handy size; sets `begin` to the first row behind it.
  std::string values(std::size_t& begin) const;

 private:
  void number_shared();

  const page_output& gathered_;
  const trail_figures& figures_;
  const page_settings& settings_;
  // Sessions and layouts that the rows have, and their numbers.
  std::vector<const page_session*> sessions_;
  std::vector<const page_layout*> layouts_;
  std::unordered_map<const page_session*, std::size_t> session_numbers_;
  std::unordered_map<const page_layout*, std::size_t> layout_numbers_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_PAGE_DATA_H
