#include "util/chronex/run/usage.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int EXIT_USAGE = 2;

constexpr const char* END_OF_USAGE = "<$END>";
constexpr const char* USAGE_TEXT[] = {
    "usage: chronex [options] file [...]",
    "options:", " -help       - show usage (this list)",
    " -o filename - write binary audit output to file (- for stdout)",
    " -c comment  - write clear-text comment into binary audit file",
    " -e expr     - specify filter expression",
    " -f filename - read filter expression from file",
    " -r          - print clear-text report",
    " -m          - print MEMO records",
    " -i number   - print values of the first 'number' items",
    // NOLINTNEXTLINE(bugprone-suspicious-missing-comma)
    " -I itemlist - print values of specified items (comma- or "
    "space-separated)",
    " -v          - print progress info / report details (-vv: more details)",
    " -x          - clear-text diagnostic output (hexdump format)",
    " -M          - use master key", " -Z          - compress audit file",
    END_OF_USAGE};

}  // namespace

const char* const VERSION_LINE =
    "KORVALINE X.08.30.b7 / Linux IA32 (build Sep 12 2018)";

void usage() {
  std::fprintf(stderr, "\n%s %s %s (%s)\n", "KORVALINE", "CHRONEX",
               "forward-log audit trail", "X.08.30");
  for (const char* const* line = USAGE_TEXT;
       std::strcmp(*line, END_OF_USAGE) != 0; ++line) {
    std::fprintf(stderr, "%s\n", *line);
  }
  std::fprintf(stderr, "\n");
  std::exit(EXIT_USAGE);
}
