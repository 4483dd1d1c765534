// Uploaded files: read what a client uploaded. Each function takes the first field of the given name.

#pragma once

#include <cstdio>

#include "cgi/form_entry.hpp"

// An open upload, at a position of its own.
struct cgiFile {
  std::FILE* stream;
};
using cgiFilePtr = cgiFile*;

// Copies the client's file name, at most max - 1 bytes and a terminating zero byte. With a max below 1
// nothing is written. Returns cgiFormSuccess, cgiFormNoFileName when there is none, cgiFormTruncated when it
// did not fit, or cgiFormNotFound with an empty copy.
cgiFormResultType cgiFormFileName(const char* name, char* result, int max);

// The same for the content type that the client sent. cgiFormNoContentType when there is none.
cgiFormResultType cgiFormFileContentType(const char* name, char* result, int max);

// Stores the size of the file in bytes; `size` may be null. Returns cgiFormSuccess. Stores 0 and returns
// cgiFormNotAFile for a plain field, or cgiFormNotFound.
cgiFormResultType cgiFormFileSize(const char* name, int* size);

// Opens the file for reading. The caller releases the handle with cgiFormFileClose. Returns cgiFormSuccess;
// cgiFormNotFound, cgiFormNotAFile or cgiFormMemory with a null handle; or cgiFormIO with `file` unchanged.
[[nodiscard]] cgiFormResultType cgiFormFileOpen(const char* name, cgiFilePtr* file);

// Reads up to size bytes and stores their number in `got`. Returns cgiFormSuccess; cgiFormEOF with `got`
// unchanged when no byte was read, at EOF or after an error; or cgiFormOpenFailed for a null handle.
[[nodiscard]] cgiFormResultType cgiFormFileRead(cgiFilePtr file, char* buffer, int size, int* got);

// Closes the file and frees the handle. Returns cgiFormSuccess, or cgiFormOpenFailed for a null handle.
cgiFormResultType cgiFormFileClose(cgiFilePtr file);
