// Files: the one door to reading them. Log lines have their own (trace.hpp).

#pragma once

#include <cstddef>
#include <cstdio>
#include <span>

#include "base/handles.hpp"

// Opens a file for reading; empty when it cannot be opened.
[[nodiscard]] unique_file open_for_reading(const char* path);

// True when something of that name exists, readable or not.
[[nodiscard]] bool file_exists(const char* path);

// Reads one line, its line feed included, and terminates it: at most line.size() - 1 bytes; the rest of a
// longer line comes with the next calls. The buffer is cleared first.
// Returns the number of bytes read, zero bytes among them counted; 0 at the end of the file.
std::size_t read_line(std::FILE* file, std::span<char> line);

// Copies what is left of one stream to another, byte for byte, to the end or to the first failure.
void copy_stream(std::FILE* from, std::FILE* to);
