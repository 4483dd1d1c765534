// Logs: the one door to the unit's log files. A line reaches its file literally, whatever bytes it contains: our own
// write appends it, and no shell sees it.
//
// Readers on the unit know these logs as the output of lines like  echo "TEXT" >> PATH  built in a buffer of
// a fixed size. A text that would make that command longer than its buffer is cut so that the command would just
// fit, so the logs keep their known widths. A zero byte ends a text. A line that cannot be written is lost: a log is no
// reason to fail the request. Links at a log's path are treated as open_for_writing treats them (files.hpp).

#pragma once

#include <array>
#include <cstdarg>
#include <cstddef>
#include <memory>
#include <string_view>

#include "base/files.hpp"

// The command buffers, in bytes with their terminator.
inline constexpr std::size_t short_command_size = 128;
inline constexpr std::size_t command_size = 256;
inline constexpr std::size_t longest_command_size = 2112;

// A log: a file, and the size of the buffer that gives its lines their width.
class trace_log {
 public:
  constexpr trace_log(const char* path, std::size_t buffer_size) : path_(path), buffer_size_(buffer_size) {}

  // Appends a line, formatted like printf, creating the file when needed.
  [[gnu::format(printf, 2, 3)]] void line(const char* format, ...) const;

  // The same, but the line replaces what the file contained.
  [[gnu::format(printf, 2, 3)]] void replace(const char* format, ...) const;

 private:
  const char* path_;
  std::size_t buffer_size_;
};

// A log that takes many lines in a row: the file stays open from its first line on.
class open_trace_log {
 public:
  open_trace_log(const char* path, std::size_t buffer_size) : path_(path), buffer_size_(buffer_size) {}

  [[gnu::format(printf, 2, 3)]] void line(const char* format, ...);

 private:
  const char* path_;
  std::size_t buffer_size_;
  direct_file file_;
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

  direct_file file_;
  std::size_t used_ = 0;
  std::unique_ptr<char[]> block_;  // too large for the stack of a server that limits it
};
