#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_STATS_SESSION_TALLY_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_STATS_SESSION_TALLY_H

// What sessions do, and in which transactions.
//
// Each session that is signed on has a state here, which takes its changes
// while it works. They go to its user, program and host when it ends, so that
// a change costs the same however much is told of its session.

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "util/chronex/tables/session.h"
#include "util/chronex/trail/output.h"
#include "util/chronex_trail/stats/figures.h"
#include "util/chronex_trail/stats/name_tally.h"
#include "util/chronex_trail/stats/position_index.h"
#include "util/chronex_trail/stats/top_list.h"
#include "util/chronex_trail/values/utf8_text.h"

class session_tally {
 public:
  // The figures stay the caller's; `top` transactions and sessions are kept.
  session_tally(trail_figures& figures, std::size_t top)
      : figures_(figures),
        users_(figures.users),
        programs_(figures.programs),
        hosts_(figures.hosts),
        transactions_(top),
        sessions_(top) {}

  // All throw std::bad_alloc. Files are told in the order of `inputs`.
  void file_begins(const input_file& file) { files_.push_back(&file); }
  void sign_on(const session_entry& session, const event_place& place);
  void sign_off(const session_entry& session);
  void memo(const memo_view& memo);
  void add(const image_operation& operation, const event_place& place);
  // Lets go of the sessions that have signed off.
  void file_ends();
  // Ends all sessions and hands the figures over.
  void end();

 private:
  // A DBBEGIN whose transaction has changes, or had some.
  struct open_transaction {
    const input_file* file = nullptr;
    std::uint32_t number = 0;
    std::uint32_t begun = 0;
    std::uint64_t order = 0;
    change_figures changes;
    // Null until it is large enough to be shown.
    std::unique_ptr<std::string> text;
  };
  struct session_state {
    std::uint64_t sign_on_id = 0;
    std::int32_t session_id = 0;
    worker_numbers worker;
    std::uint32_t connected = 0;
    bool signed_off = false;
    // The session's entry goes with the file.
    bool leaves = false;
    change_figures changes;
    std::unique_ptr<open_transaction> transaction;
  };
  struct recent_state {
    std::uint64_t sign_on_id = 0;
    // Stays where it is until a file ends.
    session_state* state = nullptr;
  };
  static constexpr std::size_t RECENT = 256;

  session_state& state_of(const session_entry& session,
                          const event_place& place);
  std::uint32_t find_state(const session_entry& session,
                           const event_place& place);
  std::uint32_t position_of(std::int32_t session_id) const;
  session_state new_state(const session_entry& session,
                          const event_place& place);
  std::uint32_t name_number(name_tally& names, const session_entry& session,
                            std::string_view key, int charset);
  void end(session_state& state);
  void enter_transaction(session_state& state, const session_entry& session);
  void keep_text(open_transaction& transaction, const memo_slot& slot);
  void close_transaction(session_state& state);
  std::size_t input_of(const input_file* file) const;

  trail_figures& figures_;
  name_tally users_;
  name_tally programs_;
  name_tally hosts_;
  top_list<transaction_figures> transactions_;
  top_list<session_figures> sessions_;
  std::deque<session_state> states_;
  position_index index_;
  std::array<recent_state, RECENT> recent_{};
  std::vector<const input_file*> files_;
  text_scratch scratch_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_STATS_SESSION_TALLY_H
