#include "massupdate/site_log.hpp"

#include "base/unit.hpp"

void start_site_log(const site_line& line) {
  trace_replace(unit::site_log, command_size, line.view());
}

void append_to_site_log(const site_line& line) {
  trace_append(unit::site_log, command_size, line.view());
}

void append_message(const site_message& message) {
  fixed_text<message_command_size> line;
  line.print(" %s ", message.c_str());
  trace_append(unit::site_log, message_command_size, line.view());
}
