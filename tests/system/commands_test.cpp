// The commands that answer from files, and the frame around them.

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>

#include "support/files.hpp"
#include "support/program.hpp"

// If it fails, another command runs than the client named, or the page names another one.
TEST(Frame, ShowsTheCommandAsReadAndMatchesItExactly) {
  struct row {
    std::string query, shown;
    std::string link = "running\n";  // afterwards
  };
  for (const row& row : {
           row{"", "", "stopped\n"},
           {"CMD=", ""},
           {"cmd=GET_NODES", "", "stopped\n"},
           {"XCMD=GET_NODES", ""},
           {"CMD=GET_NODES+", "GET_NODES "},
           {"CMD=update_firmware", "update_firmware", "stopped\n"},
           {"CMD=%3Cb%3E%0D%0A", "<b>\n"},
       }) {
    EXPECT_EQ(run_program(get(row.query)).out, page(row.shown, "<p>No command supplied</p>\n")) << row.query;
    EXPECT_EQ(read_file("/var/link"), row.link) << row.query;
  }
}

// If it fails, clients see other lines than the unit listed.
TEST(GetNodes, PassesNodeLinesOnUnchanged) {
  const std::string piece(255, '7');
  write_file("/tmp/nodes.txt",
             "IP Name\n1.2.3.4 a\r\n0.1 zero\n 5 blank\nName x\nIPv6\n\n9" + piece + "x\n8");
  // The last node line is 257 characters long: its second piece begins with a digit, its third does not come.
  EXPECT_EQ(body_of("GET_NODES"), "Device Listing:\nIP Name\n1.2.3.4 a\r\nIPv6\n9" + piece + "x\n8");
  write_file("/tmp/nodes.txt", "9" + std::string(254, 'n') + "x dropped\n");
  EXPECT_EQ(body_of("GET_NODES"), "Device Listing:\n9" + std::string(254, 'n'));
}

// If it fails, clients read other totals, or another CSV, than the discovery left.
TEST(GetCsvDiscover, SummaryLosesTildesAtItsVeryEndOnly) {
  for (const auto& [info, summary] : std::map<std::string, std::string>{
           {"Total=2~~~\nmore", "Total=2~~~\n"},
           {"a~b~", "a~b"},
           {"~~~", ""},
           {"", "---"},
           {std::string(255, 'x') + "~", std::string(255, 'x')},
           {std::string(254, 'x') + "~y", std::string(254, 'x')},
       }) {
    write_file("/tmp/discover.info", info);
    EXPECT_EQ(body_of("GET_CSV_DISCOVER"),
              "DISCOVERED CSV DATA: " + summary + "\nNo Discover CSV File Present\n");
  }
  std::filesystem::remove("/tmp/discover.info");
  const std::string csv = "a,b\r\n" + std::string(5000, 'v') + std::string("\0\xFF\n~~~", 6);
  write_file("/tmp/discover.csv", csv);
  EXPECT_EQ(body_of("GET_CSV_DISCOVER"), csv);
}

// If it fails, pages offer no update although there is an import.
TEST(CheckImportCsvStatus, TestsForExistenceOnly) {
  std::filesystem::create_directory("/tmp/import.csv");
  EXPECT_EQ(body_of("CHECK_IMPORT_CSV_STATUS"), "true");
  EXPECT_EQ(body_of("GET_CSV_IMPORT"), "");
}

// If it fails, words of a tool come before the header, or the list of nodes has more than clients read.
TEST(DiscoverDevices, KeepsTwoWordsALineAndToolsWriteAfterTheHeader) {
  write_file("/var/nodes", "10.77.1.1 UNIT-002 TX610\n0.1 zero\n");
  plant_tool("ast_send_event", "echo event");
  EXPECT_EQ(run_program(get("CMD=DISCOVER_DEVICES")).out, page("DISCOVER_DEVICES", "") + "event\n");
  EXPECT_EQ(read_file("/tmp/nodes.txt"), "IP Name\n10.77.1.1 UNIT-002\n0.1 zero\n");
}
