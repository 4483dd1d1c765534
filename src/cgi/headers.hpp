// Response headers: every writer prints to cgiOut and escapes nothing.
// The first three end the header block with an empty line, so an answer carries at most one of them, after
// its cookies.

#pragma once

void cgiHeaderContentType(const char* mimeType);
void cgiHeaderLocation(const char* url);
void cgiHeaderStatus(int status, const char* message);

// Sets a cookie that expires `secondsToLive` seconds from now; a negative number deletes it at the client.
void cgiHeaderCookieSetString(const char* name, const char* value, int secondsToLive, const char* path,
                              const char* domain);
void cgiHeaderCookieSetInteger(const char* name, int value, int secondsToLive, const char* path,
                               const char* domain);
