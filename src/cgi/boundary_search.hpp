// Boundary search: the bytes of a multipart body up to its next boundary.

#pragma once

#include <cstdint>
#include <cstdio>

#include "base/growing_array.hpp"
#include "cgi/body_stream.hpp"
#include "cgi/form_entry.hpp"

enum class cgiBoundary {
  first,  // "--" and the boundary
  next,   // the same at the start of a line
};

// Where the bytes in front of a boundary go: to the file if there is one, else to the end of the memory if that is
// wanted. After a failure some may be there.
struct cgiBodyOutput {
  std::FILE* file = nullptr;
  growing_array<char>* memory = nullptr;
};

// Moves the bytes up to the next boundary to the output and takes them, the boundary and the two bytes after it
// off the stream; but if the first of these two is a "-", both stay. The number of bytes moved, 0 after a
// failure, goes to `length`. Returns cgiParseSuccess, cgiParseIO when the body ends before all that or the file
// cannot be written, or cgiParseMemory.
[[nodiscard]] cgiParseResultType cgiReadToBoundary(cgiBodyStream& stream, cgiBoundary which,
                                                   const cgiBodyOutput& output, std::int32_t& length);
