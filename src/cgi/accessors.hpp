// Accessors: read form fields by name, as texts. Numbers and choices have headers of their own.
// A value ends at its first zero byte. A copy goes into a buffer of `max` bytes: at most max - 1 of them and
// a terminating zero byte; with a max below 1 nothing is written.

#pragma once

#include "cgi/form_entry.hpp"

// Copies the value of the first field of that name. Every run of carriage returns and line feeds becomes as
// many line feeds as the larger of its two counts.
// Returns cgiFormSuccess, cgiFormEmpty when the copy is empty, cgiFormTruncated when the value did not fit,
// or cgiFormNotFound with an empty copy.
cgiFormResultType cgiFormString(const char* name, char* result, int max);

// The same without any carriage return and line feed.
cgiFormResultType cgiFormStringNoNewlines(const char* name, char* result, int max);

// Stores the size of a buffer that certainly holds the value: its decoded length up to its first zero byte and
// 1, but no more than an int can hold.
// Returns cgiFormSuccess, or cgiFormNotFound with 1.
cgiFormResultType cgiFormStringSpaceNeeded(const char* name, int* length);

// Makes an array of the values of all fields of that name, in their order, each as cgiFormString copies it
// but never cut; a null entry ends it. The caller releases it with cgiStringArrayFree.
// Returns cgiFormSuccess, cgiFormNotFound with an array that holds its end alone, or cgiFormMemory with a
// null array.
cgiFormResultType cgiFormStringMultiple(const char* name, char*** result);

// Makes an array of the different names of all fields, in the order of their first fields; its end and its
// release are the same. Returns cgiFormSuccess, also for a request without fields, or cgiFormMemory with a
// null array.
cgiFormResultType cgiFormEntries(char*** result);

// Releases an array of texts that a reader of the request made; null is allowed.
void cgiStringArrayFree(char** array);
