#include "base/clock.hpp"

#include <cerrno>

std::time_t wall_seconds() {
  return std::time(nullptr);
}

std::chrono::milliseconds steady_time() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(
      std::chrono::steady_clock::now().time_since_epoch());
}

void pause_for(std::chrono::microseconds duration) {
  constexpr long microseconds_per_second = 1'000'000;
  const auto count = static_cast<long>(duration.count());
  timespec left{count / microseconds_per_second, count % microseconds_per_second * 1000};
  // After a signal nanosleep leaves the remaining time in `left`: sleep again for that.
  while (nanosleep(&left, &left) != 0 && errno == EINTR) {
  }
}
