// Accessors: read form fields by name, as texts. form_numbers.hpp and form_choices.hpp read the other kinds.
// A value ends at its first zero byte. A copy goes into a buffer of `max` bytes: at most max - 1 bytes and a
// terminating zero byte. With a max below 1 nothing is written.

#pragma once

#include "cgi/form_entry.hpp"

// Copies the value of the first field of that name. In every run of carriage returns and line feeds each of
// the two is counted, and the larger count of line feeds is copied: CR LF CR LF becomes LF LF. Returns
// cgiFormSuccess, cgiFormEmpty when the copy is empty, cgiFormTruncated when the value did not fit, or
// cgiFormNotFound with an empty copy.
cgiFormResultType cgiFormString(const char* name, char* result, int max);

// The same, but every carriage return and line feed is dropped.
cgiFormResultType cgiFormStringNoNewlines(const char* name, char* result, int max);

// Stores the size in bytes of a buffer that the value always fits in: its decoded length up to its first zero
// byte, plus 1, clamped to an int. Returns cgiFormSuccess, or cgiFormNotFound with a size of 1.
cgiFormResultType cgiFormStringSpaceNeeded(const char* name, int* length);

// Allocates an array of the values of all fields of that name in their order, each as cgiFormString copies it
// but never cut. A null pointer ends it. The caller releases it with cgiStringArrayFree. Returns
// cgiFormSuccess, cgiFormNotFound with an array of the null pointer alone, or cgiFormMemory with a null
// array.
cgiFormResultType cgiFormStringMultiple(const char* name, char*** result);

// Allocates an array of the names of all fields, each name once, in the order of their first fields. A null
// pointer ends it. The caller releases it with cgiStringArrayFree. Returns cgiFormSuccess, also for a request
// without fields, or cgiFormMemory with a null array.
cgiFormResultType cgiFormEntries(char*** result);

// Releases an array that cgiFormStringMultiple, cgiFormEntries or cgiCookies made. Null is allowed.
void cgiStringArrayFree(char** array);
