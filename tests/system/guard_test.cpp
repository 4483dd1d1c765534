// Admission: who is refused and who is served, in the cases that a smoke test does not show.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <string>

#include "support/files.hpp"
#include "support/program.hpp"

// A process list that does not even hold this process cannot be trusted.
TEST(Guard, AnEmptyProcessListRefuses) {
  request blind = get("CMD=GET_NODES");
  blind.environment["PATH"] = "/usr/local/bin:/bin";
  plant_tool("pidof", "exit 1");
  EXPECT_EQ(run_program(blind).out, refusal(busy_message));
}

// Without a shell no query can be started: that counts as finding nothing.
TEST(Guard, AQueryThatCannotBeStartedAdmits) {
  std::filesystem::rename("/bin/sh", "/bin/no_sh");
  EXPECT_EQ(run_program(get("CMD=GET_NODES")).out, page("GET_NODES", "No Nodes Detected\n"));
  EXPECT_EQ(run_program(get("CMD=DISCOVER_ENCODERS")).out, page("DISCOVER_ENCODERS", ""));
}

// Also where the server has asked for reads that do not wait.
TEST(Guard, AnotherRequestWhoseBodyIsStillArrivingRefuses) {
  std::array<int, 2> body{};
  ASSERT_EQ(pipe2(body.data(), O_CLOEXEC | O_NONBLOCK), 0);
  const int out = open("/tmp/first.answer", O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  const pid_t first = start_program(post("CMD=GET_NODES"), body[0], out);
  wait_until("[ -s /var/log/tools.log ]");
  EXPECT_EQ(run_program(get("CMD=GET_NODES")).out, refusal(busy_message));
  ASSERT_EQ(write(body[1], "CMD=GET_NODES", 13), 13);
  EXPECT_EQ(wait_for(first), 0);
  EXPECT_EQ(read_file("/tmp/first.answer"), page("GET_NODES", "No Nodes Detected\n"));
}

// Its answer is at its end, so its client may ask again, though its server has not noticed yet that it is
// dead.
TEST(Guard, ARequestRightBehindAnotherIsServed) {
  request cut = post("CMD=GET_NODES");
  cut.environment["CONTENT_LENGTH"] = "100";
  for (const request& first : {get("CMD=GET_NODES"), cut}) {
    std::array<int, 2> answer{};
    ASSERT_EQ(pipe2(answer.data(), O_CLOEXEC), 0);
    const int no_body = open("/dev/null", O_RDONLY | O_CLOEXEC);
    const pid_t process = start_program(first, no_body, answer[1]);
    close(answer[1]);
    for (char byte = 0; read(answer[0], &byte, 1) == 1;) continue;
    EXPECT_EQ(run_program(get("CMD=GET_NODES")).out, page("GET_NODES", "No Nodes Detected\n"));
    wait_for(process);
  }
}
