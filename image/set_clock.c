// set_clock SECONDS: sets the clock to so many seconds after 1970. busybox's date has 32 bits: it ends in January 2038, and
// so does the kernel when it reads the clock of a 32-bit machine.
#include <stdlib.h>
#include <time.h>

int main(int count, char** words) {
  const struct timespec now = {.tv_sec = count == 2 ? strtoll(words[1], NULL, 10) : -1};
  return clock_settime(CLOCK_REALTIME, &now) != 0;
}
