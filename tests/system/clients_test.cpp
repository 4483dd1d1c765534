// Uploads by real web clients through a real web server arrive with their bytes and names.

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

#include "support/files.hpp"
#include "support/program.hpp"
#include "support/quick_site.hpp"
#include "support/web_server.hpp"

namespace {

// The beginnings of the boundaries that the clients make, each broken off, the last one by the real boundary,
// and bytes of all kinds.
std::string hard_content() {
  std::string text = "--\r\none\r\ntwo\rthree\n\nfour\r\r\n\n\r";
  for (std::size_t dashes = 0; dashes < 64; ++dashes) text += "\r\n" + std::string(dashes, '-') + "\r";
  for (const char* word : {"----WebKitFormBoundary", "--------------------NODENEEDLEHTTPCLIEN"}) {
    text += std::string{"\r\n--"} + word + "\r\r\n--" + word + "--\r\n";
  }
  std::mt19937 generator{20};
  std::string bytes(3'000'001, '\0');
  std::ranges::generate(bytes, [&] { return static_cast<char>(generator()); });
  return text + bytes + "\r\n--------------------------0123456789abcde\r\n--";
}

// Every client through one server, and the two that differ most through each of the others.
lines clients() {
  if (web_server() != "lighttpd") return {"curl", "chromium_form"};
  return {"curl", "form_data", "needle", "chromium_form"};
}

struct Uploads : testing::TestWithParam<std::string> {};

}  // namespace

// If it fails, a browser or client that people use uploads another file than it was given.
TEST_P(Uploads, ArriveByteForByte) {
  const std::string content = hard_content();
  const std::string path = "/tmp/a;b: \"Küche台\" 100%.jpg";
  write_file(path, content);
  start_web_server();
  const std::string url = "http://127.0.0.1:8080/cgi-bin/handler.cgi";
  const std::string node = "node tests/clients/upload.mjs " + GetParam() + " " + url + " '" + path + "'";
  const std::string curl =
      R"(curl -sS -F 'file=@"/tmp/a;b: \"Küche台\" 100%.jpg"' -F CMD=UPDATE_SPLASH )" + url;
  EXPECT_EQ("Content-type: text/html\r\n\r\n" + shell_output(GetParam() == "curl" ? curl : node),
            page("UPDATE_SPLASH", "<p>Updating splash</p>\n"));
  EXPECT_TRUE(read_file("/xoem/default.jpg") == content);
  EXPECT_TRUE(read_file("/share/default.jpg") == content);
  const std::string name = GetParam() == "needle" ? "a%3Bb%3A%20%22K%C3%BCche%E5%8F%B0%22%20100%25.jpg"
                                                  : "a;b: %22Küche台%22 100%.jpg";
  EXPECT_EQ(read_file("/www/upload_file.txt"),
            "file name: " + name + "\nfile size: " + std::to_string(content.size()) + " bytes\n");
  EXPECT_EQ(list_folder("/dev/shm"), lines{});
}

// If it fails, a page of another site commands the unit through its visitor's browser. busybox httpd checks
// no header, so there the attempts succeed: they are real.
TEST(ForeignPage, ReachesNothing) {
  const bool is_guarded = web_server() != "busybox";
  start_web_server();
  write_file("/tmp/dbgCGI.log", "unchanged");
  write_file("/var/log/tools.log", "");
  std::string names;
  for (const known_command& command : every_command) names += " " + command.name;
  if (!is_guarded) names = " GET_NODES";
  EXPECT_EQ(shell_output("node tests/clients/foreign.mjs http://127.0.0.1:8080/cgi-bin/handler.cgi" + names +
                         "; echo $?"),
            "0\n");
  EXPECT_EQ(read_file("/tmp/dbgCGI.log") == "unchanged", is_guarded);
  EXPECT_EQ(read_file("/var/log/tools.log").empty(), is_guarded);
}

INSTANTIATE_TEST_SUITE_P(Clients, Uploads, testing::ValuesIn(clients()),
                         [](const auto& client) { return client.param; });
