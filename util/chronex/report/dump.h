#ifndef CHRONEX_UTIL_CHRONEX_REPORT_DUMP_H
#define CHRONEX_UTIL_CHRONEX_REPORT_DUMP_H

// The contents of a record in the clear-text report: item by item, with each
// value as text and changed values before and after, or as hex dumps.

#include "util/chronex/filter/item_names.h"
#include "util/chronex/report/report_settings.h"
#include "util/chronex/report/report_stream.h"
#include "util/chronex/report/view_cache.h"
#include "util/chronex/tables/record_image.h"
#include "util/chronex/tables/set_context.h"

class record_dump {
 public:
  // Both are the run's and outlive the object.
  record_dump(const report_settings& report, const item_name_list& item_names)
      : report_(report), item_names_(item_names) {}

  // Prints a record to the report stream, which must be there. `hex` asks for
  // hex dumps, otherwise the item view is shown, narrowed by -I and -i.
  void dump_record(const set_context& set, record_image before,
                   record_image after, bool hex);

 private:
  void dump_items(const set_context& set, record_image before,
                  record_image after);

  const report_settings& report_;
  const item_name_list& item_names_;
  view_cache views_;
};

#endif  // CHRONEX_UTIL_CHRONEX_REPORT_DUMP_H
