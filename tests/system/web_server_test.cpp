// The program started by a real web server, asked by a real client.

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <utility>

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

// If it fails, a web server changes a body or hides a status.
TEST_F(WebServer, PassesUrlEncodedBodiesAndStatusesOn) {
  EXPECT_EQ(shell_output("curl -s --data-urlencode 'CMD=<b>&' " + url),
            html("<b>&", "<p>No command supplied</p>\n"));
  EXPECT_EQ(shell_output("curl -s -w '%{http_code}' -H 'Content-Type: multipart/form-data; "
                         "boundary=b' --data-binary \"$(printf -- '--b\\r\\nxy')\" " +
                         url),
            "500");
}

// If it fails, a web server changes a command's page.
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
  EXPECT_EQ(site.differences_when(fetch), difference_list{});
}

// If it fails, another site's page starts the program, or curl and the unit's own pages are refused.
TEST_F(WebServer, RefusesWhatAForeignPageSends) {
  if (web_server() == "busybox") GTEST_SKIP() << "busybox httpd looks at no header";
  write_file("/www/upload_file.txt", "of the site");
  for (const auto& [header, is_of_the_unit] : {std::pair{"X-None: 1", true},
                                               {"Sec-Fetch-Site: same-origin", true},
                                               {"Sec-Fetch-Site: none", true},
                                               {"Origin: http://127.0.0.1:8080", true},
                                               {"Origin: https://127.0.0.1:8080", true},
                                               {"Host: localhost:8080", true},
                                               {"Host: 10.77.0.1", true},
                                               {"Host: [fe80::1]:8080", true},
                                               {"Host: unit", true},
                                               {"Sec-Fetch-Site: same-site", false},
                                               {"Sec-Fetch-Site: cross-site", false},
                                               {"Origin: http://127.0.0.1", false},
                                               {"Origin: http://127.0.0.1:8080.evil", false},
                                               {"Origin: http://evil/127.0.0.1:8080", false},
                                               {"Origin: null", false},
                                               {"Host: rebound.example:8080", false},
                                               {"Host: 10.77.0.1.rebound.example", false}}) {
    const std::string expected = is_of_the_unit ? "200" : "403";
    const std::string ask = "curl -s -o /dev/null -w '%{http_code}' -H '" + std::string{header} + "' ";
    write_file("/tmp/dbgCGI.log", "unchanged");
    write_file("/var/log/tools.log", "");
    EXPECT_EQ(shell_output(ask + url + "?CMD=GET_NODES"), expected) << header;
    EXPECT_EQ(shell_output(ask + "-F CMD=UPDATE_SPLASH -F file=@/etc/keys.txt " + url), expected) << header;
    EXPECT_EQ(shell_output(ask + "http://127.0.0.1:8080/upload_file.txt"), expected) << header;
    if (is_of_the_unit) continue;
    EXPECT_EQ(read_file("/tmp/dbgCGI.log"), "unchanged") << header;
    EXPECT_EQ(read_file("/var/log/tools.log"), "") << header;
  }
}

// If it fails, another spelling of a path gets around the check of foreign pages.
TEST_F(WebServer, RefusesForeignPagesUnderEverySpelling) {
  if (web_server() == "busybox") GTEST_SKIP() << "busybox httpd looks at no header";
  write_file("/www/site.csv", "of the site");
  write_file("/tmp/dbgCGI.log", "unchanged");
  for (const char* path : {"//cgi-bin/handler.cgi", "/./cgi-bin/handler.cgi", "/x/../cgi-bin/handler.cgi",
                           "/%63gi-bin/handler.cgi", "/cgi-bin//handler.cgi", "//site.csv", "/%73ite.csv",
                           "/x/../site.csv", "/site.csv/", "/site.csv/x", "/site.csv?x"}) {
    const std::string answer = shell_output(
        "curl --path-as-is -s -H 'Origin: http://evil' 'http://127.0.0.1:8080" + std::string{path} + "'");
    EXPECT_EQ(answer.find("of the site"), std::string::npos) << path;
    EXPECT_EQ(read_file("/tmp/dbgCGI.log"), "unchanged") << path;
  }
}

// If it fails, contradicting headers hang the server or the program, or leave a file.
TEST_F(WebServer, SurvivesHostileHeaders) {
  const std::string multipart = "Content-Type: multipart/form-data; boundary=b\\r\\n";
  const std::string part =
      "--b\\r\\nContent-Disposition: form-data; name=f; filename=f\\r\\n\\r\\nx\\r\\n--b--\\r\\n";
  for (const std::string& headers : {
           std::string{"Content-Length: -1\\r\\n"},
           std::string{"Content-Length: 99999999999999999999\\r\\n"},
           std::string{"Content-Length: 5\\r\\nContent-Length: 500\\r\\n"},
           std::string{"Content-Length: 5\\r\\nTransfer-Encoding: chunked\\r\\n"},
           std::string{"Transfer-Encoding: chunked, identity\\r\\n"},
           std::string{"Transfer-Encoding: chunked\\r\\n\\r\\nzz\\r\\n"},
           std::string{"Content-Length: 600000000\\r\\nExpect: 100-continue\\r\\n"},
           std::string{"Content-Length: 5\\r\\nExpect: something\\r\\n"},
           "X-Long: " + std::string(60'000, 'x') + "\\r\\nContent-Length: 0\\r\\n",
       }) {
    const std::string request =
        "POST /cgi-bin/handler.cgi HTTP/1.1\\r\\nHost: unit\\r\\nConnection: close\\r\\n" + multipart +
        headers + "\\r\\n" + part;
    const std::string answer = shell_output(
        "printf '" + request + "' | timeout 5 socat -t 1 - TCP:127.0.0.1:8080 2>&1 | head -c 12");
    const bool is_closed = answer.empty() || answer.find("socat") != std::string::npos;
    EXPECT_TRUE(is_closed || answer.starts_with("HTTP/1.")) << headers.substr(0, 60) << " " << answer;
  }
  wait_until("! pidof handler.cgi > /dev/null");  // the last one may still be at work, its client gone
  EXPECT_EQ(shell_output("curl -s '" + url + "?CMD=CHECK_IMPORT_CSV_STATUS'"),
            html("CHECK_IMPORT_CSV_STATUS", "false"));
  EXPECT_EQ(list_folder("/dev/shm"), lines{});
}

// If it fails, a browser shows an old splash image, or the console loads unpacked.
TEST_F(WebServer, ServesGzippedFilesWithValidators) {
  if (web_server() == "busybox") GTEST_SKIP() << "busybox httpd sends no validators";
  write_file("/www/page.js", std::string(10'000, 'j'));
  const std::string page = " http://127.0.0.1:8080/page.js";
  static_cast<void>(shell_output("gzip -k /www/page.js"));
  EXPECT_EQ(shell_output("curl -s --compressed" + page), std::string(10'000, 'j'));
  EXPECT_EQ(shell_output("curl -s" + page), std::string(10'000, 'j'));
  const std::string headers = shell_output("curl -s --compressed -D - -o /dev/null" + page);
  for (const char* part :
       {"Content-Encoding: gzip", "text/javascript", "Cache-Control: no-cache", "ETag: "}) {
    EXPECT_NE(headers.find(part), std::string::npos) << part << "\n" << headers;
  }
  EXPECT_EQ(shell_output("e=$(curl -sI" + page +
                         " | sed -n 's/\r$//;s/^ETag: //p'); curl -s -o /dev/null -w '%{http_code}' "
                         "-H \"If-None-Match: $e\"" +
                         page),
            "304");
}

// If it fails, the marked lines of a sample configuration do not ask for a password, or not on every path.
TEST(WebServerLogin, AsksForANameAndEncrypts) {
  if (web_server() == "busybox") GTEST_SKIP() << "busybox httpd has no TLS";
  const std::string hash = shell_output("openssl passwd -6 secret");
  setenv("HANDLER_LOGIN", ("operator:" + hash.substr(0, hash.size() - 1)).c_str(), 1);
  setenv("HANDLER_TLS", "1", 1);
  start_web_server("https");
  write_file("/www/site.csv", "of the site");
  const std::string ask = "curl -sk -o /dev/null -w '%{http_code} ' ";
  for (const std::string path : {"index.html", "site.csv", "cgi-bin/handler.cgi?CMD=GET_NODES"}) {
    const std::string address = "https://127.0.0.1:8080/" + path;
    EXPECT_EQ(shell_output(ask + address), "401 ") << path;
    EXPECT_EQ(shell_output(ask + "-u operator:wrong " + address), "401 ") << path;
    EXPECT_EQ(shell_output(ask + "-u operator:secret " + address), "200 ") << path;
  }
}

// If it fails, markup in a command runs in the browser of whoever follows a link to it.
TEST_F(WebServer, MakesTheEchoedCommandHarmless) {
  if (web_server() == "busybox") GTEST_SKIP() << "busybox httpd sets no headers";
  const std::string headers = shell_output("curl -s -D - -o /dev/null " + url + "?CMD=x");
  EXPECT_NE(headers.find("Content-Security-Policy: default-src 'none'"), std::string::npos) << headers;
  EXPECT_NE(headers.find("X-Content-Type-Options: nosniff"), std::string::npos) << headers;
}

// If it fails, requests at once get half pages. Those that are refused ask again, one by one.
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
