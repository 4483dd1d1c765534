#include "discovery/node_search.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

#include "discovery/node_files.hpp"
#include "support/files.hpp"
#include "support/program.hpp"

namespace {

const lines addresses{"1.2.3.4",    "10.0.0.1",  "10.0.0.12", "10.0.0.123", "10.77.1.1",
                      "10.77.11.1", "112.3.4.5", "1.12.3.45", "9.9.9.9",    "255.255.255.255"};

// What a reader with 128 bytes gets from the command line that the search replaces.
std::string grep_line(const std::string& address) {
  const std::string output =
      shell_output("grep -e \"IP\\.ADDRESS=" + address + "\" -e \"IP\\.STATIC_ADDRESS=" + address +
                   "\" -e \"DHCP\\.ADDRESS=" + address + "\" /tmp/node_* 2> /dev/null");
  return output.substr(0, output.find('\n') + 1).substr(0, 127);
}

void expect_greps_results(const node_search& search) {
  for (const std::string& address : addresses) {
    EXPECT_EQ(search.find(address).view(), grep_line(address)) << address;
  }
}

// Appends the text in pieces of that size.
void append(node_search& search, int number, const std::string& text, std::size_t size = 4096) {
  for (std::size_t at = 0; at < text.size(); at += size) {
    const std::string piece = text.substr(at, size);
    ASSERT_EQ(append_to_node_file(number, piece), static_cast<int>(piece.size()));
    search.add(number, piece);
  }
}

std::mt19937 random_number{20261124};

std::size_t pick(std::size_t count) {
  return random_number() % count;
}

std::string random_text() {
  static const lines keys{"IP.ADDRESS=", "IP.STATIC_ADDRESS=", "DHCP.ADDRESS=", "ADDRESS=", "IP_ADDRESS="};
  static const lines others{"\r\n", "\n", "&", "_3", "DHCP.ADDRESS=9x9y9z9", "DHCP.ADDRESS=9.9.9\n9"};
  std::string text;
  for (std::size_t count = 1 + pick(7); count > 0; --count) {
    const lines& pieces = pick(2) == 0 ? keys : others;
    text += pieces[pick(pieces.size())];
    if (pick(2) == 0) text += addresses[pick(addresses.size())].substr(0, 4 + pick(20));
    if (pick(10) == 0) text.append(130, 'x');
  }
  return text;
}

}  // namespace

// If it fails, a unit that repeats keys takes time without end, or hides the other units.
TEST(NodeSearch, AFloodOfRepeatedKeysHidesNothing) {
  std::string flood = "IP.ADDRESS=10.0.0.1&\r\n";
  while (flood.size() < 2000) flood += "IP.ADDRESS=IP.ADDRESS=9.9.9.9&";
  node_search search;
  for (int datagram = 0; datagram < 1'000; ++datagram) append(search, 0, flood);
  append(search, 0, "IP.ADDRESS=10.77.1.1&");
  expect_greps_results(search);
}

// If it fails, a further datagram of a unit goes to another file than grep finds, old files included.
TEST(NodeSearch, AgreesWithGrepOnRandomFiles) {
  for (int round = 0; round < 12; ++round) {
    SCOPED_TRACE(round);
    static_cast<void>(shell_output("rm -f /tmp/node_*"));
    for (const char* left : {"node_5", "node_10", "node_0a", "node_", "nodes.txt"}) {
      if (round % 3 == 0) write_file(std::string{"/tmp/"} + left, random_text());
    }
    node_search search;
    std::size_t files = 0;
    for (int step = 0; step < 60; ++step) {
      if (files < 3) expect_greps_results(search);
      const std::size_t number = pick(files + 1);
      append(search, static_cast<int>(number), random_text(), pick(2) == 0 ? 1 : 1 + pick(100));
      files = std::max(files, number + 1);
    }
    expect_greps_results(search);
  }
}
