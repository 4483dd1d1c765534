// Requests and clients that mean no good: always the given answer, never a hang, nothing left behind.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <string>
#include <utility>

#include "support/files.hpp"
#include "support/program.hpp"

namespace {

// Waits until the tools were called that often, for at most 30 s.
void wait_for_calls(std::size_t count) {
  for (int look = 0; look < 3000 && tool_calls().size() < count; ++look) usleep(10'000);
}

struct pipe_ends {
  explicit pipe_ends(int flags = 0) { EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC | flags), 0); }
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
  const bool sanitized = is_sanitized();
  if (!sanitized) {
    ASSERT_EQ(setrlimit(RLIMIT_AS, &small_unit), 0);
  }
  const answer got = run_program(huge);
  EXPECT_EQ(got.status, 255);
  EXPECT_EQ(got.out, undecodable);
  if (sanitized) return;
  std::string fields;
  for (int i = 0; i < 6'000'000; ++i) fields += "a&";
  EXPECT_EQ(run_program(post(fields)).out, got.out);
}

// What a server ignores or blocks, its programs inherit.
TEST(Hostile, ATalkativeToolEndsEvenWhereTheServerIgnoresOrBlocksPipes) {
  plant_tool("qelparam", "while true; do echo 64; done");
  sigset_t pipes;
  sigemptyset(&pipes);
  sigaddset(&pipes, SIGPIPE);
  sigprocmask(SIG_BLOCK, &pipes, nullptr);
  EXPECT_EQ(run_program(get("CMD=DISCOVER_DECODERS")).out, page("DISCOVER_DECODERS", ""));
  sigprocmask(SIG_UNBLOCK, &pipes, nullptr);
  std::signal(SIGPIPE, SIG_IGN);
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
    int ending;  // the signal, 0 for the end of the body
  };
  for (const row& row : {
           row{"CMD", "application/x-www-form-urlencoded", SIGTERM},
           {"CMD", "application/x-www-form-urlencoded", 0},
           {upload, multipart, SIGTERM},
           {upload, multipart, SIGINT},
           {upload, multipart, SIGQUIT},
           {upload, multipart, SIGXCPU},
           {upload, multipart, SIGALRM},
           {upload, multipart, SIGUSR1},
           {upload, multipart, SIGUSR2},
           {upload, multipart, 0},
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
    if (row.ending != 0) kill(process, row.ending);
    if (row.ending == 0) close(body.ends[1]);
    EXPECT_EQ(wait_for(process), 255);
    std::array<char, 64> text{};
    EXPECT_GT(read(page.ends[0], text.data(), text.size()), 0);
    EXPECT_STREQ(text.data(), undecodable.c_str());
    EXPECT_EQ(list_folder("/dev/shm"), lines{});
  }
}

// Also where the server has asked for reads that do not wait.
TEST(Hostile, ABodyThatComesSlowlyIsWhole) {
  const std::string part = "--b\r\nContent-Disposition: form-data; name=CMD\r\n\r\nNONSENSE\r\n--b--";
  for (const request& slow : {post("CMD=NONSENSE"), post(part, "multipart/form-data; boundary=b")}) {
    pipe_ends body{O_NONBLOCK};
    pipe_ends page;
    const pid_t process = start_program(slow, body.ends[0], page.ends[1]);
    for (const char byte : slow.body) {
      ASSERT_EQ(write(body.ends[1], &byte, 1), 1);
      usleep(10'000);
    }
    EXPECT_EQ(wait_for(process), 0);
    EXPECT_NE(read_file("/tmp/dbgCGI.log").find("\tCMD=NONSENSE\n"), std::string::npos);
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
  wait_for_calls(1);
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
