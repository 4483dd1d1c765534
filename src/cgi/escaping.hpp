// Escaping writers: print text to cgiOut so that it can stand in an HTML page. Every byte that is not named
// here is written as it is, bytes of 128 and above and zero bytes within a counted text included.

#pragma once

#include <cstddef>

#include "cgi/form_entry.hpp"

// Page text: "<", "&" and ">" become "&lt;", "&amp;" and "&gt;". The double quote stays.
// All four writers return cgiFormSuccess, or cgiFormIO when a byte could not be written: what was written
// before it stays written, the rest is not.
cgiFormResultType cgiHtmlEscapeData(const char* data, std::size_t length);
cgiFormResultType cgiHtmlEscape(const char* text);

// The inside of a double-quoted attribute value: the double quote becomes "&#34;", all else stays.
cgiFormResultType cgiValueEscapeData(const char* data, std::size_t length);
cgiFormResultType cgiValueEscape(const char* text);
