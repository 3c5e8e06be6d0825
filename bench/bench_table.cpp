#include "bench/bench_table.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <stdexcept>
#include <utility>

#include "bench/output_digest.h"
#include "bench/timed_run.h"

namespace {

// Compression takes as long as all else together, and is a library's alone.
constexpr int MAX_COMPRESSIONS = 3;

std::vector<std::string> command_of(const measurement& row,
                                    const bench_options& chosen,
                                    const bench_input& input,
                                    const std::string& audit_output) {
  std::vector<std::string> words;
  switch (row.by) {
    case worker::chronex:
      words = {chosen.program};
      break;
    case worker::trail:
      words = {chosen.trail};
      break;
    case worker::floor:
      words = {"/proc/self/exe", "--read"};
      break;
    case worker::scan:
      words = {"/proc/self/exe", "--scan"};
      break;
    case worker::copy:
      words = {"/proc/self/exe", "--copy"};
      break;
  }
  for (const std::string& option : row.options) {
    words.push_back(option == AUDIT_OUTPUT        ? audit_output
                    : option == COMPRESSED_OUTPUT ? audit_output + ".gz"
                    : option == SPLIT_OUTPUT      ? audit_output + ".d"
                                                  : option);
  }
  words.insert(words.end(), input.paths.begin(), input.paths.end());
  return words;
}

// What is not on the disk is not dropped.
void write_to_disk(const bench_input& input) {
  const int file = open(input.paths.front().c_str(), O_RDONLY | O_CLOEXEC);
  const bool written = file >= 0 && syncfs(file) == 0;
  if (file >= 0) close(file);
  if (!written) throw std::runtime_error("the input cannot be written to disk");
}

void drop_from_memory(const bench_input& input) {
  for (const std::string& path : input.paths) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    const bool dropped =
        file >= 0 && posix_fadvise(file, 0, 0, POSIX_FADV_DONTNEED) == 0;
    if (file >= 0) close(file);
    if (!dropped) throw std::runtime_error(path + ": cannot be dropped");
  }
}

// The files that a run may write.
class output_files {
 public:
  explicit output_files(const work_directory& directory)
      : report_(directory.path("report")),
        audit_(directory.path("audit-output")) {}

  const std::string& report() const { return report_; }
  const std::string& audit() const { return audit_; }

  // Of the file that is not empty.
  std::string digest() const {
    for (const std::string& path : {audit_, audit_ + ".gz"}) {
      if (std::filesystem::exists(path)) return output_digest(path);
    }
    return output_digest(report_);
  }

  // Removes them and returns how much there was.
  std::uint64_t take() const {
    std::uint64_t size = take_directory();
    for (const std::string& path : {report_, audit_, audit_ + ".gz"}) {
      std::error_code missing;
      const std::uint64_t bytes = std::filesystem::file_size(path, missing);
      if (missing) continue;
      size += bytes;
      std::filesystem::remove(path);
    }
    return size;
  }

 private:
  std::uint64_t take_directory() const {
    const std::filesystem::path directory = audit_ + ".d";
    std::uint64_t size = 0;
    if (!std::filesystem::exists(directory)) return size;
    for (const auto& entry :
         std::filesystem::recursive_directory_iterator(directory)) {
      if (entry.is_regular_file()) size += entry.file_size();
    }
    std::filesystem::remove_all(directory);
    return size;
  }

  std::string report_;
  std::string audit_;
};

// What the outputs were like that must be the same.
class output_check {
 public:
  void look_at(const measurement& row, const output_files& files) {
    const std::string found = files.digest();
    const auto [first, is_new] =
        first_.try_emplace(row.output, row.name, found);
    if (is_new || first->second.second == found) return;
    throw std::runtime_error(row.name + ": " + found + ", but " +
                             first->second.first + ": " + first->second.second);
  }

 private:
  // The row that came first, and its output.
  std::map<std::string, std::pair<std::string, std::string>> first_;
};

void check_scan(const measurement& row, const bench_input& input,
                const output_files& files) {
  std::uint64_t operations = 0;
  std::ifstream(files.report()) >> operations;
  if (operations == input.operations) return;
  throw std::runtime_error(row.name + ": " + std::to_string(operations) +
                           " operations instead of " +
                           std::to_string(input.operations));
}

void measure(measurement& row, const bench_options& chosen,
             const bench_input& input, const output_files& files,
             output_check& check) {
  if (chosen.cold) drop_from_memory(input);
  const timed_run run = run_timed(command_of(row, chosen, input, files.audit()),
                                  row.discard ? "/dev/null" : files.report());
  if (run.status != 0) {
    throw std::runtime_error(row.name + ": exit status " +
                             std::to_string(run.status));
  }
  if (row.by == worker::scan) check_scan(row, input, files);
  if (row.seconds.empty() && !row.output.empty()) check.look_at(row, files);
  row.seconds.push_back(run.seconds);
  row.cpu_seconds.push_back(run.cpu_seconds);
  row.peak_kib = std::max(row.peak_kib, run.peak_kib);
  row.output_bytes = files.take();
}

// Median processor times; 0: not measured.
struct limits {
  double floor = 0;
  double scan = 0;
};

void print_multiple(double seconds, double limit) {
  if (limit > 0) {
    std::printf(" %6.2f", seconds / limit);
  } else {
    std::printf(" %6s", "");
  }
}

void print_row(const measurement& row, const bench_input& input,
               const limits& limit) {
  const spread wall(row.seconds);
  const spread cpu(row.cpu_seconds);
  const auto operations = static_cast<double>(input.operations);
  std::printf("%-40s %7.3f %7.3f %7.3f %7.0f %9.0f %6.0f %6.1f",
              row.name.c_str(), wall.median, wall.least, wall.most,
              static_cast<double>(input.bytes) / wall.median / 1e6,
              operations / wall.median, cpu.median / operations * 1e9,
              static_cast<double>(row.peak_kib) / 1024);
  std::printf(" %7.3f %7.3f %7.3f", cpu.median, cpu.least, cpu.most);
  print_multiple(cpu.median, limit.floor);
  print_multiple(cpu.median, limit.scan);
  std::printf(" %6.0f\n", static_cast<double>(row.output_bytes) / 1e6);
}

void print_table(const std::vector<measurement>& table,
                 const std::vector<bench_input>& inputs) {
  std::vector<limits> of_inputs(inputs.size());
  for (const measurement& row : table) {
    const double seconds = spread(row.cpu_seconds).median;
    if (row.by == worker::floor) of_inputs[row.input].floor = seconds;
    if (row.by == worker::scan) of_inputs[row.input].scan = seconds;
  }
  std::printf("%-40s %7s %7s %7s %7s %9s %6s %6s %7s %7s %7s %6s %6s %6s\n", "",
              "seconds", "min", "max", "MB/s", "ops/s", "ns/op", "peak",
              "cpu s", "min", "max", "floor", "scan", "out MB");
  for (const measurement& row : table) {
    print_row(row, inputs[row.input], of_inputs[row.input]);
  }
}

// Keeps the rows that were asked for, and the floors of their inputs.
void select_rows(std::vector<measurement>& table, const std::string& text) {
  const auto is_asked_for = [&text](const measurement& row) {
    return row.name.find(text) != std::string::npos;
  };
  std::vector<measurement> selected;
  for (const measurement& row : table) {
    const bool is_limit = row.by == worker::floor || row.by == worker::scan;
    const bool is_needed =
        is_limit &&
        std::any_of(table.begin(), table.end(), [&](const measurement& other) {
          return other.input == row.input && is_asked_for(other);
        });
    if (is_needed || is_asked_for(row)) selected.push_back(row);
  }
  table = std::move(selected);
}

}  // namespace

spread::spread(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t middle = values.size() / 2;
  median = values.size() % 2 == 1 ? values[middle]
                                  : (values[middle - 1] + values[middle]) / 2;
  least = values.front();
  most = values.back();
}

std::vector<measurement> run_table(std::vector<measurement> table,
                                   const bench_options& chosen,
                                   const std::vector<bench_input>& inputs,
                                   const work_directory& directory) {
  select_rows(table, chosen.rows);
  const output_files files(directory);
  output_check check;
  if (chosen.cold) std::ranges::for_each(inputs, write_to_disk);
  for (int i = 0; i < chosen.repeat; ++i) {
    for (measurement& row : table) {
      if (row.compresses() && i >= MAX_COMPRESSIONS) continue;
      measure(row, chosen, inputs[row.input], files, check);
    }
  }
  print_table(table, inputs);
  return table;
}
