// Elements by number. The unit's own numbers (rows, columns, units) are ints, with -1 for none; containers count in
// std::size_t. The conversion is here, once.

#pragma once

#include <cstddef>

// The item of that number, which must be one of the container's.
template <typename Items>
[[nodiscard]] constexpr auto& element(Items& items, std::ptrdiff_t number) {
  return items[static_cast<std::size_t>(number)];
}

// How many items there are.
template <typename Items>
[[nodiscard]] constexpr int count_of(const Items& items) {
  return static_cast<int>(items.size());
}
