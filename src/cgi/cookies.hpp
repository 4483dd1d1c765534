// Cookies of the request, read from cgiCookie: name=value pairs separated by ";", white space after each ";"
// skipped. Names and values are neither decoded nor unquoted; the first pair of a name wins.

#pragma once

#include "cgi/form_entry.hpp"

// Copies the cookie's value, at most space - 1 bytes and a terminating zero byte; with a space below 1
// nothing is written. Returns cgiFormSuccess, cgiFormTruncated when the value did not fit, or cgiFormNotFound
// with an empty copy.
cgiFormResultType cgiCookieString(const char* name, char* value, int space);

// Reads the cookie's value as a decimal number; a value that is none gives 0 and cgiFormSuccess.
// Returns cgiFormSuccess, or the default with cgiFormTruncated when the value is longer than 255 characters
// or with cgiFormNotFound.
cgiFormResultType cgiCookieInteger(const char* name, int* result, int defaultValue);

// Makes an array of copies of the cookie names, in their order, ended by a null entry; the caller releases it
// with cgiStringArrayFree. A pair without "=" becomes part of the next pair's name.
// Returns cgiFormSuccess, or cgiFormMemory with a null array.
cgiFormResultType cgiCookies(char*** result);
