#include "discovery/discovery_socket.hpp"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <cerrno>
#include <string>
#include <utility>

#include "discovery/discovery_state.hpp"
#include "support/fake_network.hpp"
#include "support/files.hpp"

// If it fails, discovery does not reach the units after a router, or goes further than the installer allows.
TEST(DiscoverySocket, TtlReadings) {
  for (const auto& [printed, ttl_used] : {
           std::pair{"", 64},
           {"0\n", 64},
           {"1\n", 1},
           {"255\n", 255},
           {"256\n", 64},
           {"+7\n", 64},
           {"12abc\n", 12},
           {"000000000000000000000000000000012\n", 64},  // the twelve comes after the 31st character
       }) {
    write_file("/var/params/UNIT.MCD_TTL", printed);
    EXPECT_EQ(open_discovery_socket(), discovery_socket);
    unsigned char ttl = 0;
    socklen_t size = sizeof ttl;
    getsockopt(discovery_socket, IPPROTO_IP, IP_MULTICAST_TTL, &ttl, &size);
    EXPECT_EQ(ttl, ttl_used) << printed;
    EXPECT_EQ(read_file("/tmp/MCt.log"), "Using TTL " + std::to_string(ttl_used) + "\n") << printed;
    EXPECT_GT(close_discovery_socket(), 0);
  }
}

// If it fails, units do not understand the query, or the unit discovers in the mode that was not asked for.
TEST(DiscoverySocket, ModeReadingsAndBothDatagramsOnTheWire) {
  fake_network network;
  lines datagrams;
  for (const auto& [printed, mode] : {std::pair{"", 1}, {"2\n", 2}, {"0\n", 2}, {" 1 \n", 1}}) {
    write_file("/var/params/UNIT.MCD_MODE", printed);
    const discovery_session session;
    ASSERT_TRUE(session);
    const std::string query =
        std::string{"CMD=START&UNIT.ID=ALL&QUERY."} + (mode == 2 ? "STATUS" : "ALL") + "=TRUE&CMD=END";
    EXPECT_EQ(send_discovery_query(), static_cast<int>(query.size()));
    EXPECT_EQ(mcd_mode, mode) << printed;
    EXPECT_EQ(read_file("/tmp/MCm.log"), "Using Mode " + std::to_string(mode) + "\n");
    datagrams.insert(datagrams.end(), {"CMD=START&UNIT.ID=NONE&QUERY.STATUS=TRUE&CMD=END", query});
  }
  EXPECT_EQ(network.heard(datagrams.size()), datagrams);
  EXPECT_EQ(discovery_socket, -1);
}

// If it fails, a collection counts its silences slower or faster, so it lasts longer or misses slow units.
TEST(DiscoverySocket, ReceivesWaitAHundredMilliseconds) {
  const discovery_session session;
  timeval wait{};
  socklen_t size = sizeof wait;
  getsockopt(discovery_socket, SOL_SOCKET, SO_RCVTIMEO, &wait, &size);
  EXPECT_EQ(wait.tv_sec, 0);
  EXPECT_EQ(wait.tv_usec, 100'000);
}

// If it fails, a unit that the network cannot reach is missing from the CSV without a trace.
TEST(DiscoverySocket, AUnicastQueryThatCannotBeSentIsLogged) {
  const discovery_session session;
  EXPECT_EQ(suq(inet_addr("192.0.2.1")), -1);
  EXPECT_EQ(read_file("/tmp/MCb.log"), "  suq() SEND FAILED: errno is " + std::to_string(ENETUNREACH) + "\n");
}
