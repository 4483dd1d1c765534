#include "listing/device_listing.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "discovery/discovery_socket.hpp"
#include "discovery/discovery_state.hpp"
#include "support/answer.hpp"
#include "support/fake_network.hpp"
#include "support/files.hpp"

namespace {

using namespace std::chrono_literals;

std::string encoder(const std::string& id) {
  return "UNIT.MODEL=TX610&UNIT.ID=" + id + "&IP.ADDRESS=10.77.1.1&STREAM.ADDRESS=239.1.1.1";
}

std::string encoder_line(const std::string& id) {
  return id + ",10.77.1.1,239.1.1.1\n";
}

// Sends the query to the network and returns what the listing writes.
std::string listed(int mode, std::vector<scripted_answer> script) {
  const fake_network network{std::move(script)};
  caught_answer caught;
  const discovery_session session;
  EXPECT_GT(send_discovery_query(), 0);
  EXPECT_EQ(list_devices(mode), device_count);
  return caught.take();
}

const std::string myself = "MYSELF,10.77.0.1,239.77.0.1\n";

}  // namespace

TEST(DeviceListing, EncodersInArrivalOrderBehindThisUnit) {
  EXPECT_EQ(listed(1, {{.text = encoder("B")},
                       {.text = "UNIT.MODEL=RX610&UNIT.ID=D"},
                       {.text = encoder("A"), .from = "10.77.1.2"},
                       {.text = "UNIT.ID=no model"},
                       {.text = encoder("B")}}),
            myself + encoder_line("B") + encoder_line("A") + encoder_line("B"));
  EXPECT_EQ(device_count, 3);
}

TEST(DeviceListing, AnyOtherModeListsDecoders) {
  for (const int mode : {2, 5}) {
    EXPECT_EQ(
        listed(mode, {{.text = encoder("E")},
                      {.text = "UNIT.MODEL=rx610&IP.ADDRESS=1.2.3.4&VW.NAME=Wall&STREAM.HOST=h&UNIT.ID=last"},
                      {.text = "UNIT.MODEL=RX610 &UNIT.ID=blank"},
                      {.text = "UNIT.MODEL=QV8R&UNIT.ID=bare"}}),
        "last,1.2.3.4,h,Wall\nbare,,,\n");
    EXPECT_EQ(device_count, 2);
  }
}

TEST(DeviceListing, FieldsAreCutAtTheirWidths) {
  const std::string id(200, 'i');
  const std::string address(40, 'a');
  const std::string name(70, 'n');
  EXPECT_EQ(listed(2, {{.text = "UNIT.MODEL=RX610&UNIT.ID=" + id + "&IP.ADDRESS=" + address +
                                "&STREAM.HOST=" + address + "&VW.NAME=" + name}}),
            id.substr(0, 127) + "," + address.substr(0, 31) + "," + address.substr(0, 31) + "," +
                name.substr(0, 63) + "\n");
  // Of a datagram the first 1,500 bytes count.
  std::string long_answer = "UNIT.MODEL=RX610&";
  long_answer.append(1500 - long_answer.size() - 10, 'x').append("&UNIT.ID=AB");
  EXPECT_EQ(listed(2, {{.text = long_answer}}), "A,,,\n");
  EXPECT_EQ(listed(1, {{.text = encoder("E").append(3000, 'x')}}),
            myself + "E,10.77.1.1,239.1.1.1" + std::string(31 - 9, 'x') + "\n");
}

TEST(DeviceListing, OwnLineHoldsWhatTheToolPrints) {
  plant_tool("astparam", "[ \"$2\" = STREAM.HOST ] && printf 'host\\r\\nmore\\n' || printf addr");
  EXPECT_EQ(listed(1, {}), "MYSELF,host,addr\n");
  plant_tool("astparam", "exit 1");
  EXPECT_EQ(listed(1, {}), "MYSELF,,\n");
}

TEST(DeviceListing, EndsAfterFiveSilentReceives) {
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(listed(2, {}), "");
  EXPECT_GE(std::chrono::steady_clock::now() - start, 880ms);
}

TEST(DeviceListing, AnAnswerWithinTheSilenceIsListed) {
  EXPECT_EQ(listed(1, {{.text = encoder("late"), .wait = 250ms}}), myself + encoder_line("late"));
}

TEST(DeviceListing, AnAnswerAfterTheSilenceIsNotRead) {
  EXPECT_EQ(listed(2, {{.text = "UNIT.MODEL=RX610&UNIT.ID=late", .wait = 2500ms}}), "");
}

TEST(DeviceListing, AnswersThatAreNotListedDoNotProlongTheSilence) {
  std::vector<scripted_answer> script(12, {.text = "UNIT.MODEL=RX610", .wait = 250ms});
  script.push_back({.text = encoder("late")});
  EXPECT_EQ(listed(1, std::move(script)), myself);
}

TEST(DeviceListing, ASocketErrorEndsItAtOnce) {
  const caught_answer caught;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(list_devices(2), 0);                               // no socket is open
  EXPECT_LT(std::chrono::steady_clock::now() - start, 350ms);  // a sleep a receive would take 400
}

TEST(DeviceListing, AGapAfterTheFirstUnitEndsIt) {
  EXPECT_EQ(listed(1, {{.text = encoder("first")}, {.text = encoder("second"), .wait = 500ms}}),
            myself + encoder_line("first"));
}

TEST(DeviceListing, AnAnswerThatIsNotListedDoesNotCloseTheList) {
  EXPECT_EQ(listed(1, {{.text = "UNIT.MODEL=RX610"}, {.text = encoder("E"), .wait = 250ms}}),
            myself + encoder_line("E"));
}

TEST(DeviceListing, AnEmptyDatagramEndsIt) {
  EXPECT_EQ(listed(1, {{.text = encoder("before")}, {.text = ""}, {.text = encoder("after")}}),
            myself + encoder_line("before"));
}
