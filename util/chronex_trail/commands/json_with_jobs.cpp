// chronex-trail json --jobs: pieces of the trail side by side.
//
// This process goes over the inputs without writing anything, which takes a
// tenth of the time, and knows at each border of a piece all that the run knows
// there. There it divides: the copy writes the events of the piece that begins,
// while this one goes on to the next border. A piece ends between two actions,
// where the same measure says so to both.

#include "util/chronex_trail/commands/json_with_jobs.h"

#include <unistd.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>

#include "util/chronex/messages/run_failed.h"
#include "util/chronex_trail/files/gzip_writer.h"
#include "util/chronex_trail/files/result_file.h"
#include "util/chronex_trail/json/event_counter.h"
#include "util/chronex_trail/json/json_output.h"
#include "util/chronex_trail/run/job_pool.h"

namespace {

constexpr int EXIT_ERROR = 1;

// Bytes of input, decompressed, that make a piece.
std::uint64_t piece_size() {
  constexpr std::uint64_t DEFAULT_SIZE = std::uint64_t{8} << 20;
  // Tests have small logs.
  const char* const size = std::getenv("CHRONEX_PIECE_SIZE");
  return size != nullptr ? std::strtoull(size, nullptr, 10) : DEFAULT_SIZE;
}

// Measures a piece as it is read.
class piece_measure {
 public:
  explicit piece_measure(std::uint64_t size) : size_(size) {}

  // To be asked behind every action: whether the piece ends there.
  bool is_full(const input_file& file) {
    const std::uint64_t position = file.stream.position();
    if (&file != file_) {
      before_ += last_ - begin_;
      file_ = &file;
      begin_ = 0;
    }
    last_ = position;
    return before_ + last_ - begin_ >= size_;
  }
  // The next piece begins here.
  void begin() {
    before_ = 0;
    begin_ = last_;
  }

 private:
  std::uint64_t size_;
  const input_file* file_ = nullptr;
  std::uint64_t begin_ = 0;
  std::uint64_t last_ = 0;
  // Bytes of the files before.
  std::uint64_t before_ = 0;
};

// The output of a job: as a file of the run, or a part of it.
class part_sink : public byte_sink {
 public:
  part_sink(run_messages& messages, int descriptor, bool compressed)
      : messages_(messages), descriptor_(descriptor) {
    if (compressed) compressed_.emplace(system_);
  }

  int write(std::string_view bytes) override {
    return compressed_ ? compressed_->write(bytes) : system_.write(bytes);
  }
  int finish() { return compressed_ ? compressed_->end_member() : 0; }

 private:
  class system_sink : public byte_sink {
   public:
    explicit system_sink(part_sink& part) : part_(part) {}
    int write(std::string_view bytes) override {
      return part_.write_to_system(bytes);
    }

   private:
    part_sink& part_;
  };

  int write_to_system(std::string_view bytes) {
    while (!bytes.empty()) {
      const ssize_t count = ::write(descriptor_, bytes.data(), bytes.size());
      if (count >= 0) {
        bytes.remove_prefix(static_cast<std::size_t>(count));
      } else if (errno != EINTR) {
        messages_.perror("output");
        messages_.print("Failed to write output\n");
        return -1;
      }
    }
    return 0;
  }

  run_messages& messages_;
  int descriptor_;
  system_sink system_{*this};
  std::optional<gzip_writer> compressed_;
};

// Of a job, in its process: writes events until the piece ends.
class piece_output final : public json_output {
 public:
  piece_output(trail_run& run, part_sink& sink, const piece_measure& measure)
      : json_output(run.messages, sink, &run.item_names),
        run_(run),
        sink_(sink),
        measure_(measure) {}

  void action_done() override {
    if (measure_.is_full(*run_.events.place.file)) leave(job_end::border);
  }
  // All that is held in this process is a copy of what another holds.
  [[noreturn]] void leave(job_end end) {
    if (flush() != 0 || sink_.finish() != 0) end = job_end::failed;
    _exit(static_cast<int>(end));
  }

 private:
  trail_run& run_;
  part_sink& sink_;
  piece_measure measure_;
};

class json_jobs {
 public:
  json_jobs(trail_run& run, const shared_options& options, result_file& file)
      : run_(run),
        is_compressed_(file.is_compressed()),
        pool_(
            static_cast<std::size_t>(options.jobs), file.descriptor(),
            directory_of(options.output),
            [&file](int part) { return file.append_part(part); }, run.messages),
        scout_(*this) {}

  // Returns the exit status.
  int make();

 private:
  // Goes ahead of the jobs.
  class scout : public event_counter {
   public:
    explicit scout(json_jobs& jobs) : jobs_(jobs) {}
    void action_done() override { jobs_.look_for_border(); }

   private:
    json_jobs& jobs_;
  };

  static std::string directory_of(const std::string& output);
  void look_for_border();
  void start_piece();
  void take_over(int part, std::int64_t offset);

  trail_run& run_;
  bool is_compressed_;
  job_pool pool_;
  scout scout_;
  piece_measure measure_{piece_size()};
  // Those of a job, in its process.
  std::unique_ptr<part_sink> sink_;
  std::unique_ptr<piece_output> output_;
};

std::string json_jobs::directory_of(const std::string& output) {
  if (output != "-" && !output.starts_with("/dev/")) {
    const std::size_t slash = output.rfind('/');
    return slash == std::string::npos ? "." : output.substr(0, slash + 1);
  }
  const char* const directory = std::getenv("TMPDIR");
  return directory != nullptr ? directory : "/tmp";
}

void json_jobs::look_for_border() {
  if (!measure_.is_full(*run_.events.place.file)) return;
  measure_.begin();
  start_piece();
}

void json_jobs::start_piece() {
  const input_file* const file = run_.events.place.file;
  const std::int64_t offset =
      file != nullptr ? file->stream.system_offset() : 0;
  const int part = pool_.start();
  if (part >= 0) take_over(part, offset);
}

// This is the process of a job now. Inputs are read at offsets of its own.
void json_jobs::take_over(int part, std::int64_t offset) {
  for (const std::unique_ptr<input_file>& file : run_.inputs.files()) {
    const bool is_current = file.get() == run_.events.place.file;
    if (file->stream.renew(is_current ? offset : 0)) continue;
    run_.messages.perror(file->name.c_str());
    _exit(static_cast<int>(job_end::failed));
  }
  sink_ = std::make_unique<part_sink>(run_.messages, part, is_compressed_);
  output_ = std::make_unique<piece_output>(run_, *sink_, measure_);
  state_writer counters;
  scout_.save(counters);
  state_reader reader(counters.written());
  static_cast<void>(output_->restore(reader));
  run_.events.replace_output(scout_, *output_);
}

int json_jobs::make() {
  run_.events.watched = true;
  // The jobs are elsewhere than this process.
  run_.progress = progress_mode::never;
  run_.events.add_output(scout_);
  pool_.keep_silent();
  start_piece();
  const int status = process_inputs(run_);
  if (!output_) return pool_.finish();
  if (output_->end(status) != 0) output_->leave(job_end::failed);
  output_->leave(status == 0 ? job_end::whole : job_end::failed);
}

}  // namespace

bool can_have_jobs(const trail_run& run) {
  return std::ranges::all_of(run.inputs.files(),
                             [](const std::unique_ptr<input_file>& file) {
                               return file->stream.is_regular();
                             });
}

int json_with_jobs(trail_run& run, const shared_options& options) {
  result_file file(run.messages);
  if (file.open(options.output, options.use_master_keys) != 0) {
    return EXIT_ERROR;
  }
  int status = EXIT_ERROR;
  try {
    status = json_jobs(run, options, file).make();
    file.go_on_behind_part();
  } catch (const run_failed&) {
    // The message has been printed.
  }
  return file.close(status == 0) == 0 ? status : EXIT_ERROR;
}
