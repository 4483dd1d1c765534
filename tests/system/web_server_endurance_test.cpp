// The program started by a real web server for long: too slow for every day.

#include <gtest/gtest.h>

#include <string>

#include "support/files.hpp"
#include "support/program.hpp"
#include "support/web_server.hpp"

namespace {

const std::string url = "http://127.0.0.1:8080/cgi-bin/handler.cgi";

struct Endurance : testing::Test {
  Endurance() { start_web_server(); }
};

// Waits until no process of a request is left, not even a dead one. Returns what is left after a minute.
std::string left_processes() {
  return shell_output(
      "for i in $(seq 600); do left=$(pidof handler.cgi; grep -e handler.cgi -e 'request done' -e "
      "ast_send_event "
      "-e 'State:.Z' /proc/[0-9]*/status 2> /dev/null); [ -n \"$left\" ] || exit; sleep 0.1; done; "
      "echo \"left after a minute: $left\"");
}

}  // namespace

// If it fails, requests in a row are refused, or leave processes.
TEST_F(Endurance, AThousandRequestsInARowAreAllServed) {
  const std::string whole = page("CHECK_IMPORT_CSV_STATUS", "false");
  std::string expected;
  for (int i = 0; i < 500; ++i) expected += whole.substr(whole.find("<HTML>"));
  for (const char* connections : {"keep-alive", "close"}) {
    const std::string got = shell_output(std::string{"curl -s -H 'Connection: "} + connections + "' '" + url +
                                         "?CMD=CHECK_IMPORT_CSV_STATUS&n=[1-500]'");
    EXPECT_TRUE(got == expected) << connections << " " << got.size() << " " << got.substr(0, 1000);
  }
  EXPECT_EQ(left_processes(), "");
  EXPECT_EQ(read_file("/var/link"), "running\n");
}

// If it fails, a client that leaves ends the update of a site, as some servers kill the program then.
TEST_F(Endurance, AMassUpdateOutlivesItsClient) {
  std::string units = "UNIT.SERIAL,IP.ADDRESS,SIM.SILENT_AT\r\n";
  std::string csv = "UNIT.SERIAL,UNIT.ID\r\n";
  for (int i = 0; i < 12; ++i) {
    const std::string number = std::to_string(i);
    units += "S" + number + ",10.77.1." + number + (i == 10 ? ",set\r\n" : ",\r\n");
    csv += "S" + number + ",Hall " + number + "\r\n";
  }
  write_file("/var/units.csv", units);
  write_file("/tmp/import.csv", csv);
  start_fleet("--units /var/units.csv --delay-ms 50");
  EXPECT_NE(shell_output("curl -s -N '" + url + "?CMD=PERFORM_CSV_UPDATE' | grep -m 1 Result").find("#0"),
            std::string::npos);
  EXPECT_EQ(read_file("/tmp/site.log").find("send_device_update(11)"), std::string::npos);
  EXPECT_EQ(left_processes(), "");
  EXPECT_EQ(shell_output("grep -c 'Got Reply C' /tmp/site.log"), "11\n");
  EXPECT_EQ(read_file("/var/link"), "running\n");
}
