#ifndef CHRONEX_UTIL_CHRONEX_FORWARD_LOG_ACTION_EXTENT_H
#define CHRONEX_UTIL_CHRONEX_FORWARD_LOG_ACTION_EXTENT_H

// How far actions reach, without their bodies being read, and whether bytes can
// be the beginning of one.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "util/chronex/forward_log/fwlog_format.h"

// Tag and prefix of an action.
inline constexpr std::size_t FW_ACTION_HEAD_SIZE = 1 + FW_PREFIX_SIZE;
// So many bytes of an action at most tell how long it is.
inline constexpr std::size_t FW_EXTENT_SIZE =
    FW_ACTION_HEAD_SIZE + FW_BEFORE_IMAGE_HEADER_SIZE;

struct action_head {
  std::uint8_t tag = 0;
  std::uint32_t number = 0;
  // Seconds since the epoch.
  std::uint32_t timestamp = 0;
};

// `bytes` holds at least FW_ACTION_HEAD_SIZE.
action_head decode_action_head(const std::uint8_t* bytes);

// Whether actions with this tag exist.
bool is_action_tag(std::uint8_t tag);

// What the head of an action must have.
struct head_limits {
  std::uint32_t lowest_number = 0;
  std::uint32_t earliest = 0;
  std::uint32_t latest = UINT32_MAX;

  bool allow(const action_head& head) const {
    return head.number >= lowest_number && head.timestamp >= earliest &&
           head.timestamp <= latest;
  }
};

// The first place from `begin` on, and before `end`, where a head with a known
// tag stands that the limits allow; `end` if there is none.
std::size_t find_action_head(std::span<const std::uint8_t> bytes,
                             std::size_t begin, std::size_t end,
                             const head_limits& limits);

enum class extent_state {
  known,
  // Its header goes on behind the bytes that are there.
  open,
  // It has no known tag, or breaks a limit of the format.
  impossible,
};

struct action_extent {
  extent_state state = extent_state::impossible;
  // From the tag to the end of the body.
  std::uint64_t length = 0;
};

// The extent of the action that these bytes, as many as there are, begin with.
action_extent extent_of(std::span<const std::uint8_t> bytes);

// The limits of a head that follows another, in whatever distance: clocks are
// set back by a day at most, and no log pauses for more than a year.
head_limits limits_behind(const action_head& head);
bool may_follow(const action_head& earlier, const action_head& later);

// Whether bytes hold the headers of three actions with rising numbers, one
// behind the other. An end tag that nothing follows ends a chain of two, too,
// as does an action too long to be looked behind.
enum class chain_state {
  holds,
  // There are too few bytes to say.
  open,
  broken,
};
chain_state chain_at(std::span<const std::uint8_t> bytes);

// So many bytes show any chain whose actions can be looked behind.
inline constexpr std::size_t CHAIN_REACH =
    2 * (FW_ACTION_HEAD_SIZE + FW_RECORD_HEADER_SIZE + UINT16_MAX) +
    FW_EXTENT_SIZE;

#endif  // CHRONEX_UTIL_CHRONEX_FORWARD_LOG_ACTION_EXTENT_H
