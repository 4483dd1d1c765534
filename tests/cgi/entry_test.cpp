#include "cgi/entry.hpp"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <utility>

#include "cgi/form_entry.hpp"
#include "cgi/state.hpp"
#include "support/files.hpp"

namespace {

// Hooks that write down what they see.
void called() {
  std::fprintf(cgiOut, "called:%s\n", cgiRequestMethod);
}

int print_request() {
  std::fprintf(cgiOut, "type:%s boundary:%s length:%d\n", cgiContentType, cgiMultipartBoundary,
               static_cast<int>(cgiContentLength));
  for (const cgiFormEntry* entry = cgiFormEntryFirst; entry != nullptr; entry = entry->next) {
    std::fprintf(cgiOut, "%s=%s\n", entry->name.get(), entry->value.get());
  }
  return 7;
}

int closed() {
  std::fprintf(cgiOut, "closed:%d %d\n", cgiReconnectOnClose, cgiFormEntryFirst == nullptr ? 1 : 0);
  return 0;
}

using variables = std::map<std::string, std::string>;

// Serves one request in a process of its own; the exit status closes the text.
std::string serve(const variables& environment, const std::string& body = {}) {
  const int in = memfd_create("body", 0);
  const int out = memfd_create("answer", 0);
  EXPECT_EQ(write(in, body.data(), body.size()), static_cast<ssize_t>(body.size()));
  lseek(in, 0, SEEK_SET);
  const pid_t process = fork();
  if (process == 0) {
    dup2(in, STDIN_FILENO);
    dup2(out, STDOUT_FILENO);
    for (const auto& [name, value] : environment) setenv(name.c_str(), value.c_str(), 1);
    const int status = cgiServeRequest({.onCalled = called, .main = print_request, .onClose = closed});
    std::fflush(stdout);
    _exit(status);
  }
  int status = 0;
  waitpid(process, &status, 0);
  std::string text = read_file("/proc/self/fd/" + std::to_string(out));
  close(in);
  close(out);
  return text + "exit:" + std::to_string(WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status));
}

variables post_of(const std::string& type, const std::string& length) {
  return {{"REQUEST_METHOD", "POST"},
          {"CONTENT_TYPE", type},
          {"CONTENT_LENGTH", length},
          {"QUERY_STRING", "q=1"}};
}

const std::string undecodable = "called:\nStatus: 500 Error reading form data\r\n\r\nexit:255";
const std::string url_encoded = "application/x-www-form-urlencoded";

// A request that was served, without a CMD field.
std::string served(const std::string& request) {
  return "called:\n" + request + "closed:0 1\nexit:0";
}

}  // namespace

TEST(Entry, ContentTypeAndBoundary) {
  struct row {
    std::string type;
    std::string captured;
  };
  for (const row& row : {
           row{"", "type: boundary:"},
           {"multipart/form-data; boundary=abc; charset=x", "type:multipart/form-data boundary:abc;"},
           {"multipart/form-data; boundary=abc ; charset=x", "type:multipart/form-data boundary:abc"},
           {"multipart/form-data;\t\v BOUNDARY=aBc", "type:multipart/form-data boundary:aBc"},
           {"multipart/form-data; charset=x; Boundary=\"q\"", "type:multipart/form-data boundary:\"q\""},
           {"multipart/form-data; xboundary=abc", "type:multipart/form-data boundary:"},
           {"multipart/form-data; x=boundary=abc", "type:multipart/form-data boundary:"},
           {"multipart/form-data ;;boundary=", "type:multipart/form-data  boundary:"},
           {std::string(1016, 't') + ";boundary=abc", "type:" + std::string(1016, 't') + " boundary:"},
           {std::string(1010, 't') + ";boundary=abc", "type:" + std::string(1010, 't') + " boundary:abc"},
           {std::string(1012, 't') + ";boundary=abc", "type:" + std::string(1012, 't') + " boundary:a"},
           {std::string(5000, 't'), "type:" + std::string(1023, 't') + " boundary:"},
       }) {
    EXPECT_EQ(serve(post_of(row.type, "0")), served(row.captured + " length:0\n")) << row.type;
  }
}

TEST(Entry, CapturesEveryVariable) {
  const std::array<std::pair<const char*, const char**>, 19> captured{{
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
      {"HTTP_ACCEPT", &cgiAccept},
      {"HTTP_USER_AGENT", &cgiUserAgent},
      {"HTTP_REFERER", &cgiReferrer},
      {"HTTP_COOKIE", &cgiCookie},
  }};
  for (const auto& [name, variable] : captured) {
    EXPECT_STREQ(*variable, "");
    setenv(name, name, 1);
  }
  const int status =
      cgiServeRequest({.onCalled = [] {}, .main = [] { return 0; }, .onClose = [] { return 5; }});
  EXPECT_EQ(status, 5);
  for (const auto& [name, variable] : captured) EXPECT_STREQ(*variable, name);
}

TEST(Entry, ChoosesTheDecoderByMethodAndType) {
  struct row {
    variables environment;
    std::string body;
    std::string answer;
  };
  const std::string text = "type:" + url_encoded + " boundary: ";
  for (const row& row : {
           row{{}, "", served("type: boundary: length:0\n")},
           {{{"REQUEST_METHOD", "GeT"}, {"QUERY_STRING", "a=1&b"}, {"CONTENT_LENGTH", "9"}},
            "ignored",
            served("type: boundary: length:5\na=1\nb=\n")},
           {{{"REQUEST_METHOD", "PUT"}, {"QUERY_STRING", "a=1"}},
            "a=1",
            served("type: boundary: length:0\n")},
           {post_of("Application/X-WWW-Form-Urlencoded; charset=UTF-8", "3"), "a=1&b=2",
            served("type:Application/X-WWW-Form-Urlencoded boundary: length:3\na=1\n")},
           {post_of("text/plain", "3"), "a=1", served("type:text/plain boundary: length:3\n")},
           {post_of(url_encoded, "4"), "a=1", undecodable},
           {post_of(url_encoded, "0"), "a=1", served(text + "length:0\n")},
           {post_of(url_encoded, ""), "a=1", served(text + "length:0\n")},
           {post_of(url_encoded, "  "), "a=1", served(text + "length:0\n")},
           {post_of(url_encoded, "word"), "a=1", served(text + "length:0\n")},
           {post_of(url_encoded, " 3 bytes"), "a=1", served(text + "length:3\na=1\n")},
           {post_of(url_encoded, "-1"), "a=1", undecodable},
           {post_of(url_encoded, "-99999999999"), "a=1", undecodable},
           {post_of(url_encoded, "2147483647"), "a=1", undecodable},
           {post_of(url_encoded, "99999999999999999999"), "a=1", undecodable},
           {post_of("multipart/form-data; boundary=b", "0"), "",
            served("type:multipart/form-data boundary:b length:0\n")},
           {post_of("multipart/form-data; boundary=b", "-1"), "--b\r\n",
            served("type:multipart/form-data boundary:b length:-1\n")},
           {post_of("multipart/form-data; boundary=b", "7"), "--b\r\nxy", undecodable},
       }) {
    EXPECT_EQ(serve(row.environment, row.body), row.answer) << row.body;
  }
}

TEST(Entry, ScanForCommandsDecidesTheReconnect) {
  struct row {
    std::string query;
    int reconnect;
    std::string traced;
  };
  const std::string begin = "cgic main() before cgiOnCalled() ";
  const std::string end = "\tAbout to Call cgiMain() _%p_\n\tAbout to Call cgiOnClose()\n";
  for (const row& row : {
           row{"", 0, ""},
           {"cmd=GET_NODES", 0, ""},
           {"XCMDY=1", 1, "\tXCMDY=1\n"},
           {"CMD=update_firmware", 0, "\tCMD=update_firmware\n"},
           {"CMD=DISCOVER_DEVICES&CMD=UPDATE_FIRMWARE", 1, "\tCMD=DISCOVER_DEVICES\n"},
           {"CMD=UPDATE_FIRMWARE&a=1&CMD=DISCOVER_DEVICES", 1,
            "\tCMD=UPDATE_FIRMWARE\n\tCMD=DISCOVER_DEVICES\n"},
       }) {
    const std::string answer = serve({{"REQUEST_METHOD", "GET"}, {"QUERY_STRING", row.query}});
    EXPECT_NE(answer.find("closed:" + std::to_string(row.reconnect)), std::string::npos) << row.query;
    EXPECT_EQ(read_file("/tmp/dbgCGI.log"), begin + row.query + "\n" + row.traced + end) << row.query;
  }
}
