// Collection of answers by units that really wait.

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <chrono>
#include <ctime>
#include <string>
#include <vector>

#include "discovery/discovery_socket.hpp"
#include "discovery/discovery_state.hpp"
#include "discovery/key_header.hpp"
#include "discovery/one_pass.hpp"
#include "discovery/reply_collection.hpp"
#include "support/fake_network.hpp"
#include "support/files.hpp"
#include "support/program.hpp"

namespace {

using namespace std::chrono_literals;

// Runs a one-pass discovery among these answers.
void discover(std::vector<scripted_answer> script) {
  write_file("/etc/keys.txt", "UNIT.ID\nIP.ADDRESS\n");
  ckht(1, "/tmp/discover.csv");
  const fake_network network{std::move(script)};
  const discovery_session session;
  EXPECT_GT(send_discovery_query(), 0);
  discover_one_pass();
}

}  // namespace

// If it fails, the datagrams after a unit's first one are lost, or go to another unit than in the field.
TEST(OnePass, FurtherDatagramsGoToTheFileThatTheSearchFinds) {
  const std::time_t start = std::time(nullptr);
  discover({
      // A lone unit whose first "_" is followed by no digit: that reads as file 0.
      {.text = "UNIT.ID=a&IP.STATIC_ADDRESS=10.77.1.1&", .from = "10.77.1.1"},
      {.text = "IP.ADDRESS=more&", .from = "10.77.1.1"},
      // Two files by now: the line that is found starts with the file's name.
      {.text = "UNIT.ID=b&IP.ADDRESS=10.77.1.20&", .from = "10.77.1.20"},
      {.text = "UNIT.ID=bb&", .from = "10.77.1.20"},
      // The address is found in front of the further digit, in the file of another unit.
      {.text = "UNIT.ID=c&", .from = "10.77.1.2"},
      {.text = "UNIT.ID=stray&", .from = "10.77.1.2"},
      // No file names this one: its second datagram is dropped.
      {.text = "UNIT.ID=d&", .wait = 2000ms, .from = "10.77.3.9"},
      {.text = "UNIT.ID=lost&", .from = "10.77.3.9"},
  });
  EXPECT_GT(std::time(nullptr), start + 3);
  EXPECT_EQ(read_file("/tmp/discover.csv"),
            "UNIT.ID,IP.ADDRESS\r\na,more\r\nc,\r\nd,\r\nstray,10.77.1.20\r\n");
  const auto unit = [](const std::string& address, const std::string& line, const std::string& end) {
    return "IP=" + address + "\nDEBUG MC NORMAL\nIP=" + address + "\nDEBUG MC A\nDEBUG MC B\nDEBUG MC C\n" +
           line + " " + std::to_string(line.size()) + "\n" + end;
  };
  const std::string kept = "DEBUG MC D\nDEBUG MC E\nAppend to /tmp/node_";
  const std::string second = "/tmp/node_1:UNIT.ID=b&IP.ADDRESS=10.77.1.20&";
  EXPECT_EQ(read_file("/tmp/mcD.log"),
            unit("10.77.1.1", "UNIT.ID=a&IP.STATIC_ADDRESS=10.77.1.1&\n", kept + "0 of 0\n") +
                unit("10.77.1.20", second + "\n", kept + "1 of 1\n") +
                unit("10.77.1.2", second + "UNIT.ID=bb&\n", kept + "1 of 2\n") +
                unit("10.77.3.9", "", "DEBUG MC Zd\n"));
}

// If it fails, a unit's text chooses a file outside of the node files.
TEST(OnePass, ANumberWithoutANodeFileDropsTheDatagram) {
  discover({{.text = "_9&IP.ADDRESS=10.77.1.1&UNIT.ID=a&", .from = "10.77.1.1"},
            {.text = "UNIT.ID=lost&", .from = "10.77.1.1"}});
  const std::string log = read_file("/tmp/mcD.log");
  EXPECT_TRUE(log.ends_with("DEBUG MC C\n_9&IP.ADDRESS=10.77.1.1&UNIT.ID=a&\n 35\nDEBUG MC Zd\n")) << log;
  discover({{.text = "X_9&IP.ADDRESS=10.77.1.1&UNIT.ID=a&", .from = "10.77.1.1"},
            {.text = "UNIT.ID=lost&", .from = "10.77.1.1"}});
  EXPECT_TRUE(read_file("/tmp/mcD.log").ends_with("DEBUG MC D\nDEBUG MC Zc\n"));
  EXPECT_EQ(read_file("/tmp/discover.csv"), "UNIT.ID,IP.ADDRESS\r\na,10.77.1.1\r\n");
}

// If it fails, one empty datagram keeps a discovery waiting.
TEST(OnePass, AnEmptyDatagramEndsTheCollectionAtOnce) {
  discover({{.text = "UNIT.ID=a&"}, {.text = ""}, {.text = "UNIT.ID=b&", .from = "10.77.1.2"}});
  EXPECT_EQ(read_file("/tmp/discover.csv"), "UNIT.ID,IP.ADDRESS\r\na,\r\n");
  EXPECT_EQ(read_file("/tmp/MCa.log"), "(missing)");
}

// If it fails, one bad unit (spoofed, foreign, oversized, endless) spoils the lines of the others.
TEST(OnePass, AStrangerFillsItsOwnLine) {
  std::vector<scripted_answer> script{
      {.text = "UNIT.ID=a&IP.ADDRESS=10.77.1.1&", .from = "10.77.1.1"},
      {.text = "UNIT.ID=spoofed&IP.ADDRESS=10.77.1.1&", .from = "127.9.9.9"},
      {.text = "UNIT.ID=large&X=" + std::string(60'000, 'x') + "&IP.ADDRESS=10.77.1.1&",
       .from = "10.77.1.2"}};
  for (int i = 0; i < 300; ++i) {
    script.push_back({.text = "UNIT.ID=flood&IP.ADDRESS=10.77.1.3&", .wait = 1ms, .from = "10.77.1.3"});
  }
  script.push_back({.text = "UNIT.ID=z&IP.ADDRESS=10.77.1.4&", .from = "10.77.1.4"});
  write_file("/tmp/mcD.log", "IP= of an earlier run");
  discover(std::move(script));
  EXPECT_EQ(read_file("/tmp/discover.csv"),
            "UNIT.ID,IP.ADDRESS\r\na,10.77.1.1\r\nflood,10.77.1.3\r\nlarge,\r\nspoofed,10.77.1.1\r\n"
            "z,10.77.1.4\r\n");
  EXPECT_EQ(shell_output("grep -c IP=10.77.1.3 /tmp/mcD.log; grep -c IP= /tmp/mcD.log"), "255\n259\n");
}

// If it fails, a node file contains what another unit or an earlier run said.
TEST(TwoPass, AnAnswerEndsAtASilence) {
  write_file("/tmp/node_7", "old");
  const fake_network network{{{.text = "one&"}, {.text = "two", .wait = 500ms, .from = "10.77.1.2"}}};
  const discovery_session session;
  EXPECT_EQ(collect_node_reply(7), 0);
  EXPECT_EQ(read_file("/tmp/node_7"), "");
  EXPECT_GT(send_discovery_query(), 0);
  EXPECT_EQ(collect_node_reply(7), 4);
  EXPECT_EQ(read_file("/tmp/node_7"), "one&");
}

// If it fails, a flooding unit (more than 255 datagrams) hides others in the first pass.
TEST(TwoPass, AFloodTakesNoPlacesInTheFirstPass) {
  std::vector<scripted_answer> script(300, {.text = "0123456789&"});
  script.push_back({.text = "other", .from = "10.77.1.2"});
  script.push_back({.text = "", .from = "10.77.1.4"});
  script.push_back({.text = "late", .wait = 500ms, .from = "10.77.1.3"});
  const fake_network network{script};
  const discovery_session session;
  EXPECT_GT(send_discovery_query(), 0);
  write_file("/tmp/MCb.log", "old");
  EXPECT_EQ(hsdr(), 257);
  const lines senders{"10.77.1.1", "10.77.1.2", "10.77.1.3", "0.0.0.0"};
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(node_addresses[254 + i], inet_addr(senders[i].c_str())) << i;
  }
  EXPECT_EQ(read_file("/tmp/MCb.log").find("hsdr() Exiting start:"), 0U);
}

// If it fails, a flood holds up a round of the second pass, or leaves the next one nothing.
TEST(TwoPass, EachRoundHasABudgetOfItsOwn) {
  constexpr auto less_than_a_silence = 60ms;
  std::vector<scripted_answer> script(300, {.text = "0123456789&"});
  script.push_back({.text = "other", .from = "10.77.1.2"});
  script.push_back({.text = "another", .from = "10.77.1.3"});
  script.insert(script.end(), 20, {.text = "0123456789&", .wait = less_than_a_silence});
  const fake_network network{script};
  const discovery_session session;
  EXPECT_GT(send_discovery_query(), 0);
  EXPECT_EQ(collect_node_reply(0), 255 * 11 + 5 + 7);
  EXPECT_GT(collect_node_reply(1), 10 * 11) << "the flood's datagrams are within the next round's budget";
}
