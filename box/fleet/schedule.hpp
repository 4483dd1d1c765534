// The datagrams still to be sent, ordered by time; those due at the same time are sent in the order of add.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "network.hpp"
#include "unit.hpp"

namespace fleet {

// A datagram to send.
struct planned_send {
  moment due;
  std::size_t unit;  // index of the sending unit
  datagram what;
  std::size_t wave = 0;      // number of the datagram within its unit's answer, from 0
  bool ends_answer = false;  // this is the last datagram of an answer
  unsigned repeats = 1;      // number of times it is sent, `gap` apart
  std::chrono::milliseconds gap{0};
};

// Reorders the answers of many units to one request: no unit's second datagram is due before every unit's
// first one, and so on.
void interleave(std::vector<planned_send>& batch);

class schedule {
 public:
  // Adds a datagram. Drops it when 200,000 are waiting, so that no flood of requests uses up the memory.
  void add(planned_send planned);
  // Takes the next datagram that is due at `now`, if there is one.
  [[nodiscard]] std::optional<planned_send> take(moment now);
  // Returns the time of the next datagram, or nothing when none is waiting.
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
