// Record operations on their way to the outputs.

#include "util/chronex/trail/operation.h"

#include <cassert>

#include "util/chronex/trail/trail.h"

char audit_op_of(int op) {
  switch (op) {
    case OP_UPDATE:
      return '1';
    case OP_PUT:
      return '2';
    case OP_DELETE:
      return '3';
    default:
      assert(!"unexpected op");
      return '\0';
  }
}

int trail::write_node_context(node_entry& entry) {
  if (f_skip_action || !entry.context_pending) return 0;
  entry.context_pending = false;
  if (!entry.set) return 0;
  for (trail_output* output : outputs()) {
    if (output->schema(entry, place) != 0) return -1;
  }
  return 0;
}

// Most operations find that all of it was told before.
int trail::write_prerequisites(const image_operation& operation) {
  session_entry& session = operation.session;
  if (session.shown_by != all_outputs() &&
      write_session_sign_on(session, sign_on_caller::image_operation) != 0) {
    return -1;
  }
  if (operation.node.context_pending &&
      write_node_context(operation.node) != 0) {
    return -1;
  }
  if (!session.may_have_pending_memo) return 0;
  return write_pending_session_memo(session);
}

int trail::write_image_op(const image_operation& operation) {
  if (f_skip_action) return 0;
  if (filter_.has_filter_expr()) {
    const event_selection selection =
        filter_.select_event({.session = &operation.session,
                              .node = &operation.node,
                              .layout_id = operation.layout_id,
                              .timestamp = operation.timestamp,
                              .operation = audit_op_of(operation.op),
                              .record_number = operation.recno,
                              .before_image = operation.before,
                              .after_image = operation.after});
    if (selection == event_selection::failed) return tell_filter_failure();
    if (selection == event_selection::rejected) return 0;
  }
  if (write_prerequisites(operation) != 0) return -1;
  for (trail_output* output : outputs()) {
    if (output->operation(operation, place) != 0) return -1;
  }
  return 0;
}
