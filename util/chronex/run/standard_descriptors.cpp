#include "util/chronex/run/standard_descriptors.h"

#include <fcntl.h>
#include <unistd.h>

void occupy_standard_descriptors() {
  for (int descriptor = 0; descriptor <= STDERR_FILENO; ++descriptor) {
    if (fcntl(descriptor, F_GETFD) != -1) continue;
    open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}
