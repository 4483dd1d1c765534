// Files. All reading and writing of files goes through here, but for the log lines (trace.hpp).

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

// Opens /dev/null on each of fds 0 to 2 that the parent left closed, so that no file or socket of ours gets
// its number. Makes stdin and stdout blocking: otherwise a read would take a slow body for EOF, and a write
// would drop the part of the answer that a slow client has not read yet.
void prepare_standard_descriptors();

// Opens a file for reading. Empty when it cannot be opened. Never blocks on a FIFO, and neither does
// open_for_writing.
[[nodiscard]] unique_file open_for_reading(const char* path);

// The same, but opening and reading a FIFO wait for its writer.
[[nodiscard]] unique_file open_waiting(const char* path);

// What happens to the old contents of a file that is opened for writing.
enum class write_mode { replace, append };

// Opens a file for writing and creates it when it is missing. Empty when it cannot be opened. A symlink at
// the path is followed when root or our own user owns it, so that a unit may keep the file on other storage.
// A symlink of any other user is not followed: the open fails.
[[nodiscard]] unique_file open_for_writing(const char* path, write_mode mode);

// A file written without a buffer: a write that returns has handed its bytes to the kernel. Closes itself.
class direct_file {
 public:
  // No file. Every write to it writes 0 bytes.
  direct_file() = default;

  // Opens the file as open_for_writing does. Test the object to see whether that worked.
  direct_file(const char* path, write_mode mode);

  [[nodiscard]] explicit operator bool() const { return static_cast<bool>(descriptor_); }

  // Appends to what was written before. Returns the number of bytes written, less than given when the disk is
  // full or the write fails.
  std::size_t write(std::string_view text);

  // Writes the whole text or nothing: a part that a full disk took is truncated away again. Only for files
  // opened with write_mode::append or just created. Returns whether the text is in the file.
  [[nodiscard]] bool write_whole(std::string_view text);

 private:
  unique_fd descriptor_;
};

// Opens a file for writing and reading and empties it, with the rules of open_for_writing. Empty when it
// cannot be opened.
[[nodiscard]] unique_file open_for_update(const char* path);

// Opens a folder. Empty when it cannot be opened.
[[nodiscard]] unique_folder open_folder(const char* path);

// The next name in the folder, in no particular order. Null after the last one. The text is valid until the
// next call.
[[nodiscard]] const char* next_name(DIR* folder);

// Deletes a file. A missing one is not an error.
void delete_file(const char* path);

// The same for a regular file only. A device, a FIFO or a symlink stays.
void delete_regular_file(const char* path);

// True when something exists at the path, readable or not. A symlink to nothing does not count.
[[nodiscard]] bool file_exists(const char* path);

// Identifies the state of a file: inode number, size in bytes and time of the last change. A replacement of
// the file changes the mark, and so does a write in a later tick of the kernel's clock. All zero for a
// missing file.
struct file_mark {
  std::uint64_t number = 0;
  std::int64_t size = 0;
  std::int64_t seconds = 0;
  std::int64_t nanoseconds = 0;
  bool operator==(const file_mark&) const = default;
};
// The mark of the file at the path. Symlinks are not followed.
[[nodiscard]] file_mark mark_of(const char* path);

// Clears the buffer and reads one line into it, with its line feed and a terminating zero byte: at most
// line.size() - 1 bytes. The next calls return the rest of a longer line. Returns the number of bytes read,
// zero bytes included. 0 at EOF.
std::size_t read_line(std::FILE* file, std::span<char> line);

// The number of lines left in the file. A last line without a line feed counts.
[[nodiscard]] std::size_t count_lines(std::FILE* file);

// Reads what is available, and waits only when nothing is. Bypasses the stream's own buffer, so nobody else
// may read the stream through that. A stream without an fd is read until `buffer` is full. Returns the number
// of bytes read. 0 at EOF and after an error.
[[nodiscard]] std::size_t read_available(std::FILE* file, std::span<char> buffer);

// Calls read_available until the buffer is full. Returns the number of bytes read, less than asked for only
// at EOF and after an error. Reads nothing beyond them.
[[nodiscard]] std::size_t read_whole(std::FILE* file, std::span<char> buffer);

// Copies the rest of one stream to another, byte for byte, up to EOF or the first error.
void copy_stream(std::FILE* from, std::FILE* to);

// Deletes every regular file whose name fits the pattern: a path that ends in six X, each for one letter or
// digit.
void delete_temporary_files(std::string_view pattern);

// A temporary file that is deleted when the object leaves its scope, unless keep() was called.
class temp_file {
 public:
  // Creates an empty file with mode 0600. The pattern is a path that ends in six X, for which mkstemp picks
  // letters and digits that no other file has.
  explicit temp_file(std::string_view pattern);
  temp_file(const temp_file&) = delete;
  temp_file& operator=(const temp_file&) = delete;
  ~temp_file();

  // The path of the file. Empty when it could not be created.
  [[nodiscard]] const fixed_text<1024>& path() const { return path_; }

  // Leaves the file in place: whoever has its path now deletes it.
  void keep() { kept_ = true; }

 private:
  fixed_text<1024> path_;
  bool kept_ = false;
};
