// The shell: the one door to command lines. Every command line is a constant of ours or holds nothing but
// numbers of ours; text of a request or of a unit never enters one.
//
// Before the first command /usr/local/bin, where the unit's tools live, is put into PATH if it is not there:
// some web servers start a CGI program without any PATH. Before every command the answer stream is flushed,
// so that the output of a tool that is not redirected cannot stand before the header. Once the answer's
// reader has gone, that output goes nowhere, as everything does that a tool writes to standard error.

#pragma once

#include <cstddef>
#include <span>

#include "base/fixed_text.hpp"

// Runs a command line and waits for it. Returns its wait status, 0 for success, or -1 when no shell could
// be started.
[[nodiscard]] int shell_status(const char* command);

// The same where the status plays no part.
void shell_run(const char* command);

enum class first_line {
  not_started,  // no shell could be started
  none,         // the command ended without any output
  read,
};

// Runs a command line, reads the first line of its output and waits for it to end. The line keeps its line
// end; a line longer than the buffer is cut. The buffer is cleared first, whatever follows.
[[nodiscard]] first_line shell_first_line(const char* command, std::span<char> line);

template <std::size_t N>
[[nodiscard]] first_line shell_first_line(const char* command, fixed_text<N>& line) {
  return shell_first_line(command, line.buffer());
}
