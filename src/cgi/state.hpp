// The request state: what one request consists of. cgiServeRequest fills it once and everybody reads it. A
// process serves one request, so nothing is reset; only loading a capture file replaces it.

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

struct cgiFormEntry;

// The captured CGI variables. Each points to the environment's own text, or to an empty text when the web
// server did not set it, and is never null. A loaded capture makes them point to texts that we own.
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

// The content type up to its first ";", and the boundary of a multipart body, empty when there is none. Both
// are in one buffer of 1024 bytes, so only the first 1023 characters of CONTENT_TYPE count. A loaded capture
// sets the content type and leaves the boundary unchanged.
extern const char* cgiContentType;
extern const char* cgiMultipartBoundary;

// CONTENT_LENGTH as a number, 0 when it is not a number. For a GET request, the length of the query string.
extern std::int32_t cgiContentLength;

// The streams of the request body and the answer: stdin and stdout, set before any hook runs.
extern std::FILE* cgiIn;
extern std::FILE* cgiOut;

// The pattern for the paths of temporary files: mkstemp replaces the six X at its end. Set by
// cgiServeRequest.
inline constexpr const char* cgiUsualTemporaryFiles = "/dev/shm/cgi-uploadXXXXXX";
extern const char* cgiTemporaryFiles;

// The path of the temporary file of the upload that is being received. Null when there is none.
extern const char* cgiArrivingFile;

// The head of the form entry list, null while it is empty. Written by the decoders, by loading a capture and
// by cgiFreeResources.
extern cgiFormEntry* cgiFormEntryFirst;

// 1 when the variables point to texts that we own, which cgiFreeResources then releases, else 0. 0 at start.
// Set by cgiReadEnvironment, cleared by cgiFreeResources.
extern int cgiRestored;

// 1 when the link must be restarted at the end of the request, else 0. 0 at start. Set by the scan for CMD
// fields, read by cgiOnClose.
extern int cgiReconnectOnClose;
