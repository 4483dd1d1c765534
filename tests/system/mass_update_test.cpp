// The mass configuration of a site by the built program.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>

#include "support/files.hpp"
#include "support/program.hpp"

namespace {

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
  return text;
}

lines lines_of(const std::string& text) {
  lines found;
  std::istringstream stream{text};
  for (std::string line; std::getline(stream, line);) found.push_back(line);
  return found;
}

// What the fleet heard of settings, saves and reboots.
std::string orders() {
  return shell_output("grep -v QUERY /tmp/fleet.log");
}

}  // namespace

// The whole story: discover a site, edit its CSV, upload it, update, discover again.
TEST(MassUpdate, ASiteBecomesWhatItsCsvSays) {
  start_fleet("--log /tmp/fleet.log --self --count 23 --reboot-ms 500");
  ASSERT_EQ(run_program(get("CMD=DISCOVER_DEVICES_API")).status, 0);
  lines rows = lines_of(read_file("/www/site.csv"));
  ASSERT_EQ(rows.size(), 25U);
  std::string uploaded = replaced(rows[0] + "\n" + rows[1], "\r", "") + "\n";
  std::string results = "Skipping Myself #0 \n";
  for (std::size_t i = 2; i < rows.size(); ++i) {
    std::string row = replaced(replaced(rows[i], ",UNIT-0", ",Hall-0"), ",239.77.", ",239.88.");
    row = replaced(row, ",Room 3,FALSE,1,", ",\"Wall, left\",FALSE,1,");
    row = replaced(row, "-17,10.77.1.9,", "-17,10.77.2.9,");  // the static address
    const std::string address = row.substr(0, row.find(','));
    results += "Update Device #" + std::to_string(i - 1) + " @ " + address + " Result is OK\n";
    uploaded += replaced(row, "\r", "\n");
    rows[i] = address == "10.77.1.9" ? replaced(row, address + ",", "10.77.2.9,") : row;
  }
  EXPECT_EQ(run_program(post_file("CSV_IMPORT", uploaded)).out, page("CSV_IMPORT", "<p>Importing csv</p>\n"));
  EXPECT_EQ(body_of("PERFORM_CSV_IMPORT"), "");
  EXPECT_EQ(orders(), "");
  EXPECT_EQ(read_file("/tmp/import2.csv"), rows[0] + "\n");
  EXPECT_EQ(body_of("PERFORM_CSV_UPDATE"), results);

  usleep(600'000);
  std::sort(rows.begin() + 1, rows.end());
  ASSERT_EQ(run_program(get("CMD=DISCOVER_DEVICES_API")).status, 0);
  EXPECT_EQ(lines_of(read_file("/www/site.csv")), rows);
}

// Whatever is imported: no crash, and no unit is touched that the CSV does not name.
TEST(MassUpdate, WhatIsNoCsvTouchesNoUnit) {
  start_fleet("--log /tmp/fleet.log --count 3");
  EXPECT_EQ(body_of("PERFORM_CSV_UPDATE"), "");
  EXPECT_TRUE(read_file("/tmp/site.log").starts_with(" Starting send_csv_to_devices()...0 \n"));
  EXPECT_EQ(read_file("/tmp/discover.info"), "Total=3&Ecount=2&Dcount=1~~~\n");
  std::string binary("UNIT.SERIAL\0,UNIT.ID\xFF\r\n", 23);
  for (int i = 1; i < 40'000; ++i) binary += static_cast<char>(i * i % 256 == '\n' ? 'x' : i * i % 256);
  binary += "\r\n,\xFF,\"\x01\",\r\n";
  write_file("/tmp/import.csv", binary);
  EXPECT_EQ(body_of("PERFORM_CSV_UPDATE"),
            "Update Device #0 @  Result is FAIL\nUpdate Device #1 @  Result is FAIL\n");
  EXPECT_EQ(replaced(orders(), "226.0.0.19 CMD=START&UNIT.ID=&CMD=END\n", ""), "");
  EXPECT_EQ(read_file("/tmp/import.csv"), binary);
}

TEST(MassUpdate, WithoutMemoryForTheRecordsNothingIsSent) {
  start_fleet("--log /tmp/fleet.log --count 1");
  std::string many = "UNIT.SERIAL,UNIT.ID\r\n";
  for (int i = 0; i < 1'000'000; ++i) many += "KU000002,A\r\n";
  write_file("/tmp/2.csv", "UNIT.SERIAL,UNIT.ID\r\nKU000002,A\r\n" + std::string(400'000'000, 'x') + "\r\n");
  write_file("/tmp/1000000.csv", many);
  request update = get("CMD=PERFORM_CSV_UPDATE");
  update.environment["ASAN_OPTIONS"] = "allocator_may_return_null=1:max_allocation_size_mb=64";
  // The sanitizer needs an address space of its own; there its own limit stands for the small unit's memory.
  if (!is_sanitized()) update.starter = "ulimit -v 262144; exec";
  for (const std::string records : {"2", "1000000"}) {
    std::filesystem::rename("/tmp/" + records + ".csv", "/tmp/import.csv");
    EXPECT_EQ(run_program(update).out,
              page("PERFORM_CSV_UPDATE", "Not enough memory for " + records + " records, nothing is sent\n"));
  }
  EXPECT_EQ(orders(), "");
}

// The first three datagrams decide, whoever sends them; what else one row's strangers send is not the next
// row's.
TEST(MassUpdate, AStrangersNoiseStaysWithItsRow) {
  std::string flood;
  for (int i = 0; i < 300; ++i) flood += "|API=SUCCESS";
  write_file("/var/units.csv",
             "UNIT.SERIAL,IP.ADDRESS,SIM.ACKNOWLEDGE_WITH,SIM.ANSWER_FROM\r\n"
             "S0,10.77.1.1,noise" +
                 flood +
                 ",\r\n"
                 "S1,10.77.1.2,API=SUCCESS" +
                 flood +
                 ",\r\n"
                 "S2,10.77.1.3,API=FAIL,\r\n"
                 "S3,10.77.1.4,,127.9.9.9\r\n"
                 "S4,10.77.1.5,,\r\n");
  start_fleet("--units /var/units.csv --reboot-ms 0 --log /tmp/fleet.log");
  std::string csv = "UNIT.SERIAL,UNIT.ID\r\n";
  std::string results;
  for (const std::string number : {"0", "1", "2", "3", "4"}) {
    csv += "S" + number + "," + number + "\r\n";
    results +=
        "Update Device #" + number + " @  Result is " + (number == "1" || number == "4" ? "OK\n" : "FAIL\n");
  }
  write_file("/tmp/import.csv", csv);
  EXPECT_EQ(body_of("PERFORM_CSV_UPDATE"), results);
  EXPECT_EQ(read_file("/var/link"), "running\n");
}
