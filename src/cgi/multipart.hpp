// Multipart form decoding: a body of type multipart/form-data becomes form entries.
//   plain field   its value in memory
//   upload        its content in a temporary file under /dev/shm, however large: the memory used does not grow
//                 with it; the file is deleted by cgiFreeResources, or at once when its part fails
//   texts         of a part's headers at most 1023 characters each; longer ones are cut without error

#pragma once

#include <cstdint>
#include <cstdio>
#include <span>
#include <string_view>

#include "cgi/body_stream.hpp"
#include "cgi/form_entry.hpp"

// Decodes the body of the request, from cgiIn. Returns cgiParseSuccess, also for a body that holds no boundary
// at all and so has no fields; cgiParseIO for one that ends inside a part, and when a temporary file cannot be
// made or written whole; cgiParseMemory.
[[nodiscard]] cgiParseResultType cgiParsePostMultipartInput();

// Reads one header line into two zero-terminated texts: the name without its white space, and the value behind
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

enum class cgiBoundary {
  first,  // "--" and the boundary
  next,   // the same at the start of a line
};

// Where the bytes in front of a boundary go: to the file if there is one, else to memory if that is wanted.
struct cgiBodyOutput {
  std::FILE* file = nullptr;
  cgiText* memory = nullptr;  // receives a zero-terminated copy; null after a failure
};

// Moves the bytes up to the next boundary to the output and takes them, the boundary and the two bytes behind it
// off the stream; but if the first of these two is a "-", both stay. The number of bytes moved, 0 after a
// failure, goes to `length`. Returns cgiParseSuccess, cgiParseIO when the body ends before all that or the file
// cannot be written, or cgiParseMemory.
[[nodiscard]] cgiParseResultType cgiReadToBoundary(cgiBodyStream& stream, cgiBoundary which,
                                                   const cgiBodyOutput& output, std::int32_t& length);
