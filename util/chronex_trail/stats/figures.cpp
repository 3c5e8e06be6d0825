#include "util/chronex_trail/stats/figures.h"

#include <algorithm>

#include "util/chronex/tables/image_record.h"

void op_counts::add(int op) {
  switch (op) {
    case OP_PUT:
      ++puts;
      return;
    case OP_UPDATE:
      ++updates;
      return;
    default:
      ++deletes;
  }
}

void op_counts::add(const op_counts& more) {
  puts += more.puts;
  updates += more.updates;
  deletes += more.deletes;
}

void change_figures::add(int op, std::uint32_t timestamp) {
  const bool is_first = count.total() == 0;
  count.add(op);
  if (is_first || timestamp < first) first = timestamp;
  if (is_first || timestamp > last) last = timestamp;
}

void change_figures::add(const change_figures& more) {
  if (more.count.total() == 0) return;
  const bool is_first = count.total() == 0;
  count.add(more.count);
  first = is_first ? more.first : std::min(first, more.first);
  last = is_first ? more.last : std::max(last, more.last);
}
