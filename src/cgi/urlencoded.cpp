#include "cgi/urlencoded.hpp"

#include <span>

#include "base/growing_array.hpp"
#include "base/text.hpp"

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

// Appends the decoded text. Returns false without memory. Two quirks: in an escape, a byte that is no
// hexadecimal digit counts as 0 (%4G is "@"), and an escape that the end of the text cuts short is dropped.
bool unescape(std::string_view encoded, growing_array<char>& text) {
  const std::size_t start = text.size();
  const std::span<char> room = text.extend(encoded.size());
  if (room.size() != encoded.size()) return false;
  std::size_t length = 0;
  for (std::size_t i = 0; i < encoded.size(); ++i) {
    if (encoded[i] != '%') {
      room[length++] = encoded[i] == '+' ? ' ' : encoded[i];
      continue;
    }
    if (i + 2 >= encoded.size()) break;
    room[length++] = static_cast<char>(hex_value(encoded[i + 1]) * 16 + hex_value(encoded[i + 2]));
    i += 2;
  }
  text.shrink(start + length);
  return true;
}

// Takes the text before the first of the given bytes off `input` and returns it. That byte stays in `input`.
std::string_view take_until(std::string_view& input, std::string_view ends) {
  const std::string_view taken = input.substr(0, input.find_first_of(ends));
  input.remove_prefix(taken.size());
  return taken;
}

}  // namespace

cgiParseResultType cgiParseFormInput(std::string_view input) {
  growing_array<char> name;
  cgiNewEntry entry;
  while (!input.empty()) {
    const std::string_view encoded_name = take_until(input, "=&");
    if (encoded_name.empty()) break;
    if (input.starts_with('=')) input.remove_prefix(1);
    const std::string_view encoded_value = take_until(input, "&");
    if (!input.empty()) input.remove_prefix(1);

    name.shrink(0);
    if (!unescape(encoded_name, name) ||
        !entry.begin({.name = {name.items().data(), name.size()}}, encoded_value.size()) ||
        !unescape(encoded_value, entry.block())) {
      return cgiParseMemory;
    }
    // A decoded %00 ends the value for everyone who reads it as a text.
    const std::size_t length = text_before_zero(entry.value()).size();
    const cgiParseResultType result = entry.append_to_list(static_cast<std::int32_t>(length));
    if (result != cgiParseSuccess) return result;
  }
  return cgiParseSuccess;
}
