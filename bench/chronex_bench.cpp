// Measures the program on logs of a chosen size and tells what each use of it
// costs, as a multiple of reading the same file through zlib and doing nothing
// else (the floor).
//
// All rows of a table are measured in turn, over and over again, so that noise
// on the machine hits them alike; then the medians are compared.

#include <sys/utsname.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "bench/bench_log.h"
#include "bench/bench_options.h"
#include "bench/timed_run.h"

namespace {

constexpr std::uint64_t MEGABYTE = 1'000'000;
constexpr std::size_t READ_SIZE = std::size_t{256} * 1024;
constexpr unsigned GZ_BUFFER_SIZE = 128 * 1024;
// Disk space per operation for everything but the log: its gzip and encrypted
// forms, the audit file, and the largest report (hex dumps).
constexpr std::uint64_t SPACE_PER_OPERATION = 2500;

// Compression takes as long as all else together, and is a library's alone.
constexpr int MAX_COMPRESSIONS = 3;

// No record has this number.
constexpr const char* REJECT_ALL = "ORDERNO = -1";
// Stands for the audit output in the work directory.
constexpr const char* AUDIT_OUTPUT = "(audit output)";
// The same for a file whose name asks for compression.
constexpr const char* COMPRESSED_OUTPUT = "(audit output).gz";
// Instead of options: the floor.
constexpr const char* FLOOR = "(floor)";
// The first words of rows for chronex-trail: the command.
constexpr const char* JSON = "json";
constexpr const char* STATS = "stats";

// A file to be read.
struct bench_input {
  std::string path;
  std::uint64_t operations = 0;
  // Decompressed.
  std::uint64_t bytes = 0;
};

// One row of a table.
struct measurement {
  std::string name;
  std::size_t input = 0;
  std::vector<std::string> options = {};
  // Standard output goes to /dev/null instead of a file.
  bool discard = false;
  std::vector<double> seconds = {};
  std::vector<double> cpu_seconds = {};
  long peak_kib = 0;
  std::uint64_t output_bytes = 0;

  bool is_floor() const { return !options.empty() && options[0] == FLOOR; }
  bool is_of_trail() const {
    return !options.empty() && (options[0] == JSON || options[0] == STATS);
  }
  bool compresses() const {
    return !options.empty() &&
           (options[0] == "-Z" || options.back() == COMPRESSED_OUTPUT);
  }
};

// A new directory, removed with everything in it at the end.
class work_directory {
 public:
  explicit work_directory(const std::string& parent)
      : root_(parent + "/chronex-bench.XXXXXX") {
    if (mkdtemp(root_.data()) == nullptr) {
      throw std::runtime_error(root_ + ": " + std::strerror(errno));
    }
  }
  ~work_directory() {
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
  }
  work_directory(const work_directory&) = delete;
  work_directory& operator=(const work_directory&) = delete;

  std::string path(const std::string& name) const { return root_ + "/" + name; }

  void require_space(std::uint64_t bytes) const {
    const std::uint64_t available = std::filesystem::space(root_).available;
    if (available >= bytes) return;
    throw std::runtime_error(root_ + ": " + std::to_string(bytes / MEGABYTE) +
                             " MB needed, " +
                             std::to_string(available / MEGABYTE) + " MB free");
  }

 private:
  std::string root_;
};

int read_through_zlib(const std::string& path) {
  gzFile file = gzopen(path.c_str(), "rb");
  if (file == nullptr) {
    std::perror(path.c_str());
    return EXIT_FAILURE;
  }
  gzbuffer(file, GZ_BUFFER_SIZE);
  static std::array<char, READ_SIZE> block;
  while (gzfread(block.data(), 1, block.size(), file) > 0) {
  }
  return gzclose(file) == Z_OK ? EXIT_SUCCESS : EXIT_FAILURE;
}

std::string processor_name() {
  std::ifstream file("/proc/cpuinfo");
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("model name")) return line.substr(line.find(':') + 2);
  }
  return "unknown processor";
}

void print_machine() {
  utsname system{};
  uname(&system);
  std::printf("%s, %ld cores, %s %s, zlib %s\n", processor_name().c_str(),
              sysconf(_SC_NPROCESSORS_ONLN), system.sysname, system.release,
              zlibVersion());
}

std::uint64_t take_size(const std::string& path) {
  std::error_code missing;
  const std::uint64_t size = std::filesystem::file_size(path, missing);
  if (missing) return 0;
  std::filesystem::remove(path);
  return size;
}

std::vector<std::string> command_of(const measurement& row,
                                    const bench_options& chosen,
                                    const bench_input& input,
                                    const std::string& audit_output) {
  if (row.is_floor()) return {"/proc/self/exe", "--read", input.path};
  std::vector<std::string> words{row.is_of_trail() ? chosen.trail
                                                   : chosen.program};
  for (const std::string& option : row.options) {
    words.push_back(option == AUDIT_OUTPUT        ? audit_output
                    : option == COMPRESSED_OUTPUT ? audit_output + ".gz"
                                                  : option);
  }
  words.push_back(input.path);
  return words;
}

void measure(measurement& row, const bench_options& chosen,
             const bench_input& input, const work_directory& directory) {
  const std::string report = directory.path("report");
  const std::string audit = directory.path("audit-output");
  const timed_run run = run_timed(command_of(row, chosen, input, audit),
                                  row.discard ? "/dev/null" : report);
  if (run.status != 0) {
    throw std::runtime_error(row.name + ": exit status " +
                             std::to_string(run.status));
  }
  row.seconds.push_back(run.seconds);
  row.cpu_seconds.push_back(run.cpu_seconds);
  row.peak_kib = std::max(row.peak_kib, run.peak_kib);
  row.output_bytes =
      take_size(report) + take_size(audit) + take_size(audit + ".gz");
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t middle = values.size() / 2;
  if (values.size() % 2 == 1) return values[middle];
  return (values[middle - 1] + values[middle]) / 2;
}

// The floor of one input, as medians.
struct floor_time {
  double seconds = 0;
  double cpu_seconds = 0;
};

void print_row(const measurement& row, const bench_input& input,
               const floor_time& floor) {
  const double seconds = median(row.seconds);
  const double cpu_seconds = median(row.cpu_seconds);
  const auto [least, most] =
      std::minmax_element(row.seconds.begin(), row.seconds.end());
  const auto operations = static_cast<double>(input.operations);
  std::printf(
      "%-38s %7.3f %7.3f %7.3f %7.0f %9.0f %6.0f %6.1f %6.2f %7.3f %7.2f "
      "%6.0f\n",
      row.name.c_str(), seconds, *least, *most,
      static_cast<double>(input.bytes) / seconds / 1e6, operations / seconds,
      seconds / operations * 1e9, static_cast<double>(row.peak_kib) / 1024,
      seconds / floor.seconds, cpu_seconds, cpu_seconds / floor.cpu_seconds,
      static_cast<double>(row.output_bytes) / 1e6);
}

void print_table(const std::vector<measurement>& table,
                 const std::vector<bench_input>& inputs) {
  std::vector<floor_time> floors(inputs.size());
  for (const measurement& row : table) {
    if (row.is_floor()) {
      floors[row.input] = {median(row.seconds), median(row.cpu_seconds)};
    }
  }
  std::printf("%-38s %7s %7s %7s %7s %9s %6s %6s %6s %7s %7s %6s\n", "",
              "seconds", "min", "max", "MB/s", "ops/s", "ns/op", "peak",
              "floor", "cpu s", "cpu fl.", "out MB");
  for (const measurement& row : table) {
    print_row(row, inputs[row.input], floors[row.input]);
  }
}

// Keeps the rows that were asked for, and the floors of their inputs.
void select_rows(std::vector<measurement>& table, const std::string& text) {
  const auto is_asked_for = [&text](const measurement& row) {
    return row.name.find(text) != std::string::npos;
  };
  std::vector<measurement> selected;
  for (const measurement& row : table) {
    const bool is_needed =
        row.is_floor() &&
        std::any_of(table.begin(), table.end(), [&](const measurement& other) {
          return other.input == row.input && is_asked_for(other);
        });
    if (is_needed || is_asked_for(row)) selected.push_back(row);
  }
  table = std::move(selected);
}

void run_table(std::vector<measurement> table, const bench_options& chosen,
               const std::vector<bench_input>& inputs,
               const work_directory& directory) {
  select_rows(table, chosen.rows);
  for (int i = 0; i < chosen.repeat; ++i) {
    for (measurement& row : table) {
      if (row.compresses() && i >= MAX_COMPRESSIONS) continue;
      measure(row, chosen, inputs[row.input], directory);
    }
  }
  print_table(table, inputs);
}

bench_input make_input(const bench_log& plan, const std::string& path) {
  run_apart([&] { write_bench_log(plan, path); });
  return {path, plan.operations, std::filesystem::file_size(path)};
}

enum input_index { LOG, GZIP, ENCRYPTED, AUDIT };

std::vector<bench_input> make_inputs(const bench_options& chosen,
                                     const work_directory& directory) {
  bench_log plan{.operations = chosen.operations, .live = chosen.live};
  const bench_input log = make_input(plan, directory.path("log"));
  bench_input gzip = log;
  gzip.path = directory.path("log.gz");
  run_apart([&] { write_gzip_copy(log.path, gzip.path); });
  plan.encrypted = true;
  const bench_input encrypted =
      make_input(plan, directory.path("log-encrypted"));

  bench_input audit{directory.path("audit"), log.operations, 0};
  const timed_run run = run_timed({chosen.program, "-o", audit.path, log.path},
                                  directory.path("report"));
  if (run.status != 0) throw std::runtime_error("no audit file was made");
  audit.bytes = std::filesystem::file_size(audit.path);
  return {log, gzip, encrypted, audit};
}

void run_all(const bench_options& chosen) {
  const work_directory directory(chosen.directory);
  directory.require_space(
      bench_log_space({.operations = chosen.operations, .live = chosen.live}) +
      chosen.operations * SPACE_PER_OPERATION);
  const std::vector<bench_input> inputs = make_inputs(chosen, directory);
  std::printf(
      "%llu operations, log %.0f MB, audit file %.0f MB, repeated %d times\n",
      static_cast<unsigned long long>(chosen.operations),
      static_cast<double>(inputs[LOG].bytes) / 1e6,
      static_cast<double>(inputs[AUDIT].bytes) / 1e6, chosen.repeat);
  run_table({{"log: read alone (floor)", LOG, {FLOOR}},
             {"log: reject-all filter", LOG, {"-e", REJECT_ALL}},
             {"log: -o", LOG, {"-o", AUDIT_OUTPUT}},
             {"log: -o to /dev/null", LOG, {"-o", "/dev/null"}},
             {"log: -o -Z", LOG, {"-Z", "-o", AUDIT_OUTPUT}},
             {"log: -r", LOG, {"-r"}},
             {"log: stats", LOG, {STATS}},
             {"log: -r -v", LOG, {"-r", "-v"}},
             {"log: -r -v to /dev/null", LOG, {"-r", "-v"}, true},
             {"log: json", LOG, {JSON}},
             {"log: json to /dev/null", LOG, {JSON}, true},
             {"log: json -o NAME.gz", LOG, {JSON, "-o", COMPRESSED_OUTPUT}},
             {"log: -x", LOG, {"-x"}},
             {"log: -m", LOG, {"-m"}},
             {"gzip log: read alone (floor)", GZIP, {FLOOR}},
             {"gzip log: reject-all filter", GZIP, {"-e", REJECT_ALL}},
             {"encrypted log: read alone (floor)", ENCRYPTED, {FLOOR}},
             {"encrypted log (XOR): reject-all filter",
              ENCRYPTED,
              {"-e", REJECT_ALL}},
             {"audit file: read alone (floor)", AUDIT, {FLOOR}},
             {"audit file: reject-all filter", AUDIT, {"-e", REJECT_ALL}},
             {"audit file: -o", AUDIT, {"-o", AUDIT_OUTPUT}},
             {"audit file: -o -Z", AUDIT, {"-Z", "-o", AUDIT_OUTPUT}},
             {"audit file: -r", AUDIT, {"-r"}},
             {"audit file: -r -v", AUDIT, {"-r", "-v"}},
             {"audit file: -x", AUDIT, {"-x"}},
             {"audit file: -m", AUDIT, {"-m"}}},
            chosen, inputs, directory);
}

void run_scaling(const bench_options& chosen) {
  std::vector<bench_log> plans{{.operations = chosen.operations / 10},
                               {.operations = chosen.operations}};
  if (chosen.large) plans.push_back({.operations = chosen.operations * 10});
  for (const int live : {10, 1'000, 10'000, 100'000}) {
    plans.push_back({.operations = chosen.operations, .live = live});
  }
  const work_directory directory(chosen.directory);
  std::uint64_t space = 0;
  for (const bench_log& plan : plans) space += bench_log_space(plan);
  directory.require_space(space);

  std::vector<bench_input> inputs;
  std::vector<measurement> table;
  for (const bench_log& plan : plans) {
    const std::size_t index = inputs.size();
    const std::string name = std::to_string(plan.operations) + " ops, " +
                             std::to_string(plan.live) + " live: ";
    inputs.push_back(
        make_input(plan, directory.path("log" + std::to_string(index))));
    table.push_back({name + "read", index, {FLOOR}});
    table.push_back({name + "reject", index, {"-e", REJECT_ALL}});
    table.push_back({name + "-o", index, {"-o", "/dev/null"}});
    table.push_back({name + "-r", index, {"-r"}, true});
  }
  std::printf("outputs to /dev/null, repeated %d times\n", chosen.repeat);
  run_table(std::move(table), chosen, inputs, directory);
}

int run(int argc, char* argv[]) {
  const bench_options chosen = parse_bench_options(argc, argv);
  if (!chosen.read.empty()) return read_through_zlib(chosen.read);
  if (!chosen.write.empty()) {
    write_bench_log({.operations = chosen.operations, .live = chosen.live},
                    chosen.write);
    return EXIT_SUCCESS;
  }
  // With this set the encrypted log would not be decrypted.
  unsetenv("KODB_NO_DECRYPT");
  print_machine();
  if (chosen.scaling) {
    run_scaling(chosen);
  } else {
    run_all(chosen);
  }
  return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char* argv[]) {
  try {
    return run(argc, argv);
  } catch (const std::exception& problem) {
    std::fprintf(stderr, "%s\n", problem.what());
    return EXIT_FAILURE;
  }
}
