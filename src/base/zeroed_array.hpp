// A large array of zero bytes. The system gives its pages only when they are first written, so that a table
// of device records costs the columns in use, not its whole width.

#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <type_traits>

struct memory_releaser {
  void operator()(void* memory) const { std::free(memory); }
};

// The array; null without memory.
template <typename T>
using zeroed_pointer = std::unique_ptr<T[], memory_releaser>;

// T must be a type whose zero bytes are its start value.
template <typename T>
[[nodiscard]] zeroed_pointer<T> zeroed_array(std::size_t count) {
  static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);
  return zeroed_pointer<T>{static_cast<T*>(std::calloc(count, sizeof(T)))};
}
