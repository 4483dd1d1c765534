#include "discovery/key_header.hpp"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>

#include "discovery/discovery_state.hpp"
#include "support/files.hpp"

namespace {

const std::string key63(63, 'k');

std::string numbered_keys(int count, const std::string& separator) {
  std::string keys;
  for (int i = 0; i < count; ++i) keys += (i > 0 ? separator : "") + "K" + std::to_string(i);
  return keys;
}

}  // namespace

// If it fails, the columns of the CSV are not the keys of the unit.
TEST(KeyHeader, ContainsTheKeysThatFit) {
  using row = std::tuple<std::string, int, std::string>;
  for (const auto& [keys, written, header] : {
           row{"UNIT.ID\nQUERY.ALL\nIP.ADDRESS\nUNIT.MODEL\n", 3, "UNIT.ID,IP.ADDRESS,UNIT.MODEL"},
           {"UNIT.ID\r\nQUERY.ALL\r\nIP.ADDRESS\r\nUNIT.MODEL", 4, "UNIT.ID,QUERY.ALL,IP.ADDRESS,UNIT.MODEL"},
           {"A\nA\n", 2, "A,A"},
           {"\nA\n\n\r\nB", 2, "A,B"},
           {"A\rrest\nB", 2, "A,B"},
           {key63 + "\nB\n", 2, key63 + ",B"},
           {key63 + "k\nB\n", 1, "B"},
           {std::string(255, 'x') + "TAIL\nB\n", 2, "TAIL,B"},
           {"", 0, ""},
           {numbered_keys(129, "\n"), 128, numbered_keys(128, ",")},
       }) {
    write_file("/etc/keys.txt", keys);
    EXPECT_EQ(ckht(discovery_mode, "/tmp/header.csv"), written) << keys;
    EXPECT_EQ(read_file("/tmp/header.csv"), header + "\r\n") << keys;
    EXPECT_EQ(key_header_count(), written);
  }
}

// If it fails, an import drops a column that units take, or takes one that they do not.
TEST(KeyHeader, ImportTableTakesKnownAndExcludedKeys) {
  write_file("/etc/keys.txt", "UNIT.ID\nIP.ADDRESS\n");
  ckht(discovery_mode, "/tmp/header.csv");
  for (const auto& [key, fill] : {
           std::pair{std::string{"unit.id"}, 1},
           {"UNKNOWN", -1},
           {"QUERY.ALL", 2},
           {"query.all", -1},
           {"OWN_", 3},
           {"", -1},
           {key63 + "k", -1},
           {"IP.ADDRESS", 4},
       }) {
    EXPECT_EQ(ckv(key), fill > 0 ? 1 : -1) << key;
    EXPECT_EQ(akkh(import_mode, key), fill) << key;
  }
  EXPECT_EQ(import_header_table.classes(1), 0x80);
}
