// chronex-trail states: what a run knows at the borders of pieces, so that the
// pieces can be made on machines of their own.

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "util/chronex/messages/run_failed.h"
#include "util/chronex_trail/commands/commands.h"
#include "util/chronex_trail/commands/run_command.h"
#include "util/chronex_trail/files/result_file.h"
#include "util/chronex_trail/run/exit_status.h"
#include "util/chronex_trail/run/trail_run.h"
#include "util/chronex_trail/run/trail_state.h"
#include "util/chronex_trail/sql/row_counter.h"
#include "util/chronex_trail/values/text_origin.h"

namespace {

constexpr const char* HELP =
    R"(usage: chronex-trail states [options] -o DIR FILE...

Divides logs into pieces of whole files and writes into a new directory, for
each piece, 0001.state, what a run knows where the piece begins, and 0001.files,
its logs, one a line. The pieces can then be made anywhere by json or sql, with
the same options: chronex-trail json --from 0001.state $(cat 0001.files)
Joined, they are what one run makes.

      --pieces N          so many pieces, about the same in size, instead of one
                          for each file
  -e, --filter EXPR       only what satisfies the filter expression
  -f, --filter-file FILE  the same, from a file
  -I, --items LIST        only these items, separated by commas or blanks
  -M, --master-keys       unlock master keys
  -o, --output DIR        the directory
      --time-zone ZONE    of dates in filter expressions
  -h, --help              show this

Example:
  chronex-trail states --pieces 8 -o pieces shop.7-*
)";

struct states_options {
  shared_options shared;
  std::string pieces_text;
  // 0 = as many as there are files.
  std::size_t pieces = 0;
};

int parse_pieces(run_messages& messages, states_options& options) {
  const std::string& text = options.pieces_text;
  if (text.empty()) return 0;
  constexpr std::size_t MAX_PIECES = 9999;
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, options.pieces);
  if (read.ec == std::errc() && read.ptr == end && options.pieces > 0 &&
      options.pieces <= MAX_PIECES) {
    return 0;
  }
  messages.print("--pieces wants a number from 1 to %zu, not %s\n", MAX_PIECES,
                 text.c_str());
  return EXIT_USAGE;
}

int parse(std::span<char*> arguments, run_messages& messages,
          states_options& options) {
  const own_option own[] = {{.name = "pieces", .text = &options.pieces_text}};
  const int status =
      parse_shared_options(arguments, messages, options.shared, own);
  if (status != 0 || options.shared.help) return status;
  if (options.shared.output == "-") {
    messages.print("No directory specified: -o DIR\n");
    return EXIT_USAGE;
  }
  if (options.shared.passes_over_damage) {
    messages.print("states does not go with --resync\n");
    return EXIT_USAGE;
  }
  return parse_pieces(messages, options);
}

int make_directory(const std::string& name, run_messages& messages) {
  constexpr mode_t OWNER_ONLY = 0700;
  std::error_code error;
  if (mkdir(name.c_str(), OWNER_ONLY) == 0) return 0;
  if (errno == EEXIST && std::filesystem::is_empty(name, error) && !error) {
    return 0;
  }
  messages.perror(name.c_str());
  messages.print("The directory must be new, or empty\n");
  return -1;
}

// The places in the list of inputs where pieces begin. Each has at least one
// file, and the others as many as make it the next part of the whole.
std::vector<std::size_t> begins_of_pieces(const trail_run& run,
                                          std::size_t pieces) {
  const auto files = run.inputs.files();
  std::vector<std::uint64_t> ends;
  for (const std::unique_ptr<input_file>& file : files) {
    std::error_code error;
    const auto size = std::filesystem::file_size(file->name, error);
    ends.push_back((ends.empty() ? 0 : ends.back()) + (error ? 0 : size) + 1);
  }
  if (pieces == 0) pieces = files.size();
  std::vector<std::size_t> begins{0};
  for (std::size_t i = 1; i < files.size(); ++i) {
    const std::uint64_t due = ends.back() * begins.size() / pieces;
    const bool must = files.size() - i <= pieces - begins.size();
    if (begins.size() < pieces && (must || ends[i - 1] >= due)) {
      begins.push_back(i);
    }
  }
  return begins;
}

class states_run {
 public:
  states_run(trail_run& run, const states_options& options, trail_state& state)
      : run_(run),
        options_(options),
        state_(state),
        begins_(begins_of_pieces(run, options.pieces)),
        counter_(run.events.sessions, &run.item_names) {}

  // Returns the exit status.
  int make();

 private:
  int process(std::size_t begin, std::size_t end);
  int write_piece(std::size_t piece, std::size_t begin, std::size_t end);
  int write_names(const std::string& name, std::size_t begin, std::size_t end);

  trail_run& run_;
  const states_options& options_;
  trail_state& state_;
  std::vector<std::size_t> begins_;
  row_counter counter_;
};

int states_run::write_names(const std::string& name, std::size_t begin,
                            std::size_t end) {
  result_file file(run_.messages);
  if (file.open(name, true) != 0) return -1;
  std::string names;
  for (std::size_t i = begin; i < end; ++i) {
    names += name_as_given(*run_.inputs.files()[i]);
    names += '\n';
  }
  const bool written = file.write(names) == 0;
  return file.close(written) == 0 && written ? 0 : -1;
}

int states_run::write_piece(std::size_t piece, std::size_t begin,
                            std::size_t end) {
  constexpr std::size_t DIGITS = 4;
  std::string number = std::to_string(piece + 1);
  number.insert(0, DIGITS - std::min(DIGITS, number.size()), '0');
  const std::string name = options_.shared.output + '/' + number;
  state_writer output;
  counter_.save(output);
  save_rows(counter_.rows(), output);
  state_.set_piece({.number = static_cast<std::uint32_t>(piece + 1),
                    .count = static_cast<std::uint32_t>(begins_.size())});
  if (write_names(name + ".files", begin, end) != 0) return -1;
  return state_.write(name + ".state", output);
}

int states_run::process(std::size_t begin, std::size_t end) {
  const int status = process_some(run_, begin, end);
  if (status == 0) return 0;
  run_.messages.print("There are no states behind that\n");
  return status;
}

// The last piece need not be read.
int states_run::make() {
  run_.events.add_output(counter_);
  for (std::size_t piece = 0; piece < begins_.size(); ++piece) {
    const std::size_t begin = begins_[piece];
    const bool is_last = piece + 1 == begins_.size();
    const std::size_t end =
        is_last ? run_.inputs.files().size() : begins_[piece + 1];
    if (write_piece(piece, begin, end) != 0) return EXIT_ERROR;
    if (!is_last && process(begin, end) != 0) return EXIT_ERROR;
  }
  return 0;
}

// Returns the exit status.
int make_states(trail_run& run, const states_options& options) {
  trail_state state(run, options.shared);
  if (prepare_run(run, options.shared) != 0) return EXIT_ERROR;
  if (make_directory(options.shared.output, run.messages) != 0) {
    return EXIT_ERROR;
  }
  return states_run(run, options, state).make();
}

int run_states(std::span<char*> arguments) {
  return run_command(arguments, HELP, parse, make_states);
}

}  // namespace

const trail_command STATES_COMMAND = {
    "states", "states from which pieces of a trail begin", HELP, run_states};
