// Multipart form decoding: turns a body of type multipart/form-data into form entries.
//   plain field   its value is in memory
//   upload        its content is in a temporary file in /dev/shm, so memory does not grow with its size; the
//                 file is deleted by cgiFreeResources, or at once when the part fails
//   texts         of a part's headers have at most 1023 characters; longer ones are cut without an error

#pragma once

#include "cgi/form_entry.hpp"

// Decodes the body of the request from cgiIn. Returns cgiParseSuccess, also for a body without any boundary,
// which has no fields; cgiParseIO for a body that ends inside a part, and when a temporary file cannot be
// created or completely written; cgiParseMemory.
[[nodiscard]] cgiParseResultType cgiParsePostMultipartInput();
