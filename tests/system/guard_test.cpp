// Admission: who is refused, with which page, and what the link is told.

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "support/files.hpp"
#include "support/program.hpp"

namespace {

const std::string busy = "&HANDLER=ERROR handler.cgi only supports one concurrent request, try again.\n";
const std::string updating = "&HANDLER=ERROR Firmware Update In Progress, try again later.\n";

// Starts a process of that name, which stays until the box ends.
void start_process(const std::string& name) {
  write_file("/tmp/" + name, "#!/bin/sh\nsleep 60\n");
  ASSERT_EQ(std::system(("chmod +x /tmp/" + name + "; /tmp/" + name + " & for i in $(seq 100); do pidof " +
                         name + " && exit 0; sleep 0.1; done; exit 1")
                            .c_str()),
            0);
}

std::string refusal() {
  const std::string out = run_program(get("CMD=GET_NODES")).out;
  const std::size_t center = out.find("<Center>\n");
  return center == std::string::npos ? out : out.substr(center + 9, out.find("</Center>") - center - 9);
}

}  // namespace

TEST(Guard, FirmwareUpdateRefusesAndTheOtherRequestIsNamedFirst) {
  start_process("update_fw.sh");
  EXPECT_EQ(refusal(), updating);
  start_process("handler.cgi");
  EXPECT_EQ(refusal(), busy);
  EXPECT_EQ(tool_calls(), lines{});
  EXPECT_EQ(read_file("/tmp/dbgCGI.log"), "(missing)");
}

// A process list that does not even hold this process cannot be trusted.
TEST(Guard, AnEmptyProcessListRefuses) {
  request blind = get("CMD=GET_NODES");
  blind.environment["PATH"] = "/usr/local/bin:/bin";
  plant_tool("pidof", "exit 1");
  EXPECT_NE(run_program(blind).out.find(busy), std::string::npos);
}

TEST(Guard, ReconnectsAfterEveryCommandButAFirmwareUpdate) {
  struct row {
    const char* query;
    bool reconnects;
  };
  for (const row& row : {
           row{"CMD=GET_NODES", true},
           {"CMD=NONSENSE", true},
           {"CMD=", true},
           {"CMD=UPDATE_FIRMWARE", false},
           {"CMD=Update_Firmware", false},
           {"cmd=GET_NODES", false},
       }) {
    write_file("/var/log/tools.log", "");
    EXPECT_EQ(run_program(get(row.query)).status, 0);
    lines calls{"ast_send_event -1 e_stop_link"};
    if (row.reconnects) calls.emplace_back("ast_send_event -1 e_reconnect");
    EXPECT_EQ(tool_calls(), calls) << row.query;
  }
}
