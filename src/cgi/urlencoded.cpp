#include "cgi/urlencoded.hpp"

#include <cstring>
#include <new>
#include <utility>

constinit const std::array<int, 256> cgiHexValue = [] {
  std::array<int, 256> values{};
  for (unsigned digit = 0; digit < 10; ++digit) values['0' + digit] = static_cast<int>(digit);
  for (unsigned digit = 10; digit < 16; ++digit) {
    values['a' + digit - 10] = values['A' + digit - 10] = static_cast<int>(digit);
  }
  return values;
}();

namespace {

int hex_value(char byte) {
  return cgiHexValue[static_cast<unsigned char>(byte)];
}

// The decoded text; null without memory. A byte that is no hexadecimal digit counts as 0 inside an escape,
// and an escape cut short by the end writes nothing.
cgiText unescape(std::string_view encoded) {
  cgiText text{new (std::nothrow) char[encoded.size() + 1]};
  if (!text) return text;
  std::size_t length = 0;
  for (std::size_t i = 0; i < encoded.size(); ++i) {
    if (encoded[i] != '%') {
      text[length++] = encoded[i] == '+' ? ' ' : encoded[i];
      continue;
    }
    if (i + 2 >= encoded.size()) break;
    text[length++] = static_cast<char>(hex_value(encoded[i + 1]) * 16 + hex_value(encoded[i + 2]));
    i += 2;
  }
  text[length] = '\0';
  return text;
}

// Cuts the text before the first of the given bytes off `input`, and returns it. The byte stays in `input`.
std::string_view take_until(std::string_view& input, std::string_view ends) {
  const std::string_view taken = input.substr(0, input.find_first_of(ends));
  input.remove_prefix(taken.size());
  return taken;
}

}  // namespace

cgiParseResultType cgiParseFormInput(std::string_view input) {
  while (!input.empty()) {
    const std::string_view encoded_name = take_until(input, "=&");
    if (encoded_name.empty()) break;
    if (input.starts_with('=')) input.remove_prefix(1);
    const std::string_view encoded_value = take_until(input, "&");
    if (!input.empty()) input.remove_prefix(1);

    cgiText name = unescape(encoded_name);
    cgiText value = unescape(encoded_value);
    const std::size_t length = value ? std::strlen(value.get()) : 0;
    const cgiParseResultType result =
        cgiAppendPlainEntry(std::move(name), std::move(value), static_cast<std::int32_t>(length));
    if (result != cgiParseSuccess) return result;
  }
  return cgiParseSuccess;
}
