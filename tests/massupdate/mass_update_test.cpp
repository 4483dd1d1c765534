#include "massupdate/mass_update.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "discovery/discovery_state.hpp"
#include "massupdate/import.hpp"
#include "support/answer.hpp"
#include "support/program.hpp"

namespace {

using namespace std::chrono_literals;

const std::string keys = "UNIT.SERIAL\nIP.ADDRESS\nUNIT.ID\nVW.NAME\n";
const std::string header = "UNIT.SERIAL,IP.ADDRESS,UNIT.ID,VW.NAME\r\n";

// Units of the site, a row each: the serial, the address 10.77.1.<row>, the faults. Their CSV gives each an id.
struct site {
  explicit site(const std::string& fault_columns, const lines& rows) {
    std::string units = "UNIT.SERIAL,IP.ADDRESS," + fault_columns + "\r\n";
    for (std::size_t i = 0; i < rows.size(); ++i) {
      const std::string serial = "S" + std::to_string(i);
      const std::string address = "10.77.1." + std::to_string(i + 1);
      units += serial + "," + address + "," + rows[i] + "\r\n";
      csv += serial + "," + address + ",N" + std::to_string(i) + ",\r\n";
    }
    write_file("/tmp/units.csv", units);
    start_fleet("--units /tmp/units.csv --ack-spelling api --log /tmp/fleet.log");
  }

  std::string csv = header;
};

// Imports and sends the CSV. Returns the lines of the page.
std::string update(const std::string& csv) {
  caught_answer page;
  import(keys, csv);
  EXPECT_EQ(send_csv_to_devices(), 0);
  kvp_free();
  return page.take();
}

std::string result(int row, const char* word) {
  const std::string number = std::to_string(row);
  return "Update Device #" + number + " @ 10.77.1." + std::to_string(row + 1) + " Result is " + word + "\n";
}

// What the site log says of the exchange with the unit in that row.
std::string exchange_log(int row) {
  const std::string log = read_file("/tmp/site.log");
  const std::string call = "  Calling send_device_update(" + std::to_string(row) + ")... \n";
  const std::size_t begin = log.find(" Inside", log.find(call));
  return log.substr(begin, log.find("  Calling", begin) - begin);
}

std::string steps(const lines& texts) {
  std::string log = " Inside handle_device_update_reply() 0 \n";
  for (const std::string& text : texts) log += " Inside handle_device_update_reply() " + text + " \n";
  return log;
}

const std::string start_and_checks =
    "     BEGIN duplicate_check_vdt(): \n     SKIP duplicate_check_vdt(): NO VDT \n"
    "     BEGIN duplicate_check_kvp(): \n";

}  // namespace

TEST(MassUpdate, RefusalsAndDuplicatesEndWhereTheyStand) {
  const site units{
      "SIM.REFUSE_AT,SIM.ACK_SPELLING,SIM.DUPLICATE,SIM.ACKNOWLEDGE_WITH",
      {",,,", ",status,,", "set,,,", "save,,,", ",,3,", ",,,garbage", ",,,API=SUCCESS|", "set,status,,"}};
  EXPECT_EQ(update(units.csv), result(0, "OK") + result(1, "OK") + result(2, "FAIL") + result(3, "FAIL") +
                                   result(4, "OK") + result(5, "FAIL") + result(6, "FAIL") +
                                   result(7, "FAIL"));
  const auto confirmed = [](const std::string& number, const std::string& spelling) {
    const std::string reply = "UNIT.ID=N" + number + "&UNIT.SERIAL=S" + number + "&" + spelling + "=SUCCESS";
    return steps(
        {"Got Reply A: " + reply, "Sent SAVE", "Got Reply B: " + reply, "Sent REBOOT", "Got Reply C"});
  };
  EXPECT_EQ(exchange_log(0), confirmed("0", "API"));
  EXPECT_EQ(exchange_log(1), confirmed("1", "API.STATUS"));
  EXPECT_EQ(exchange_log(2), steps({"Got Reply A: UNIT.SERIAL=S2&API=FAIL", "UPDATE Reply FAILED  23/0x00"}));
  EXPECT_EQ(exchange_log(3),
            steps({"Got Reply A: UNIT.ID=N3&UNIT.SERIAL=S3&API=SUCCESS", "Sent SAVE",
                   "Got Reply B: UNIT.ID=N3&UNIT.SERIAL=S3&API=FAIL", "SAVE Reply FAILED  34/0x00"}));
  EXPECT_EQ(exchange_log(4), confirmed("4", "API"));
  EXPECT_EQ(exchange_log(5), steps({"Got Reply A: garbage", "UPDATE Reply FAILED  7/0x00"}));
  EXPECT_EQ(exchange_log(6), steps({"Got Reply A: API=SUCCESS", "Sent SAVE"}));
  EXPECT_EQ(exchange_log(7),
            steps({"Got Reply A: UNIT.SERIAL=S7&API.STATUS=FAIL", "UPDATE Reply FAILED  30/0x00"}));
}

TEST(MassUpdate, SilenceIsWaitedForFiveSeconds) {
  const site units{"SIM.SILENT_AT", {"set", "save", "reboot", ""}};
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(update(units.csv), result(0, "FAIL") + result(1, "FAIL") + result(2, "FAIL") + result(3, "OK"));
  EXPECT_GE(std::chrono::steady_clock::now() - start, 14900ms);
  EXPECT_EQ(exchange_log(0), steps({"No UPDATE Reply -1/0x0b"}));
  EXPECT_EQ(exchange_log(1), steps({"Got Reply A: UNIT.ID=N1&UNIT.SERIAL=S1&API=SUCCESS", "Sent SAVE"}));
  EXPECT_EQ(exchange_log(2), steps({"Got Reply A: UNIT.ID=N2&UNIT.SERIAL=S2&API=SUCCESS", "Sent SAVE",
                                    "Got Reply B: UNIT.ID=N2&UNIT.SERIAL=S2&API=SUCCESS", "Sent REBOOT"}));
}

// The late answer to one unit's update does not reach the next unit's exchange.
TEST(MassUpdate, AnAnswerCountsWithinFiveSecondsOnly) {
  const site units{"SIM.LATE_MS", {"5300", "4600", ""}};
  EXPECT_EQ(update(units.csv), result(0, "FAIL") + result(1, "OK") + result(2, "OK"));
  EXPECT_EQ(exchange_log(1).find("S0"), std::string::npos) << exchange_log(1);
  EXPECT_EQ(read_file("/tmp/fleet.log").find("10.77.1.1 CMD=START&UNIT.ID=ALL"), std::string::npos);
}

// Save and reboot follow the answers: they go to the address and port that the last one came from.
TEST(MassUpdate, SaveAndRebootGoToWhoeverAnswers) {
  const site units{"SIM.ANSWER_FROM", {"10.77.1.2", ""}};
  EXPECT_EQ(update(header + "S0,10.77.9.9,N0,\r\n"), "Update Device #0 @ 10.77.9.9 Result is OK\n");
  const std::string log = read_file("/tmp/fleet.log");
  EXPECT_EQ(log,
            "226.0.0.19 CMD=START&UNIT.ID=S0&UNIT.SET_ID=N0&CMD=END\n"
            "10.77.1.2 CMD=START&UNIT.ID=ALL&SAVE=TRUE&CMD=END\n"
            "10.77.1.2 CMD=START&UNIT.ID=ALL&REBOOT=TRUE&CMD=END\n");
}

TEST(MassUpdate, SkipsItselfFirstThenDuplicates) {
  const site units{"SIM.DELAY_MS", {"", "", ""}};
  plant_tool("astparam", "echo \"astparam $*\" >> /var/log/tools.log; printf 'me\\r\\n'");
  const std::string csv = header +
                          "S0,10.77.1.1,N0,\r\nME,10.77.1.2,x,\r\nS2,10.77.1.3,N2,\r\nME,10.77.1.4,y,\r\n" +
                          "S9,10.77.1.5,z,\r\ns9,10.77.1.6,a,\r\n";
  EXPECT_EQ(update(csv),
            result(0, "OK") + "Skipping Myself #1 \n" + result(2, "OK") + "Skipping Myself #3 \n");
  const std::string log = read_file("/tmp/site.log");
  EXPECT_TRUE(log.starts_with(" Starting send_csv_to_devices()...6 \n" + start_and_checks)) << log;
  EXPECT_TRUE(
      log.ends_with("  Skipping send_device_update(3) this is ME... \n"
                    "  Skipping send_device_update(4)... Duplicate Data Detected(0x04/0x00)) \n"
                    "  Skipping send_device_update(5)... Duplicate Data Detected(0x04/0x00)) \n"))
      << log;
  EXPECT_EQ(shell_output("grep -c 'astparam g UNIT.SERIAL' /var/log/tools.log"), "6\n");
  EXPECT_EQ(read_file("/www/site.log"), log);
}

// An empty serial equals that of a unit that reports none.
TEST(MassUpdate, OwnSerialIsWhatTheToolPrints) {
  plant_tool("astparam", "exit 1");
  EXPECT_EQ(update("IP.ADDRESS,UNIT.SERIAL\r\n10.77.1.1,\r\n"), "Skipping Myself #0 \n");
  const std::string s63(63, 's');
  plant_tool("astparam", "printf %s " + s63 + "more");
  EXPECT_EQ(update("UNIT.SERIAL,VW.NAME\r\n" + s63 + ",\r\n"), "Skipping Myself #0 \n");
}

TEST(MassUpdate, NoRecordsAndNoMemoryForThem) {
  EXPECT_EQ(update(header), "");
  EXPECT_EQ(read_file("/tmp/site.log"), " Starting send_csv_to_devices()...0 \n" + start_and_checks +
                                            "     END duplicate_check_kvp(): \n");
  import(keys, header + "S0,,,\r\nS1,,,\r\n");
  kvp_free();
  caught_answer page;
  EXPECT_EQ(send_csv_to_devices(), 0);
  EXPECT_EQ(page.take(), "Not enough memory for 2 records, nothing is sent\n");
  EXPECT_TRUE(read_file("/tmp/site.log").ends_with("  Not enough memory for 2 records, nothing is sent \n"));
}
