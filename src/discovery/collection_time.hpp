// The time that a collection of answers takes: it listens for a window of three seconds of the clock, counted
// in whole ones, and is over after a minute whatever still arrives.

#pragma once

#include <chrono>
#include <ctime>

#include "base/clock.hpp"

inline constexpr std::chrono::milliseconds pause_after_silence{100};

class collection_time {
 public:
  // True once the clock shows more than three seconds after the start; reads the clock.
  [[nodiscard]] bool window_over() {
    now_ = wall_seconds();
    return now_ > start_ + window_seconds;
  }

  // True after a minute.
  [[nodiscard]] bool over() const { return steady_time() >= end_; }

  // The clock at the start, and when it was read last, as logs show them.
  [[nodiscard]] int start() const { return static_cast<int>(start_); }
  [[nodiscard]] int now() const { return static_cast<int>(now_); }

 private:
  static constexpr std::time_t window_seconds = 3;
  static constexpr std::chrono::seconds longest_collection{60};

  std::time_t start_ = wall_seconds();
  std::time_t now_ = start_;
  std::chrono::milliseconds end_ = steady_time() + longest_collection;
};
