// What is still to be sent, by time; what is due at the same time leaves in the order in which it was added.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "network.hpp"
#include "unit.hpp"

namespace fleet {

struct planned_send {
  moment due;
  std::size_t unit;  // index of the sending unit
  datagram what;
  std::size_t wave = 0;      // the how-manieth datagram of its unit's answer, from 0
  bool ends_answer = false;  // the last datagram of one answer
  unsigned repeats = 1;      // how often it is sent, `gap` apart
  std::chrono::milliseconds gap{0};
};

// Reorders the answers of many units to one request so that no unit's second datagram is due before every
// unit's first one, and so on.
void interleave(std::vector<planned_send>& batch);

class schedule {
 public:
  // Drops `planned` when two hundred thousand are waiting: no storm of requests may use up the memory.
  void add(planned_send planned);
  // Returns the next one that is due at `now`, or nothing.
  [[nodiscard]] std::optional<planned_send> take(moment now);
  // Returns when the next one is due, or nothing when none waits.
  [[nodiscard]] std::optional<moment> next_due() const;

 private:
  struct entry {
    planned_send planned;
    std::uint64_t order;
  };
  static bool is_later(const entry& left, const entry& right);

  std::vector<entry> heap_;
  std::uint64_t added_ = 0;
};

}  // namespace fleet
