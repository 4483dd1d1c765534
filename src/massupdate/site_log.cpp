#include "massupdate/site_log.hpp"

#include <cstdarg>
#include <cstdio>
#include <string_view>

#include "base/fixed_text.hpp"

namespace {

constexpr std::size_t message_command_size = 1500;
constexpr trace_log message_log{unit::site_log, message_command_size};

// The longest message whose command still fits, with its two blanks.
using message_text =
    fixed_text<message_command_size - std::string_view{"echo \"  \" >> /tmp/site.log"}.size()>;

}  // namespace

void log_site_message(const char* format, ...) {
  message_text message;
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(message.buffer().data(), message.buffer().size(), format, arguments);
  va_end(arguments);
  message_log.line(" %s ", message.c_str());
}
