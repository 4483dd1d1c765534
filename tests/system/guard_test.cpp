// Admission: who is refused, with which page, and what the link is told.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "support/files.hpp"
#include "support/program.hpp"

namespace {

const std::string updating = "&HANDLER=ERROR Firmware Update In Progress, try again later.\n";

// Starts a process of that name, which stays until the box ends.
void start_process(const std::string& name) {
  write_file("/tmp/" + name, "#!/bin/sh\nsleep 60\n");
  ASSERT_EQ(std::system(("chmod +x /tmp/" + name + "; /tmp/" + name + " & for i in $(seq 100); do pidof " +
                         name + " && exit 0; sleep 0.1; done; exit 1")
                            .c_str()),
            0);
}

void expect_refusal(const request& sent, const std::string& message) {
  const answer got = run_program(sent);
  EXPECT_EQ(got.status, 0);
  EXPECT_EQ(got.out, refusal(message));
  EXPECT_EQ(tool_calls(), lines{});
  EXPECT_EQ(read_file("/tmp/dbgCGI.log"), "(missing)");
}

}  // namespace

TEST(Guard, FirmwareUpdateRefusesAndTheOtherRequestIsNamedFirst) {
  start_process("update_fw.sh");
  expect_refusal(get("CMD=GET_NODES"), updating);
  start_process("handler.cgi");
  expect_refusal(post("CMD=GET_NODES"), busy_message);
}

// A process list that does not even hold this process cannot be trusted.
TEST(Guard, AnEmptyProcessListRefuses) {
  request blind = get("CMD=GET_NODES");
  blind.environment["PATH"] = "/usr/local/bin:/bin";
  plant_tool("pidof", "exit 1");
  expect_refusal(blind, busy_message);
}

// Without a shell no query can be started: that counts as finding nothing.
TEST(Guard, AQueryThatCannotBeStartedAdmits) {
  std::filesystem::rename("/bin/sh", "/bin/no_sh");
  EXPECT_EQ(run_program(get("CMD=GET_NODES")).out, page("GET_NODES", "No Nodes Detected\n"));
  EXPECT_EQ(run_program(get("CMD=DISCOVER_ENCODERS")).out, page("DISCOVER_ENCODERS", ""));
}

TEST(Guard, AnotherRequestWhoseBodyIsStillArrivingRefuses) {
  std::array<int, 2> body{};
  ASSERT_EQ(pipe2(body.data(), O_CLOEXEC), 0);
  const int out = open("/tmp/first.answer", O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  const pid_t first = start_program(post("CMD=GET_NODES"), body[0], out);
  for (int look = 0; look < 3000 && tool_calls().empty(); ++look) usleep(10'000);
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

TEST(Guard, ReconnectsAfterEveryCommandButAFirmwareUpdate) {
  const std::string upload = "CMD=UPDATE_FIRMWARE";
  struct row {
    std::string query;
    bool reconnects;
  };
  for (const row& row : {
           row{"CMD=GET_NODES", true},
           {"CMD=NONSENSE", true},
           {"CMD=", true},
           {upload, false},
           {"CMD=Update_Firmware", false},
           {"cmd=GET_NODES", false},
       }) {
    write_file("/var/log/tools.log", "");
    EXPECT_EQ(run_program(get(row.query)).status, 0);
    lines calls{"ast_send_event -1 e_stop_link"};
    if (row.query == upload) calls.emplace_back("ast_send_event -1 e_stop_link");
    if (row.reconnects) calls.emplace_back("ast_send_event -1 e_reconnect");
    EXPECT_EQ(tool_calls(), calls) << row.query;
  }
}
