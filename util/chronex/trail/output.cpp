#include "util/chronex/trail/output.h"

std::string_view trail_notice::text() const {
  if (comment.empty()) return problem;
  std::string_view sentence = comment;
  for (const std::string_view lead : {WARNING_LEAD, NOTE_LEAD}) {
    if (sentence.starts_with(lead)) sentence.remove_prefix(lead.size());
  }
  if (sentence.ends_with('\n')) sentence.remove_suffix(1);
  return sentence;
}
