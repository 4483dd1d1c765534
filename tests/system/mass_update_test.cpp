// The mass configuration of a site by the built program.

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "support/files.hpp"
#include "support/program.hpp"

namespace {

// What the fleet heard of settings, saves and reboots.
std::string orders() {
  return shell_output("grep -v QUERY /tmp/fleet.log");
}

}  // namespace

// If it fails, a site that is discovered, edited as a CSV and updated is not what the CSV says.
TEST(MassUpdate, ASiteBecomesWhatItsCsvSays) {
  start_fleet("--log /tmp/fleet.log --self --count 23 --reboot-ms 500");
  body_of("DISCOVER_DEVICES_API");
  const std::string site = read_file("/www/site.csv");
  // This unit's own row stays; of one unit, the static address changes.
  EXPECT_EQ(
      shell_output(
          R"(sed '3,$ { s/,UNIT-0/,Hall-0/; s/,239.77./,239.88./; s/,Room 3,FALSE,1,/,"Wall, left",FALSE,1,/
                    s/-17,10.77.1.9,/-17,10.77.2.9,/ }' /www/site.csv > /tmp/wanted.csv; wc -l < /tmp/wanted.csv)"),
      "25\n");
  EXPECT_EQ(run_program(post_file("CSV_IMPORT", shell_output("tr -d '\\r' < /tmp/wanted.csv"))).out,
            page("CSV_IMPORT", "<p>Importing csv</p>\n"));
  write_file("/tmp/discover.csv", "old");
  EXPECT_EQ(body_of("PERFORM_CSV_IMPORT"), "");
  EXPECT_EQ(orders(), "");
  EXPECT_EQ(read_file("/tmp/discover.csv"), site);
  EXPECT_EQ(read_file("/tmp/import2.csv"), site.substr(0, site.find('\n') + 1));
  EXPECT_EQ(
      body_of("PERFORM_CSV_UPDATE"),
      "Skipping Myself #0 \n" +
          shell_output(
              R"(awk -F, 'NR > 2 {printf "Update Device #%d @ %s Result is OK\n", NR - 2, $1}' /tmp/wanted.csv)"));

  usleep(600'000);
  body_of("DISCOVER_DEVICES_API");
  EXPECT_EQ(read_file("/www/site.csv"), shell_output("head -1 /tmp/wanted.csv; tail -n +2 /tmp/wanted.csv | "
                                                     "sed 's/^10.77.1.9,/10.77.2.9,/' | LC_ALL=C sort"));
}

// If it fails, a CSV larger than the memory updates some units, or ends the program without an answer.
TEST(MassUpdate, WithoutMemoryForTheRecordsNothingIsSent) {
  start_fleet("--log /tmp/fleet.log --count 1");
  std::string many = "UNIT.SERIAL,UNIT.ID\r\n";
  for (int i = 0; i < 1'000'000; ++i) many += "KU000002," + std::string(60, 'A') + "\r\n";
  write_file("/tmp/2.csv", "UNIT.SERIAL,UNIT.ID\r\nKU000002,A\r\n" + std::string(400'000'000, 'x') + "\r\n");
  write_file("/tmp/1000000.csv", many);
  request update = get("CMD=PERFORM_CSV_UPDATE");
  update.environment["ASAN_OPTIONS"] = "allocator_may_return_null=1:max_allocation_size_mb=64";
  // The sanitizer needs an address space of its own; there its own limit replaces that of the small unit.
  if (!is_sanitized()) update.shell_prefix = "ulimit -v 262144; exec";
  for (const std::string records : {"2", "1000000"}) {
    std::filesystem::rename("/tmp/" + records + ".csv", "/tmp/import.csv");
    const std::string line = "Not enough memory for " + records + " records, nothing is sent";
    EXPECT_EQ(run_program(update).out, page("PERFORM_CSV_UPDATE", line + "\n"));
    EXPECT_TRUE(read_file("/tmp/site.log").ends_with("  " + line + " \n"));
  }
  EXPECT_EQ(orders(), "");
}

// If it fails, a noisy unit's datagrams decide the results of the rows after its own.
TEST(MassUpdate, AStrangersNoiseStaysWithItsRow) {
  std::string flood;
  for (int i = 0; i < 300; ++i) flood += "|API=SUCCESS";
  const std::string units = "UNIT.SERIAL,IP.ADDRESS,SIM.ACKNOWLEDGE_WITH\r\n";
  write_file("/var/units.csv", units + "S0,10.77.1.1,noise" + flood + "\r\nS1,10.77.1.2,API=SUCCESS" + flood +
                                   "\r\nS2,10.77.1.3,\r\n");
  start_fleet("--units /var/units.csv --reboot-ms 0 --log /tmp/fleet.log");
  write_file("/tmp/import.csv", "UNIT.SERIAL,UNIT.ID\r\nS0,a\r\nS1,b\r\nS2,c\r\n");
  EXPECT_EQ(body_of("PERFORM_CSV_UPDATE"),
            "Update Device #0 @  Result is FAIL\nUpdate Device #1 @  Result is OK\n"
            "Update Device #2 @  Result is OK\n");
  EXPECT_EQ(read_file("/var/link"), "running\n");
}
