// The time that a collection of answers takes: it listens for a window of three seconds of the clock, counted
// in whole ones, and is over after a minute whatever still arrives.

#pragma once

#include <chrono>
#include <ctime>

#include "base/clock.hpp"

inline constexpr std::chrono::milliseconds pause_after_silence{100};

class collection_time {
 public:
  // True once the clock shows more than three seconds after the start.
  [[nodiscard]] bool window_over() const { return wall_seconds() > start_ + window_seconds; }

  // True after a minute.
  [[nodiscard]] bool over() const { return steady_time() >= end_; }

  // The clock at the start and at this moment, as logs show them.
  [[nodiscard]] int start() const { return static_cast<int>(start_); }
  [[nodiscard]] static int now() { return static_cast<int>(wall_seconds()); }

 private:
  static constexpr std::time_t window_seconds = 3;
  static constexpr std::chrono::seconds longest{60};

  std::time_t start_ = wall_seconds();
  std::chrono::milliseconds end_ = steady_time() + longest;
};
