// The site log: every step of a mass update in a line of its own, written at once, so that the page can show it
// while the update runs.
//   /tmp/site.log   begun anew by every mass update; /www/site.log links to it

#pragma once

#include <string_view>

#include "base/fixed_text.hpp"
#include "base/trace.hpp"

// A line of the update as such; cut where the log's command would not fit 256 bytes.
using site_line = fixed_text<command_size>;
void start_site_log(const site_line& line);
void append_to_site_log(const site_line& line);

// A message of the checks and of the exchange with a unit stands in its line between two blanks; its command
// takes 1500 bytes.
inline constexpr std::size_t message_command_size = 1500;
using site_message =
    fixed_text<message_command_size - std::string_view{"echo \"  \" >> /tmp/site.log"}.size()>;
void append_message(const site_message& message);
