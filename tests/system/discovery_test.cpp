// Discovery into CSV by the built program: every file that it leaves, byte for byte, and whole sites at once.

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>

#include "support/files.hpp"
#include "support/program.hpp"

namespace {

const std::string header = "IP.ADDRESS,UNIT.ID,UNIT.MODEL,VW.NAME\r\n";
const std::string decoder_line = "10.77.1.10,Wall,KestR-2,\"Room 1, left\"\r\n";
const std::string encoder_line = "10.77.1.9,Desk,TX610,\r\n";
const std::string csv = header + decoder_line + "10.77.1.11,Plate,T-PL,$(touch /tmp/owned)\r\n" +
                        "10.77.1.12,Stranger,Other,x\r\n" + encoder_line;

// A discovery of nobody, which renews the header alone, then one of four units.
void discover(const std::string& mode) {
  write_file("/var/params/UNIT.MCD_MODE", mode + "\n");
  write_file("/etc/keys.txt", "IP.ADDRESS\nUNIT.ID\nUNIT.MODEL\nQUERY.ALL\nVW.NAME\n");
  write_file("/tmp/discover.info", "old");
  EXPECT_EQ(run_program(get("CMD=DISCOVER_DEVICES_API")).status, 0);
  EXPECT_EQ(read_file("/www/site.csv"), header);
  EXPECT_EQ(read_file("/tmp/discover.info"), "old");
  write_file("/var/units.csv",
             "IP.ADDRESS,UNIT.SERIAL,UNIT.MODEL,UNIT.ID,VW.NAME\r\n"
             "10.77.1.9,K1,TX610,Desk,\r\n"
             "10.77.1.10,K2,KestR-2,Wall,\"Room 1, left\"\r\n"
             "10.77.1.11,K3,T-PL,Plate,$(touch /tmp/owned)\r\n"
             "10.77.1.12,K4,Other,Stranger,x\r\n");
  start_fleet("--units /var/units.csv");
  EXPECT_EQ(run_program(get("CMD=DISCOVER_DEVICES_API")).out, page("DISCOVER_DEVICES_API", ""));
  EXPECT_EQ(read_file("/tmp/discover.csv"), csv);
  EXPECT_EQ(read_file("/www/site.csv"), csv);
  EXPECT_EQ(read_file("/tmp/discover.info"), "Total=4&Ecount=2&Dcount=1~~~\n");
  EXPECT_EQ(read_file("/tmp/encoders.csv"), encoder_line);
  EXPECT_EQ(read_file("/tmp/decoders.csv"), decoder_line);
}

// A log without its clock readings.
std::string without_times(const std::string& path) {
  return shell_output("sed '/Exiting/s/[0-9]//g' " + path);
}

// Whether this machine lets a socket hold that many bytes unread.
bool can_hold(int bytes) {
  const int descriptor = socket(AF_INET, SOCK_DGRAM, 0);
  setsockopt(descriptor, SOL_SOCKET, SO_RCVBUF, &bytes, sizeof bytes);
  int granted = 0;
  socklen_t size = sizeof granted;
  getsockopt(descriptor, SOL_SOCKET, SO_RCVBUF, &granted, &size);
  close(descriptor);
  return granted >= bytes;
}

}  // namespace

// If it fails, a file or log of a one-pass discovery differs from those that integrators read.
TEST(Discovery, OnePassLeavesEveryFile) {
  discover("1");
  EXPECT_EQ(read_file("/tmp/MCm.log"), "Using Mode 1\nRunning Original Discover Mode...\n");
  EXPECT_EQ(without_times("/tmp/MCa.log"), "hsdr() Exiting start: now: loops:\n");
  EXPECT_EQ(read_file("/tmp/mcD.log"),
            "IP=10.77.1.9\nDEBUG MC NORMAL\nIP=10.77.1.10\nDEBUG MC NORMAL\n"
            "IP=10.77.1.11\nDEBUG MC NORMAL\nIP=10.77.1.12\nDEBUG MC NORMAL\n");
  EXPECT_EQ(list_folder("/tmp"),
            (lines{"MCa.log", "MCm.log", "MCt.log", "dbgCGI.log", "decoders.csv", "discover.csv",
                   "discover.info", "encoders.csv", "fleet.out", "mcD.log"}));
}

// If it fails, a file or log of a two-pass discovery differs from those that integrators read.
TEST(Discovery, TwoPassLeavesEveryFile) {
  discover("2");
  EXPECT_EQ(read_file("/tmp/MCm.log"), "Using Mode 2\nRunning 2-Pass Discover Mode...\n");
  // The length of each node file is in the listing made before they were deleted.
  const std::string rounds =
      shell_output(R"(awk '{printf "HANDLER: round %d/4 = 44,%d\n", NR - 1, $5}' /tmp/discover.last)");
  EXPECT_EQ(
      without_times("/tmp/MCb.log"),
      "hsdr() Exiting start: now: loops:\nhsdr() 4 nodes\nHANDLER: count is 4\n" + rounds + "cr() 4 nodes\n");
  EXPECT_EQ(shell_output("wc -l < /tmp/discover.last"), "4\n");
  EXPECT_EQ(read_file("/tmp/owned"), "(missing)");
}

// If it fails, units of a large site are missing from the CSV. All first datagrams come before the second
// ones. No address begins with another one, which the search for a known sender's file would take for it.
TEST(Discovery, TwoThousandUnitsAtOnceLoseNothing) {
  constexpr int units = 2047;
  constexpr int charged_bytes = units * 2 * 1280;  // what the system charges for short datagrams
  write_file("/etc/keys.txt", "IP.ADDRESS\nUNIT.SERIAL\nUNIT.MODEL\nLAST\n");
  std::string rows = "IP.ADDRESS,UNIT.SERIAL,UNIT.MODEL,LAST\r\n";
  for (int i = 0; i < units; ++i) {
    rows += "10.77." + std::to_string(100 + i / 150) + "." + std::to_string(100 + i % 150);
    rows += ",S" + std::to_string(10000 + i) + (i % 2 == 0 ? ",TX610" : ",RX610") + ",L" + std::to_string(i) +
            "\r\n";
  }
  write_file("/tmp/units.csv", rows);
  start_fleet("--units /tmp/units.csv --interleave --split 64 --pace-us " +
              std::string{can_hold(charged_bytes) ? "1" : "300"});
  EXPECT_EQ(run_program(get("CMD=DISCOVER_DEVICES_API")).status, 0);
  EXPECT_TRUE(read_file("/www/site.csv") == rows);
  EXPECT_EQ(shell_output("grep ^IP= /tmp/mcD.log | head -2047 | sort -u | wc -l"), "2047\n");
  EXPECT_EQ(read_file("/tmp/discover.info"), "Total=2047&Ecount=1024&Dcount=1023~~~\n");
}

// If it fails, a hostile unit adds lines, or leaves files.
TEST(Discovery, HostileUnitsOnlyFillTheirOwnLines) {
  start_fleet("--count 60 --hostile --duplicate 2 --split 300 --flood 20");
  EXPECT_EQ(run_program(get("CMD=DISCOVER_DEVICES_API")).status, 0);
  EXPECT_EQ(read_file("/tmp/discover.info").find("Total=60&"), 0U);
  EXPECT_EQ(shell_output("ls /tmp/node_* /tmp/owned 2> /dev/null"), "");
}
