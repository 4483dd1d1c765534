// Form numbers: read form fields by name, as numbers. Each takes the first field of the name, and always
// stores a number: what it read, or the default.
//   accepted   blanks, line feeds, carriage returns and tabs, then a digit or a sign, for a double a "." too;
//              what follows the number is ignored
//   32 bits    an integer beyond them becomes the nearest one that fits

#pragma once

#include "cgi/form_entry.hpp"

// Returns cgiFormSuccess; with the default cgiFormEmpty, cgiFormBadType when the value does not begin like a
// number, or cgiFormNotFound.
cgiFormResultType cgiFormInteger(const char* name, int* result, int defaultValue);

// The same, clamped: a number below min becomes min, else one above max becomes max, with cgiFormConstrained.
// The default is not clamped.
cgiFormResultType cgiFormIntegerBounded(const char* name, int* result, int min, int max, int defaultValue);

// The two for numbers as strtod takes them.
cgiFormResultType cgiFormDouble(const char* name, double* result, double defaultValue);
cgiFormResultType cgiFormDoubleBounded(const char* name, double* result, double min, double max,
                                       double defaultValue);
