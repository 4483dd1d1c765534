// Log files. A line reaches its file literally, whatever bytes it contains: write() appends it and no shell
// sees it.
//
// The lines have the widths of commands like  echo "TEXT" >> PATH  built in a buffer of fixed size, because
// the logs' readers on the unit know them so: a text that would make the command longer than its buffer is
// cut.
//
//     echo "Using TTL 64" > /tmp/MCt.log\0         at most short_command_size bytes
//           └ what is logged
//
// A zero byte ends a text. A line that cannot be written is lost: a log is no reason to fail the request.
// Symlinks at a log's path are treated as by open_for_writing (files.hpp).

#pragma once

#include <array>
#include <cstdarg>
#include <cstddef>
#include <memory>
#include <string_view>

#include "base/files.hpp"

// The sizes of the command buffers in bytes, with the terminating zero byte.
inline constexpr std::size_t short_command_size = 128;
inline constexpr std::size_t command_size = 256;
inline constexpr std::size_t longest_command_size = 2112;

// A log: its file, and the size of the command buffer that limits its lines. Opens the file for every line.
class trace_log {
 public:
  constexpr trace_log(const char* path, std::size_t buffer_size) : path_(path), buffer_size_(buffer_size) {}

  // Formats like printf and appends the line, creating the file when it is missing.
  [[gnu::format(printf, 2, 3)]] void line(const char* format, ...) const;

  // The same, but the line replaces the file's contents.
  [[gnu::format(printf, 2, 3)]] void replace(const char* format, ...) const;

 private:
  const char* path_;
  std::size_t buffer_size_;
};

// A log for many lines in a row: the file stays open from the first line on.
class open_trace_log {
 public:
  open_trace_log(const char* path, std::size_t buffer_size) : path_(path), buffer_size_(buffer_size) {}

  // Formats like printf and appends the line.
  [[gnu::format(printf, 2, 3)]] void line(const char* format, ...);

 private:
  const char* path_;
  std::size_t buffer_size_;
  direct_file file_;
};

// A log for very many short lines: they are appended in blocks of 64 KiB. The destructor writes the last one.
class trace_block {
 public:
  // Opens the file for appending and allocates the block. append reports when one of them failed.
  explicit trace_block(const char* path);
  trace_block(const trace_block&) = delete;
  trace_block& operator=(const trace_block&) = delete;
  ~trace_block() { write_block(); }

  // Appends lines that end in line feeds, at most block_size bytes at once. Returns false when the log can
  // take no more, after a failed write or without memory; the lines are then dropped.
  bool append(std::string_view lines);

 private:
  static constexpr std::size_t block_size = 65536;

  void write_block();

  direct_file file_;
  std::size_t used_ = 0;
  std::unique_ptr<char[]> block_;  // on the heap: some servers limit the stack
};
