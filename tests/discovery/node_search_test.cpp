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

// What a reader with 128 bytes gets from the command line that the search stands for.
std::string grep_line(const std::string& address) {
  std::string command = "grep";
  for (const char* key : {"IP", "IP.STATIC", "DHCP"}) {
    std::string name = key;
    name = name == "IP.STATIC" ? "IP\\.STATIC_ADDRESS" : name + "\\.ADDRESS";
    command += " -e \"" + name + "=" + address + "\"";
  }
  const std::string output = shell_output(command + " /tmp/node_* 2> /dev/null");
  const std::size_t line_feed = output.find('\n');
  return output.substr(0, line_feed == std::string::npos ? 0 : line_feed + 1).substr(0, 127);
}

void expect_greps_results(const node_search& search, const std::string& situation) {
  for (const std::string& address : addresses) {
    EXPECT_EQ(search.find(address).view(), grep_line(address)) << situation << ' ' << address;
  }
}

void append(node_search& search, int number, const std::string& text) {
  ASSERT_EQ(append_to_node_file(number, text), static_cast<int>(text.size()));
  search.add(number, text);
}

}  // namespace

TEST(NodeSearch, OneFileHasNoNameInFront) {
  node_search search;
  expect_greps_results(search, "no file");
  append(search, 0, "A_7=1&IP.ADDRESS=10.0.0.12&");
  expect_greps_results(search, "one file");
  append(search, 1, "DHCP.ADDRESS=10.0.0.1&");
  expect_greps_results(search, "two files");
  EXPECT_EQ(search.find("10.0.0.1").view(), "/tmp/node_0:A_7=1&IP.ADDRESS=10.0.0.12&\n");
}

TEST(NodeSearch, FilesOfAnEarlierRunCountInTheOrderOfTheirNames) {
  write_file("/tmp/node_10", "first line\nIP.ADDRESS=10.0.0.1&");
  write_file("/tmp/node_0a", "IP.STATIC_ADDRESS=10.0.0.123");
  write_file("/tmp/node_", "DHCP.ADDRESS=9x9y9z9");
  write_file("/tmp/node_2", "old IP.ADDR");
  write_file("/tmp/nodes.txt", "IP.ADDRESS=1.2.3.4");
  node_search search;
  expect_greps_results(search, "left files");
  append(search, 0, "IP.ADDRESS=1.2.3.4");
  append(search, 1, "IP.ADDRESS=10.77.1.1" + std::string(200, 'x'));
  append(search, 2, "ESS=10.0.0.1");
  expect_greps_results(search, "and new ones");
}

TEST(NodeSearch, TextsJoinWhereverTheyAreCut) {
  const std::string text =
      "x\nIP.ADDRESS=1.2.\nDHCP.ADDRESS=10.0.0.123\nyy_IP.STATIC_ADDRESS=255.255.255.255";
  for (std::size_t cut = 0; cut <= text.size(); ++cut) {
    static_cast<void>(shell_output("rm -f /tmp/node_*"));
    node_search search;
    append(search, 0, text.substr(0, cut));
    append(search, 0, text.substr(cut));
    expect_greps_results(search, "cut at " + std::to_string(cut));
  }
}

TEST(NodeSearch, AFloodOfRepeatedKeysHidesNothing) {
  std::string flood = "IP.ADDRESS=10.0.0.1&\r\n";
  while (flood.size() < 2000) flood += "IP.ADDRESS=IP.ADDRESS=9.9.9.9&";
  node_search search;
  for (int datagram = 0; datagram < 1'000; ++datagram) append(search, 0, flood);
  EXPECT_EQ(search.find("10.0.0.1").view(), "IP.ADDRESS=10.0.0.1&\r\n");
  expect_greps_results(search, "flood");
}

TEST(NodeSearch, AgreesWithGrepOnRandomFiles) {
  std::mt19937 random{20261124};
  const auto pick = [&random](std::size_t count) {
    return std::uniform_int_distribution<std::size_t>{0, count - 1}(random);
  };
  const lines pieces{"IP.ADDRESS=",
                     "IP.STATIC_ADDRESS=",
                     "DHCP.ADDRESS=",
                     "ADDRESS=",
                     "IP_ADDRESS=",
                     "\r\n",
                     "\n",
                     "&",
                     "_3",
                     "xyz"};
  for (int round = 0; round < 12; ++round) {
    static_cast<void>(shell_output("rm -f /tmp/node_*"));
    if (round % 3 == 0) write_file("/tmp/node_5", "IP.ADDRESS=" + addresses[pick(addresses.size())]);
    node_search search;
    std::size_t files = 0;
    for (int step = 0; step < 60; ++step) {
      std::string text;
      for (std::size_t count = pick(8); count > 0; --count) {
        text += pieces[pick(pieces.size())];
        if (pick(2) == 0) text += addresses[pick(addresses.size())].substr(0, 4 + pick(12));
      }
      const std::size_t number = pick(files + 1);
      append(search, static_cast<int>(number), text);
      files = std::max(files, number + 1);
    }
    expect_greps_results(search, "round " + std::to_string(round));
  }
}
