#include "base/text.hpp"

#include <algorithm>
#include <limits>

bool equal_no_case(std::string_view left, std::string_view right) {
  return std::ranges::equal(left, right, {}, to_lower, to_lower);
}

std::string_view skip_space(std::string_view text) {
  while (!text.empty() && is_space(text.front())) text.remove_prefix(1);
  return text;
}

std::string_view without_line_end(std::string_view text) {
  if (!text.ends_with('\n')) return text;
  text.remove_suffix(1);
  if (text.ends_with('\r')) text.remove_suffix(1);
  return text;
}

std::string_view text_before_line_end(std::string_view text) {
  const std::size_t carriage_return = text.find('\r');
  return text.substr(0, carriage_return != std::string_view::npos ? carriage_return : text.find('\n'));
}

namespace {

// The number that the decimal digits at the start of the text spell. Stops after the first value beyond 32
// bits, so the 64 bits cannot overflow.
std::int64_t digits_number(std::string_view text) {
  std::int64_t number = 0;
  for (const char digit : text) {
    if (digit < '0' || digit > '9' || number > std::numeric_limits<std::int32_t>::max()) break;
    number = number * 10 + (digit - '0');
  }
  return number;
}

// Clamps to the range of 32 bits.
std::int32_t nearest_32_bits(std::int64_t number) {
  using limits = std::numeric_limits<std::int32_t>;
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(number, limits::min(), limits::max()));
}

}  // namespace

std::int32_t leading_number(std::string_view text) {
  text = skip_space(text);
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  const std::int64_t number = digits_number(text);
  return nearest_32_bits(negative ? -number : number);
}

std::int32_t leading_digits(std::string_view text) {
  return nearest_32_bits(digits_number(skip_space(text)));
}

bool bounded_text::add(std::string_view text) {
  if (buffer_.empty()) return text.empty();
  const std::size_t copied = text.copy(&buffer_[length_], buffer_.size() - length_ - 1);
  length_ += copied;
  buffer_[length_] = '\0';
  return copied == text.size();
}
