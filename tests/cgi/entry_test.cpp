#include "cgi/entry.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <tuple>

#include "cgi/form_entry.hpp"
#include "cgi/state.hpp"
#include "cgi/variables.hpp"
#include "support/fields.hpp"
#include "support/files.hpp"
#include "support/program.hpp"

namespace {

// Hooks that write down what they see.
void called() {
  std::fprintf(cgiOut, "called:%s\n", cgiRequestMethod);
}

int print_request() {
  std::fprintf(cgiOut, "type:%s boundary:%s length:%d\n", cgiContentType, cgiMultipartBoundary,
               static_cast<int>(cgiContentLength));
  for (const cgiFormEntry* entry = cgiFormEntryFirst; entry != nullptr; entry = entry->next) {
    std::fprintf(cgiOut, "%s=%s\n", entry->name(), entry->value());
  }
  return 7;
}

int closed() {
  std::fprintf(cgiOut, "closed:%d %d\n", cgiReconnectOnClose, cgiFormEntryFirst == nullptr ? 1 : 0);
  return 5;
}

using variables = std::map<std::string, std::string>;

// Serves one request in a process of its own; the exit status closes the text.
std::string serve(const variables& environment, const std::string& body = {}) {
  write_file("/tmp/body", body);
  const pid_t process = fork();
  if (process == 0) {
    stdin = std::freopen("/tmp/body", "r", stdin);
    stdout = std::freopen("/tmp/answer", "w", stdout);
    for (const auto& [name, value] : environment) setenv(name.c_str(), value.c_str(), 1);
    const int status = cgiServeRequest({.onCalled = called, .main = print_request, .onClose = closed});
    std::fflush(stdout);
    _exit(status);
  }
  const int status = wait_for(process);
  return read_file("/tmp/answer") + "exit:" + std::to_string(status);
}

// Does this as the main of a request, in a process of its own. Returns how the process ended.
int end_of(int (*deed)(), bool is_ours) {
  const pid_t process = fork();
  if (process != 0) return wait_for(process);
  stdin = std::freopen("/dev/null", "r", stdin);
  static_cast<void>(cgiServeRequest(
      {.onCalled = [] {}, .main = deed, .onClose = [] { return 0; }, .ownsProcess = is_ours}));
  _exit(0);
}

variables post_of(const std::string& type, const std::string& length) {
  return {{"REQUEST_METHOD", "POST"},
          {"CONTENT_TYPE", type},
          {"CONTENT_LENGTH", length},
          {"QUERY_STRING", "q=1"}};
}

const std::string undecoded = "called:\nStatus: 500 Error reading form data\r\n\r\nexit:255";
const std::string url_encoded = "application/x-www-form-urlencoded";

// A request that was served, without a CMD field.
std::string served(const std::string& request) {
  return "called:\n" + request + "closed:0 1\nexit:5";
}

}  // namespace

// If it fails, uploads of clients that add parameters to their content type are not decoded.
TEST(Entry, ContentTypeAndBoundary) {
  for (const auto& [type, captured] : variables{
           {"multipart/form-data; boundary=abc; charset=x", "type:multipart/form-data boundary:abc;"},
           {"multipart/form-data; boundary=abc ; charset=x", "type:multipart/form-data boundary:abc"},
           {"multipart/form-data;\t\v BOUNDARY=\"aBc\"", "type:multipart/form-data boundary:\"aBc\""},
           {"multipart/form-data ;c; x=boundary=abc", "type:multipart/form-data  boundary:"},
           {std::string(1012, 't') + ";boundary=abc", "type:" + std::string(1012, 't') + " boundary:a"},
           {std::string(5000, 't'), "type:" + std::string(1023, 't') + " boundary:"},
       }) {
    EXPECT_EQ(serve(post_of(type, "0")), served(captured + " length:0\n")) << type;
  }
}

// If it fails, a program sees one CGI variable in the place of another, or a capture mixes them up.
TEST(Entry, CapturesEveryVariable) {
  const lines names{"SERVER_SOFTWARE", "SERVER_NAME", "GATEWAY_INTERFACE", "SERVER_PROTOCOL", "SERVER_PORT",
                    "REQUEST_METHOD",  "PATH_INFO",   "PATH_TRANSLATED",   "SCRIPT_NAME",     "QUERY_STRING",
                    "REMOTE_HOST",     "REMOTE_ADDR", "AUTH_TYPE",         "REMOTE_USER",     "REMOTE_IDENT",
                    "CONTENT_TYPE",    "HTTP_ACCEPT", "HTTP_USER_AGENT",   "HTTP_REFERER",    "HTTP_COOKIE"};
  for (const std::string& name : names) setenv(name.c_str(), name.c_str(), 1);
  static_cast<void>(
      cgiServeRequest({.onCalled = [] {}, .main = [] { return 0; }, .onClose = [] { return 0; }}));
  EXPECT_EQ((lines{cgiServerSoftware, cgiServerName, cgiGatewayInterface, cgiServerProtocol, cgiServerPort,
                   cgiRequestMethod,  cgiPathInfo,   cgiPathTranslated,   cgiScriptName,     cgiQueryString,
                   cgiRemoteHost,     cgiRemoteAddr, cgiAuthType,         cgiRemoteUser,     cgiRemoteIdent,
                   cgiContentType,    cgiAccept,     cgiUserAgent,        cgiReferrer,       cgiCookie}),
            names);
  lines captured;  // in the order of a capture file
  for (const cgiVariable& variable : cgiVariables) captured.emplace_back(*variable.value);
  EXPECT_EQ(captured, names);
}

// If it fails, a request of some method or type is decoded by the wrong rules, or a bad one passes.
TEST(Entry, ChoosesTheDecoderByMethodAndType) {
  using row = std::tuple<variables, std::string, std::string>;
  const std::string multipart = "multipart/form-data; boundary=b";
  for (const auto& [environment, body, answer] : {
           row{{}, "", served("type: boundary: length:0\n")},
           {{{"REQUEST_METHOD", "GeT"}, {"QUERY_STRING", "a=1&b"}, {"CONTENT_LENGTH", "9"}},
            "ignored",
            served("type: boundary: length:5\na=1\nb=\n")},
           {{{"REQUEST_METHOD", "PUT"}, {"QUERY_STRING", "a=1"}},
            "a=1",
            served("type: boundary: length:0\n")},
           {post_of("Application/X-WWW-Form-Urlencoded; charset=UTF-8", " 3 bytes"), "a=1&b=2",
            served("type:Application/X-WWW-Form-Urlencoded boundary: length:3\na=1\n")},
           {post_of("text/plain", "3"), "a=1", served("type:text/plain boundary: length:3\n")},
           {post_of(url_encoded, ""), "a=1", served("type:" + url_encoded + " boundary: length:0\n")},
           {post_of(url_encoded, "4"), "a=1", undecoded},
           {post_of(url_encoded, "-1"), "a=1", undecoded},
           {post_of(multipart, "0"), "", served("type:multipart/form-data boundary:b length:0\n")},
           {post_of(multipart, "-1"), "--b\r\n", served("type:multipart/form-data boundary:b length:-1\n")},
           {post_of(multipart, "7"), "--b\r\nxy", undecoded},
       }) {
    EXPECT_EQ(serve(environment, body), answer) << body;
  }
}

// If it fails, an upload stays in RAM when a check of a library aborts the program.
TEST(Entry, AnAbortOfOurOwnEndsTheProcessAndLeavesNoFile) {
  const auto upload_and_abort = [] {
    append_field({"file", "content", "client.bin", "t"});
    std::abort();
    return 0;
  };
  EXPECT_EQ(end_of(upload_and_abort, true), -SIGABRT);
  EXPECT_EQ(list_folder("/dev/shm"), lines{});
}

// If it fails, a program that serves more than one request no longer obeys its signals.
TEST(Entry, AProcessThatIsNotOursKeepsItsSignals) {
  EXPECT_EQ(end_of([] { return raise(SIGTERM); }, false), -SIGTERM);
}

// If it fails, the video link is not restarted after a command, or restarts during a firmware update.
TEST(Entry, ScanForCommandsDecidesTheReconnect) {
  using row = std::tuple<std::string, int, std::string>;
  for (const auto& [query, reconnect, traced] : {
           row{"cmd=GET_NODES", 0, ""},
           {"XCMDY=1", 1, "\tXCMDY=1\n"},
           {"CMD=update_firmware", 0, "\tCMD=update_firmware\n"},
           {"CMD=DISCOVER_DEVICES&CMD=UPDATE_FIRMWARE", 1, "\tCMD=DISCOVER_DEVICES\n"},
           {"CMD=UPDATE_FIRMWARE&a=1&CMD=1", 1, "\tCMD=UPDATE_FIRMWARE\n\tCMD=1\n"},
       }) {
    const std::string answer = serve({{"REQUEST_METHOD", "GET"}, {"QUERY_STRING", query}});
    EXPECT_NE(answer.find("closed:" + std::to_string(reconnect)), std::string::npos) << query;
    EXPECT_EQ(read_file("/tmp/dbgCGI.log"),
              "cgic main() before cgiOnCalled() " + query + "\n" + traced +
                  "\tAbout to Call cgiMain() _%p_\n\tAbout to Call cgiOnClose()\n");
  }
}
