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

// Sends the query to the network and returns what the listing writes.
std::string listed(int mode, std::vector<scripted_answer> script) {
  const fake_network network{std::move(script)};
  caught_answer caught;
  const discovery_session session;
  EXPECT_GT(send_discovery_query(), 0);
  EXPECT_EQ(list_devices(mode), device_count);
  return caught.take();
}

}  // namespace

// If it fails, the list of encoders has other units, another order, or waits after its end.
TEST(DeviceListing, EncodersInArrivalOrderUntilTheirListEnds) {
  struct row {
    std::vector<scripted_answer> script;
    lines listed;
  };
  const scripted_answer decoder{.text = "UNIT.MODEL=RX610&UNIT.ID=D"};
  const auto answer = [](const char* id, std::chrono::milliseconds wait = 0ms) {
    return scripted_answer{.text = encoder(id), .wait = wait};
  };
  std::vector<scripted_answer> decoders(12, {.text = decoder.text, .wait = 250ms});
  decoders.push_back(answer("late"));
  for (const row& row : {
           row{{answer("B"), decoder, answer("A"), {.text = "UNIT.ID=no model"}, answer("B")},
               {"B", "A", "B"}},
           {{decoder, answer("E", 250ms)}, {"E"}},
           {{answer("first"), answer("second", 500ms)}, {"first"}},
           {{answer("before"), {.text = ""}, answer("after")}, {"before"}},
           {decoders, {}},
       }) {
    std::string expected = "MYSELF,10.77.0.1,239.77.0.1\n";
    for (const std::string& id : row.listed) expected += id + ",10.77.1.1,239.1.1.1\n";
    EXPECT_EQ(listed(1, row.script), expected);
  }
}

// If it fails, the list of decoders is empty, or has encoders in it.
TEST(DeviceListing, AnyOtherModeListsDecoders) {
  EXPECT_EQ(
      listed(5, {{.text = encoder("E")},
                 {.text = "UNIT.MODEL=rx610&IP.ADDRESS=1.2.3.4&VW.NAME=Wall&STREAM.HOST=h&UNIT.ID=last"},
                 {.text = "UNIT.MODEL=RX610 &UNIT.ID=blank"},
                 {.text = "UNIT.MODEL=QV8R&UNIT.ID=bare"}}),
      "last,1.2.3.4,h,Wall\nbare,,,\n");
}

// If it fails, long texts of a unit overrun a line, or are cut elsewhere than clients expect.
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
}

// If it fails, the unit's own line has a line end of its tools in it.
TEST(DeviceListing, OwnLineShowsWhatTheToolPrints) {
  plant_tool("astparam", "[ \"$2\" = STREAM.HOST ] && printf 'host\\r\\nmore\\n' || printf addr");
  EXPECT_EQ(listed(1, {}), "MYSELF,host,addr\n");
}

// If it fails, slow units are missing from a list, or a unit without a network keeps its client waiting.
TEST(DeviceListing, EndsAfterFiveSilentReceivesOrAnError) {
  auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(listed(2, {}), "");
  EXPECT_GE(std::chrono::steady_clock::now() - start, 880ms);
  const caught_answer caught;
  start = std::chrono::steady_clock::now();
  EXPECT_EQ(list_devices(2), 0);                               // no socket is open
  EXPECT_LT(std::chrono::steady_clock::now() - start, 350ms);  // a sleep a receive would take 400
}
