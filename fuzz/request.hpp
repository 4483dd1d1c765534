// The request of a target of the request layer: as a text that can be compared, and through its accessors.

#pragma once

#include <string>

#include "cgi/form_entry.hpp"

// Every field and the content of every upload. The request is then released, which must leave no temporary
// file.
[[nodiscard]] std::string take_request();

using text_reader = cgiFormResultType (*)(const char* name, char* result, int max);

// Copies a text that is shorter than `enough` with that limit and with smaller ones: what is cut is the
// beginning of the whole text, and the result says so.
void check_limits(text_reader read, const char* name, std::size_t enough);

// Reads the fields through every accessor, with buffers of exactly the sizes told.
void check_accessors();
