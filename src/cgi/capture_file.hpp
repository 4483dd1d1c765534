// Capture file: a whole request after decoding, with its uploads. It can be loaded instead of a live request.
//   int      32 bits in the byte order of the machine that wrote the file, little-endian on the unit
//   string   an int with the length, then that many bytes; a text is written up to its first zero byte
//   file     the string "CGIC2.0"; the 20 texts of cgiVariables as strings, in the order of that table;
//            cgiContentLength as an int; then the form entries in the order of the list, until EOF
//   entry    name, value, fileName and contentType as strings; valueLength as an int; an int that is 1 when
//            the valueLength bytes of an upload follow, else 0
// The boundary of a multipart body, cgiIn, cgiOut and the search position are not saved.

#pragma once

#include <string_view>

// The string at the start of every capture file: format and version.
inline constexpr std::string_view cgiCaptureMagic = "CGIC2.0";

// What both functions return.
enum cgiEnvironmentResultType {
  cgiEnvironmentIO,            // 0: the file or a temporary file could not be opened, read or written
  cgiEnvironmentMemory,        // 1: memory ran out, or the file ends inside an entry, before its content
  cgiEnvironmentSuccess,       // 2: done
  cgiEnvironmentWrongVersion,  // 3: the file does not begin with the magic text
};

// Saves the request to a file and replaces what it contained. An upload whose temporary file is gone is saved
// as a field without content. The path may name a pipe or a device such as /dev/stdout. A symlink that
// another user planted there counts as a file that cannot be opened. Returns cgiEnvironmentSuccess, or
// cgiEnvironmentIO when something could not be written; a regular file is then deleted.
[[nodiscard]] cgiEnvironmentResultType cgiWriteEnvironment(const char* path);

// Loads a request from a file, or from a pipe, for whose writer it waits. Releases the current request first,
// in every case. The loaded entries are like decoded ones, and their uploads are in new temporary files. One
// difference: a value that contained a zero byte was saved up to there, so its text is shorter than
// valueLength. A file that ends before an entry or inside its name gives the entries before it. A length in
// the file costs no memory before that many bytes were read. Returns cgiEnvironmentSuccess;
// cgiEnvironmentWrongVersion; cgiEnvironmentMemory when the file ends inside an entry or there is no memory
// for one; cgiEnvironmentIO for every other failure, and when the file ends inside the content of an upload.
// After a failure the list is empty, and some variables may already have new texts.
[[nodiscard]] cgiEnvironmentResultType cgiReadEnvironment(const char* path);
