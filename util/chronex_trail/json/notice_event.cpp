// The events of what a reader of the trail must know about the inputs.

#include <string_view>

#include "util/chronex_trail/json/guarded.h"
#include "util/chronex_trail/json/json_output.h"
#include "util/chronex_trail/values/text_origin.h"
#include "util/chronex_trail/values/utf8_text.h"

namespace {

enum class notice_event { gap, repeat, damage, warning };

// What kind of event a notice is, and its kind among these or the warning's
// code.
struct notice_shape {
  notice_event event;
  std::string_view kind;
};

notice_shape shape_of(notice_kind kind) {
  switch (kind) {
    case notice_kind::missing_generations:
      return {notice_event::gap, "generation"};
    case notice_kind::missing_files:
      return {notice_event::gap, "sequence"};
    case notice_kind::missing_actions:
      return {notice_event::gap, "action"};
    case notice_kind::repeated_generation:
      return {notice_event::repeat, "generation"};
    case notice_kind::repeated_file:
      return {notice_event::repeat, "sequence"};
    case notice_kind::repeated_actions:
      return {notice_event::repeat, "action"};
    case notice_kind::server_abort:
      return {notice_event::warning, "abort"};
    case notice_kind::role_change:
      return {notice_event::warning, "role_change"};
    case notice_kind::old_version:
      return {notice_event::warning, "old_version"};
    case notice_kind::character_set:
      return {notice_event::warning, "character_set"};
    case notice_kind::ignored_key:
      return {notice_event::warning, "ignored_key"};
    case notice_kind::filter_failed:
      return {notice_event::warning, "filter_failed"};
    default:
      return {notice_event::damage, ""};
  }
}

std::string_view type_name(notice_event event) {
  switch (event) {
    case notice_event::gap:
      return "gap";
    case notice_event::repeat:
      return "repeat";
    case notice_event::damage:
      return "damage";
    default:
      return "warning";
  }
}

}  // namespace

// The members of gaps and repeats.
void json_output::put_numbers(const trail_notice& notice,
                              std::string_view kind) {
  line_.put_text("kind", kind);
  if (notice.place.file != nullptr) {
    line_.put_text("file", well_formed_utf8(name_as_given(*notice.place.file)));
  }
  line_.put_number("found", notice.found);
  line_.put_number("expected", notice.expected);
}

void json_output::put_notice(const trail_notice& notice) {
  const notice_shape shape = shape_of(notice.kind);
  line_.begin(type_name(shape.event));
  switch (shape.event) {
    case notice_event::gap:
      ++gaps_;
      put_numbers(notice, shape.kind);
      line_.put_number("missing", notice.missing);
      return;
    case notice_event::repeat:
      put_numbers(notice, shape.kind);
      return;
    case notice_event::damage:
      break;
    case notice_event::warning:
      line_.put_text("code", shape.kind);
      break;
  }
  ++warnings_;
  line_.put_source(notice.place);
  line_.put_text("text", well_formed_utf8(notice.text()));
}

int json_output::notice(const trail_notice& notice) {
  return guarded(line_, messages_, [&] {
    put_notice(notice);
    return line_.end();
  });
}
