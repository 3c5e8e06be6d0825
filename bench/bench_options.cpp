#include "bench/bench_options.h"

#include <getopt.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace {

constexpr const char* HELP =
    "usage: bench [option ...] [operations]\n"
    "\n"
    "Makes logs of that many record operations (default 3000000, about 225\n"
    "bytes each) and measures how long the program takes to read them.\n"
    "\n"
    "  --live N           spread the operations over N live sessions and as\n"
    "                     many data sets (default 8)\n"
    "  --data-sets N      N data sets, however many sessions\n"
    "  --skewed           half of the operations are of a sixteenth of them, "
    "and\n"
    "                     half of those of a sixteenth of that, and so on\n"
    "  --repeat N         measure every row N times (default 5), those with "
    "-Z\n"
    "                     at most 3 times\n"
    "  --rows TEXT        only rows with TEXT in their name, and their floors\n"
    "  --scaling          instead: a tenth of the operations and all of them,\n"
    "                     then all of them spread over 10, 1000, 10000 and\n"
    "                     100000 live sessions and as many data sets, or 10 "
    "of\n"
    "                     one and 100000 of the other; and what the "
    "operations\n"
    "                     cost without the signing on and describing, of "
    "which\n"
    "                     logs without operations are measured\n"
    "  --large            with --scaling, also ten times the operations\n"
    "  --segments N       instead: all of them in one log and in a log of N\n"
    "                     files, plain and gzip\n"
    "  --cold             before every run, have the system drop its copies "
    "of\n"
    "                     the input from memory\n"
    "  --directory DIR    make the files in a new directory in DIR (default\n"
    "                     $TMPDIR or /tmp), which is removed at the end\n"
    "  --program FILE     measure this chronex\n"
    "  --trail FILE       measure this chronex-trail\n"
    "  --write FILE       only write the log to FILE\n"
    "  --read FILE ...    only read the files through zlib, as the floor does\n"
    "  --scan FILE ...    only walk over their actions and count operations\n"
    "  --copy FILE        only write FILE to standard output\n"
    "  --help             print this and end\n"
    "\n"
    "seconds  wall-clock time of the process: median, smallest and largest\n"
    "MB/s     10^6 bytes of decompressed input in a median second\n"
    "ops/s    record operations in a median second; ns/op is its inverse\n"
    "peak     largest resident memory in MiB (2^20 bytes)\n"
    "cpu s    processor time, user and system, which other processes disturb\n"
    "         less: median, smallest and largest\n"
    "floor    median cpu s as a multiple of that of the floor: the same input\n"
    "         read through zlib in large pieces\n"
    "scan     the same of a scan that walks over the same actions by their\n"
    "         sizes and does nothing with them\n"
    "out MB   10^6 bytes of report and audit output\n"
    "\n"
    "Rows that must give the same output are compared; a difference ends the\n"
    "benchmark with exit status 1.\n";

constexpr int EXIT_USAGE = 2;

// A whole number from 1 up to what leaves action numbers within 32 bits.
std::uint64_t count_argument(const char* text) {
  constexpr unsigned long long MAX_COUNT = 100'000'000;
  char* end = nullptr;
  const unsigned long long count = std::strtoull(text, &end, 10);
  if (*end != '\0' || count < 1 || count > MAX_COUNT) {
    std::fprintf(stderr, "%s: a number from 1 to %llu is expected\n%s", text,
                 MAX_COUNT, HELP);
    std::exit(EXIT_USAGE);
  }
  return count;
}

void apply_option(int option, bench_options& chosen) {
  switch (option) {
    case 'a':
      chosen.live = static_cast<int>(count_argument(optarg));
      break;
    case 'b':
      chosen.data_sets = static_cast<int>(count_argument(optarg));
      break;
    case 'n':
      chosen.repeat = static_cast<int>(count_argument(optarg));
      break;
    case 'o':
      chosen.rows = optarg;
      break;
    case 's':
      chosen.scaling = true;
      break;
    case 'l':
      chosen.large = true;
      break;
    case 'e':
      chosen.skewed = true;
      break;
    case 'g':
      chosen.segments = static_cast<int>(count_argument(optarg));
      break;
    case 'c':
      chosen.cold = true;
      break;
    case 'd':
      chosen.directory = optarg;
      break;
    case 'p':
      chosen.program = optarg;
      break;
    case 't':
      chosen.trail = optarg;
      break;
    case 'w':
      chosen.write = optarg;
      break;
    case 'r':
      chosen.read.emplace_back(optarg);
      break;
    case 'k':
      chosen.scan.emplace_back(optarg);
      break;
    case 'y':
      chosen.copy = optarg;
      break;
    case 'h':
      std::fputs(HELP, stdout);
      std::exit(EXIT_SUCCESS);
    default:
      std::fputs(HELP, stderr);
      std::exit(EXIT_USAGE);
  }
}

}  // namespace

bench_options parse_bench_options(int argc, char* argv[]) {
  constexpr std::array<option, 18> OPTIONS{{
      {"live", required_argument, nullptr, 'a'},
      {"data-sets", required_argument, nullptr, 'b'},
      {"skewed", no_argument, nullptr, 'e'},
      {"repeat", required_argument, nullptr, 'n'},
      {"rows", required_argument, nullptr, 'o'},
      {"scaling", no_argument, nullptr, 's'},
      {"large", no_argument, nullptr, 'l'},
      {"segments", required_argument, nullptr, 'g'},
      {"cold", no_argument, nullptr, 'c'},
      {"directory", required_argument, nullptr, 'd'},
      {"program", required_argument, nullptr, 'p'},
      {"trail", required_argument, nullptr, 't'},
      {"write", required_argument, nullptr, 'w'},
      {"read", required_argument, nullptr, 'r'},
      {"scan", required_argument, nullptr, 'k'},
      {"copy", required_argument, nullptr, 'y'},
      {"help", no_argument, nullptr, 'h'},
      {nullptr, 0, nullptr, 0},
  }};
  bench_options chosen;
  chosen.directory = std::filesystem::temp_directory_path().string();
  for (;;) {
    const int option = getopt_long(argc, argv, "", OPTIONS.data(), nullptr);
    if (option == -1) break;
    apply_option(option, chosen);
  }
  if (!chosen.read.empty() || !chosen.scan.empty()) {
    std::vector<std::string>& files =
        chosen.read.empty() ? chosen.scan : chosen.read;
    files.insert(files.end(), argv + optind, argv + argc);
  } else if (optind < argc) {
    chosen.operations = count_argument(argv[optind]);
  }
  return chosen;
}
