// The commands that answer from files, and the frame around them.

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "support/files.hpp"
#include "support/program.hpp"

namespace {

std::string body_of(const std::string& command) {
  return run_program(get("CMD=" + command)).out;
}

}  // namespace

TEST(Frame, ShowsTheCommandAsReadAndMatchesItExactly) {
  const std::string long_name = "GET_NODES" + std::string(300, 'x');
  struct row {
    std::string query;
    std::string shown;
  };
  for (const row& row : {
           row{"CMD=", ""},
           {"cmd=GET_NODES", ""},
           {"XCMD=GET_NODES", ""},
           {"CMD=get_nodes", "get_nodes"},
           {"CMD=GET_NODES+", "GET_NODES "},
           {"CMD=update_firmware", "update_firmware"},
           {"CMD=%3Cb%3E%25s%0D%0A$(reboot)", "<b>%s\n$(reboot)"},
           {"CMD=" + long_name, long_name.substr(0, 254)},
       }) {
    EXPECT_EQ(run_program(get(row.query)).out, page(row.shown, "<p>No command supplied</p>\n")) << row.query;
  }
}

TEST(GetNodes, PassesNodeLinesOnUnchanged) {
  const std::string piece(255, '7');
  write_file("/tmp/nodes.txt",
             "IP Name\n1.2.3.4 a\r\n0.1 zero\n 5 blank\nName x\nIPv6\n\n9" + piece + "x\n8");
  // The last node line is 257 characters long: its second piece begins with a digit, its third does not come.
  EXPECT_EQ(body_of("GET_NODES"),
            page("GET_NODES", "Device Listing:\nIP Name\n1.2.3.4 a\r\nIPv6\n9" + piece + "x\n8"));
  write_file("/tmp/nodes.txt", "9" + std::string(254, 'n') + "x dropped\n");
  EXPECT_EQ(body_of("GET_NODES"), page("GET_NODES", "Device Listing:\n9" + std::string(254, 'n')));
}

TEST(GetCsvDiscover, SummaryLosesTildesAtItsVeryEndOnly) {
  struct row {
    std::string info;
    std::string line;
  };
  for (const row& row : {
           row{"Total=2&Ecount=1&Dcount=1~~~", "DISCOVERED CSV DATA: Total=2&Ecount=1&Dcount=1\n"},
           {"Total=2~~~\nmore", "DISCOVERED CSV DATA: Total=2~~~\n\n"},
           {"a~b~", "DISCOVERED CSV DATA: a~b\n"},
           {"~~~", "DISCOVERED CSV DATA: \n"},
           {"", "DISCOVERED CSV DATA: ---\n"},
           {std::string(255, 'x') + "~", "DISCOVERED CSV DATA: " + std::string(255, 'x') + "\n"},
           {std::string(254, 'x') + "~y", "DISCOVERED CSV DATA: " + std::string(254, 'x') + "\n"},
       }) {
    write_file("/tmp/discover.info", row.info);
    EXPECT_EQ(body_of("GET_CSV_DISCOVER"),
              page("GET_CSV_DISCOVER", row.line + "No Discover CSV File Present\n"))
        << row.info;
  }
  std::filesystem::remove("/tmp/discover.info");
  const std::string csv = "a,b\r\n" + std::string(5000, 'v') + std::string("\0\xFF\n~~~", 6);
  write_file("/tmp/discover.csv", csv);
  EXPECT_EQ(body_of("GET_CSV_DISCOVER"), page("GET_CSV_DISCOVER", csv));
}

TEST(CheckImportCsvStatus, TestsForExistenceOnly) {
  std::filesystem::create_directory("/tmp/import.csv");
  EXPECT_EQ(body_of("CHECK_IMPORT_CSV_STATUS"), page("CHECK_IMPORT_CSV_STATUS", "true"));
  EXPECT_EQ(body_of("GET_CSV_IMPORT"), page("GET_CSV_IMPORT", ""));
  std::filesystem::remove("/tmp/import.csv");
  EXPECT_EQ(body_of("GET_CSV_IMPORT"), page("GET_CSV_IMPORT", "No Import CSV File Present\n"));
}

TEST(DiscoverEncoders, LinksTheSplashImageOnce) {
  write_file("/share/default.jpg", "image");
  for (int run = 0; run < 2; ++run) {
    const answer got = run_program(get("CMD=DISCOVER_ENCODERS"));
    EXPECT_EQ(got.out, page("DISCOVER_ENCODERS", "MYSELF,10.77.0.1,239.77.0.1\n"));
    EXPECT_EQ(got.err, "Request Method: GET\n");
    EXPECT_EQ(list_folder("/www/images"), lines{"default.jpg"});
    EXPECT_EQ(read_file("/www/images/default.jpg"), "image");
  }
}

// A tool that talks must not push its words before the header.
TEST(DiscoverDevices, OutputOfAToolStandsBehindTheHeader) {
  plant_tool("ast_send_event", "echo event");
  EXPECT_EQ(run_program(get("CMD=DISCOVER_DEVICES")).out, page("DISCOVER_DEVICES", "") + "event\n");
}
