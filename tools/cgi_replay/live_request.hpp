// Live request: turns a loaded request back into what a web server hands to a CGI program, so that the
// program meets it as it meets every request.
//   environment   the captured variables; CONTENT_TYPE with a new boundary, CONTENT_LENGTH of the new body
//   body          of a POST request, url-encoded or multipart as its content type says, made from the form
//                 entries; empty for every other request, whose fields are in the query string or nowhere
// The new body is not the old one byte for byte, but it is decoded to the same entries.

#pragma once

#include <cstdio>
#include <string>

// Writes the body of the request into an empty file. Returns an empty text, or why there is no such body; for a
// request that arrived live there is one. Of a value with a zero byte it holds what stands before that.
[[nodiscard]] std::string write_live_body(std::FILE* body, const std::string& boundary);

// Makes the environment of this process that of the request.
void set_live_environment(std::FILE* body, const std::string& boundary);
