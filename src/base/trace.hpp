// Trace lines: the one door to the unit's log files. A line reaches its file literally, whatever bytes it
// holds: it is appended by our own write and passes no shell.
//
// Readers on the unit know these logs as the output of lines like  echo "TEXT" >> PATH  built in a buffer of
// a fixed size. A text that would make that command longer than its buffer holds is cut so that the command
// would just fit, so the logs keep their known widths.

#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

#include "base/handles.hpp"

// The command buffers, in bytes with their terminator.
inline constexpr std::size_t short_command_size = 128;
inline constexpr std::size_t command_size = 256;

// Appends the text and a line feed to the file, creating it when needed. A zero byte ends the text. Failures
// are ignored; a symbolic link that somebody planted at the path is not followed.
void trace_append(const char* path, std::size_t buffer_size, std::string_view text);

// The same, but the line replaces what the file held.
void trace_replace(const char* path, std::size_t buffer_size, std::string_view text);

// A log that takes many lines in a row: trace_append with the file kept open, from its first line on.
class trace_log {
 public:
  trace_log(const char* path, std::size_t buffer_size) : path_(path), buffer_size_(buffer_size) {}
  void append(std::string_view text);

 private:
  const char* path_;
  std::size_t buffer_size_;
  unique_fd file_;
};

// A log that takes very many short lines in a row: they are appended in blocks, the last one at the end of the
// scope.
class trace_block {
 public:
  explicit trace_block(const char* path);
  trace_block(const trace_block&) = delete;
  trace_block& operator=(const trace_block&) = delete;
  ~trace_block() { write_block(); }

  // Appends the lines, which end in line feeds, at most block_size bytes of them. Returns false once the log
  // takes no more, and without memory: further lines are dropped.
  bool append(std::string_view lines);

 private:
  static constexpr std::size_t block_size = 65536;

  void write_block();

  unique_fd file_;
  std::size_t used_ = 0;
  std::unique_ptr<char[]> block_;  // too large for the stack of a server that limits it
};
