// Decodes url-encoded query strings and bodies: name=value&name=value.

#pragma once

#include <array>
#include <string_view>

#include "cgi/form_entry.hpp"

// The value of each byte as a hexadecimal digit, 0 for a byte that is not one.
extern const std::array<int, 256> cgiHexValue;

// Decodes the bytes and appends an entry for each field. An empty name ends decoding with success: the rest
// of the input is ignored. Returns cgiParseSuccess, or cgiParseMemory; the fields decoded before that are in
// the list.
[[nodiscard]] cgiParseResultType cgiParseFormInput(std::string_view input);
