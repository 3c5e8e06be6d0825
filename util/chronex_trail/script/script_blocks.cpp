#include "util/chronex_trail/script/script_blocks.h"

void script_blocks::write(std::string_view text) {
  if (sink_.write(text) != 0) throw write_error();
}

void script_blocks::add(const std::string& table, const std::string& begin,
                        std::string_view row) {
  block& mine = blocks_[table];
  if (mine.rows.empty()) {
    mine.begin = begin;
  } else {
    mine.rows += syntax_.marks().between_rows;
  }
  mine.rows += row;
  kept_ += row.size();
  // Those that are smaller than half of the average take less than half of all,
  // so that each time at least half becomes free.
  if (kept_ > KEPT_BYTES) write_blocks(KEPT_BYTES / blocks_.size() / 2);
}

// The memory goes back: many tables may have large blocks one after the other.
void script_blocks::write_block(block& full) {
  write(full.begin);
  write(full.rows);
  write(syntax_.block_end());
  full = {};
}

void script_blocks::write_blocks(std::size_t smallest) {
  kept_ = 0;
  for (auto& [table, each] : blocks_) {
    if (each.rows.empty()) continue;
    if (each.rows.size() >= smallest) {
      write_block(each);
    } else {
      kept_ += each.rows.size();
    }
  }
}

void script_blocks::flush() { write_blocks(0); }
