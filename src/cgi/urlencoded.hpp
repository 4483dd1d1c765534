// The url-encoded decoder: query strings and bodies of the form name=value&name=value.

#pragma once

#include <array>
#include <string_view>

#include "cgi/form_entry.hpp"

// The value of every byte as a hexadecimal digit; 0 for a byte that is none.
extern const std::array<int, 256> cgiHexValue;

// Decodes the bytes and appends one entry a field. An empty name ends decoding with success: what follows it
// is ignored, the fields before it stay. Returns cgiParseSuccess, or cgiParseMemory with the fields decoded
// so far in the list.
[[nodiscard]] cgiParseResultType cgiParseFormInput(std::string_view input);
