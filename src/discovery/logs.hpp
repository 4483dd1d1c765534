// The discovery logs that more than one file writes.

#pragma once

#include "base/trace.hpp"

// The progress of the two-pass mode, pass by pass and unit by unit.
inline constexpr trace_log pass_log{"/tmp/MCb.log", short_command_size};

// The mode of the last discovery.
inline constexpr trace_log mode_log{"/tmp/MCm.log", short_command_size};
