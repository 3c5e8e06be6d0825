#include "util/chronex/trail/trail.h"

#include <cassert>

#include "util/chronex/messages/run_failed.h"

void trail::add_output(trail_output& output) {
  assert(output_count_ < MAX_OUTPUTS);
  output_slots_[output_count_] = &output;
  ++output_count_;
}

int trail::file_begins(const input_file& file) {
  place = {.file = &file};
  for (trail_output* output : outputs()) {
    if (output->file_begins(file) != 0) return -1;
  }
  return 0;
}

int trail::file_accepted(const input_file& file) {
  for (trail_output* output : outputs()) {
    if (output->file_accepted(file) != 0) return -1;
  }
  return 0;
}

void trail::file_ends() {
  for (trail_output* output : outputs()) output->file_ends();
}

void trail::tell_action_done() {
  for (trail_output* output : outputs()) output->action_done();
}

void trail::notice(trail_notice what) {
  what.place = place;
  for (trail_output* output : outputs()) {
    if (output->notice(what) != 0) throw run_failed();
  }
}

void trail::notice(notice_kind kind, const std::string& comment) {
  notice({.kind = kind, .comment = comment});
}

int trail::comment(std::string_view text) {
  for (trail_output* output : outputs()) {
    if (output->comment(text, place) != 0) return -1;
  }
  return 0;
}
