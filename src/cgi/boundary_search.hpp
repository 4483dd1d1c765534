// Boundary search: reads a multipart body up to its next boundary.

#pragma once

#include <cstdint>
#include <cstdio>

#include "base/growing_array.hpp"
#include "cgi/body_stream.hpp"
#include "cgi/form_entry.hpp"

// Which boundary is searched for.
enum class cgiBoundary {
  first,  // "--" and the boundary
  next,   // the same with CR LF in front
};

// Where the bytes in front of a boundary go: into the file if there is one, else to the end of the memory if
// that is given, else nowhere. After a failure a part of them may be there.
struct cgiBodyOutput {
  std::FILE* file = nullptr;
  growing_array<char>* memory = nullptr;
};

// Moves the bytes in front of the next boundary to the output. Takes them, the boundary and the two bytes
// after it off the stream; if the first of those two is "-", both stay for the caller's test for the closing
// "--". Stores the number of bytes moved in `length`, 0 after a failure. Returns cgiParseSuccess, cgiParseIO
// when the body ends before all that or the file cannot be written, or cgiParseMemory.
[[nodiscard]] cgiParseResultType cgiReadToBoundary(cgiBodyStream& stream, cgiBoundary which,
                                                   const cgiBodyOutput& output, std::int32_t& length);
