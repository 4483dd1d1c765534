#include "cgi/form_numbers.hpp"

#include <cstdlib>
#include <string_view>

#include "base/text.hpp"

namespace {

constexpr std::string_view space_before_numbers = " \n\r\t";
constexpr std::string_view integer_starts = "0123456789-+";
constexpr std::string_view double_starts = "0123456789-+.";

// Finds the field's value, and checks whether it starts like a number.
cgiFormResultType find_number(const char* name, std::string_view starts, const char*& value) {
  const cgiFormEntry* entry = cgiFindFirstEntry(name);
  if (entry == nullptr) return cgiFormNotFound;
  value = entry->value();
  if (*value == '\0') return cgiFormEmpty;
  const std::string_view text = value;
  const std::size_t start = text.find_first_not_of(space_before_numbers);
  const bool begins = start != std::string_view::npos && starts.find(text[start]) != std::string_view::npos;
  return begins ? cgiFormSuccess : cgiFormBadType;
}

// Clamps the number that was read. A default is left alone.
template <typename Number>
cgiFormResultType clamp_found(cgiFormResultType found, Number* result, Number min, Number max) {
  if (found != cgiFormSuccess) return found;
  const Number read = *result;
  if (read < min) {
    *result = min;
  } else if (read > max) {
    *result = max;
  }
  return read < min || read > max ? cgiFormConstrained : cgiFormSuccess;
}

}  // namespace

cgiFormResultType cgiFormInteger(const char* name, int* result, int defaultValue) {
  const char* value = nullptr;
  const cgiFormResultType found = find_number(name, integer_starts, value);
  *result = found == cgiFormSuccess ? leading_number(value) : defaultValue;
  return found;
}

cgiFormResultType cgiFormIntegerBounded(const char* name, int* result, int min, int max, int defaultValue) {
  return clamp_found(cgiFormInteger(name, result, defaultValue), result, min, max);
}

cgiFormResultType cgiFormDouble(const char* name, double* result, double defaultValue) {
  const char* value = nullptr;
  const cgiFormResultType found = find_number(name, double_starts, value);
  *result = found == cgiFormSuccess ? std::strtod(value, nullptr) : defaultValue;
  return found;
}

cgiFormResultType cgiFormDoubleBounded(const char* name, double* result, double min, double max,
                                       double defaultValue) {
  return clamp_found(cgiFormDouble(name, result, defaultValue), result, min, max);
}
