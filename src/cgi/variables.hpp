// Captured variables by their names: the texts that the web server gives a request, in the order in which
// they are captured and stand in a capture file. CONTENT_LENGTH is none of them: it is kept as a number.

#pragma once

#include <array>
#include <cstddef>

#include "cgi/form_entry.hpp"
#include "cgi/state.hpp"

struct cgiVariable {
  const char* name;    // in the environment
  const char** value;  // of the request
};

inline constexpr auto cgiVariables = std::to_array<cgiVariable>({
    {"SERVER_SOFTWARE", &cgiServerSoftware},
    {"SERVER_NAME", &cgiServerName},
    {"GATEWAY_INTERFACE", &cgiGatewayInterface},
    {"SERVER_PROTOCOL", &cgiServerProtocol},
    {"SERVER_PORT", &cgiServerPort},
    {"REQUEST_METHOD", &cgiRequestMethod},
    {"PATH_INFO", &cgiPathInfo},
    {"PATH_TRANSLATED", &cgiPathTranslated},
    {"SCRIPT_NAME", &cgiScriptName},
    {"QUERY_STRING", &cgiQueryString},
    {"REMOTE_HOST", &cgiRemoteHost},
    {"REMOTE_ADDR", &cgiRemoteAddr},
    {"AUTH_TYPE", &cgiAuthType},
    {"REMOTE_USER", &cgiRemoteUser},
    {"REMOTE_IDENT", &cgiRemoteIdent},
    {"CONTENT_TYPE", &cgiContentType},
    {"HTTP_ACCEPT", &cgiAccept},
    {"HTTP_USER_AGENT", &cgiUserAgent},
    {"HTTP_REFERER", &cgiReferrer},
    {"HTTP_COOKIE", &cgiCookie},
});

// Gives the variable with that index in the table a text that the request state owns from now on.
void cgiRestoreVariable(std::size_t index, cgiText text);

// Makes every variable empty and releases the texts that the request state owns.
void cgiReleaseVariables();
