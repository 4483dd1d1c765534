// Texts as a faulty or malicious unit would send them.
//   shell    values hold $(touch /tmp/owned), backquotes, quotes, semicolons, markup, formats, line ends
//   length   values of 63, 64, 65, 200 and 1,100 bytes
//   pairs    segments without "=", without a key, with two "=", with a key of 64 and more bytes, empty ones
//   joined   no "&" at all
//   bytes    values of control characters, zero bytes and high bytes
// The pairs by which a unit is known and those that say how the request went stay as they are, so that it is
// still found and acknowledged.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "faults.hpp"

namespace fleet {

// Returns `text` made hostile; `index` is the unit's number in the fleet, which shifts what stands where.
[[nodiscard]] std::string hostile_text(std::string_view text, hostility kind, std::size_t index);

}  // namespace fleet
