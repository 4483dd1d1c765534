// Uploads by real web clients through a real web server: the bytes and the name that a client sends are what arrives.

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <regex>
#include <string>

#include "support/files.hpp"
#include "support/program.hpp"
#include "support/web_server.hpp"

namespace {

const std::string url = "http://127.0.0.1:8080/cgi-bin/handler.cgi";
const std::string folder = "/tmp/uploads/";

// One client and the server it uploads to. The clients of tests/clients start once and stay for all uploads: paths
// go in, answers come out.
struct Uploads : testing::TestWithParam<std::string> {
  Uploads() {
    start_web_server();
    std::filesystem::copy("tests/clients/upload.html", "/www/upload.html");
    std::filesystem::create_directory(folder);
    if (GetParam() == "curl") return;
    const std::string client = "node tests/clients/upload.mjs " + GetParam() + " " + url;
    std::system(("mkfifo /tmp/paths /tmp/answers; " + client + " < /tmp/paths > /tmp/answers &").c_str());
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));  // a client that is gone shows as a missing answer
    paths.open("/tmp/paths");
    answers.open("/tmp/answers", std::ios::binary);
  }

  // Sends one file. Returns the body of the answer; what came instead when there is none.
  std::string upload(const std::string& name, const std::string& content) {
    // The last answer may be here before its process is gone; a busy unit would answer so.
    wait_until("! pidof handler.cgi > /dev/null");
    const std::string path = folder + name;
    write_file(path, content);
    if (GetParam() == "curl") {
      const std::string quoted = std::regex_replace(path, std::regex{"\""}, "\\\"");
      return shell_output("curl -sS -F 'file=@\"" + quoted + "\"' -F CMD=UPDATE_SPLASH " + url);
    }
    paths << path << std::endl;
    std::string answer;
    std::getline(answers, answer, '\0');
    return answer;
  }

 private:
  std::ofstream paths;
  std::ifstream answers;
};

std::string random_bytes(std::size_t count) {
  std::mt19937 generator{20};
  std::string bytes(count, '\0');
  std::ranges::generate(bytes, [&] { return static_cast<char>(generator()); });
  return bytes;
}

// The beginnings of the boundaries that the clients make, each broken off, the last one by the real boundary.
std::string near_boundaries() {
  std::string text = "--\r\n";
  for (std::size_t dashes = 0; dashes < 64; ++dashes) text += "\r\n" + std::string(dashes, '-') + "\r";
  for (const char* word : {"----WebKitFormBoundary", "--------------------NODENEEDLEHTTPCLIEN"}) {
    text += std::string{"\r\n--"} + word + "\r\r\n--" + word + "--\r\n";
  }
  return text + "\r\n--------------------------0123456789abcde\r\n--";
}

// Every client through one server, and the two that differ most through each of the others.
lines clients() {
  if (web_server() != "lighttpd") return {"curl", "chromium_form"};
  return {"curl", "form_data", "needle", "chromium_form"};
}

}  // namespace

TEST_P(Uploads, ArriveByteForByte) {
  const struct {
    std::string name, content;
    std::string logged = name, logged_by_needle = logged;  // browsers' way and needle's to send an odd name
  } uploads[] = {
      {"empty.jpg", ""},
      {"zeros.jpg", std::string(300, '\0')},
      {"lines.txt", "one\r\ntwo\rthree\n\nfour\r\r\n\n\r"},
      {"boundaries.bin", near_boundaries()},
      {"1023.bin", random_bytes(1023)},
      {"3 MB.bin", random_bytes(3'000'001), "3 MB.bin", "3%20MB.bin"},
      {"a;b: 100%.jpg", "semicolon", "a;b: 100%.jpg", "a%3Bb%3A%20100%25.jpg"},
      {"the\"best\".jpg", "quotes", "the%22best%22.jpg"},
      {"Küche台.jpg", "not ASCII", "Küche台.jpg", "K%C3%BCche%E5%8F%B0.jpg"},
  };
  for (const auto& [name, content, logged, logged_by_needle] : uploads) {
    SCOPED_TRACE(name);
    ASSERT_EQ("Content-type: text/html\r\n\r\n" + upload(name, content),
              page("UPDATE_SPLASH", "<p>Updating splash</p>\n"));
    EXPECT_TRUE(read_file("/xoem/default.jpg") == content);
    EXPECT_TRUE(read_file("/share/default.jpg") == content);
    EXPECT_EQ(read_file("/www/upload_file.txt"),
              "file name: " + (GetParam() == "needle" ? logged_by_needle : logged) +
                  "\nfile size: " + std::to_string(content.size()) + " bytes\n");
    EXPECT_EQ(list_folder("/dev/shm"), lines{});
  }
}

INSTANTIATE_TEST_SUITE_P(Clients, Uploads, testing::ValuesIn(clients()),
                         [](const auto& client) { return client.param; });
