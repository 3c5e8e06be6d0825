// The wording of what is lost where damage is passed over.

#include <algorithm>

#include "util/chronex/forward_log/continuity.h"

namespace {

using number = unsigned long long;

// How many actions are lost; 0 = not known.
std::uint32_t count_of(const damaged_bytes& damage) {
  return damage.next_number == 0 ? 0
                                 : damage.next_number - damage.last_number - 1;
}

std::string loss_of(const damaged_bytes& damage) {
  if (damage.next_number == 0) return "no action was found behind them";
  return format_text("information from %u action(s) is missing",
                     count_of(damage));
}

}  // namespace

void continuity::report_damaged_bytes(const input_file& file,
                                      const damaged_bytes& damage) {
  has_passed_over_ = true;
  const char* name = file.name.c_str();
  const number count = damage.to - damage.from;
  const std::string loss = loss_of(damage);
  trail_.messages.print(
      "WARNING: damage in file %s behind action %u-%u.%u\n"
      "         reason: %s\n"
      "         passed over: %llu byte(s) from byte %llu on\n"
      "         %s\n",
      name, file.generation, file.sequence, damage.last_number,
      damage.reason.c_str(), count, number{damage.from}, loss.c_str());
  const std::string comment = format_text(
      "WARNING: while the original forward-log was processed, damage was found "
      "in file %s behind action %u-%u.%u (%s), and %llu byte(s) from byte %llu "
      "on were passed over - %s",
      name, file.generation, file.sequence, damage.last_number,
      damage.reason.c_str(), count, number{damage.from}, loss.c_str());
  trail_.place.number = damage.last_number;
  trail_.notice({.kind = notice_kind::damaged_bytes,
                 .found = damage.next_number,
                 .expected = damage.last_number + 1,
                 .missing = count_of(damage),
                 .from = damage.from,
                 .to = damage.to,
                 .comment = comment});
  trail_.actions_lost();
  if (damage.next_number == 0) return;
  known_.action = std::max(known_.action, damage.next_number - 1);
}

void continuity::report_unknown_set(const input_file& file,
                                    std::int32_t node_id) {
  trail_.messages.print(
      "WARNING: unknown data set #%d in forward-log action %u-%u.%u\n"
      "         what describes it is apparently lost\n"
      "         its operations are passed over\n",
      node_id, file.generation, file.sequence, trail_.place.number);
  trail_.notice(
      notice_kind::unknown_set,
      format_text("WARNING: while the original forward-log was processed, an "
                  "unknown data set #%d was encountered on forward-log action "
                  "%u-%u.%u - what describes it is apparently lost, and its "
                  "operations are passed over",
                  node_id, file.generation, file.sequence,
                  trail_.place.number));
}
