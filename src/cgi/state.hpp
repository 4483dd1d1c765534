// The request state: what one request brought with it. Filled once by cgiServeRequest and read by all; one
// process serves one request, so nothing is ever reset. Only loading a capture file replaces it.

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

struct cgiFormEntry;

// The captured CGI variables. Each points at the environment's own text, or at an empty text when the web
// server did not set it; none is ever a null pointer. Those of a loaded capture are ours.
extern const char* cgiServerSoftware;
extern const char* cgiServerName;
extern const char* cgiGatewayInterface;
extern const char* cgiServerProtocol;
extern const char* cgiServerPort;
extern const char* cgiRequestMethod;
extern const char* cgiPathInfo;
extern const char* cgiPathTranslated;
extern const char* cgiScriptName;
extern const char* cgiQueryString;
extern const char* cgiRemoteHost;
extern const char* cgiRemoteAddr;
extern const char* cgiAuthType;
extern const char* cgiRemoteUser;
extern const char* cgiRemoteIdent;
extern const char* cgiAccept;
extern const char* cgiUserAgent;
extern const char* cgiReferrer;
extern const char* cgiCookie;

// The content type up to its first ";", and the boundary of a multipart body, empty without one. Both lie in
// one buffer of 1024 bytes: of a longer CONTENT_TYPE only the first 1023 characters are looked at. A loaded
// capture has a content type, but leaves the boundary as it was.
extern const char* cgiContentType;
extern const char* cgiMultipartBoundary;

// CONTENT_LENGTH as a number, 0 when it is none; for a GET request the length of the query string.
extern std::int32_t cgiContentLength;

// The request body and the answer: standard input and standard output, before any hook runs.
extern std::FILE* cgiIn;
extern std::FILE* cgiOut;

// The pattern of the paths of temporary files: the system replaces the six X at its end. Set by cgiServeRequest.
inline constexpr const char* cgiUsualTemporaryFiles = "/dev/shm/cgi-uploadXXXXXX";
extern const char* cgiTemporaryFiles;

// The path of the temporary file into which an upload arrives at the moment, null without one.
extern const char* cgiArrivingFile;

// The head of the form entry list; null while it is empty. Written by the decoders and cgiFreeResources.
extern cgiFormEntry* cgiFormEntryFirst;

// 1 when the texts of the captured variables are ours, which cgiFreeResources then releases, else 0; 0 at
// start. Set by cgiReadEnvironment, cleared by cgiFreeResources.
extern int cgiRestored;

// 1 when the link is to be restarted at the end of the request, else 0; 0 at start. Set by the scan for CMD
// fields, read by cgiOnClose.
extern int cgiReconnectOnClose;
