#include "util/chronex/trail/quiet.h"

bool f_skip_action = false;
