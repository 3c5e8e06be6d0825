#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_JSON_SHOWN_IMAGE_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_JSON_SHOWN_IMAGE_H

#include <string>
#include <string_view>

#include "util/chronex/tables/record_image.h"
#include "util/chronex/trail/output.h"

// One image of an operation.
struct shown_image {
  // "before" or "after".
  std::string_view name;
  record_image bytes{};
  // The encrypted items have fill values, for want of a key.
  bool sealed = false;
  // Whether they have is not known.
  bool may_be_sealed = false;

  bool exists() const { return is_there(bytes); }
};

struct shown_images {
  shown_image before;
  shown_image after;

  // The operation is an update of which both images are known.
  bool can_be_compared = false;
};

// The images of an operation. Appends a note for one that its kind of operation
// should have and that is not there.
shown_images images_of(const image_operation& operation,
                       const event_place& place, std::string& notes);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_JSON_SHOWN_IMAGE_H
