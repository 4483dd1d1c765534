// Multipart form decoding: a body of type multipart/form-data becomes form entries.
//   plain field   its value in memory
//   upload        its content in a temporary file under /dev/shm, however large: the memory used does not grow
//                 with it; the file is deleted by cgiFreeResources, or at once when its part fails
//   texts         of a part's headers at most 1023 characters each; longer ones are cut without error

#pragma once

#include "cgi/form_entry.hpp"

// Decodes the body of the request, from cgiIn. Returns cgiParseSuccess, also for a body that holds no boundary
// at all and so has no fields; cgiParseIO for one that ends inside a part, and when a temporary file cannot be
// made or written whole; cgiParseMemory.
[[nodiscard]] cgiParseResultType cgiParsePostMultipartInput();
