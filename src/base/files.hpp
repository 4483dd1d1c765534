// Files: the one door to reading and writing them. Log lines have their own (trace.hpp).

#pragma once

#include <dirent.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string_view>

#include "base/fixed_text.hpp"
#include "base/handles.hpp"

// Opens /dev/null on each of fds 0 to 2 that the parent left closed, so that no file or socket of ours gets its
// number. Makes stdin and stdout blocking: a read must not take a slow body for EOF, nor a write drop a part of the
// answer that the client reads late.
void prepare_standard_descriptors();

// Opens a file for reading; empty when it cannot be opened. Neither this nor open_for_writing waits at a pipe.
[[nodiscard]] unique_file open_for_reading(const char* path);

// The same, but blocking: open and read of a pipe wait for its writer.
[[nodiscard]] unique_file open_waiting(const char* path);

enum class write_mode { replace, append };

// Opens a file for writing, creating it when needed; empty when it cannot be opened. A symbolic link at the path
// is followed when it belongs to root or to the user that we run as: a unit may keep the file on other storage.
// One that another user planted is not.
[[nodiscard]] unique_file open_for_writing(const char* path, write_mode mode);

// A file that is written without a buffer: what counts as written is in the file. It closes itself.
class direct_file {
 public:
  // None: a write reaches nothing.
  direct_file() = default;

  // Opens as open_for_writing does.
  direct_file(const char* path, write_mode mode);

  [[nodiscard]] explicit operator bool() const { return static_cast<bool>(descriptor_); }

  // Writes at the end of the file. Returns the number of bytes that reached it; fewer than given on a full disk.
  std::size_t write(std::string_view text);

  // Writes the whole text or, where the disk does not take it whole, nothing. Returns whether it is there.
  [[nodiscard]] bool write_whole(std::string_view text);

 private:
  unique_fd descriptor_;
};

// Opens a file for writing and reading, emptied, as open_for_writing does; empty when it cannot be opened.
[[nodiscard]] unique_file open_for_update(const char* path);

// Opens a folder; empty when it cannot be opened.
[[nodiscard]] unique_folder open_folder(const char* path);

// The next name in the folder, in no particular order; null after the last one.
[[nodiscard]] const char* next_name(DIR* folder);

// Deletes a file; a missing one is no failure.
void delete_file(const char* path);

// The same, but only a regular file: a device, a pipe or a link stays.
void delete_regular_file(const char* path);

// True when something of that name exists, readable or not.
[[nodiscard]] bool file_exists(const char* path);

// What changes with every write to a file, and with its replacement: all zero for a missing one.
struct file_mark {
  std::uint64_t number = 0;
  std::int64_t size = 0;
  std::int64_t seconds = 0;
  std::int64_t nanoseconds = 0;
  bool operator==(const file_mark&) const = default;
};
[[nodiscard]] file_mark mark_of(const char* path);

// Reads one line, its line feed included, and terminates it: at most line.size() - 1 bytes; the rest of a
// longer line comes with the next calls. The buffer is cleared first.
// Returns the number of bytes read, zero bytes among them counted; 0 at the end of the file.
std::size_t read_line(std::FILE* file, std::span<char> line);

// The number of lines that are left in the file; the last one need not end in a line feed.
[[nodiscard]] std::size_t count_lines(std::FILE* file);

// Reads what there is, at least one byte, waiting for it if need be; for a stream that nobody reads through its
// own buffer. A stream without a descriptor is read until the buffer is full. Returns the number of bytes read; 0 at
// the end and after a failure.
[[nodiscard]] std::size_t read_available(std::FILE* file, std::span<char> buffer);

// Calls read_available until the buffer is full. Returns the number of bytes read; fewer than asked for only at EOF
// and after an error. Reads nothing beyond them.
[[nodiscard]] std::size_t read_whole(std::FILE* file, std::span<char> buffer);

// Copies what is left of one stream to another, byte for byte, to the end or to the first failure.
void copy_stream(std::FILE* from, std::FILE* to);

// Deletes every regular file that has a name of the pattern, which ends in six X.
void delete_temporary_files(std::string_view pattern);

// A file made for the length of a scope: deleted at its end, unless somebody else has taken charge of it.
class temp_file {
 public:
  // Makes an empty file that only its owner may read and write. The pattern ends in six X, which the system
  // replaces by letters of its choice.
  explicit temp_file(std::string_view pattern);
  temp_file(const temp_file&) = delete;
  temp_file& operator=(const temp_file&) = delete;
  ~temp_file();

  // Empty when the file could not be made.
  [[nodiscard]] const fixed_text<1024>& path() const { return path_; }

  // The file stays.
  void keep() { kept_ = true; }

 private:
  fixed_text<1024> path_;
  bool kept_ = false;
};
