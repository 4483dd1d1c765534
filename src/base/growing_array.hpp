// An array that grows at its end and says so when there is no memory for that, instead of throwing.

#pragma once

#include <cstddef>
#include <cstdlib>
#include <span>
#include <type_traits>

template <typename T>
class growing_array {
  static_assert(std::is_trivially_copyable_v<T>);

 public:
  growing_array() = default;
  growing_array(const growing_array&) = delete;
  growing_array& operator=(const growing_array&) = delete;
  ~growing_array() { std::free(items_); }

  // Returns false, with the array as it was, when there is no memory.
  [[nodiscard]] bool append(const T& item) {
    if (count_ == room_ && !grow()) return false;
    items_[count_++] = item;
    return true;
  }

  [[nodiscard]] std::span<T> items() { return {items_, count_}; }
  [[nodiscard]] std::span<const T> items() const { return {items_, count_}; }

 private:
  bool grow() {
    const std::size_t room = room_ == 0 ? 64 : room_ * 2;
    auto* items = static_cast<T*>(reallocarray(items_, room, sizeof(T)));
    if (items == nullptr) return false;
    items_ = items;
    room_ = room;
    return true;
  }

  T* items_ = nullptr;
  std::size_t count_ = 0;
  std::size_t room_ = 0;
};
