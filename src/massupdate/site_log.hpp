// The site log: every step of a mass update in a line of its own, written at once, so that the page can show it
// while the update runs.
//   /tmp/site.log   begun anew by every mass update; /www/site.log links to it

#pragma once

#include "base/trace.hpp"
#include "base/unit.hpp"

// Lines of the update as such.
inline constexpr trace_log site_log{unit::site_log, command_size};

// The message that a unit is sent, whole.
inline constexpr trace_log site_request_log{unit::site_log, longest_command_size};

// Appends a message of the checks or of the exchange with a unit, formatted like printf: it is written between two
// blanks, and cut where the command of its line would not fit 1500 bytes.
[[gnu::format(printf, 1, 2)]] void log_site_message(const char* format, ...);
