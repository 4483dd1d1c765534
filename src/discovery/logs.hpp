// The logs of discovery that more than one file writes.

#pragma once

#include "base/trace.hpp"

// How the two-pass mode goes on, pass by pass and unit by unit.
inline constexpr trace_log pass_log{"/tmp/MCb.log", short_command_size};

// The mode of the last discovery.
inline constexpr trace_log mode_log{"/tmp/MCm.log", short_command_size};
