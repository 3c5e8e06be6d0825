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

#include "common/owned_bytes.h"
#include "util/chronex/tables/session.h"
#include "util/chronex/trail/output.h"
#include "util/chronex_trail/stats/figures.h"
#include "util/chronex_trail/stats/name_tally.h"
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
  void sign_on(const session_entry& session);
  void sign_off(const session_entry& session);
  void memo(const memo_view& memo);
  void add(const image_operation& operation);
  // Lets go of a session, which is forgotten.
  void session_ends(const session_entry& session);
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
  // What every change looks at comes first and lies in one cache line.
  struct alignas(CACHE_LINE) session_state {
    // 0: of no sign-on yet.
    std::uint64_t sign_on_id = 0;
    change_figures changes;
    std::unique_ptr<open_transaction> transaction;
    // session_entry::transaction_memos at the latest change.
    std::uint32_t transaction_memos = 0;
    std::int32_t session_id = 0;
    bool signed_off = false;
  };
  // The rest of it.
  struct session_origin {
    worker_numbers worker;
    // Seconds since the epoch.
    std::uint32_t connected = 0;
  };

  std::uint32_t number_of(const session_entry& session);
  std::uint32_t new_number();
  session_state& at(std::uint32_t number) const;
  void begin(std::uint32_t number, const session_entry& session);
  std::uint32_t name_number(name_tally& names, const session_entry& session,
                            std::string_view key);
  void end(std::uint32_t number);
  void enter_transaction(std::uint32_t number, const session_entry& session);
  void keep_text(open_transaction& transaction, const memo_slot& slot);
  void close_transaction(std::uint32_t number);
  std::size_t input_of(const input_file* file) const;

  trail_figures& figures_;
  name_tally users_;
  name_tally programs_;
  name_tally hosts_;
  top_list<transaction_figures> transactions_;
  top_list<session_figures> sessions_;
  // By session_entry::output_number. Blocks, so that they stay where they are;
  // the first of all is in no use.
  static constexpr std::uint32_t BLOCK = 256;
  std::vector<std::unique_ptr<std::array<session_state, BLOCK>>> states_;
  std::deque<session_origin> origins_{1};
  std::vector<std::uint32_t> free_numbers_;
  std::vector<const input_file*> files_;
  text_scratch scratch_;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_STATS_SESSION_TALLY_H
