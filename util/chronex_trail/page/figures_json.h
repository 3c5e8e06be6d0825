#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_FIGURES_JSON_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_FIGURES_JSON_H

#include "util/chronex_trail/page/json_writer.h"
#include "util/chronex_trail/stats/figures.h"

// Writes the figures that the page shows of a whole trail as one JSON object.
void put_figures(json_writer& out, const trail_figures& figures);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_FIGURES_JSON_H
