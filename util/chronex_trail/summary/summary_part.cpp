#include "util/chronex_trail/summary/summary_part.h"

#include "util/chronex_trail/summary/part_rows.h"

std::span<const summary_part* const> summary_parts() {
  static constexpr const summary_part* PARTS[] = {
      &COMPLETENESS_PART, &INPUTS_PART,  &NUMBERS_PART,      &GAPS_PART,
      &NOTICES_PART,      &TOTAL_PART,   &SETS_PART,         &USERS_PART,
      &PROGRAMS_PART,     &HOSTS_PART,   &DAYS_PART,         &HOURS_PART,
      &WEEK_PART,         &RECORDS_PART, &TRANSACTIONS_PART, &SESSIONS_PART};
  return PARTS;
}
