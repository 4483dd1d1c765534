// Requests and clients that mean no good: always the given answer, never a hang, nothing left behind.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <string>
#include <utility>

#include "support/files.hpp"
#include "support/program.hpp"

namespace {

struct pipe_ends {
  pipe_ends() { EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0); }
  std::array<int, 2> ends{};
};

}  // namespace

TEST(Hostile, TextReachesTheLogLiterallyAndIsCut) {
  run_program(get("CMD=%24(touch+/tmp/owned)%3b%60reboot%60%22'\\n%25s%7c%26" + std::string(5000, 'q')));
  const std::string log = read_file("/tmp/dbgCGI.log");
  const std::string longest_line = "echo \"\" > /tmp/dbgCGI.log";  // stood for 255 characters with its text
  const std::string first =
      "cgic main() before cgiOnCalled() CMD=%24(touch+/tmp/owned)%3b%60reboot%60%22'\\n%25s%7c%26";
  const std::string second = "\tCMD=$(touch /tmp/owned);`reboot`\"'\\n%s|&";
  const std::size_t length = 255 - longest_line.size();
  EXPECT_EQ(log.substr(0, log.find("\tAbout")), first + std::string(length - first.size(), 'q') + "\n" +
                                                    second + std::string(length - 1 - second.size(), 'q') +
                                                    "\n");
  EXPECT_EQ(list_folder("/tmp"), lines{"dbgCGI.log"});
}

TEST(Hostile, OddRequestsGetTheirAnswer) {
  request odd_variables = get("CMD=");
  for (const char* name : {"SERVER_PORT", "PATH_INFO", "HTTP_COOKIE", "REMOTE_HOST", "CONTENT_LENGTH"}) {
    odd_variables.environment[name] = std::string(100'000, '%');
  }
  for (const request& odd : {request{}, odd_variables, post("CMD=GET_NODES", std::string(100'000, 't')),
                             post("x", "multipart/form-data; boundary=x")}) {
    EXPECT_EQ(run_program(odd).out, page("", "<p>No command supplied</p>\n"));
  }
  EXPECT_EQ(run_program(post(std::string("CMD=\xFF\x80\x01&\0=\0&b", 14))).out,
            page("\xFF\x80\x01", "<p>No command supplied</p>\n"));
}

TEST(Hostile, AnAnnouncedLengthBeyondTheMemoryIsADecodingFailure) {
  request huge = post("CMD=GET_NODES");
  huge.environment["CONTENT_LENGTH"] = "2147483647";
  huge.environment["ASAN_OPTIONS"] = "allocator_may_return_null=1:max_allocation_size_mb=64";
  std::string text;
  for (int i = 0; i < 6'000'000; ++i) text += "a&";
  request fields = post(text);
  // The sanitizer needs an address space of its own; there its own limit stands for the small unit's memory.
  if (is_sanitized()) fields = huge;
  if (!is_sanitized()) huge.starter = fields.starter = "ulimit -v 524288; exec";
  EXPECT_EQ(run_program(huge).out, undecodable);
  EXPECT_EQ(run_program(fields).out, undecodable);
}

// What a server ignores or blocks, its programs inherit.
TEST(Hostile, ATalkativeToolEndsEvenWhereTheServerIgnoresAndBlocksPipes) {
  plant_tool("qelparam", "while true; do echo 64; done");
  sigset_t pipes;
  sigemptyset(&pipes);
  sigaddset(&pipes, SIGPIPE);
  sigprocmask(SIG_BLOCK, &pipes, nullptr);
  std::signal(SIGPIPE, SIG_IGN);
  EXPECT_EQ(run_program(get("CMD=DISCOVER_DECODERS")).out, page("DISCOVER_DECODERS", ""));
}

// The server ends its child, or the client is gone: what has arrived of an upload is deleted.
TEST(Hostile, ABodyThatStopsComingIsADecodingFailure) {
  std::signal(SIGTERM, SIG_IGN);
  request slow = post("--b\r\nContent-Disposition: form-data; name=file; filename=f\r\n\r\n" +
                          std::string(50'000, 'u') + "\r\n--b",
                      "multipart/form-data; boundary=b");
  slow.environment["CONTENT_LENGTH"] = "100000";
  constexpr int no_signal = 0;  // the end of the body
  for (const int ending : {SIGTERM, SIGINT, SIGQUIT, SIGXCPU, SIGALRM, SIGUSR1, SIGUSR2, no_signal}) {
    pipe_ends body;
    pipe_ends page;
    const pid_t process = start_program(slow, body.ends[0], page.ends[1]);
    ASSERT_EQ(write(body.ends[1], slow.body.data(), slow.body.size()),
              static_cast<ssize_t>(slow.body.size()));
    wait_until("ls /dev/shm | grep -q .");
    usleep(200'000);
    for (const int number : {SIGPIPE, SIGHUP, SIGXFSZ, ending}) kill(process, number);
    if (ending == no_signal) close(body.ends[1]);
    EXPECT_EQ(wait_for(process), 255);
    std::array<char, 64> text{};
    EXPECT_GT(read(page.ends[0], text.data(), text.size()), 0);
    EXPECT_STREQ(text.data(), undecodable.c_str());
    EXPECT_EQ(list_folder("/dev/shm"), lines{});
  }
}

TEST(Hostile, AnAnswerThatIsReadSlowlyIsWhole) {
  const std::string csv(300'000, 'c');
  write_file("/tmp/import.csv", csv);
  pipe_ends answer;
  ASSERT_EQ(fcntl(answer.ends[1], F_SETFL, O_NONBLOCK), 0);
  const int no_body = open("/dev/null", O_RDONLY | O_CLOEXEC);
  const pid_t process = start_program(get("CMD=GET_CSV_IMPORT"), no_body, answer.ends[1]);
  close(answer.ends[1]);
  wait_until("[ -s /var/log/tools.log ]");
  usleep(300'000);
  std::string seen;
  std::array<char, 65536> block;
  for (ssize_t length = 0; (length = read(answer.ends[0], block.data(), block.size())) > 0;) {
    seen.append(block.data(), static_cast<std::size_t>(length));
  }
  EXPECT_TRUE(seen == page("GET_CSV_IMPORT", csv));
  EXPECT_EQ(wait_for(process), 0);
}

// It would end by SIGPIPE ahead of its work.
TEST(Hostile, AToolThatTalksToAClientThatLeftDoesItsWork) {
  plant_tool("ast_send_event", "echo event; echo $2 > /var/link");
  pipe_ends pipe;
  std::array<int, 2> sockets{};
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets.data()), 0);
  for (const auto& [out, reader] : {std::pair{pipe.ends[1], pipe.ends[0]}, {sockets[0], sockets[1]}}) {
    write_file("/var/link", "");
    const int no_body = open("/dev/null", O_RDONLY | O_CLOEXEC);
    close(reader);
    EXPECT_EQ(wait_for(start_program(get("CMD=GET_NODES"), no_body, out)), 0);
    EXPECT_EQ(read_file("/var/link"), "e_reconnect\n");
  }
}
