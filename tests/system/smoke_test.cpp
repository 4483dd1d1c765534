// The main path of the built program, short enough for a slow emulated one.

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "support/files.hpp"
#include "support/program.hpp"

namespace {

const lines admitted{"ast_send_event -1 e_stop_link"};

lines admitted_then(const lines& calls) {
  lines all = admitted;
  all.insert(all.end(), calls.begin(), calls.end());
  return all;
}

}  // namespace

TEST(Smoke, OneRequestFromStartToExit) {
  const answer got = run_program(get("CMD=GET_NODES&x=%24(touch+/tmp/owned)"));
  EXPECT_EQ(got.status, 0);
  EXPECT_EQ(got.out, page("GET_NODES", "No Nodes Detected\n"));
  EXPECT_EQ(got.err, "Request Method: GET\n");
  EXPECT_EQ(read_file("/tmp/dbgCGI.log"),
            "cgic main() before cgiOnCalled() CMD=GET_NODES&x=%24(touch+/tmp/owned)\n"
            "\tCMD=GET_NODES\n"
            "\tAbout to Call cgiMain() _%p_\n"
            "\tAbout to Call cgiOnClose()\n");
  EXPECT_EQ(tool_calls(), admitted_then({"ast_send_event -1 e_reconnect"}));
  EXPECT_EQ(read_file("/var/link"), "running\n");
  EXPECT_EQ(list_folder("/tmp"), (lines{"dbgCGI.log"}));
  EXPECT_EQ(list_folder("/dev/shm"), lines{});
}

TEST(Smoke, ARequestWithoutACommandLeavesTheLinkStopped) {
  const answer got = run_program({});
  EXPECT_EQ(got.status, 0);
  EXPECT_EQ(got.out, page("", "<p>No command supplied</p>\n"));
  EXPECT_EQ(got.err, "Request Method: \n");
  EXPECT_EQ(tool_calls(), admitted);
}

TEST(Smoke, AnUndecodableBodyEndsTheRequest) {
  request cut = post("CMD=GET_NODES");
  cut.environment["CONTENT_LENGTH"] = "2147483647";
  const answer got = run_program(cut);
  EXPECT_EQ(got.status, 255);
  EXPECT_EQ(got.out, "Status: 500 Error reading form data\r\n\r\n");
  EXPECT_EQ(tool_calls(), admitted);
  EXPECT_EQ(list_folder("/tmp"), lines{});
}

TEST(Smoke, NodesAndImportedFile) {
  write_file("/var/nodes", "10.77.1.1 UNIT-002 TX610 more\n0.1 zero\n");
  EXPECT_EQ(run_program(post("CMD=DISCOVER_DEVICES")).out, page("DISCOVER_DEVICES", ""));
  EXPECT_EQ(tool_calls(), admitted_then({"node_list", "ast_send_event -1 e_reconnect"}));
  EXPECT_EQ(read_file("/tmp/nodes.txt"), "IP Name\n10.77.1.1 UNIT-002\n0.1 zero\n");
  EXPECT_EQ(run_program(get("CMD=GET_NODES")).out,
            page("GET_NODES", "Device Listing:\nIP Name\n10.77.1.1 UNIT-002\n"));
  EXPECT_EQ(run_program(get("CMD=CHECK_IMPORT_CSV_STATUS")).out, page("CHECK_IMPORT_CSV_STATUS", "false"));
  write_file("/tmp/import.csv", "a,b\r\n1,2\r\n");
  EXPECT_EQ(run_program(get("CMD=CHECK_IMPORT_CSV_STATUS")).out, page("CHECK_IMPORT_CSV_STATUS", "true"));
  EXPECT_EQ(run_program(get("CMD=GET_CSV_IMPORT")).out, page("GET_CSV_IMPORT", "a,b\r\n1,2\r\n"));
}

TEST(Smoke, ListsTheSimulatedFleet) {
  write_file("/tmp/units.csv",
             "UNIT.SERIAL,UNIT.MODEL,UNIT.ID,IP.ADDRESS,STREAM.ADDRESS,STREAM.HOST,VW.NAME\r\n"
             "K1,TX610,Desk,10.77.1.1,239.1.1.1,,\r\n"
             "K2,KestR-2,Wall,10.77.1.2,,10.77.1.1,\"Wall, left\"\r\n");
  start_fleet("--units /tmp/units.csv");
  EXPECT_EQ(run_program(get("CMD=DISCOVER_DECODERS")).out,
            page("DISCOVER_DECODERS", "Wall,10.77.1.2,10.77.1.1,Wall, left\n"));
  EXPECT_EQ(tool_calls(), admitted_then({"qelparam g UNIT.MCD_TTL", "qelparam g UNIT.MCD_MODE",
                                         "ast_send_event -1 e_reconnect"}));
  EXPECT_EQ(list_folder("/www/images"), lines{});
  write_file("/var/log/tools.log", "");
  EXPECT_EQ(run_program(get("CMD=DISCOVER_ENCODERS")).out,
            page("DISCOVER_ENCODERS", "MYSELF,10.77.0.1,239.77.0.1\nDesk,10.77.1.1,239.1.1.1\n"));
  EXPECT_EQ(tool_calls(),
            admitted_then({"qelparam g UNIT.MCD_TTL", "qelparam g UNIT.MCD_MODE", "astparam g STREAM.HOST",
                           "astparam g STREAM.ADDRESS", "ast_send_event -1 e_reconnect"}));
  EXPECT_EQ(read_file("/tmp/MCt.log") + read_file("/tmp/MCm.log"), "Using TTL 64\nUsing Mode 1\n");
}

TEST(Smoke, RefusesWhileAnotherRequestRuns) {
  write_file("/tmp/handler.cgi", "#!/bin/sh\nsleep 60\n");
  ASSERT_EQ(std::system("chmod +x /tmp/handler.cgi; /tmp/handler.cgi & "
                        "for i in $(seq 100); do pidof handler.cgi && exit 0; sleep 0.1; done; exit 1"),
            0);
  const answer got = run_program(get("CMD=GET_NODES"));
  EXPECT_EQ(got.status, 0);
  EXPECT_EQ(got.out, refusal(busy_message));
  EXPECT_EQ(got.err, "");
  EXPECT_EQ(tool_calls(), lines{});
}

TEST(Smoke, AnUploadArrivesByteForByte) {
  std::string content = "\r\n--\r\n--a\r\r\n-";
  for (unsigned i = 0; i < 300'000; ++i) content += static_cast<char>(i * i % 251);
  EXPECT_EQ(run_program(post_file("UPDATE_SPLASH", content, "a;b.jpg")).out,
            page("UPDATE_SPLASH", "<p>Updating splash</p>\n"));
  EXPECT_TRUE(read_file("/share/default.jpg") == content);
  EXPECT_EQ(read_file("/www/upload_file.txt"),
            "file name: a;b.jpg\nfile size: " + std::to_string(content.size()) + " bytes\n");
  EXPECT_EQ(list_folder("/dev/shm"), lines{});
}
