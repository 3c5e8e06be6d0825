#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_PAGE_OUTPUT_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_PAGE_OUTPUT_H

// Gathers what a page shows besides the figures: changes with their values, and
// counts that let a reader select. Memory is bounded by what is asked for, and
// by the limits of what is gathered.

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "util/chronex/filter/item_names.h"
#include "util/chronex/messages/messages.h"
#include "util/chronex/trail/output.h"
#include "util/chronex_trail/json/set_piece.h"
#include "util/chronex_trail/page/changed_back.h"
#include "util/chronex_trail/page/count_cube.h"
#include "util/chronex_trail/page/item_text.h"
#include "util/chronex_trail/page/local_time.h"
#include "util/chronex_trail/page/name_list.h"
#include "util/chronex_trail/page/page_row.h"
#include "util/chronex_trail/page/row_list.h"

// A value that was changed back.
struct change_taken_back {
  std::shared_ptr<const page_layout> layout;
  std::shared_ptr<const page_session> session;
  std::uint32_t recno = 0;
  // Place in the layout.
  std::uint16_t item = 0;
  std::uint32_t changed = 0;
  std::uint32_t taken_back = 0;
  // As in page_row::values.
  std::string value;
  std::string between;
};

class page_output : public trail_output {
 public:
  static constexpr std::size_t MAX_TAKEN_BACK = 2000;

  // `messages` and `listed` stay the caller's; `listed` narrows what is shown
  // of records, null: nothing does.
  page_output(run_messages& messages, const item_name_list* listed,
              std::size_t most_rows, kept_changes kept);

  int file_begins(const input_file& file) override;
  sign_on_result sign_on(const session_entry& session, sign_on_caller caller,
                         const event_place& place) override;
  int sign_off(const session_entry& session, const event_place& place) override;
  int memo(const memo_view& memo) override;
  int operation(const image_operation& operation,
                const event_place& place) override;

  // Ends the gathering, with at most that many cells of counts.
  void finish(std::size_t most_cells);

  const row_list& rows() const { return rows_; }
  const count_cube& cube() const { return cube_; }
  const name_list& users() const { return users_; }
  const name_list& programs() const { return programs_; }
  const name_list& data_sets() const { return data_sets_; }
  // Of the changes that were taken back the first ones, and how many there
  // were, as far as the latest change of every item was remembered.
  const std::vector<change_taken_back>& taken_back() const {
    return taken_back_;
  }
  std::uint64_t taken_back_count() const { return taken_back_count_; }
  std::uint64_t forgotten_changes() const { return back_finder_.forgotten(); }

 private:
  using session_ptr = std::shared_ptr<page_session>;
  using layout_ptr = std::shared_ptr<const page_layout>;

  // A change on its way into the list.
  struct told_change {
    const image_operation& operation;
    const event_place& place;
    const set_piece& set;
    shown_image before;
    shown_image after;
  };

  template <typename Step>
  int guarded(const Step& step);
  session_ptr session_of(const session_entry& session);
  session_ptr make_session(const session_entry& session);
  layout_ptr layout_of(const set_piece& set, const node_entry& node,
                       const event_place& place);
  void forget_sessions();
  void put_change(const image_operation& operation, const event_place& place);
  void count(const image_operation& operation, page_session& session,
             std::uint16_t data_set);
  void find_taken_back(const told_change& change, const session_ptr& session,
                       const layout_ptr& layout);
  void note_taken_back(const told_change& change, change_taken_back back);
  page_row make_row(const told_change& change);
  void append_image(std::string& out, const told_change& change,
                    const shown_image& image);
  void append_old_values(std::string& out, const told_change& change);
  void append_memo(std::string& out, const session_entry& session);

  run_messages& messages_;
  row_list rows_;
  count_cube cube_;
  name_list users_;
  name_list programs_;
  name_list data_sets_;
  changed_back_finder back_finder_;
  std::vector<change_taken_back> taken_back_;
  std::uint64_t taken_back_count_ = 0;

  set_pieces sets_;
  item_text items_;
  calendar_hours hours_;
  std::uint32_t inputs_ = 0;
  std::unordered_map<std::uint64_t, session_ptr> sessions_;
  // Bytes of attributes and memos of all sessions.
  std::size_t session_bytes_ = 0;
  // The layouts that were made last, by schema.
  std::unordered_map<std::uint64_t, layout_ptr> layouts_;
  std::uint64_t layout_names_version_ = 0;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_PAGE_PAGE_OUTPUT_H
