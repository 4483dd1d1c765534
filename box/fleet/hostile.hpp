// Texts as a faulty or malicious unit would send them.
//   shell    values with $(touch /tmp/owned), backquotes, quotes, semicolons, markup, formats, line ends
//   length   values of 63, 64, 65, 200 and 1,100 bytes
//   pairs    segments without "=", without a key, with two "=", with a key of 63 and of 64 bytes, empty ones
//   joined   no "&" at all
//   bytes    values with control characters, zero bytes and high bytes
// The pairs that identify a unit and those that report a result stay unchanged, so that the unit is still
// found and acknowledged.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "faults.hpp"

namespace fleet {

// Returns the text made hostile. `index` is the unit's number in the fleet; it varies which value goes where.
[[nodiscard]] std::string hostile_text(std::string_view text, hostility kind, std::size_t index);

}  // namespace fleet
