// The events of what a reader of the trail must know about the inputs.

#include <string_view>

#include "util/chronex_trail/json/guarded.h"
#include "util/chronex_trail/json/json_output.h"
#include "util/chronex_trail/values/event_names.h"
#include "util/chronex_trail/values/text_origin.h"
#include "util/chronex_trail/values/utf8_text.h"

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

// Where bytes were passed over, and what was lost by it.
void json_output::put_bytes(const trail_notice& notice) {
  line_.put_number("from", static_cast<std::int64_t>(notice.from));
  line_.put_number("to", static_cast<std::int64_t>(notice.to));
  line_.put_number("bytes", static_cast<std::int64_t>(notice.to - notice.from));
  if (notice.found == 0) return;
  line_.put_number("actions_lost", notice.missing);
}

void json_output::put_notice(const trail_notice& notice) {
  const notice_shape shape = shape_of(notice.kind);
  line_.begin(notice_event_name(shape.event));
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
  if (notice.kind == notice_kind::damaged_bytes) put_bytes(notice);
  line_.put_text("text", well_formed_utf8(notice.text()));
}

int json_output::notice(const trail_notice& notice) {
  return guarded(line_, messages_, [&] {
    put_notice(notice);
    return line_.end();
  });
}
