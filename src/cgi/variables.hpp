// The captured variables by name: the texts that the web server passes for a request, in the order in which
// they are captured and saved in a capture file. CONTENT_LENGTH is not among them: it is kept as a number.

#pragma once

#include <array>
#include <cstddef>

#include "cgi/form_entry.hpp"
#include "cgi/state.hpp"

struct cgiVariable {
  const char* name;    // its name in the environment
  const char** value;  // the request state's variable
};

// The 20 variables. The capture file depends on their order.
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

// Points the variable at that index of the table to a text that the request state owns from now on.
void cgiRestoreVariable(std::size_t index, cgiText text);

// Makes all variables empty and releases the texts that the request state owns.
void cgiReleaseVariables();
