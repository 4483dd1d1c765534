// A large array of zero bytes from calloc. The kernel maps its pages when they are first written, so a table
// costs RAM for the part in use only.

#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <type_traits>

struct memory_releaser {
  void operator()(void* memory) const { std::free(memory); }
};

// Owns such an array. Null without memory.
template <typename T>
using zeroed_pointer = std::unique_ptr<T[], memory_releaser>;

// Allocates `count` items, all of zero bytes, which must be T's start value. Null without memory.
template <typename T>
[[nodiscard]] zeroed_pointer<T> zeroed_array(std::size_t count) {
  static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);
  return zeroed_pointer<T>{static_cast<T*>(std::calloc(count, sizeof(T)))};
}
