// An array that grows at its end. Where std::vector would throw, it reports lack of memory as a result. For
// trivially copyable types only: growing moves the items with realloc.

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

  // Appends an item. Returns false without memory; the array is then unchanged.
  [[nodiscard]] bool append(const T& item) {
    if (count_ == room_ && !grow(count_ + 1)) return false;
    items_[count_++] = item;
    return true;
  }

  // Appends that many items for the caller to fill; their contents are undefined. Returns them, or an empty
  // span without memory.
  [[nodiscard]] std::span<T> extend(std::size_t count) {
    if (room_ - count_ < count && !grow(count_ + count)) return {};
    count_ += count;
    return {items_ + (count_ - count), count};
  }

  // Allocates for exactly that many items. Returns false without memory; the array is then unchanged.
  [[nodiscard]] bool reserve(std::size_t room) { return room <= room_ || resize(room); }

  // Appends copies of these items. Returns false without memory; the array is then unchanged.
  [[nodiscard]] bool append_all(std::span<const T> added) {
    const std::span<T> room = extend(added.size());
    std::copy(added.begin(), added.begin() + static_cast<std::ptrdiff_t>(room.size()), room.begin());
    return room.size() == added.size();
  }

  // Keeps the first `count` items and drops the others. Frees no memory.
  void shrink(std::size_t count) { count_ = count; }

  // Drops all items and frees their memory.
  constexpr void release() {
    if (items_ != nullptr) std::free(items_);
    items_ = nullptr;
    count_ = room_ = 0;
  }

  // Hands the memory over to the caller, who frees it, and leaves the array empty. Cuts off unused room for
  // more than 32 items first.
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
  // Allocates for at least that many items. The size doubles. Pages that no item was written to yet cost no
  // RAM.
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
