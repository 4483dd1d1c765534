// Live request: turns a loaded request back into what a web server passes to a CGI program.
//   environment   the captured variables; CONTENT_TYPE with a new boundary, CONTENT_LENGTH of the new body
//   body          of a POST request: url-encoded or multipart, as its content type says, made from the form
//                 entries; empty for every other request
// The new body is not equal to the old one, but it is decoded to the same entries.

#pragma once

#include <cstdio>
#include <string>

// Writes the body into an empty file. Returns an empty text, or the reason why the request cannot have a
// body; one that arrived live always can. A value with a zero byte is written up to there.
[[nodiscard]] std::string write_live_body(std::FILE* body, const std::string& boundary);

// Sets this process's environment to that of the request. `body` is the file with the new body.
void set_live_environment(std::FILE* body, const std::string& boundary);
