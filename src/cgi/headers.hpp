// Response headers, printed to cgiOut. Nothing is escaped. Each of the first three ends the header block with
// an empty line, so an answer has one of them, after its cookies.

#pragma once

// Prints the content type, a redirection to a URL, or a status with its message.
void cgiHeaderContentType(const char* mimeType);
void cgiHeaderLocation(const char* url);
void cgiHeaderStatus(int status, const char* message);

// Prints a cookie that expires `secondsToLive` seconds from now. A negative number makes the client delete
// it.
void cgiHeaderCookieSetString(const char* name, const char* value, int secondsToLive, const char* path,
                              const char* domain);
void cgiHeaderCookieSetInteger(const char* name, int value, int secondsToLive, const char* path,
                               const char* domain);
