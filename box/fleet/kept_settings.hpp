// The settings that this unit saved, in a file that survives a power cut: a units file with one row.
#pragma once

#include <string>

#include "parameters.hpp"

namespace fleet {

// Writes the file. Returns false when the settings are not safely on the disk; the file then still has the
// old ones or, when only the sync of its folder has failed, the new ones, which a power cut may undo.
[[nodiscard]] bool write_kept(const std::string& path, const parameters& known);

}  // namespace fleet
