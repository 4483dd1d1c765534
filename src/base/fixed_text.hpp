// Fixed-width texts: the buffers of the unit's own formats, with two rules for input that is too long.
//   fixed_text<N>  at most N-1 bytes, always terminated, the rest of the buffer filled with zero bytes
//   longer input   is cut (assign_cut, print) or refused (assign_if_fits), and never fails the request
//   a zero byte    ends the input: a zero-terminated text cannot contain what follows it

#pragma once

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <span>
#include <string_view>

#include "base/text.hpp"

template <std::size_t N>
class fixed_text {
  static_assert(N > 1);

 public:
  // The longest text that fits, in bytes.
  static constexpr std::size_t capacity = N - 1;

  constexpr fixed_text() = default;

  // Makes the text empty and fills the whole buffer with zero bytes.
  void clear() { bytes_.fill('\0'); }

  // Takes the text, or its first `capacity` bytes when it is longer. The text may be a part of this one.
  void assign_cut(std::string_view text) {
    text = text_before_zero(text).substr(0, capacity);
    if (!text.empty()) std::memmove(bytes_.data(), text.data(), text.size());
    std::fill(bytes_.data() + text.size(), bytes_.data() + N, '\0');
  }

  // Takes the text and returns true, or returns false and keeps the old text when it is too long.
  [[nodiscard]] bool assign_if_fits(std::string_view text) {
    if (text_before_zero(text).size() > capacity) return false;
    assign_cut(text);
    return true;
  }

  // Appends the text and cuts what does not fit.
  void append_cut(std::string_view text) {
    const std::size_t length = view().size();
    text = text_before_zero(text).substr(0, capacity - length);
    text.copy(bytes_.data() + length, text.size());
  }

  // Formats like printf and cuts the result at `capacity` bytes.
  [[gnu::format(printf, 2, 3)]] void print(const char* format, ...) {
    clear();
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(bytes_.data(), N, format, arguments);
    va_end(arguments);
  }

  // The whole buffer, for a caller that writes into it and terminates the text itself.
  [[nodiscard]] std::span<char> buffer() { return bytes_; }

  // The text up to its terminating zero byte.
  [[nodiscard]] std::string_view view() const { return {bytes_.data()}; }
  [[nodiscard]] const char* c_str() const { return bytes_.data(); }
  [[nodiscard]] bool empty() const { return bytes_[0] == '\0'; }

  // Compares all N bytes. The zero padding makes that right, and it saves a search for both ends.
  [[nodiscard]] bool operator==(const fixed_text& other) const = default;

 private:
  std::array<char, N> bytes_{};
};
