// A request that a real client sent through a real web server, taken home in a capture file and run again.

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <random>
#include <string>

#include "support/files.hpp"
#include "support/program.hpp"
#include "support/web_server.hpp"

namespace {

const std::string server = "http://127.0.0.1:8080/cgi-bin/";
const std::string replay = CGI_REPLAY " /tmp/request.cgic";

// What an upload leaves behind.
std::string traces_of_upload() {
  return read_file("/xoem/default.jpg") + read_file("/share/default.jpg") + read_file("/www/upload_file.txt");
}

}  // namespace

// If it fails, a captured request does not do again what it did on the unit.
TEST(Replay, ALiveUploadGivesTheSameAnswerAgain) {
  std::filesystem::copy_file(ECHO_CGI, "/www/cgi-bin/echo.cgi");
  start_web_server();
  std::mt19937 random{21};
  std::string content(300'000, '\0');
  for (char& byte : content) byte = "\r\n-x"[random() % 4];
  write_file("/tmp/a;b \"c\".jpg", content);
  const std::string form =
      "curl -s -b 'a=1; b=2' -F CMD=UPDATE_SPLASH --form-string 'x=<1>&;' "
      "-F 'file=@\"/tmp/a;b \\\"c\\\".jpg\"' " +
      server;

  const std::string live = shell_output(form + "handler.cgi");
  const std::string live_traces = traces_of_upload();
  EXPECT_NE(live_traces.find(content), std::string::npos);
  write_file("/tmp/request.cgic", "one that others may read");
  EXPECT_EQ(shell_output(form + "'echo.cgi?q=1'"),
            "<!DOCTYPE html>\n<html><head><title>Echo</title></head><body>\n<p><b>method</b> POST</p>\n"
            "<p><b>query</b> q=1</p>\n<p><b>CMD</b> UPDATE_SPLASH</p>\n<p><b>x</b> &lt;1&gt;&amp;;</p>\n"
            "<p><b>file</b> a;b %22c%22.jpg</p>\n<p><b>of type</b> image/jpeg</p>\n<p><b>with</b> 300000 "
            "bytes</p>\n"
            "<p><b>cookie</b> a</p>\n<p><b>cookie</b> b</p>\n<p><b>kept as</b> /tmp/request.cgic</p>\n"
            "</body></html>\n");
  EXPECT_EQ(shell_output("stat -c %a /tmp/request.cgic"), "600\n");

  static_cast<void>(shell_output("rm /xoem/default.jpg /share/default.jpg /www/upload_file.txt"));
  EXPECT_EQ(shell_output(replay + " /www/cgi-bin/handler.cgi"), "Content-type: text/html\r\n\r\n" + live);
  EXPECT_EQ(traces_of_upload(), live_traces);
  EXPECT_EQ(list_folder("/dev/shm"), lines{});

  const std::string shown = shell_output(replay);
  for (const char* part : {"REQUEST_METHOD=POST\n", "HTTP_COOKIE=a=1; b=2\n",
                           "\n\nCMD=UPDATE_SPLASH\nx=<1>&;\nfile: upload of 300000 bytes, file name "
                           "\"a;b %22c%22.jpg\", content type \"image/jpeg\"\n"}) {
    EXPECT_NE(shown.find(part), std::string::npos) << shown;
  }
}

// If it fails, the tool hides why a capture is of no use, or gives the program files of its own.
TEST(ReplayTool, PrintsWhatItFindsOrWhatWentWrong) {
  write_file("/tmp/other", std::string("\7\0\0\0CGIC1.0", 11));
  write_file("/tmp/short", std::string("\7\0\0\0CGIC2.0", 11));
  // No variable, and an entry with a content but without a name of the file.
  const std::string entry("\1\0\0\0u\0\0\0\0\0\0\0\0\0\0\0\0\2\0\0\0\1\0\0\0xy", 27);
  write_file("/tmp/nameless", std::string("\7\0\0\0CGIC2.0", 11) + std::string(84, '\0') + entry);
  for (const auto& [arguments, output] : std::map<std::string, std::string>{
           {"", "cgi-replay: usage: cgi-replay FILE [PROGRAM [ARGUMENT...]]\n2\n"},
           {"/tmp/other", "cgi-replay: /tmp/other is no capture file of this version\n1\n"},
           {"/tmp/short", "cgi-replay: /tmp/short cannot be opened or read completely\n1\n"},
           {"/tmp/nameless",
            "CONTENT_LENGTH=0\n\nu: upload of 2 bytes, file name \"\", content type \"\"\n0\n"},
           {"/tmp/nameless ls /proc/self/fd", "0\n1\n2\n3\n0\n"},  // 3 is the folder itself
       }) {
    EXPECT_EQ(shell_output(CGI_REPLAY " " + arguments + " 2>&1; echo $?"), output);
  }
}
