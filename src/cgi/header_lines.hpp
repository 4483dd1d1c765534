// Header lines: the lines in front of each part of a multipart body, and the parameters in their values.

#pragma once

#include <span>
#include <string_view>

#include "cgi/body_stream.hpp"
#include "cgi/form_entry.hpp"

// Reads one header line into two zero-terminated texts: the name without any white space in it, and the value
// after the first ":" and the white space after that. What does not fit a buffer is dropped. Two quirks: this
// white space may be line ends, so an empty value takes the next line as its value; and a line that starts
// with ":" has no value.
//
//     Content-Type: text/plain     "Content-Type"   "text/plain"
//     X-Empty:
//     Content-Type: text/plain     "X-Empty"        "Content-Type: text/plain"
//
// Returns cgiParseSuccess when both texts have a byte, else cgiParseIO: so at the empty line after the
// headers.
[[nodiscard]] cgiParseResultType cgiReadHeaderLine(cgiBodyStream& stream, std::span<char> name,
                                                   std::span<char> value);

// A parameter to look for in a header value: its name, in any letter case, and the buffer for its value.
struct cgiHeaderParameter {
  std::string_view name;
  std::span<char> value;
};

// Splits a header value such as `form-data; name="file"` into its main value and the values of the given
// parameters, each zero-terminated and cut to its buffer. The value of a missing parameter is empty. A buffer
// of 0 bytes is not written. Quotes around a text are removed, and a ";" inside them does not end it. White
// space in front of a ";" stays. There are no escape characters.
void cgiSplitHeaderValue(std::string_view header, std::span<char> main,
                         std::span<const cgiHeaderParameter> parameters);
