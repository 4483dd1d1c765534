// Accessors: read form fields by name.

#pragma once

#include "cgi/form_entry.hpp"

// Copies the value of the first field of that name, at most max - 1 bytes and a terminating zero byte; with
// a max below 1 nothing is written. Every run of carriage returns and line feeds becomes as many line feeds
// as the larger of its two counts. The copy ends at the value's first zero byte.
// Returns cgiFormSuccess, cgiFormEmpty when the copy is empty, cgiFormTruncated when the value did not fit,
// or cgiFormNotFound with an empty copy.
cgiFormResultType cgiFormString(const char* name, char* result, int max);

// Releases an array of texts that a reader of the request made; null is allowed.
void cgiStringArrayFree(char** array);
