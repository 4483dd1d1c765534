// Indexing with signed numbers. Rows, columns and units are counted in int, with -1 for none; the standard
// containers index with std::size_t. Indexing with a signed number goes through these.

#pragma once

#include <cstddef>

// The item at that index, which must be within the container.
template <typename Items>
[[nodiscard]] constexpr auto& element(Items& items, std::ptrdiff_t number) {
  return items[static_cast<std::size_t>(number)];
}

// The number of items, as an int.
template <typename Items>
[[nodiscard]] constexpr int count_of(const Items& items) {
  return static_cast<int>(items.size());
}
