// Form numbers: read form fields by name, as numbers. Each function takes the first field of the name, and
// always stores a number: the one it read, or the default.
//   syntax     blanks, line feeds, carriage returns and tabs, then a digit or a sign, for a double also a
//              "."; what follows the number is ignored
//   32 bits    an integer beyond 32 bits is clamped to them

#pragma once

#include "cgi/form_entry.hpp"

// Returns cgiFormSuccess. Stores the default and returns cgiFormEmpty, cgiFormBadType when the value does not
// start like a number, or cgiFormNotFound.
cgiFormResultType cgiFormInteger(const char* name, int* result, int defaultValue);

// The same, but a number below min becomes min, else a number above max becomes max, and the result is
// cgiFormConstrained. The default is not clamped.
cgiFormResultType cgiFormIntegerBounded(const char* name, int* result, int min, int max, int defaultValue);

// The same two for doubles, parsed by strtod.
cgiFormResultType cgiFormDouble(const char* name, double* result, double defaultValue);
cgiFormResultType cgiFormDoubleBounded(const char* name, double* result, double min, double max,
                                       double defaultValue);
