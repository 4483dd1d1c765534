// Requests and clients at a bad moment, or hostile ones: the right answer, no hang, no file left.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <string>
#include <utility>

#include "support/files.hpp"
#include "support/program.hpp"

namespace {

struct pipe_ends {
  explicit pipe_ends(int flags = 0) { EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC | flags), 0); }
  std::array<int, 2> ends{};
};

}  // namespace

// If it fails, two requests change the unit at once while pidof prints nothing, not even this process.
TEST(Guard, AnEmptyProcessListRefuses) {
  request blind = get("CMD=GET_NODES");
  blind.environment["PATH"] = "/usr/local/bin:/bin";
  plant_tool("pidof", "exit 1");
  EXPECT_EQ(run_program(blind).out, refusal(busy_message));
}

// If it fails, a unit without a shell refuses every request.
TEST(Guard, AQueryThatCannotBeStartedAdmits) {
  std::filesystem::rename("/bin/sh", "/bin/no_sh");
  EXPECT_EQ(run_program(get("CMD=GET_NODES")).out, page("GET_NODES", "No Nodes Detected\n"));
  EXPECT_EQ(run_program(get("CMD=DISCOVER_ENCODERS")).out, page("DISCOVER_ENCODERS", ""));
}

// If it fails, uploads of killed requests fill the RAM, or files of other programs are deleted.
TEST(Guard, AnAdmittedRequestRemovesTheUploadsOfKilledOnes) {
  const lines others{"cgicABC.12", "cgicABC123x", "cgi-uploadABC123", "cgixABC123"};
  for (const std::string& name : others) write_file("/dev/shm/" + name, "kept");
  std::filesystem::create_directory("/dev/shm/cgicFolder");
  write_file("/dev/shm/cgicABC123", "left");
  plant_tool("pidof", "[ $1 = update_fw.sh ] && echo 7 || echo 8");
  request sent = get("CMD=GET_NODES");
  sent.environment["PATH"] = "/usr/local/bin:/bin";
  EXPECT_EQ(run_program(sent).out, refusal(updating_message));
  EXPECT_EQ(read_file("/dev/shm/cgicABC123"), "left");
  std::filesystem::remove("/usr/local/bin/pidof");
  EXPECT_EQ(run_program(get("CMD=GET_NODES")).out, page("GET_NODES", "No Nodes Detected\n"));
  for (const std::string& name : others) EXPECT_EQ(read_file("/dev/shm/" + name), "kept") << name;
  EXPECT_TRUE(std::filesystem::exists("/dev/shm/cgicFolder"));
  EXPECT_FALSE(std::filesystem::exists("/dev/shm/cgicABC123"));
}

// If it fails, two requests run at once, or a slow body is cut because its pipe does not block.
TEST(Guard, AnotherRequestWhoseBodyIsStillArrivingRefuses) {
  const pipe_ends body{O_NONBLOCK};
  const int out = open("/tmp/first.answer", O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  const pid_t first = start_program(post("CMD=GET_NODES"), body.ends[0], out);
  wait_until("[ -s /var/log/tools.log ]");
  EXPECT_EQ(run_program(get("CMD=GET_NODES")).out, refusal(busy_message));
  ASSERT_EQ(write(body.ends[1], "CMD=GET_NODES", 13), 13);
  EXPECT_EQ(wait_for(first), 0);
  EXPECT_EQ(read_file("/tmp/first.answer"), page("GET_NODES", "No Nodes Detected\n"));
}

// If it fails, a client that asks again at once is refused, because the first process is still there.
TEST(Guard, ARequestRightAfterAnotherIsServed) {
  request cut = post("CMD=GET_NODES");
  cut.environment["CONTENT_LENGTH"] = "100";
  for (const request& first : {get("CMD=GET_NODES"), cut}) {
    const pipe_ends answer;
    const int no_body = open("/dev/null", O_RDONLY | O_CLOEXEC);
    const pid_t process = start_program(first, no_body, answer.ends[1]);
    close(answer.ends[1]);
    for (char byte = 0; read(answer.ends[0], &byte, 1) == 1;) continue;
    EXPECT_EQ(run_program(get("CMD=GET_NODES")).out, page("GET_NODES", "No Nodes Detected\n"));
    wait_for(process);
  }
}

// If it fails, odd variables or fields end the program without an answer.
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

// If it fails, a large announcement ends the program without an answer, or takes the memory of the unit.
TEST(Hostile, AnAnnouncedLengthBeyondTheMemoryIsADecodingFailure) {
  request huge = post("CMD=GET_NODES");
  huge.environment["CONTENT_LENGTH"] = "2147483647";
  huge.environment["ASAN_OPTIONS"] = "allocator_may_return_null=1:max_allocation_size_mb=64";
  std::string text;
  for (int i = 0; i < 6'000'000; ++i) text += "a&";
  request fields = post(text);
  // The sanitizer needs an address space of its own; there its own limit replaces that of the small unit.
  if (is_sanitized()) fields = huge;
  if (!is_sanitized()) huge.shell_prefix = fields.shell_prefix = "ulimit -v 131072; exec";
  EXPECT_EQ(run_program(huge).out, undecodable);
  EXPECT_EQ(run_program(fields).out, undecodable);
}

// If it fails, a tool that never stops writing runs for ever, because it inherited the server's SIGPIPE.
TEST(Hostile, ATalkativeToolEndsEvenWhereTheServerIgnoresAndBlocksPipes) {
  plant_tool("qelparam", "while true; do echo 64; done");
  sigset_t pipes;
  sigemptyset(&pipes);
  sigaddset(&pipes, SIGPIPE);
  sigprocmask(SIG_BLOCK, &pipes, nullptr);
  std::signal(SIGPIPE, SIG_IGN);
  EXPECT_EQ(run_program(get("CMD=DISCOVER_DECODERS")).out, page("DISCOVER_DECODERS", ""));
}

// If it fails, a lost client or a signal leaves half an upload in RAM, or half an upload is used.
TEST(Hostile, ABodyThatStopsComingIsADecodingFailure) {
  std::signal(SIGTERM, SIG_IGN);
  request slow = post("--b\r\nContent-Disposition: form-data; name=file; filename=f\r\n\r\n" +
                          std::string(50'000, 'u') + "\r\n--b",
                      "multipart/form-data; boundary=b");
  slow.environment["CONTENT_LENGTH"] = "100000";
  constexpr int no_signal = 0;  // the end of the body
  for (const int ending :
       {SIGTERM, SIGINT, SIGQUIT, SIGXCPU, SIGALRM, SIGUSR1, SIGUSR2, SIGABRT, no_signal}) {
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

// If it fails, the next request on the same stream loses its first bytes.
TEST(Hostile, ABodyIsReadToItsLengthAndNotBeyond) {
  const std::string part = "--b\r\nContent-Disposition: form-data; name=CMD\r\n\r\nGET_NODES\r\n--b--\r\n";
  for (const request& sent : {post("CMD=GET_NODES"), post(part, "multipart/form-data; boundary=b")}) {
    pipe_ends body;
    pipe_ends page;
    const std::string stream = sent.body + "the next one's";
    ASSERT_EQ(write(body.ends[1], stream.data(), stream.size()), static_cast<ssize_t>(stream.size()));
    close(body.ends[1]);
    EXPECT_EQ(wait_for(start_program(sent, body.ends[0], page.ends[1])), 0);
    std::array<char, 64> left{};
    EXPECT_GT(read(body.ends[0], left.data(), left.size()), 0);
    EXPECT_STREQ(left.data(), "the next one's");
  }
}

// If it fails, a client that reads slowly gets a cut page.
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

// If it fails, a client that left stops the link for good: SIGPIPE ends the tool before it sends the event.
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
