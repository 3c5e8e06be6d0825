#include "fuzz/empty_tables.h"
#include "util/chronex/trail/image.cpp"  // NOLINT(bugprone-suspicious-include)

void empty_images() {
  record_hash.remove_if([](const image_record&) { return true; });
  while (spare_records) spare_records = std::move(spare_records->next);
  spare_count = 0;
}
