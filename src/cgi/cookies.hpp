// Cookies of the request, from cgiCookie: name=value pairs separated by ";". White space after each ";" is
// skipped. Names and values are neither decoded nor unquoted. Of several pairs with the same name the first
// counts.

#pragma once

#include "cgi/form_entry.hpp"

// Copies the cookie's value, at most space - 1 bytes and a terminating zero byte. With a space below 1
// nothing is written. Returns cgiFormSuccess, cgiFormTruncated when the value did not fit, or cgiFormNotFound
// with an empty copy.
cgiFormResultType cgiCookieString(const char* name, char* value, int space);

// Reads the cookie's value as a decimal number of 32 bits, clamped; a value that is no number reads as 0,
// which is a success. Returns cgiFormSuccess. Stores the default and returns cgiFormTruncated when the value
// is longer than 255 bytes, or cgiFormNotFound.
cgiFormResultType cgiCookieInteger(const char* name, int* result, int defaultValue);

// Allocates an array of the cookie names in their order, ended by a null pointer. The caller releases it with
// cgiStringArrayFree. A pair without "=" becomes part of the next pair's name. Returns cgiFormSuccess, or
// cgiFormMemory with a null array.
cgiFormResultType cgiCookies(char*** result);
