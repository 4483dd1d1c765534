// Capture file: a whole request as the layer sees it after decoding, uploads included, to be loaded in the
// place of a live one.
//   int      32 bits in the byte order of the machine that wrote the file, little-endian on the unit
//   string   an int with the length, and so many bytes; a text is written up to its first zero byte
//   file     the string "CGIC2.0"; the 20 texts of cgiVariables, strings in the table's order;
//            cgiContentLength, an int; then the form entries in the order of the list, up to the end of the
//            file
//   entry    name, value, fileName and contentType, strings; valueLength, an int; an int that is 1 when the
//            content of an upload follows, valueLength bytes of it, and otherwise 0
// The boundary of a multipart body, cgiIn, cgiOut and the search position are not in it.

#pragma once

#include <string_view>

inline constexpr std::string_view cgiCaptureMagic = "CGIC2.0";

enum cgiEnvironmentResultType {
  cgiEnvironmentIO,            // 0: the file or a temporary file could not be opened, read or written
  cgiEnvironmentMemory,        // 1: memory ran out, or an entry in the file ends in front of its content
  cgiEnvironmentSuccess,       // 2: done
  cgiEnvironmentWrongVersion,  // 3: the file does not begin with the magic text
};

// Saves the request to a file, in the place of what it held; an upload whose temporary file is gone is saved
// as a field without content. The path may be that of a pipe or a device, such as /dev/stdout; a symbolic link
// that another user planted there is a file that cannot be opened. Returns cgiEnvironmentSuccess, or
// cgiEnvironmentIO when something could not be written; no file of ours is left then.
[[nodiscard]] cgiEnvironmentResultType cgiWriteEnvironment(const char* path);

// Loads a request, from a file or from a pipe, whose writer it waits for. The one that was there is released first, whatever follows. The loaded entries are as
// decoded ones, uploads in temporary files of their own, but for a value that held a zero byte: its text is
// shorter than its valueLength. A file that ends in front of an entry or in its name holds the entries before
// it; no length that it announces costs memory before the bytes are there.
// Returns cgiEnvironmentSuccess; cgiEnvironmentWrongVersion; cgiEnvironmentMemory when an entry ends early or
// has no memory, but for the content of an upload: when that ends early it is cgiEnvironmentIO, as any other
// failure to read or write. After a failure the list is empty, and some variables may have their new texts.
[[nodiscard]] cgiEnvironmentResultType cgiReadEnvironment(const char* path);
