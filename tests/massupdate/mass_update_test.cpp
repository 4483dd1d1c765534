#include "massupdate/mass_update.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "discovery/discovery_state.hpp"
#include "massupdate/import.hpp"
#include "support/answer.hpp"
#include "support/program.hpp"

namespace {

const std::string keys = "UNIT.SERIAL\nIP.ADDRESS\nUNIT.ID\nVW.NAME\n";
const std::string header = "UNIT.SERIAL,IP.ADDRESS,UNIT.ID,VW.NAME\r\n";

// Units with these faults, a row each, with serials and addresses by row. Their CSV gives each an id.
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

// The lines of an exchange, each cut where its command would just fit.
std::string steps(const lines& texts) {
  std::string log = " Inside handle_device_update_reply() 0 \n";
  for (const std::string& text : texts) {
    log += " " + ("Inside handle_device_update_reply() " + text).substr(0, 1473) + " \n";
  }
  return log;
}

std::string named(int row, const std::string& result) {
  const std::string number = std::to_string(row);
  return "UNIT.ID=N" + number + "&UNIT.SERIAL=S" + number + "&" + result;
}

lines confirmed(const std::string& reply) {
  return {"Got Reply A: " + reply, "Sent SAVE", "Got Reply B: " + reply, "Sent REBOOT", "Got Reply C"};
}

}  // namespace

// If it fails, a unit that refused counts as updated, or one that took its settings as failed. The first 1500
// bytes of a reply count.
TEST(MassUpdate, ARefusalEndsTheExchange) {
  const std::string x(1489, 'x');
  struct row {
    std::string faults;
    const char* word;
    lines log;
  };
  const std::vector<row> rows{
      {",,,", "OK", confirmed(named(0, "API=SUCCESS"))},
      {",status,,", "OK", confirmed(named(1, "API.STATUS=SUCCESS"))},
      {"set,,,", "FAIL", {"Got Reply A: UNIT.SERIAL=S2&API=FAIL", "UPDATE Reply FAILED  23/0x00"}},
      {"save,,,",
       "FAIL",
       {"Got Reply A: " + named(3, "API=SUCCESS"), "Sent SAVE", "Got Reply B: " + named(3, "API=FAIL"),
        "SAVE Reply FAILED  34/0x00"}},
      {",,3,", "OK", confirmed(named(4, "API=SUCCESS"))},
      {",,,$(reboot)", "FAIL", {"Got Reply A: $(reboot)", "UPDATE Reply FAILED  9/0x00"}},
      {",,,API=SUCCESS|", "FAIL", {"Got Reply A: API=SUCCESS", "Sent SAVE"}},
      {",,,|", "FAIL", {"No UPDATE Reply 0/0x00"}},
      {",,," + x + "API=SUCCESS", "OK", confirmed(x)},
      {",,," + x + "xAPI=SUCCESS", "FAIL", {"Got Reply A: " + x, "UPDATE Reply FAILED  1500/0x00"}},
  };
  lines faults;
  std::string results;
  for (const row& row : rows) {
    results += result(static_cast<int>(faults.size()), row.word);
    faults.push_back(row.faults);
  }
  const site units{"SIM.REFUSE_AT,SIM.ACK_SPELLING,SIM.DUPLICATE,SIM.ACKNOWLEDGE_WITH", faults};
  EXPECT_EQ(update(units.csv), results);
  for (std::size_t i = 0; i < rows.size(); ++i) {
    EXPECT_EQ(exchange_log(static_cast<int>(i)), steps(rows[i].log));
  }
}

// If it fails, the late answer to one unit's update passes for that of the next unit.
TEST(MassUpdate, AnAnswerCountsWithinFiveSecondsOnly) {
  const site units{"SIM.LATE_MS,SIM.SILENT_AT", {"5300,", "4600,", ",save", ",reboot"}};
  EXPECT_EQ(update(units.csv), result(0, "FAIL") + result(1, "OK") + result(2, "FAIL") + result(3, "FAIL"));
  EXPECT_EQ(exchange_log(0), steps({"No UPDATE Reply -1/0x0b"}));
  EXPECT_EQ(exchange_log(1), steps(confirmed(named(1, "API=SUCCESS"))));
  EXPECT_EQ(exchange_log(2), steps({"Got Reply A: " + named(2, "API=SUCCESS"), "Sent SAVE"}));
  lines log = confirmed(named(3, "API=SUCCESS"));
  log.pop_back();
  EXPECT_EQ(exchange_log(3), steps(log));
  EXPECT_EQ(read_file("/tmp/fleet.log").find("10.77.1.1 CMD=START&UNIT.ID=ALL"), std::string::npos);
}

// If it fails, save and reboot do not go to the address and port that the last answer came from.
TEST(MassUpdate, SaveAndRebootGoToWhoeverAnswers) {
  const site units{"SIM.ANSWER_FROM", {"10.77.1.2", ""}};
  EXPECT_EQ(update(header + "S0,10.77.9.9,N0,\r\n"), "Update Device #0 @ 10.77.9.9 Result is OK\n");
  EXPECT_EQ(read_file("/tmp/fleet.log"),
            "226.0.0.19 CMD=START&UNIT.ID=S0&UNIT.SET_ID=N0&CMD=END\n"
            "10.77.1.2 CMD=START&UNIT.ID=ALL&SAVE=TRUE&CMD=END\n"
            "10.77.1.2 CMD=START&UNIT.ID=ALL&REBOOT=TRUE&CMD=END\n");
}

// If it fails, the unit configures itself over the network, or sends rows that contradict each other.
TEST(MassUpdate, SkipsItselfFirstThenDuplicates) {
  const site units{"SIM.DELAY_MS", {"", "", ""}};
  plant_tool("astparam", "echo \"astparam $*\" >> /var/log/tools.log; printf 'me\\r\\n'");
  const std::string csv = header +
                          "S0,10.77.1.1,N0,\r\nME,10.77.1.2,x,\r\nS2,10.77.1.3,N2,\r\nME,10.77.1.4,y,\r\n" +
                          "S9,10.77.1.5,z,\r\ns9,10.77.1.6,a,\r\n";
  EXPECT_EQ(update(csv),
            result(0, "OK") + "Skipping Myself #1 \n" + result(2, "OK") + "Skipping Myself #3 \n");
  const std::string log = read_file("/tmp/site.log");
  EXPECT_TRUE(
      log.starts_with(" Starting send_csv_to_devices()...6 \n     BEGIN duplicate_check_vdt(): \n"
                      "     SKIP duplicate_check_vdt(): NO VDT \n     BEGIN duplicate_check_kvp(): \n"))
      << log;
  EXPECT_TRUE(
      log.ends_with("  Skipping send_device_update(3) this is ME... \n"
                    "  Skipping send_device_update(4)... Duplicate Data Detected(0x04/0x00)) \n"
                    "  Skipping send_device_update(5)... Duplicate Data Detected(0x04/0x00)) \n"))
      << log;
  EXPECT_EQ(shell_output("grep -c 'astparam g UNIT.SERIAL' /var/log/tools.log"), "6\n");
  EXPECT_EQ(read_file("/www/site.log"), log);
}

// If it fails, a unit does not know its own row. An empty serial is that of a unit that reports none.
TEST(MassUpdate, OwnSerialIsWhatTheToolPrints) {
  plant_tool("astparam", "exit 1");
  EXPECT_EQ(update("IP.ADDRESS,UNIT.SERIAL\r\n10.77.1.1,\r\n"), "Skipping Myself #0 \n");
  const std::string s63(63, 's');
  plant_tool("astparam", "printf %s " + s63 + "more");
  EXPECT_EQ(update("UNIT.SERIAL,VW.NAME\r\n" + s63 + ",\r\n"), "Skipping Myself #0 \n");
}
