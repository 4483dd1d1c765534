// Runs command lines. Each is a constant of ours, or has nothing but numbers of ours filled in. Text from a
// request or from a unit never gets into one.
//
// A line that needs no shell (command_line.hpp) is started directly: a shell in between would cost as much as
// the tool itself. When that fails for whatever reason, the line goes to the shell after all. The word may be
// one of its built-ins, and a redirection that cannot be opened then has the shell's usual status.
//
// What every command gets:
//   PATH     with /usr/local/bin, the folder of the unit's tools: some web servers start us without any PATH
//   stdout   the answer's, unless the line redirects it; the answer is flushed first, so that a tool cannot
//            print in front of the header; /dev/null once the client has gone
//   stderr   /dev/null
// While a command runs this process ignores SIGINT and SIGQUIT, as with system(). errno is kept.

#pragma once

#include <cstddef>
#include <span>

#include "base/fixed_text.hpp"

// Runs a command line and waits for it, unless it ends in "&". Returns its wait status as waitpid gives it, 0
// for success. When nothing could be started, returns the status of "exit 127".
[[nodiscard]] int shell_status(const char* command);

// The same, for a caller to whom the status does not matter.
void shell_run(const char* command);

// What shell_first_line found.
enum class first_line {
  not_started,  // nothing could be started
  none,         // the command printed nothing
  read,
};

// Clears the buffer, runs a command line, reads the first line of its output into the buffer and waits for
// the command. The line keeps its line feed. A line longer than the buffer is cut at line.size() - 1 bytes.
[[nodiscard]] first_line shell_first_line(const char* command, std::span<char> line);

// The same into a fixed-width text.
template <std::size_t N>
[[nodiscard]] first_line shell_first_line(const char* command, fixed_text<N>& line) {
  return shell_first_line(command, line.buffer());
}
