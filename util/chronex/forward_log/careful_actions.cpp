#include "util/chronex/forward_log/careful_actions.h"

#include <algorithm>
#include <cstring>

#include "common/byte_cursor.h"
#include "util/chronex/forward_log/fwlog_action.h"

namespace {

using byte_run = std::span<const std::uint8_t>;
constexpr auto TAKES_WHAT_IS_THERE =
    input_stream::patience::takes_what_is_there;

// An action that is longer is passed over in pieces; only clusters are.
constexpr std::uint64_t LONGEST_LOOK = CHAIN_REACH / 2;
static_assert(input_stream::MAX_PEEK >= CHAIN_REACH + LONGEST_LOOK);

constexpr const char* NO_ACTION = "there is no action where one should be";
constexpr const char* NO_END = "the action does not end where it should";

// All bytes are the same, as in holes, and the byte before is another.
bool is_fill_behind(byte_run action, byte_run follower) {
  const std::uint8_t fill = follower.front();
  const byte_run looked_at =
      follower.first(std::min(follower.size(), FW_ACTION_HEAD_SIZE));
  return action.back() != fill &&
         std::ranges::all_of(
             looked_at, [fill](std::uint8_t byte) { return byte == fill; });
}

}  // namespace

bool careful_actions::next_action::is_whole() const {
  return extent.state == extent_state::known && extent.length <= bytes.size();
}

bool careful_actions::next_action::is_long() const {
  return extent.state == extent_state::known && extent.length > LONGEST_LOOK;
}

// Waits for no more bytes than the action has.
careful_actions::next_action careful_actions::look() {
  next_action next{.bytes = file_.stream.peek(FW_ACTION_HEAD_SIZE),
                   .extent = {}};
  next.extent = extent_of(next.bytes);
  while (next.extent.state == extent_state::open) {
    const std::size_t known = next.bytes.size();
    next.bytes = file_.stream.peek(known + 1);
    if (next.bytes.size() == known) return next;
    next.extent = extent_of(next.bytes);
  }
  if (next.extent.state == extent_state::known && !next.is_long()) {
    next.bytes = file_.stream.peek(next.extent.length);
  }
  return next;
}

// What heads that stand further on must have.
head_limits careful_actions::limits() const {
  // Of an action that was read without care only the number is known.
  if (last_.timestamp == 0) return {.lowest_number = last_.number + 1};
  return limits_behind(last_);
}

bool careful_actions::is_next_number(byte_run bytes) const {
  return decode_action_head(bytes.data()).number == last_.number + 1;
}

// Whether an action begins here: the next one by its number, or behind a gap,
// or one of those that are repeated.
bool careful_actions::is_next(byte_run bytes) {
  const action_head head = decode_action_head(bytes.data());
  if (is_next_number(bytes)) return true;
  switch (chain_at(file_.stream.peek(CHAIN_REACH, TAKES_WHAT_IS_THERE))) {
    case chain_state::holds:
      return true;
    case chain_state::open:
      return is_action_tag(head.tag) && limits().allow(head);
    default:
      return false;
  }
}

// One field of the next header is enough, as only one may be damaged.
bool careful_actions::is_followed(const action_head& head,
                                  byte_run follower) const {
  if (follower.size() < FW_ACTION_HEAD_SIZE) {
    return follower.empty() || is_action_tag(follower.front());
  }
  const action_head next = decode_action_head(follower.data());
  return next.number == head.number + 1 ||
         (is_action_tag(next.tag) && may_follow(head, next));
}

bool careful_actions::is_begin(const next_action& next) {
  // What is cut is told by who reads it.
  if (next.bytes.size() < FW_ACTION_HEAD_SIZE) return true;
  return is_next(next.bytes) && next.extent.state != extent_state::impossible;
}

bool careful_actions::is_end(const next_action& next) {
  if (next.bytes.size() < FW_ACTION_HEAD_SIZE) return true;
  input_stream& stream = file_.stream;
  if (!next.is_whole()) {
    // A cut action is told by who reads it, unless other actions follow.
    const byte_run rest = stream.peek(LONGEST_LOOK, TAKES_WHAT_IS_THERE);
    return !find(rest.subspan(1), rest.size(), 0);
  }
  const action_head head = decode_action_head(next.bytes.data());
  if (head.tag == FW_TAG_END) return true;
  const auto length = static_cast<std::size_t>(next.extent.length);
  byte_run there =
      stream.peek(length + FW_ACTION_HEAD_SIZE, TAKES_WHAT_IS_THERE);
  if (is_followed(head, there.subspan(length))) return true;
  there = stream.peek(length + CHAIN_REACH, TAKES_WHAT_IS_THERE);
  const byte_run follower = there.subspan(length);
  return is_fill_behind(there.first(length), follower) ||
         chain_at(follower) == chain_state::holds;
}

// What is there of the action stays unread.
int careful_actions::interrupted() {
  reader_.was_interrupted = true;
  return FILE_DONE;
}

int careful_actions::process_action() {
  const std::uint64_t from = file_.stream.position();
  const byte_run bytes = file_.stream.peek(FW_ACTION_HEAD_SIZE);
  const bool has_head = bytes.size() >= FW_ACTION_HEAD_SIZE;
  const action_head head =
      has_head ? decode_action_head(bytes.data()) : action_head();
  const int result = fw_process_action(reader_, file_);
  if (result == ACTION_MALFORMED) {
    // Its number need not be checked again if the log ends before the next one.
    reader_.position.is_number_checked = true;
    return pass_over(from, reader_.problem);
  }
  // Of a growing log the rest of the action may come.
  if (result == ACTION_DONE) last_ = head;
  return result;
}

int careful_actions::pass_long_action(const next_action& next) {
  const std::uint64_t from = file_.stream.position();
  const action_head head = decode_action_head(next.bytes.data());
  const bool is_there = file_.stream.skip(next.extent.length);
  if (!is_there && file_.stream.stopped()) return interrupted();
  if (is_there && (!reader_.passes_over_damage ||
                   is_followed(head, file_.stream.peek(FW_ACTION_HEAD_SIZE,
                                                       TAKES_WHAT_IS_THERE)))) {
    reader_.events.place.number = head.number;
    reader_.numbers.check_action(file_, head.number);
    last_ = head;
    return ACTION_DONE;
  }
  file_.stream.go_back(from);
  if (!reader_.passes_over_damage) return process_action();
  return pass_over(from, NO_END, 1);
}

// More of a growing log may tell where the damage ends.
int careful_actions::leave(const damaged_bytes& damage) {
  if (file_.stream.stopped()) return interrupted();
  reader_.position.missing = "next tag opcode";
  reader_.position.open_damage = damage;
  return FILE_DONE;
}

// `step` bytes are known to begin no action.
int careful_actions::pass_over(std::uint64_t from, const std::string& reason,
                               std::uint64_t step) {
  input_stream& stream = file_.stream;
  const bool found = stream.skip(step) && seek(from);
  if (!found && report_no_resources(file_)) return FILE_FAILED;
  damaged_bytes damage{.from = from,
                       .to = stream.position(),
                       .last_number = last_.number,
                       .reason = reason};
  const bool may_go_on =
      stream.stopped() || (reader_.is_growing && stream.error().empty());
  if (!found && may_go_on) return leave(damage);
  reader_.position.is_number_checked = false;
  if (found) {
    last_ = decode_action_head(stream.peek(FW_ACTION_HEAD_SIZE).data());
    damage.next_number = last_.number;
    --last_.number;
  }
  if (damage.to > damage.from) {
    reader_.numbers.report_damaged_bytes(file_, damage);
  }
  if (found) return ACTION_DONE;
  reader_.numbers.report_damage(file_);
  return FILE_DONE;
}

// Moves on to where actions chain again; false at the end of the file.
bool careful_actions::seek(std::uint64_t from) {
  input_stream& stream = file_.stream;
  for (;;) {
    const byte_run bytes = stream.peek(CHAIN_REACH, TAKES_WHAT_IS_THERE);
    const std::size_t size = bytes.size();
    const bool is_rest = size < CHAIN_REACH;
    // What can be a chain only of what stands further on is left for later.
    const std::size_t looked_at = is_rest ? size : size - CHAIN_REACH + 1;
    const place found = find(bytes, looked_at, stream.position() - from);
    if (found) return stream.skip(*found);
    if (!is_rest) {
      static_cast<void>(stream.skip(looked_at));
    } else if (stream.peek(size + 1).size() == size) {
      static_cast<void>(stream.skip(size));
      return false;
    }
  }
}

// A single end tag is believed if the numbers fit the bytes.
bool careful_actions::is_lone_end(byte_run bytes, std::uint64_t passed) const {
  if (bytes[0] != FW_TAG_END || bytes.size() != FW_ACTION_HEAD_SIZE) {
    return false;
  }
  const std::uint32_t number = decode_action_head(bytes.data()).number;
  return number - last_.number - 1 <= passed / FW_ACTION_HEAD_SIZE;
}

// Looks for a place before `end`.
careful_actions::place careful_actions::find(byte_run bytes, std::size_t end,
                                             std::uint64_t passed) const {
  const head_limits limits = this->limits();
  for (std::size_t at = find_action_head(bytes, 0, end, limits); at < end;
       at = find_action_head(bytes, at + 1, end, limits)) {
    const byte_run rest = bytes.subspan(at);
    if (chain_at(rest) == chain_state::holds ||
        is_lone_end(rest, passed + at)) {
      return at;
    }
  }
  return std::nullopt;
}

int careful_actions::process_next() {
  const next_action next = look();
  const std::uint64_t from = file_.stream.position();
  if (!next.is_whole() && !next.is_long() && file_.stream.stopped()) {
    return interrupted();
  }
  const bool seeks = reader_.passes_over_damage;
  if (seeks && !is_begin(next)) {
    // Behind a gap an action may begin where it should, once more is there.
    const bool is_numbered = is_next_number(next.bytes);
    return pass_over(from, NO_ACTION, is_numbered ? 1 : 0);
  }
  if (next.is_long()) return pass_long_action(next);
  if (seeks && !is_end(next)) return pass_over(from, NO_END, 1);
  return process_action();
}
