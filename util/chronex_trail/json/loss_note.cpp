#include "util/chronex_trail/json/loss_note.h"

void append_loss_note(const session_entry& session, std::string& notes) {
  if (!session.is_uncertain) return;
  notes += session.sign_on ? R"(,{"field":"session","why":"before_loss"})"
                           : R"(,{"field":"session","why":"sign_on_lost"})";
}

void append_loss_note(const node_entry& node, std::string& notes) {
  if (node.is_uncertain) notes += R"(,{"field":"dataset","why":"before_loss"})";
}
