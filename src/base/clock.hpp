// Time. Every clock that the program reads and every sleep goes through here.

#pragma once

#include <chrono>
#include <ctime>

// The time of day in whole seconds since 1970 UTC. Jumps when the unit's date is set.
[[nodiscard]] std::time_t wall_seconds();

// Milliseconds since an arbitrary start. Setting the unit's date does not change it.
[[nodiscard]] std::chrono::milliseconds steady_time();

// Sleeps for the full duration. A signal does not shorten it.
void pause_for(std::chrono::microseconds duration);
