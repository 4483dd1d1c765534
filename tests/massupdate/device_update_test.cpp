#include "massupdate/device_update.hpp"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string>
#include <utility>

#include "discovery/discovery_state.hpp"
#include "massupdate/import.hpp"
#include "massupdate/import_records.hpp"
#include "support/answer.hpp"
#include "support/program.hpp"

namespace {

// One unit, of the serial S1, that takes whatever it is sent.
void start_unit() {
  write_file("/tmp/units.csv", "UNIT.SERIAL,IP.ADDRESS\r\nS1,10.77.1.1\r\n");
  start_fleet("--units /tmp/units.csv --reboot-ms 0 --ack-spelling api --log /tmp/fleet.log");
}

// Imports a CSV of one record and sends it. Returns the message to the group and the line of the page.
std::string sent(const std::string& csv) {
  write_file("/tmp/fleet.log", "");
  write_file("/tmp/site.log", "");
  std::string keys = csv.substr(0, csv.find('\r'));
  std::ranges::replace(keys, ',', '\n');
  import(keys, csv);
  caught_answer page;
  send_device_update(0);
  return shell_output("sed -n 's/^226.0.0.19 //p' /tmp/fleet.log") + page.take();
}

}  // namespace

// If it fails, a unit is sent a setting that its kind does not take, or under the wrong key.
TEST(DeviceUpdate, EachModelGetsItsSettings) {
  start_unit();
  const std::string columns =
      "UNIT.SERIAL,UNIT.MODEL,IP.ADDRESS,IP.STATIC_ADDRESS,UNIT.ID,dante.device_name,VW.NAME,STREAM.BIT_RATE,"
      "AUDIO.DAC_MUTE,IP.VLAN_TAG_EXPANSION,ip.netmask,UNIT.REBOOT,VIDEO.EDID";
  const std::string renamed = "&IP.ADDRESS=10.77.1.5&UNIT.SET_ID=K1&DANTE.SET_DEVICE_NAME=d n";
  const std::string common = "&IP.VLAN_TAG_EXPANSION=7&ip.netmask=m";
  for (const auto& [model, pairs] : {
           std::pair{std::string{"RX610"}, renamed + "&VW.NAME=a,b" + common},
           {"TX610", renamed + "&STREAM.BIT_RATE=9" + common},
           {"KestT-PL", renamed + "&STREAM.BIT_RATE=9&AUDIO.DAC_MUTE=1" + common},
           {"kestr-2", renamed + "&VW.NAME=a,b&AUDIO.DAC_MUTE=1" + common},
           {"Other", renamed},
       }) {
    const std::string cells = ",10.0.0.9,10.77.1.5,K1,d n,\"a,b\",9,1,7,m,TRUE,\r\n";
    EXPECT_EQ(sent(columns + "\r\nS1," + model + cells),
              "CMD=START&UNIT.ID=S1" + pairs + "&CMD=END\nUpdate Device #0 @ 10.0.0.9 Result is OK\n")
        << model;
    EXPECT_EQ(discovery_socket, -1);
  }
  const caught_answer page;
  EXPECT_EQ(send_device_update(0), 8);
}

// If it fails, more columns are sent than the unit has keys: their number is the bound.
TEST(DeviceUpdate, ColumnsBeyondTheKeysOfTheUnitAreNotSent) {
  import("UNIT.SERIAL\nUNIT.ID\n", "UNIT.SERIAL,MY_,UNIT.ID\r\nS1,x,K1\r\n");
  const caught_answer page;
  EXPECT_EQ(send_device_update(0), 0);
  EXPECT_NE(read_file("/tmp/site.log").find("\nCMD=START&UNIT.ID=S1&CMD=END {28}\n"), std::string::npos);
}

// If it fails, a unit sets a cut value.
TEST(DeviceUpdate, AMessageIsSentWholeOrNotAtAll) {
  start_unit();
  std::string header = "UNIT.SERIAL,UNIT.MODEL";
  std::string cells = "S1,RX610";
  std::string message = "CMD=START&UNIT.ID=S1";
  for (int i = 100; i < 129; ++i) {
    const std::string value(63, 'v');
    header += ",K" + std::to_string(i);
    cells += "," + value;
    message += "&K" + std::to_string(i) + "=" + value;
  }
  const std::string last(15, 'l');
  message += "&L=" + last + "&CMD=END";
  ASSERT_EQ(message.size(), 2047U);
  EXPECT_EQ(sent(header + ",L\r\n" + cells + "," + last), message + "\nUpdate Device #0 @  Result is OK\n");
  EXPECT_NE(read_file("/tmp/site.log").find("\n" + message + " {2047}\n"), std::string::npos);
  EXPECT_EQ(sent(header + ",L\r\n" + cells + ",l" + last), "Update Device #0 @  Result is FAIL\n");
  EXPECT_TRUE(
      read_file("/tmp/site.log").ends_with("S1\n    Message is longer than 2047 characters, not sent \n"));
}

// If it fails, the site log names another unit than the one that was sent to.
TEST(DeviceUpdate, TheLogNamesTheUnit) {
  start_unit();
  const auto expect_log = [](const std::string& address, const std::string& found, const std::string& number,
                             const std::string& id) {
    sent("UNIT.SERIAL,UNIT.ID,IP.ADDRESS,UNIT.MODEL\r\nS1,K1," + address + ",RX610\r\n");
    EXPECT_EQ(read_file("/tmp/site.log").substr(0, read_file("/tmp/site.log").find(" Inside")),
              "   Starting send_device_update()...1 \n    check_device_valid(S1" + found + " \n    IP... " +
                  address + " " + number + "\n    NOTES... " + id + " RX610 " + address + " " + number +
                  " S1\nCMD=START&UNIT.ID=S1&UNIT.SET_ID=K1&CMD=END {43}\n");
  };
  expect_log("10.0.0.256", ") Invalid Input -1 or no VDT", "0x00000000", "K1");
  vdt_alloc();
  vdt[0].serial.assign_cut("s1");
  vdt[0].unit_id.assign_cut("Known");
  vdt[0].address.assign_cut("192.168.1.2");
  expect_log("10.0.0.9", "~s1) 0 1", "0xc0a80102", "Known");
  vdt_free();
}

// If it fails, a unit counts as updated although it never saved.
TEST(DeviceUpdateReply, WithoutAWayBackEndsAtTheSave) {
  std::array<int, 2> ends{};
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_DGRAM, 0, ends.data()), 0);
  ASSERT_EQ(send(ends[1], "API=SUCCESS", 11, 0), 11);
  discovery_socket = ends[0];  // one that takes no address, so no save can be sent
  EXPECT_EQ(handle_device_update_reply(), 1);
  for (const int end : ends) close(end);
  const std::string inside = " Inside handle_device_update_reply() ";
  static_assert(EINVAL == 0x16);
  EXPECT_EQ(read_file("/tmp/site.log"), inside + "0 \n" + inside + "Got Reply A: API=SUCCESS \n" + inside +
                                            "SAVE Send FAILED  -1/0x16 \n");
}
