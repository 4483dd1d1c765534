#include "schedule.hpp"

#include <algorithm>
#include <utility>

namespace fleet {

namespace {

constexpr std::size_t most_waiting = 200'000;

}  // namespace

// Sorts by wave and delays each wave to the last due time of the one before:
//
//     due      0 ms           1 ms                  0 ms    1 ms
//     unit 1   first second                         first           second
//     unit 2                  first second    ->            first           second
//
// A due time is moved later only, never earlier.
void interleave(std::vector<planned_send>& batch) {
  std::ranges::stable_sort(batch, {}, &planned_send::wave);
  moment wave_start{};
  moment latest{};
  std::size_t wave = 0;
  for (planned_send& planned : batch) {
    if (planned.wave != wave) wave_start = latest;
    wave = planned.wave;
    planned.due = std::max(planned.due, wave_start);
    latest = std::max(latest, planned.due);
  }
}

void schedule::add(planned_send planned) {
  if (heap_.size() >= most_waiting) return;
  heap_.push_back({std::move(planned), added_++});
  std::ranges::push_heap(heap_, is_later);
}

std::optional<planned_send> schedule::take(moment now) {
  if (heap_.empty() || heap_.front().planned.due > now) return std::nullopt;
  std::ranges::pop_heap(heap_, is_later);
  planned_send next = std::move(heap_.back().planned);
  heap_.pop_back();
  return next;
}

std::optional<moment> schedule::next_due() const {
  if (heap_.empty()) return std::nullopt;
  return heap_.front().planned.due;
}

bool schedule::is_later(const entry& left, const entry& right) {
  return std::pair{left.planned.due, left.order} > std::pair{right.planned.due, right.order};
}

}  // namespace fleet
