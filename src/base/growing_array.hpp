// An array that grows at its end and says so when there is no memory for that, instead of throwing.

#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <span>
#include <type_traits>
#include <utility>

template <typename T>
class growing_array {
  static_assert(std::is_trivially_copyable_v<T>);

 public:
  constexpr growing_array() = default;
  growing_array(const growing_array&) = delete;
  growing_array& operator=(const growing_array&) = delete;
  growing_array(growing_array&& other) noexcept { *this = std::move(other); }
  growing_array& operator=(growing_array&& other) noexcept {
    std::swap(items_, other.items_);
    std::swap(count_, other.count_);
    std::swap(room_, other.room_);
    return *this;
  }
  constexpr ~growing_array() { release(); }

  // Returns false, with the array as it was, when there is no memory.
  [[nodiscard]] bool append(const T& item) {
    if (count_ == room_ && !grow(count_ + 1)) return false;
    items_[count_++] = item;
    return true;
  }

  // Adds that many items for the caller to fill: what they contain is undefined. Empty when there is no memory.
  [[nodiscard]] std::span<T> extend(std::size_t count) {
    if (room_ - count_ < count && !grow(count_ + count)) return {};
    count_ += count;
    return {items_ + (count_ - count), count};
  }

  // Makes room for so many items, no more. Returns false, with the array as it was, when there is no memory.
  [[nodiscard]] bool reserve(std::size_t room) { return room <= room_ || resize(room); }

  // Adds copies of these items. Returns false, with the array as it was, when there is no memory.
  [[nodiscard]] bool append_all(std::span<const T> added) {
    const std::span<T> room = extend(added.size());
    std::copy(added.begin(), added.begin() + static_cast<std::ptrdiff_t>(room.size()), room.begin());
    return room.size() == added.size();
  }

  // Drops the items from that one on.
  void shrink(std::size_t count) { count_ = count; }

  // Drops all items and gives their memory back.
  constexpr void release() {
    if (items_ != nullptr) std::free(items_);
    items_ = nullptr;
    count_ = room_ = 0;
  }

  // Gives the memory away, shrunk to its items unless only a few more would fit. The caller frees it.
  [[nodiscard]] T* take() {
    constexpr std::size_t few = 32;
    void* cut = room_ - count_ > few ? reallocarray(items_, count_, sizeof(T)) : nullptr;
    T* taken = cut != nullptr ? static_cast<T*>(cut) : items_;
    items_ = nullptr;
    count_ = room_ = 0;
    return taken;
  }

  [[nodiscard]] std::size_t size() const { return count_; }
  [[nodiscard]] T& operator[](std::size_t number) { return items_[number]; }
  [[nodiscard]] const T& operator[](std::size_t number) const { return items_[number]; }
  [[nodiscard]] std::span<T> items() { return {items_, count_}; }
  [[nodiscard]] std::span<const T> items() const { return {items_, count_}; }

 private:
  // Makes room for at least that many items. Room doubles: pages that no item has reached yet take no memory.
  bool grow(std::size_t wanted) {
    std::size_t room = room_ == 0 ? 64 : room_ * 2;
    if (room < wanted) room = wanted;
    return resize(room);
  }

  bool resize(std::size_t room) {
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
