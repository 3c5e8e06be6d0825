#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_OPERATION_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_OPERATION_H

// The character that stands for OP_UPDATE, OP_PUT or OP_DELETE in audit files
// and filters: '1', '2', '3'.
char audit_op_of(int op);

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_OPERATION_H
