#include "cgi/header_lines.hpp"

#include <algorithm>

#include "base/text.hpp"

namespace {

constexpr std::size_t longest_parameter_name = 1023;

// Copies the text into the buffer, cut and terminated.
void copy_cut(std::string_view text, std::span<char> buffer) {
  bounded_text{buffer}.add(text);
}

// Takes the line feed after a carriage return, if there is one.
void skip_line_feed(cgiBodyStream& stream) {
  char byte = '\0';
  if (cgiBodyReadByte(stream, byte) && byte != '\n') cgiBodyPutBack(stream, {&byte, 1});
}

// Takes white space off the stream, line ends included.
void skip_space_of(cgiBodyStream& stream) {
  char byte = '\0';
  while (cgiBodyReadByte(stream, byte)) {
    if (is_space(byte)) continue;
    cgiBodyPutBack(stream, {&byte, 1});
    return;
  }
}

// Takes a text, quoted or not, off the front of the header value and skips to the next ";". What is left
// starts with that ";" or is empty.
//
//     "a;b" x; name=...    text a;b    left  ; name=...
std::string_view take_header_text(std::string_view& rest) {
  const bool quoted = rest.starts_with('"');
  if (quoted) rest.remove_prefix(1);
  const std::string_view text = rest.substr(0, rest.find(quoted ? '"' : ';'));
  rest.remove_prefix(text.size());
  rest.remove_prefix(std::min(rest.find(';'), rest.size()));
  return text;
}

// Takes the letters and digits in front of the "=".
std::string_view take_parameter_name(std::string_view& rest) {
  const auto* end = std::ranges::find_if_not(rest, is_letter_or_digit);
  const std::string_view name = rest.substr(0, static_cast<std::size_t>(end - rest.begin()));
  rest.remove_prefix(name.size());
  return name.substr(0, longest_parameter_name);
}

}  // namespace

cgiParseResultType cgiReadHeaderLine(cgiBodyStream& stream, std::span<char> name, std::span<char> value) {
  bounded_text to_name{name};
  bounded_text to_value{value};
  bool in_value = false;
  bool colon_seen = false;
  char byte = '\0';
  while (cgiBodyReadByte(stream, byte) && byte != '\n') {
    if (byte == '\r') {
      skip_line_feed(stream);
      break;
    }
    if (in_value) {
      to_value.add(byte);
    } else if (byte == ':' && !to_name.empty() && !colon_seen) {
      in_value = true;
      skip_space_of(stream);
    } else if (!is_space(byte)) {
      // A line that starts with ":" has no value. All its ":" belong to the name.
      colon_seen = colon_seen || byte == ':';
      to_name.add(byte);
    }
  }
  return to_name.empty() || to_value.empty() ? cgiParseIO : cgiParseSuccess;
}

void cgiSplitHeaderValue(std::string_view header, std::span<char> main,
                         std::span<const cgiHeaderParameter> parameters) {
  for (const cgiHeaderParameter& parameter : parameters) copy_cut({}, parameter.value);
  std::string_view rest = skip_space(header);
  copy_cut(take_header_text(rest), main);
  while (!rest.empty()) {
    rest = skip_space(rest.substr(1));
    const std::string_view name = take_parameter_name(rest);
    rest = skip_space(rest);
    if (!rest.starts_with('=')) return;
    rest = skip_space(rest.substr(1));
    const std::string_view value = take_header_text(rest);
    const auto found = std::ranges::find_if(
        parameters, [name](const auto& parameter) { return equal_no_case(parameter.name, name); });
    if (found != parameters.end()) copy_cut(value, found->value);
  }
}
