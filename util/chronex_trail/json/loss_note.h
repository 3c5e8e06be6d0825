#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_JSON_LOSS_NOTE_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_JSON_LOSS_NOTE_H

#include <string>

#include "util/chronex/tables/node.h"
#include "util/chronex/tables/session.h"

// Append `,{"field":"session","why":"before_loss"}` for what was known before
// actions were lost, and may have changed by them; of a session without sign-on
// data the sign-on itself may be lost.
void append_loss_note(const session_entry& session, std::string& notes);
void append_loss_note(const node_entry& node, std::string& notes);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_JSON_LOSS_NOTE_H
