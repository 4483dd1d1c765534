// The clock: the one door to time.

#pragma once

#include <chrono>
#include <ctime>

// The time of day, in whole seconds since 1970 UTC.
[[nodiscard]] std::time_t wall_seconds();

// Milliseconds since an arbitrary start; setting the unit's date does not move it.
[[nodiscard]] std::chrono::milliseconds steady_time();

// Sleeps for the whole time, signals or not.
void pause_for(std::chrono::microseconds duration);
