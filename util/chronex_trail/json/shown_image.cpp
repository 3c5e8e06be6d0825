#include "util/chronex_trail/json/shown_image.h"

#include "util/chronex/tables/image_record.h"
#include "util/chronex_trail/json/item_note.h"
#include "util/chronex_trail/values/text_origin.h"

shown_images images_of(const image_operation& operation,
                       const event_place& place, std::string& notes) {
  const bool may_be_sealed = is_in_audit_file(place);
  shown_images images{.before = {.name = "before",
                                 .bytes = operation.before,
                                 .sealed = operation.before_sealed,
                                 .may_be_sealed = may_be_sealed},
                      .after = {.name = "after",
                                .bytes = operation.after,
                                .sealed = operation.after_sealed,
                                .may_be_sealed = may_be_sealed}};
  const bool has_before = images.before.exists();
  const bool has_after = images.after.exists();
  if (!has_before && operation.op != OP_PUT) {
    append_missing_note(notes, images.before.name);
  }
  if (!has_after && operation.op != OP_DELETE) {
    append_missing_note(notes, images.after.name);
  }
  images.can_be_compared = operation.op == OP_UPDATE && has_before && has_after;
  return images;
}
