// The site log: a line for each step of a mass update, written at once, so that the page can show it during
// the update.
//   /tmp/site.log   started anew by every mass update; /www/site.log links to it

#pragma once

#include "base/trace.hpp"
#include "base/unit.hpp"

// The lines of the update itself.
inline constexpr trace_log site_log{unit::site_log, command_size};

// The line with the message to a unit, in full.
inline constexpr trace_log site_request_log{unit::site_log, longest_command_size};

// Formats like printf and appends a message of the checks or of the exchange with a unit, between two blanks.
// Cuts it where its command would not fit 1500 bytes.
[[gnu::format(printf, 1, 2)]] void log_site_message(const char* format, ...);
