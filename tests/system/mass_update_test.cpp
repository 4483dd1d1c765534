// The mass configuration of a site by the built program.

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
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

lines rows_of(const std::string& csv) {
  lines rows;
  for (std::size_t at = 0, end = 0; (end = csv.find("\r\n", at)) != std::string::npos; at = end + 2) {
    rows.push_back(csv.substr(at, end - at));
  }
  return rows;
}

std::string text_of(const lines& rows) {
  std::string csv;
  for (const std::string& row : rows) csv += row + "\n";
  return csv;
}

// What a command writes between the top and the end of its page.
std::string body_of(const std::string& command) {
  const std::string got = run_program(get("CMD=" + command)).out;
  const std::string frame = page(command, "|");
  const std::size_t begin = frame.find('|');
  return got.substr(begin, got.size() - (frame.size() - 1));
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
  lines rows = rows_of(read_file("/www/site.csv"));
  ASSERT_EQ(rows.size(), 25U);
  const std::string myself = rows[1];
  std::string results = "Skipping Myself #0 \n";
  for (std::size_t i = 1; i < rows.size(); ++i) {
    std::string row = replaced(replaced(rows[i], ",UNIT-0", ",Hall-0"), ",239.77.", ",239.88.");
    row = replaced(row, ",Room 3,FALSE,1,", ",\"Wall, left\",FALSE,1,");
    rows[i] = replaced(row, "-17,10.77.1.9,", "-17,10.77.2.9,");  // the static address
    const std::string address = row.substr(0, row.find(','));
    if (i > 1) results += "Update Device #" + std::to_string(i - 1) + " @ " + address + " Result is OK\n";
  }
  EXPECT_EQ(run_program(post_file("CSV_IMPORT", text_of(rows))).out,
            page("CSV_IMPORT", "<p>Importing csv</p>\n"));
  EXPECT_EQ(body_of("PERFORM_CSV_IMPORT"), "");
  EXPECT_EQ(orders(), "");
  EXPECT_EQ(read_file("/tmp/import2.csv"), rows[0] + "\r\n");
  EXPECT_EQ(body_of("PERFORM_CSV_UPDATE"), results);

  usleep(600'000);
  rows[1] = myself;
  for (std::string& row : rows) {
    if (row.starts_with("10.77.1.9,")) row.replace(0, 9, "10.77.2.9");
  }
  std::sort(rows.begin() + 1, rows.end());
  ASSERT_EQ(run_program(get("CMD=DISCOVER_DEVICES_API")).status, 0);
  EXPECT_EQ(rows_of(read_file("/www/site.csv")), rows);
}

// Whatever is imported: no crash, and no unit is touched that the CSV does not name.
TEST(MassUpdate, WhatIsNoCsvTouchesNoUnit) {
  start_fleet("--log /tmp/fleet.log --count 3");
  const auto starting = [](int records) {
    return " Starting send_csv_to_devices()..." + std::to_string(records) + " \n";
  };
  EXPECT_EQ(body_of("PERFORM_CSV_UPDATE"), "");
  EXPECT_TRUE(read_file("/tmp/site.log").starts_with(starting(0)));
  EXPECT_EQ(read_file("/tmp/discover.info"), "Total=3&Ecount=2&Dcount=1~~~\n");
  write_file("/tmp/import.csv", "IP.ADDRESS,UNIT.ID,UNIT.SERIAL\r\n");
  EXPECT_EQ(body_of("PERFORM_CSV_UPDATE"), "");
  std::string binary("UNIT.SERIAL\0,UNIT.ID\xFF\r\n", 23);
  for (int i = 1; i < 40'000; ++i) binary += static_cast<char>(i * i % 256 == '\n' ? 'x' : i * i % 256);
  write_file("/tmp/import.csv", binary + "\r\n,\xFF,\"\x01\",\r\n");
  binary = read_file("/tmp/import.csv");
  EXPECT_EQ(body_of("PERFORM_CSV_UPDATE"),
            "Update Device #0 @  Result is FAIL\nUpdate Device #1 @  Result is FAIL\n");
  EXPECT_EQ(replaced(orders(), "226.0.0.19 CMD=START&UNIT.ID=&CMD=END\n", ""), "");
  EXPECT_EQ(read_file("/tmp/import.csv"), binary);
}

TEST(MassUpdate, WithoutMemoryForTheRecordsNothingIsSent) {
  start_fleet("--log /tmp/fleet.log --count 1");
  std::string csv = "UNIT.SERIAL,UNIT.ID\r\n";
  for (int i = 0; i < 1'000'000; ++i) csv += "KU000002," + std::to_string(i) + "\r\n";
  write_file("/tmp/import.csv", csv);
  write_file("/tmp/long.csv",
             "UNIT.SERIAL,UNIT.ID\r\nKU000002,A\r\n" + std::string(400'000'000, 'x') + "\r\n");
  request update = get("CMD=PERFORM_CSV_UPDATE");
  update.environment["ASAN_OPTIONS"] = "allocator_may_return_null=1:max_allocation_size_mb=64";
  // The sanitizer needs an address space of its own; there its own limit stands for the small unit's memory.
  constexpr rlimit small_unit{256U << 20U, 256U << 20U};
  if (!is_sanitized()) {
    ASSERT_EQ(setrlimit(RLIMIT_AS, &small_unit), 0);
  }
  const std::string all = "Not enough memory for 1000000 records, nothing is sent\n";
  EXPECT_EQ(run_program(update).out, page("PERFORM_CSV_UPDATE", all));
  std::filesystem::rename("/tmp/long.csv", "/tmp/import.csv");
  const std::string two = "Not enough memory for 2 records, nothing is sent\n";
  EXPECT_EQ(run_program(update).out, page("PERFORM_CSV_UPDATE", two));
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
  write_file("/tmp/import.csv", "UNIT.SERIAL,UNIT.ID\r\nS0,a\r\nS1,b\r\nS2,c\r\nS3,d\r\nS4,e\r\n");
  const std::string result = " @  Result is ";
  EXPECT_EQ(body_of("PERFORM_CSV_UPDATE"), "Update Device #0" + result + "FAIL\nUpdate Device #1" + result +
                                               "OK\nUpdate Device #2" + result + "FAIL\nUpdate Device #3" +
                                               result + "FAIL\nUpdate Device #4" + result + "OK\n");
  EXPECT_EQ(read_file("/var/link"), "running\n");
}
