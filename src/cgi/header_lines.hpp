// Header lines: the lines in front of a part of a multipart body, and the parameters in their values.

#pragma once

#include <span>
#include <string_view>

#include "cgi/body_stream.hpp"
#include "cgi/form_entry.hpp"

// Reads one header line into two zero-terminated texts: the name without its white space, and the value after
// the first ":" and the white space that follows it, be it line ends. A line that begins with a ":" is all
// name. What a buffer cannot hold is dropped.
// Returns cgiParseSuccess when both are there, else cgiParseIO, as at the empty line that ends the headers.
[[nodiscard]] cgiParseResultType cgiReadHeaderLine(cgiBodyStream& stream, std::span<char> name,
                                                   std::span<char> value);

// One parameter of a header value: its name, in any letter case, and the buffer for what it is set to.
struct cgiHeaderParameter {
  std::string_view name;
  std::span<char> value;
};

// Splits a header value such as `form-data; name="file"` into its main value and the values of the parameters
// asked for, zero-terminated and cut to their buffers; a parameter that is not there leaves an empty text, and a
// buffer of no bytes is left alone. Quotes around a text are taken off, and protect a ";" inside; white space
// in front of a ";" stays. There are no escape characters.
void cgiSplitHeaderValue(std::string_view header, std::span<char> main,
                         std::span<const cgiHeaderParameter> parameters);
