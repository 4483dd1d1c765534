// The decoded request of a target: as a text to compare, and read through its accessors.

#pragma once

#include <string>

#include "cgi/form_entry.hpp"

// Returns every field and the content of every upload as a text, and releases the request. No temporary file
// may be left then.
[[nodiscard]] std::string take_request();

// An accessor that copies a text.
using text_reader = cgiFormResultType (*)(const char* name, char* result, int max);

// Copies a text with the limit `enough`, which it fits, and with smaller ones: a cut copy must be the
// beginning of the text, and the result must say so.
void check_limits(text_reader read, const char* name, std::size_t enough);

// Reads the fields through most accessors, into buffers of exactly the size passed.
void check_accessors();
