// The program behind a real web server, asked by a real client.

#include <gtest/gtest.h>

#include <string>

#include "support/files.hpp"
#include "support/program.hpp"
#include "support/quick_site.hpp"
#include "support/web_server.hpp"

namespace {

const std::string url = "http://127.0.0.1:8080/cgi-bin/handler.cgi";

struct WebServer : testing::Test {
  WebServer() { start_web_server(); }
};

const std::string header = "Content-type: text/html\r\n\r\n";

std::string html(const std::string& command, const std::string& body) {
  return page(command, body).substr(header.size());
}

}  // namespace

TEST_F(WebServer, PassesUrlEncodedBodiesAndStatusesOn) {
  EXPECT_EQ(shell_output("curl -s --data-urlencode 'CMD=<b>&' " + url),
            html("<b>&", "<p>No command supplied</p>\n"));
  EXPECT_EQ(shell_output("curl -s -w '%{http_code}' -H 'Content-Type: multipart/form-data; "
                         "boundary=b' --data-binary \"$(printf -- '--b\\r\\nxy')\" " +
                         url),
            "500");
}

// The same pages as without a server between.
TEST_F(WebServer, PassesEveryCommandOn) {
  const quick_site site;
  plant_tool("update_fw.sh", "sleep 0.1");
  write_file("/tmp/upload", uploaded_csv());
  const auto fetch = [](const known_command& command) {
    const std::string asked = command.uploads()
                                  ? " -F CMD=" + command.name + " -F 'file=@/tmp/upload;filename=f' " + url
                                  : " '" + url + "?CMD=" + command.name + "'";
    return answer{0, header + shell_output("curl -sS" + asked), ""};
  };
  EXPECT_EQ(site.differences_behind(fetch), lines{});
}

TEST_F(WebServer, MakesTheEchoedCommandHarmless) {
  if (web_server() == "busybox") GTEST_SKIP() << "busybox httpd sets no headers";
  const std::string headers = shell_output("curl -s -D - -o /dev/null " + url + "?CMD=x");
  EXPECT_NE(headers.find("Content-Security-Policy: default-src 'none'"), std::string::npos) << headers;
  EXPECT_NE(headers.find("X-Content-Type-Options: nosniff"), std::string::npos) << headers;
}

// All of them may get the refusal, but nothing else. Those that do ask again one after the other.
TEST_F(WebServer, TwentyAtOnceGetACompletePageOrTheRefusal) {
  write_file("/tmp/refusal", refusal(busy_message).substr(refusal("").find("<HTML>")));
  const std::string ask = "curl -s -o /tmp/answer.$i '" + url + "?CMD=CHECK_IMPORT_CSV_STATUS'";
  const std::string wait = "for n in $(seq 100); do pidof handler.cgi > /dev/null || break; sleep 0.1; done";
  EXPECT_EQ(shell_output("for i in $(seq 20); do " + ask + " & done; wait; " + wait +
                         "; for i in $(seq 20); do cmp -s /tmp/answer.$i /tmp/refusal && " + ask +
                         "; done; pidof handler.cgi"),
            "");
  for (int i = 1; i <= 20; ++i) {
    EXPECT_EQ(read_file("/tmp/answer." + std::to_string(i)), html("CHECK_IMPORT_CSV_STATUS", "false")) << i;
  }
  EXPECT_EQ(read_file("/var/link"), "running\n");
}
