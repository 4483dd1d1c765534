// The shell: the one door to command lines. Every command line is a constant of ours or contains nothing but
// numbers of ours; text of a request or of a unit never enters one.
//
// A line that needs no shell (command_line.hpp) is started directly: a shell in between would cost as much as the
// tool. Whatever keeps its program from starting, the line then goes to the shell after all: it may know the word as
// a command of its own, and a file that cannot be opened has its usual status.
//
// Before the first command /usr/local/bin, where the unit's tools live, is put into PATH if it is not there:
// some web servers start a CGI program without any PATH. Before every command the answer stream is flushed,
// so that the output of a tool that is not redirected cannot come before the header. Once the answer's
// reader has gone, that output goes nowhere, as everything does that a tool writes to standard error.
// While a command runs this process ignores SIGINT and SIGQUIT, as with system(). errno stays as it was.

#pragma once

#include <cstddef>
#include <span>

#include "base/fixed_text.hpp"

// Runs a command line and waits for it, but for one that ends in "&". Returns its wait status, 0 for success; when
// nothing could be started, as if the command had ended with 127.
[[nodiscard]] int shell_status(const char* command);

// The same where the status plays no part.
void shell_run(const char* command);

enum class first_line {
  not_started,  // nothing could be started
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
