#include "util/chronex/quiet.h"

bool f_skip_action = false;
