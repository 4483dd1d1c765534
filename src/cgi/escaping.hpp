// Escaping writers: print text to cgiOut as a part of an HTML page. They write every byte that is not named
// here unchanged, also bytes of 128 and above, and zero bytes of a counted text.

#pragma once

#include <cstddef>

#include "cgi/form_entry.hpp"

// Text between tags: "<", "&" and ">" become "&lt;", "&amp;" and "&gt;". The double quote is not escaped. All
// four functions return cgiFormSuccess, or cgiFormIO when a byte could not be written; they stop there.
cgiFormResultType cgiHtmlEscapeData(const char* data, std::size_t length);
cgiFormResultType cgiHtmlEscape(const char* text);

// The value of a double-quoted attribute: the double quote becomes "&#34;", nothing else is escaped.
cgiFormResultType cgiValueEscapeData(const char* data, std::size_t length);
cgiFormResultType cgiValueEscape(const char* text);
