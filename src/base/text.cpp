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

std::int32_t leading_number(std::string_view text) {
  using limits = std::numeric_limits<std::int32_t>;
  text = skip_space(text);
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  std::int64_t number = 0;
  for (const char digit : text) {
    if (digit < '0' || digit > '9' || number > limits::max()) break;
    number = number * 10 + (digit - '0');
  }
  if (negative) number = -number;
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(number, limits::min(), limits::max()));
}
