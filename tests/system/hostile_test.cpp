// Requests and clients that mean no good: always the given answer, never a hang, nothing left behind.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <string>

#include "support/files.hpp"
#include "support/program.hpp"

namespace {

// Waits until the tools were called that often, for at most 30 s.
void wait_for_calls(std::size_t count) {
  for (int look = 0; look < 3000 && tool_calls().size() < count; ++look) usleep(10'000);
}

struct pipe_ends {
  pipe_ends() { EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0); }
  std::array<int, 2> ends{};
};

}  // namespace

TEST(Hostile, TextReachesTheLogLiterallyAndIsCut) {
  const std::string evil = "$(touch /tmp/owned);`reboot`\"'\\n%s|&";
  const std::string longest_line = std::string("echo \"\" > /tmp/dbgCGI.log");
  run_program(get("XCMD=%24(touch+/tmp/owned)%3b%60reboot%60%22'\\n%25s%7c%26"));
  const std::string log = read_file("/tmp/dbgCGI.log");
  EXPECT_NE(log.find("\n\tXCMD=" + evil + "\n"), std::string::npos) << log;
  EXPECT_EQ(list_folder("/tmp"), lines{"dbgCGI.log"});

  const std::string query = "CMD=" + std::string(5000, 'q');
  EXPECT_EQ(run_program(get(query)).status, 0);
  const std::string line = read_file("/tmp/dbgCGI.log").substr(0, 255 - longest_line.size() + 1);
  EXPECT_EQ(line, ("cgic main() before cgiOnCalled() " + query).substr(0, line.size() - 1) + "\n");
}

TEST(Hostile, OddRequestsGetTheirAnswer) {
  request huge_type = post("CMD=GET_NODES", std::string(100'000, 't'));
  request binary = post(std::string("CMD=\xFF\x80\x01&\0=\0&b", 14));
  request odd_variables = get("CMD=GET_NODES");
  for (const char* name : {"SERVER_PORT", "PATH_INFO", "HTTP_COOKIE", "REMOTE_HOST", "CONTENT_LENGTH"}) {
    odd_variables.environment[name] = std::string(100'000, '%');
  }
  EXPECT_EQ(run_program(huge_type).out, page("", "<p>No command supplied</p>\n"));
  EXPECT_EQ(run_program(binary).out, page("\xFF\x80\x01", "<p>No command supplied</p>\n"));
  EXPECT_EQ(run_program(odd_variables).out, page("GET_NODES", "No Nodes Detected\n"));
  EXPECT_EQ(run_program(post("x", "multipart/form-data; boundary=x")).out,
            page("", "<p>No command supplied</p>\n"));
}

TEST(Hostile, AnAnnouncedLengthBeyondTheMemoryIsADecodingFailure) {
  request huge = post("CMD=GET_NODES");
  huge.environment["CONTENT_LENGTH"] = "2147483647";
  huge.environment["ASAN_OPTIONS"] = "allocator_may_return_null=1:max_allocation_size_mb=64";
  // The sanitizer needs an address space of its own; there its own limit stands for the small unit's memory.
  constexpr rlimit small_unit{512U << 20U, 512U << 20U};
  const bool sanitized = shell_output("grep -c libasan /www/cgi-bin/handler.cgi") != "0\n";
  if (!sanitized) {
    ASSERT_EQ(setrlimit(RLIMIT_AS, &small_unit), 0);
  }
  const answer got = run_program(huge);
  EXPECT_EQ(got.status, 255);
  EXPECT_EQ(got.out, "Status: 500 Error reading form data\r\n\r\n");
  if (sanitized) return;
  std::string fields;
  for (int i = 0; i < 6'000'000; ++i) fields += "a&";
  EXPECT_EQ(run_program(post(fields)).out, got.out);
}

// Some web servers put a program's standard error into its answer.
TEST(Hostile, AMissingToolSaysNothingOnStandardError) {
  static_cast<void>(shell_output("rm /usr/local/bin/*"));
  const answer got = run_program(get("CMD=DISCOVER_ENCODERS"));
  EXPECT_EQ(got.out, page("DISCOVER_ENCODERS", "MYSELF,,\n"));
  EXPECT_EQ(got.err, "Request Method: GET\n");
}

// What a server ignores, its programs inherit as ignored.
TEST(Hostile, ATalkativeToolEndsEvenWhereTheServerIgnoresPipes) {
  std::signal(SIGPIPE, SIG_IGN);
  plant_tool("qelparam", "while true; do echo 64; done");
  EXPECT_EQ(run_program(get("CMD=DISCOVER_DECODERS")).out, page("DISCOVER_DECODERS", ""));
}

// The server ends its child, or the client is gone: what has arrived of an upload is deleted.
TEST(Hostile, ABodyThatStopsComingIsADecodingFailure) {
  std::signal(SIGTERM, SIG_IGN);
  const std::string multipart = "multipart/form-data; boundary=b";
  const std::string upload = "--b\r\nContent-Disposition: form-data; name=file; filename=f\r\n\r\n" +
                             std::string(50'000, 'u') + "\r\n--b";
  struct row {
    std::string body;
    std::string type;
    bool terminated;
  };
  for (const row& row : {
           row{"CMD", "application/x-www-form-urlencoded", true},
           {"CMD", "application/x-www-form-urlencoded", false},
           {upload, multipart, true},
           {upload, multipart, false},
       }) {
    write_file("/var/log/tools.log", "");
    pipe_ends body;
    pipe_ends page;
    request slow = post("", row.type);
    slow.environment["CONTENT_LENGTH"] = "100000";
    const pid_t process = start_program(slow, body.ends[0], page.ends[1]);
    ASSERT_EQ(write(body.ends[1], row.body.data(), row.body.size()), static_cast<ssize_t>(row.body.size()));
    wait_for_calls(1);
    for (int look = 0; look < 1000 && row.type == multipart && list_folder("/dev/shm").empty(); ++look)
      usleep(10'000);
    usleep(200'000);
    if (row.terminated) kill(process, SIGTERM);
    if (!row.terminated) close(body.ends[1]);
    EXPECT_EQ(wait_for(process), 255);
    std::array<char, 64> text{};
    EXPECT_GT(read(page.ends[0], text.data(), text.size()), 0);
    EXPECT_STREQ(text.data(), "Status: 500 Error reading form data\r\n\r\n");
    EXPECT_EQ(list_folder("/dev/shm"), lines{});
  }
}

TEST(Hostile, ABodyThatComesSlowlyIsWhole) {
  pipe_ends body;
  pipe_ends page;
  request slow = post("CMD=NONSENSE");
  const pid_t process = start_program(slow, body.ends[0], page.ends[1]);
  for (const char byte : slow.body) {
    ASSERT_EQ(write(body.ends[1], &byte, 1), 1);
    usleep(20'000);
  }
  EXPECT_EQ(wait_for(process), 0);
  EXPECT_NE(read_file("/tmp/dbgCGI.log").find("\tCMD=NONSENSE\n"), std::string::npos);
}

// The client leaves and the server ends its child: the command still runs to its end and restarts the link.
TEST(Hostile, AClientThatLeavesDoesNotEndACommand) {
  for (const int number : {SIGTERM, SIGHUP, SIGPIPE}) {
    write_file("/var/log/tools.log", "");
    pipe_ends page;
    const int no_body = open("/dev/null", O_RDONLY | O_CLOEXEC);
    const pid_t process = start_program(get("CMD=DISCOVER_ENCODERS"), no_body, page.ends[1]);
    close(page.ends[0]);
    close(page.ends[1]);
    close(no_body);
    wait_for_calls(4);
    kill(process, number);
    EXPECT_EQ(wait_for(process), 0) << number;
    EXPECT_EQ(tool_calls().back(), "ast_send_event -1 e_reconnect") << number;
  }
}
