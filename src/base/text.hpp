// Text helpers that more than one folder needs. Letters, digits and white space are the ASCII ones, whatever
// locale the web server set.

#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

// True for blank, tab, line feed, vertical tab, form feed and carriage return.
[[nodiscard]] constexpr bool is_space(char character) {
  return character == ' ' || (character >= '\t' && character <= '\r');
}

// The lower-case form of A to Z. Every other byte is returned unchanged.
[[nodiscard]] constexpr char to_lower(char character) {
  return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

// True for A to Z, a to z and 0 to 9.
[[nodiscard]] constexpr bool is_letter_or_digit(char character) {
  const char lower = to_lower(character);
  return (lower >= 'a' && lower <= 'z') || (lower >= '0' && lower <= '9');
}

// The text up to its first zero byte, as a C string function would read it.
[[nodiscard]] constexpr std::string_view text_before_zero(std::string_view text) {
  return text.substr(0, text.find('\0'));
}

// True when both texts are equal without regard to letter case.
[[nodiscard]] bool equal_no_case(std::string_view left, std::string_view right);

// The text without the white space at its start.
[[nodiscard]] std::string_view skip_space(std::string_view text);

// The text without the LF or CR LF at its end, if there is one.
[[nodiscard]] std::string_view without_line_end(std::string_view text);

// The text before its first carriage return or, when it has none, before its first line feed.
[[nodiscard]] std::string_view text_before_line_end(std::string_view text);

// The number at the start of the text: white space, an optional sign, decimal digits. The rest is ignored. 0
// without a digit. A number beyond 32 bits is clamped.
[[nodiscard]] std::int32_t leading_number(std::string_view text);

// The same, but a sign is not accepted.
[[nodiscard]] std::int32_t leading_digits(std::string_view text);

// Appends to a zero-terminated text in the caller's buffer and drops what does not fit. An empty buffer is
// never written to.
class bounded_text {
 public:
  explicit bounded_text(std::span<char> buffer) : buffer_(buffer) { add(std::string_view{}); }

  // Both return false when something did not fit.
  bool add(char byte) {
    if (length_ + 1 >= buffer_.size()) return false;
    buffer_[length_++] = byte;
    buffer_[length_] = '\0';
    return true;
  }
  bool add(std::string_view text);

  [[nodiscard]] bool empty() const { return length_ == 0; }

 private:
  std::span<char> buffer_;
  std::size_t length_ = 0;
};
