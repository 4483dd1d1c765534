#include "cgi/state.hpp"

constinit const char* cgiServerSoftware = "";
constinit const char* cgiServerName = "";
constinit const char* cgiGatewayInterface = "";
constinit const char* cgiServerProtocol = "";
constinit const char* cgiServerPort = "";
constinit const char* cgiRequestMethod = "";
constinit const char* cgiPathInfo = "";
constinit const char* cgiPathTranslated = "";
constinit const char* cgiScriptName = "";
constinit const char* cgiQueryString = "";
constinit const char* cgiRemoteHost = "";
constinit const char* cgiRemoteAddr = "";
constinit const char* cgiAuthType = "";
constinit const char* cgiRemoteUser = "";
constinit const char* cgiRemoteIdent = "";
constinit const char* cgiAccept = "";
constinit const char* cgiUserAgent = "";
constinit const char* cgiReferrer = "";
constinit const char* cgiCookie = "";

constinit const char* cgiContentType = "";
constinit const char* cgiMultipartBoundary = "";
constinit std::int32_t cgiContentLength = 0;

constinit std::FILE* cgiIn = nullptr;
constinit std::FILE* cgiOut = nullptr;

constinit const char* cgiTemporaryFiles = cgiUsualTemporaryFiles;

constinit const char* cgiArrivingFile = nullptr;

constinit cgiFormEntry* cgiFormEntryFirst = nullptr;
constinit int cgiRestored = 0;
constinit int cgiReconnectOnClose = 0;
