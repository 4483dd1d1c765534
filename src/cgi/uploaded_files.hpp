// Uploaded files: readers of what a client uploaded. Each takes the first field of the given name.

#pragma once

#include <cstdio>

#include "cgi/form_entry.hpp"

// An opened upload.
struct cgiFile {
  std::FILE* stream;
};
using cgiFilePtr = cgiFile*;

// Copies the client's name of the file, at most max - 1 bytes and a terminating zero byte; with a max below 1
// nothing is written. Returns cgiFormSuccess, cgiFormNoFileName when there is none, cgiFormTruncated when it
// did not fit, or cgiFormNotFound with an empty copy.
cgiFormResultType cgiFormFileName(const char* name, char* result, int max);

// The same for the content type that the client gave the file; cgiFormNoContentType when there is none.
cgiFormResultType cgiFormFileContentType(const char* name, char* result, int max);

// Stores the length of the file in bytes; `size` may be null. Returns cgiFormSuccess, or with a size of 0
// cgiFormNotAFile for a plain field, cgiFormNotFound.
cgiFormResultType cgiFormFileSize(const char* name, int* size);

// Opens the file for reading; cgiFormFileClose releases the handle. Returns cgiFormSuccess; with a null handle
// cgiFormNotFound, cgiFormNotAFile or cgiFormMemory; or cgiFormIO, which leaves `file` as it was.
[[nodiscard]] cgiFormResultType cgiFormFileOpen(const char* name, cgiFilePtr* file);

// Reads up to size bytes and stores their count in `got`. Returns cgiFormSuccess, cgiFormEOF when no byte could
// be read, for whatever reason, with `got` as it was, or cgiFormOpenFailed for a null handle.
[[nodiscard]] cgiFormResultType cgiFormFileRead(cgiFilePtr file, char* buffer, int size, int* got);

// Returns cgiFormSuccess, or cgiFormOpenFailed for a null handle.
cgiFormResultType cgiFormFileClose(cgiFilePtr file);
