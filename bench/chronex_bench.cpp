// Measures the program on logs of a chosen size and tells what each use of it
// costs, as a multiple of what the same input costs a program that only reads
// it (the floor), and one that only walks over its actions (the scan).

#include <sys/utsname.h>
#include <unistd.h>
#include <zlib.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/bench_log.h"
#include "bench/bench_options.h"
#include "bench/bench_table.h"
#include "bench/plain_work.h"
#include "bench/timed_run.h"
#include "bench/work_directory.h"

namespace {

// Disk space per operation for everything but the log: its gzip and encrypted
// forms, the audit file, the report, and the largest output (hex dumps).
constexpr std::uint64_t SPACE_PER_OPERATION = 3300;

// No record has this number.
constexpr const char* REJECT_ALL = "ORDERNO = -1";

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

bench_input make_input(const bench_log& plan, const std::string& path) {
  run_apart([&] { write_bench_log(plan, path); });
  bench_input made{{}, plan.operations, 0};
  for (int i = 1; i <= plan.segments; ++i) {
    made.paths.push_back(segment_path(path, i));
    made.bytes += std::filesystem::file_size(made.paths.back());
  }
  return made;
}

// The same input, every file compressed.
bench_input make_gzip_input(const bench_input& plain) {
  bench_input gzip = plain;
  for (std::string& path : gzip.paths) path += ".gz";
  run_apart([&] {
    for (std::size_t i = 0; i < plain.paths.size(); ++i) {
      write_gzip_copy(plain.paths[i], gzip.paths[i]);
    }
  });
  return gzip;
}

// What a run makes of an input; `output` is where its options put it, or else
// its standard output.
bench_input make_output(const bench_input& input, const std::string& output,
                        std::vector<std::string> words) {
  words.insert(words.end(), input.paths.begin(), input.paths.end());
  const bool is_report = words[1] != "-o";
  const timed_run run = run_timed(words, is_report ? output : "/dev/null");
  if (run.status != 0) throw std::runtime_error(output + " was not made");
  return {{output}, input.operations, std::filesystem::file_size(output)};
}

enum input_index { LOG, GZIP, ENCRYPTED, AUDIT, REPORT };

bench_log plan_of(const bench_options& chosen) {
  return {.operations = chosen.operations,
          .live = chosen.live,
          .data_sets = chosen.data_sets,
          .skewed = chosen.skewed};
}

std::vector<bench_input> make_inputs(const bench_options& chosen,
                                     const work_directory& directory) {
  bench_log plan = plan_of(chosen);
  const bench_input log = make_input(plan, directory.path("log"));
  const bench_input gzip = make_gzip_input(log);
  plan.encrypted = true;
  const bench_input encrypted =
      make_input(plan, directory.path("log-encrypted"));
  const std::string audit = directory.path("audit");
  const std::string report = directory.path("whole-report");
  return {log, gzip, encrypted,
          make_output(log, audit, {chosen.program, "-o", audit}),
          make_output(log, report, {chosen.program, "-r", "-v"})};
}

void run_all(const bench_options& chosen) {
  constexpr worker TRAIL = worker::trail;
  const work_directory directory(chosen.directory);
  directory.require_space(bench_log_space(plan_of(chosen)) +
                          chosen.operations * SPACE_PER_OPERATION);
  const std::vector<bench_input> inputs = make_inputs(chosen, directory);
  std::printf(
      "%llu operations, log %.0f MB, audit file %.0f MB, repeated %d times\n",
      static_cast<unsigned long long>(chosen.operations),
      static_cast<double>(inputs[LOG].bytes) / 1e6,
      static_cast<double>(inputs[AUDIT].bytes) / 1e6, chosen.repeat);
  run_table(
      {{"log: bulk read through zlib (floor)",
        LOG,
        {},
        true,
        "",
        worker::floor},
       {"log: scan of the actions", LOG, {}, false, "", worker::scan},
       {"log: reject-all filter", LOG, {"-e", REJECT_ALL}},
       {"log: -o", LOG, {"-o", AUDIT_OUTPUT}, false, "audit"},
       {"log: -o to /dev/null", LOG, {"-o", "/dev/null"}},
       {"log: -o -Z", LOG, {"-Z", "-o", AUDIT_OUTPUT}, false, "audit"},
       {"log: -r", LOG, {"-r"}, false, "-r"},
       {"log: stats", LOG, {"stats"}, false, "", TRAIL},
       {"log: -r -v", LOG, {"-r", "-v"}, false, "-r -v"},
       {"log: -r -v to /dev/null", LOG, {"-r", "-v"}, true},
       {"write of the bytes of log: -r -v",
        REPORT,
        {},
        false,
        "-r -v",
        worker::copy},
       {"log: json", LOG, {"json"}, false, "json", TRAIL},
       {"log: json to /dev/null", LOG, {"json"}, true, "", TRAIL},
       {"log: json --jobs 2 to /dev/null",
        LOG,
        {"json", "--jobs", "2"},
        true,
        "",
        TRAIL},
       {"log: json -o NAME.gz",
        LOG,
        {"json", "-o", COMPRESSED_OUTPUT},
        false,
        "json",
        TRAIL},
       {"log: json --split",
        LOG,
        {"json", "--split", SPLIT_OUTPUT},
        false,
        "",
        TRAIL},
       {"log: sql", LOG, {"sql", "-o", AUDIT_OUTPUT}, false, "", TRAIL},
       {"log: -x", LOG, {"-x"}},
       {"log: -m", LOG, {"-m"}, false, "-m"},
       {"gzip log: bulk read (floor)", GZIP, {}, true, "", worker::floor},
       {"gzip log: scan of the actions", GZIP, {}, false, "", worker::scan},
       {"gzip log: reject-all filter", GZIP, {"-e", REJECT_ALL}},
       {"gzip log: json to /dev/null", GZIP, {"json"}, true, "", TRAIL},
       {"gzip log: json --jobs 2 to /dev/null",
        GZIP,
        {"json", "--jobs", "2"},
        true,
        "",
        TRAIL},
       {"encrypted log: bulk read (floor)",
        ENCRYPTED,
        {},
        true,
        "",
        worker::floor},
       {"encrypted log: scan of the actions",
        ENCRYPTED,
        {},
        false,
        "",
        worker::scan},
       {"encrypted log (XOR): reject-all filter",
        ENCRYPTED,
        {"-e", REJECT_ALL}},
       {"encrypted log (XOR): -r", ENCRYPTED, {"-r"}, false, "-r"},
       {"audit file: bulk read (floor)", AUDIT, {}, true, "", worker::floor},
       {"audit file: scan of the records", AUDIT, {}, false, "", worker::scan},
       {"audit file: reject-all filter", AUDIT, {"-e", REJECT_ALL}},
       {"audit file: -o", AUDIT, {"-o", AUDIT_OUTPUT}, false, "audit"},
       {"audit file: -o -Z", AUDIT, {"-Z", "-o", AUDIT_OUTPUT}, false, "audit"},
       {"audit file: -r", AUDIT, {"-r"}, false, "-r"},
       {"audit file: -r -v", AUDIT, {"-r", "-v"}},
       {"audit file: -x", AUDIT, {"-x"}},
       {"audit file: -m", AUDIT, {"-m"}, false, "-m"}},
      chosen, inputs, directory);
}

const std::string REJECT_ROW = "reject";

// The rows of one input among several.
void add_rows(std::vector<measurement>& table, const std::string& name,
              std::size_t input, const std::string& output) {
  table.push_back({name + "read (floor)", input, {}, true, "", worker::floor});
  table.push_back({name + "scan", input, {}, false, "", worker::scan});
  table.push_back({name + REJECT_ROW, input, {"-e", REJECT_ALL}});
  table.push_back({name + "-r", input, {"-r"}, output.empty(), output});
}

// One part of the scaling: a log, and the same without its operations.
struct live_part {
  std::string name;
  std::size_t input = 0;
};

// What the parts' operations cost without the signing on and describing of what
// is live, which is measured by itself, and as multiples of the first part.
void print_operation_costs(const std::vector<live_part>& parts,
                           const std::vector<measurement>& table,
                           const std::vector<bench_input>& inputs) {
  const auto nanoseconds = [&](std::size_t input) {
    for (const measurement& row : table) {
      if (row.input != input || !row.name.ends_with(REJECT_ROW)) continue;
      return spread(row.cpu_seconds).median * 1e9 /
             static_cast<double>(inputs[input].operations);
    }
    return 0.0;
  };
  std::printf(
      "\nreject, median cpu ns for an operation: of the whole run, and without "
      "signing on and describing\n%-40s %8s %8s %8s %8s\n",
      "", "whole", "multiple", "without", "multiple");
  const double first_whole = nanoseconds(parts.front().input);
  const double first = first_whole - nanoseconds(parts.front().input + 1);
  for (const live_part& part : parts) {
    const double whole = nanoseconds(part.input);
    const double without = whole - nanoseconds(part.input + 1);
    std::printf("%-40s %8.1f %8.2f %8.1f %8.2f\n", part.name.c_str(), whole,
                whole / first_whole, without, without / first);
  }
}

// What the scaling is made of: how many sessions and data sets are live.
std::vector<bench_log> live_plans(const bench_options& chosen) {
  std::vector<bench_log> plans;
  for (const int live : {10, 1'000, 10'000, 100'000}) {
    plans.push_back(
        {.operations = chosen.operations, .live = live, .data_sets = live});
  }
  plans.push_back(
      {.operations = chosen.operations, .live = 100'000, .data_sets = 10});
  plans.push_back(
      {.operations = chosen.operations, .live = 10, .data_sets = 100'000});
  for (bench_log& plan : plans) plan.skewed = chosen.skewed;
  return plans;
}

// The inputs and rows of the scaling.
class scaling {
 public:
  explicit scaling(const work_directory& directory) : directory_(directory) {}

  void add_size(const bench_log& plan) {
    add(plan, std::to_string(plan.operations) + " ops: ");
  }

  void add_live(bench_log plan) {
    const std::string name = std::to_string(plan.live) + " live, " +
                             std::to_string(plan.data_sets) + " sets: ";
    parts_.push_back({name, inputs_.size()});
    const std::uint64_t operations = plan.operations;
    add(plan, name);
    plan.operations = 0;
    add_input(plan);
    // The row tells the share of each of the operations that there were.
    inputs_.back().operations = operations;
    table_.push_back({name + "no ops, " + REJECT_ROW,
                      inputs_.size() - 1,
                      {"-e", REJECT_ALL}});
  }

  void run(const bench_options& chosen) const {
    const std::vector<measurement> measured =
        run_table(table_, chosen, inputs_, directory_);
    if (chosen.rows.empty()) {
      print_operation_costs(parts_, measured, inputs_);
    }
  }

 private:
  void add_input(const bench_log& plan) {
    const std::string number = std::to_string(inputs_.size());
    inputs_.push_back(make_input(plan, directory_.path("log" + number)));
  }

  void add(const bench_log& plan, const std::string& name) {
    const std::size_t index = inputs_.size();
    add_input(plan);
    add_rows(table_, name, index, "");
    table_.push_back({name + "-o", index, {"-o", "/dev/null"}});
    table_.push_back({name + "json", index, {"json"}, true, "", worker::trail});
  }

  const work_directory& directory_;
  std::vector<live_part> parts_;
  std::vector<bench_input> inputs_;
  std::vector<measurement> table_;
};

void run_scaling(const bench_options& chosen) {
  std::vector<bench_log> sizes{{.operations = chosen.operations / 10},
                               {.operations = chosen.operations}};
  if (chosen.large) sizes.push_back({.operations = chosen.operations * 10});
  const std::vector<bench_log> live = live_plans(chosen);
  const work_directory directory(chosen.directory);
  std::uint64_t space = 0;
  for (const bench_log& plan : sizes) space += bench_log_space(plan);
  for (const bench_log& plan : live) space += bench_log_space(plan) * 9 / 8;
  directory.require_space(space);

  scaling whole(directory);
  for (const bench_log& plan : sizes) whole.add_size(plan);
  for (const bench_log& plan : live) whole.add_live(plan);
  std::printf("outputs to /dev/null, repeated %d times\n", chosen.repeat);
  whole.run(chosen);
}

void run_segments(const bench_options& chosen) {
  const work_directory directory(chosen.directory);
  bench_log plan = plan_of(chosen);
  directory.require_space(4 * bench_log_space(plan));
  const bench_input one = make_input(plan, directory.path("one"));
  plan.segments = chosen.segments;
  const bench_input many = make_input(plan, directory.path("many"));
  const std::vector<bench_input> inputs{one, many, make_gzip_input(one),
                                        make_gzip_input(many)};
  const std::string count = std::to_string(chosen.segments) + " files: ";
  std::vector<measurement> table;
  add_rows(table, "one file: ", 0, "-r");
  add_rows(table, count, 1, "-r");
  add_rows(table, "one gzip file: ", 2, "-r");
  add_rows(table, "gzip, " + count, 3, "-r");
  std::printf("%.0f MB, input %s memory, repeated %d times\n",
              static_cast<double>(one.bytes) / 1e6,
              chosen.cold ? "not in" : "in", chosen.repeat);
  run_table(std::move(table), chosen, inputs, directory);
}

// What a row is measured against is done here, in a process of its own.
bool do_plain_work(const bench_options& chosen) {
  if (!chosen.read.empty()) {
    read_through_zlib(chosen.read);
  } else if (!chosen.scan.empty()) {
    std::printf("%llu\n",
                static_cast<unsigned long long>(scan_files(chosen.scan)));
  } else if (!chosen.copy.empty()) {
    write_bytes_of(chosen.copy);
  } else if (!chosen.write.empty()) {
    write_bench_log(plan_of(chosen), chosen.write);
  } else {
    return false;
  }
  return true;
}

void run(const bench_options& chosen) {
  if (do_plain_work(chosen)) return;
  // With this set the encrypted log would not be decrypted.
  unsetenv("KODB_NO_DECRYPT");
  print_machine();
  if (chosen.scaling) {
    run_scaling(chosen);
  } else if (chosen.segments > 0) {
    run_segments(chosen);
  } else {
    run_all(chosen);
  }
}

}  // namespace

int main(int argc, char* argv[]) {
  try {
    run(parse_bench_options(argc, argv));
    return EXIT_SUCCESS;
  } catch (const std::exception& problem) {
    std::fprintf(stderr, "%s\n", problem.what());
    return EXIT_FAILURE;
  }
}
