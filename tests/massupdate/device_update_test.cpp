#include "massupdate/device_update.hpp"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <string>

#include "discovery/discovery_state.hpp"
#include "massupdate/import.hpp"
#include "massupdate/import_records.hpp"
#include "support/answer.hpp"

namespace {

// One unit, of the serial S1, that takes whatever it is sent.
void start_unit() {
  write_file("/tmp/units.csv", "UNIT.SERIAL,IP.ADDRESS\r\nS1,10.77.1.1\r\n");
  ASSERT_EQ(
      std::system("fleet --units /tmp/units.csv --reboot-ms 0 --ack-spelling api --log /tmp/fleet.log "
                  "> /tmp/fleet.out & "
                  "for i in $(seq 300); do grep -q ready /tmp/fleet.out && exit 0; sleep 0.1; done; exit 1"),
      0);
}

// The last message that the unit heard by the group.
std::string last_message() {
  const std::string log = read_file("/tmp/fleet.log");
  const std::string mark = "226.0.0.19 ";
  const std::size_t found = log.rfind(mark);
  return found == std::string::npos
             ? ""
             : log.substr(found + mark.size(), log.find('\n', found) - found - mark.size());
}

std::string message(const std::string& pairs) {
  return "CMD=START&UNIT.ID=S1" + pairs + "&CMD=END";
}

// Runs the exchange with replies that wait already. No save can be sent: the socket takes no address.
int exchange_with(const std::string& reply) {
  std::array<int, 2> ends{};
  EXPECT_EQ(socketpair(AF_UNIX, SOCK_DGRAM, 0, ends.data()), 0);
  discovery_socket = ends[0];
  write_file("/tmp/site.log", "");
  EXPECT_EQ(send(ends[1], reply.data(), reply.size(), 0), static_cast<ssize_t>(reply.size()));
  const int reached = handle_device_update_reply();
  timeval timeout{};
  socklen_t size = sizeof timeout;
  getsockopt(discovery_socket, SOL_SOCKET, SO_RCVTIMEO, &timeout, &size);
  EXPECT_EQ(timeout.tv_sec, 5);
  for (const int end : ends) close(end);
  discovery_socket = -1;
  return reached;
}

std::string logged_steps(const lines& steps) {
  std::string log;
  for (const std::string& step : steps) log += " Inside handle_device_update_reply() " + step + " \n";
  return log;
}

}  // namespace

TEST(DeviceUpdate, EachModelGetsItsSettings) {
  start_unit();
  const std::string columns =
      "UNIT.SERIAL,UNIT.MODEL,IP.ADDRESS,IP.STATIC_ADDRESS,unit.id,VW.NAME,STREAM.BIT_RATE,AUDIO.DAC_MUTE,"
      "IP.VLAN_TAG_EXPANSION,UNIT.REBOOT,DANTE.DEVICE_NAME,ip.netmask,VIDEO.EDID";
  std::string keys = columns + ",UNIT.ID,IP.NETMASK";
  for (char& letter : keys) letter = letter == ',' ? '\n' : letter;
  const std::string renamed = "&IP.ADDRESS=10.77.1.5&UNIT.SET_ID=K1";
  const std::string dante = "&DANTE.SET_DEVICE_NAME=d n";
  struct row {
    const char* model;
    std::string pairs;
  };
  for (const row& row : {
           row{"RX610", renamed + "&VW.NAME=a,b&IP.VLAN_TAG_EXPANSION=7" + dante + "&ip.netmask=m"},
           {"TX610", renamed + "&STREAM.BIT_RATE=9&IP.VLAN_TAG_EXPANSION=7" + dante + "&ip.netmask=m"},
           {"KestT-PL", renamed + "&STREAM.BIT_RATE=9&AUDIO.DAC_MUTE=1&IP.VLAN_TAG_EXPANSION=7" + dante +
                            "&ip.netmask=m"},
           {"KestT-2", renamed + "&STREAM.BIT_RATE=9&AUDIO.DAC_MUTE=1&IP.VLAN_TAG_EXPANSION=7" + dante +
                           "&ip.netmask=m"},
           {"kestr-2",
            renamed + "&VW.NAME=a,b&AUDIO.DAC_MUTE=1&IP.VLAN_TAG_EXPANSION=7" + dante + "&ip.netmask=m"},
           {"Other", renamed + dante},
       }) {
    import(keys, columns + "\r\nS1," + row.model + ",10.0.0.9,10.77.1.5,K1,\"a,b\",9,1,7,TRUE,d n,m,\r\n");
    caught_answer page;
    EXPECT_EQ(send_device_update(0), 8) << row.model;
    EXPECT_EQ(last_message(), message(row.pairs)) << row.model;
    EXPECT_EQ(page.take(), "Update Device #0 @ 10.0.0.9 Result is OK\n");
    EXPECT_EQ(discovery_socket, -1);
  }
}

// The number of the unit's own keys bounds what is looked at, although the columns are those of the CSV.
TEST(DeviceUpdate, ColumnsBeyondTheKeysOfTheUnitAreNotSent) {
  start_unit();
  caught_answer page;
  import("UNIT.SERIAL\nUNIT.ID\n", "UNIT.SERIAL,MY_,UNIT.ID\r\nS1,x,K1\r\n");
  EXPECT_EQ(send_device_update(0), 0);
  EXPECT_EQ(last_message(), message(""));
  EXPECT_EQ(page.take(), "Update Device #0 @  Result is OK\n");
  fixed_text<64> value;
  EXPECT_EQ(get_row_value(0, "UNIT.ID", value), 2);
  EXPECT_TRUE(value.empty());
  EXPECT_EQ(get_row_value(0, "unit.serial", value), 0);
  EXPECT_EQ(value.view(), "S1");
}

TEST(DeviceUpdate, AMessageIsSentWholeOrNotAtAll) {
  start_unit();
  const std::string v(60, 'v');
  for (const std::size_t length : {2047U, 2048U}) {
    std::string header = "UNIT.SERIAL,UNIT.MODEL,";
    std::string cells = "S1,RX610,";
    std::string text = "CMD=START&UNIT.ID=S1";
    for (int i = 100; text.size() + 150 < length; ++i) {
      header += "K" + std::to_string(i) + ",";
      cells += v + ",";
      text += "&K" + std::to_string(i) + "=" + v;
    }
    const std::size_t left = length - text.size() - std::string{"&L1=&L2=&CMD=END"}.size();
    const std::string last_two[] = {std::string(left / 2, 'l'), std::string(left - left / 2, 'm')};
    text += "&L1=" + last_two[0] + "&L2=" + last_two[1] + "&CMD=END";
    ASSERT_EQ(text.size(), length);
    header += "L1,L2,UNIT.ID";
    std::string keys = header;
    for (char& letter : keys) letter = letter == ',' ? '\n' : letter;
    import(keys, header + "\r\n" + cells + last_two[0] + "," + last_two[1] + ",\r\n");
    write_file("/tmp/site.log", "");
    caught_answer page;
    send_device_update(0);
    const bool sent = length == 2047;
    EXPECT_EQ(page.take(), std::string{"Update Device #0 @  Result is "} + (sent ? "OK\n" : "FAIL\n"));
    EXPECT_EQ(last_message() == text, sent);
    const std::string log = read_file("/tmp/site.log");
    EXPECT_NE(log.find(sent ? text + " {2047}\n" : "    Message is longer than 2047 characters, not sent \n"),
              std::string::npos);
    EXPECT_EQ(log.find("Inside") != std::string::npos, sent);
    EXPECT_EQ(log.find(v) != std::string::npos, sent);
    write_file("/tmp/fleet.log", "");
  }
}

// A valid device table names the unit in the log, and nowhere else.
TEST(DeviceUpdate, TheLogNamesTheUnit) {
  start_unit();
  const caught_answer page;
  const std::string csv = "UNIT.SERIAL,UNIT.ID,IP.ADDRESS,UNIT.MODEL\r\nS1,K1,";
  const std::string keys = "UNIT.SERIAL\nUNIT.ID\nIP.ADDRESS\nUNIT.MODEL\n";
  const auto log_of_update = [&](const std::string& address) {
    import(keys, csv + address + ",RX610\r\n");
    write_file("/tmp/site.log", "");
    send_device_update(0);
    const std::string log = read_file("/tmp/site.log");
    return log.substr(0, log.find(" Inside"));
  };
  const std::string sent = "CMD=START&UNIT.ID=S1&UNIT.SET_ID=K1&CMD=END {43}\n";
  const std::string start = "   Starting send_device_update()...1 \n";
  const std::string invalid = "    check_device_valid(S1) Invalid Input -1 or no VDT \n";
  EXPECT_EQ(log_of_update("10.0.0.9"), start + invalid + "    IP... 10.0.0.9 0x0a000009\n" +
                                           "    NOTES... K1 RX610 10.0.0.9 0x0a000009 S1\n" + sent);
  EXPECT_EQ(log_of_update("10.0.0.256"), start + invalid + "    IP... 10.0.0.256 0x00000000\n" +
                                             "    NOTES... K1 RX610 10.0.0.256 0x00000000 S1\n" + sent);
  vdt_alloc();
  vdt[0].serial.assign_cut("s1");
  vdt[0].unit_id.assign_cut("Known");
  vdt[0].address.assign_cut("192.168.1.2");
  EXPECT_EQ(log_of_update("10.0.0.9"), start + "    check_device_valid(S1~s1) 0 1 \n" +
                                           "    IP... 10.0.0.9 0xc0a80102\n" +
                                           "    NOTES... Known RX610 10.0.0.9 0xc0a80102 S1\n" + sent);
  vdt_free();
}

TEST(DeviceUpdateReply, WithoutASocketThereIsNoReply) {
  EXPECT_EQ(handle_device_update_reply(), 0);
  EXPECT_EQ(read_file("/tmp/site.log"), logged_steps({"0", "No UPDATE Reply -1/0x09"}));
}

TEST(DeviceUpdateReply, IsJudgedByItsFirst1500Bytes) {
  const std::string save_failed = "SAVE Send FAILED  -1/0x16";
  static_assert(EINVAL == 0x16);
  EXPECT_EQ(exchange_with("X=1&API.STATUS=SUCCESS&Y"), 1);
  EXPECT_EQ(read_file("/tmp/site.log"),
            logged_steps({"0", "Got Reply A: X=1&API.STATUS=SUCCESS&Y", save_failed}));
  EXPECT_EQ(exchange_with("$(reboot)API=FAIL"), 1);
  EXPECT_EQ(read_file("/tmp/site.log"),
            logged_steps({"0", "Got Reply A: $(reboot)API=FAIL", "UPDATE Reply FAILED  17/0x00"}));
  EXPECT_EQ(exchange_with(""), 0);
  EXPECT_EQ(read_file("/tmp/site.log"), logged_steps({"0", "No UPDATE Reply 0/0x00"}));

  // The log line is as long as its command may be: a blank, the message and a blank of 1,475 characters.
  const std::string x(1489, 'x');
  const std::string start = "Inside handle_device_update_reply() Got Reply A: ";
  const std::string cut = " " + start + x.substr(0, 1473 - start.size()) + " \n";
  EXPECT_EQ(exchange_with(x + "API=SUCCESS"), 1);
  EXPECT_EQ(read_file("/tmp/site.log"), logged_steps({"0"}) + cut + logged_steps({save_failed}));
  EXPECT_EQ(exchange_with(x + "xAPI=SUCCESS"), 1);
  EXPECT_EQ(read_file("/tmp/site.log"),
            logged_steps({"0"}) + cut + logged_steps({"UPDATE Reply FAILED  1500/0x00"}));
}
