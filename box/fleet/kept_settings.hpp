// What the unit itself saved, in a file that outlives a power cut: a units file of one row.
#pragma once

#include <string>

#include "parameters.hpp"

namespace fleet {

// Returns false when the settings are not safely on the disk; the file then still has the older ones.
[[nodiscard]] bool write_kept(const std::string& path, const parameters& known);

}  // namespace fleet
