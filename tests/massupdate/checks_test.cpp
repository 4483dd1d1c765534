#include "massupdate/checks.hpp"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "base/text.hpp"
#include "discovery/discovery_state.hpp"
#include "massupdate/import.hpp"
#include "massupdate/import_records.hpp"

namespace {

// What a check adds to the site log, without its first and its last line.
std::string logged(const std::string& name, void (*check)()) {
  write_file("/tmp/site.log", "");
  check();
  std::string log = read_file("/tmp/site.log");
  const std::string first = "     BEGIN duplicate_check_" + name + "(): \n";
  const std::string last = "     END duplicate_check_" + name + "(): \n";
  EXPECT_TRUE(log.starts_with(first) && log.ends_with(last)) << log;
  log.erase(log.size() - last.size());
  return log.substr(first.size());
}

std::string pair_line(const std::string& name, std::size_t i, std::size_t j) {
  return "     duplicate_check_" + name + "(): Duplicate Device DATA " + std::to_string(i) + " " +
         std::to_string(j) + " \n";
}

using unit_texts = std::vector<std::string>;  // unit id, address, serial

// Visits every pair in both orders: marks the second one of an equal pair, and logs it when it is marked by
// then. A record contains no empty text but for the serial, which is in the last column.
std::string compare_all(const std::string& name, const std::vector<unit_texts>& units,
                        std::vector<bool>& marks) {
  std::string log;
  marks.assign(units.size(), false);
  for (std::size_t i = 0; i < units.size(); ++i) {
    for (std::size_t j = 0; j < units.size(); ++j) {
      if (i == j) continue;
      for (std::size_t which = 0; which < 3; ++which) {
        const bool counts = which == 2 || name == "vdt" || !units[i][which].empty();
        if (counts && equal_no_case(units[i][which], units[j][which])) marks[j] = true;
      }
      if (marks[j]) log += pair_line(name, i, j);
    }
  }
  return log;
}

std::vector<unit_texts> random_units(std::mt19937& random) {
  constexpr const char* letters[] = {"", "a", "A", "b", "B"};
  std::vector<unit_texts> units(random() % 60, unit_texts(3));
  const auto spread = 1 + random() % 400;
  for (unit_texts& unit : units) {
    for (std::string& text : unit) {
      text = letters[random() % 5];
      if (!text.empty()) text += std::to_string(random() % spread);
    }
  }
  return units;
}

// Two columns have the unit id's key: the first one that is not empty counts.
void import_units(const std::vector<unit_texts>& units) {
  std::string csv = "unit.id,UNIT.ID,IP.ADDRESS,UNIT.SERIAL\r\n";
  for (const unit_texts& unit : units) {
    const bool in_first = !unit[0].empty() && unit[1].empty();
    csv += (in_first ? unit[0] + ",b0," : "," + unit[0] + ",") + unit[1] + "," + unit[2] + "\r\n";
  }
  import("UNIT.ID\nIP.ADDRESS\nUNIT.SERIAL\n", csv);
}

}  // namespace

// If it fails, two units are sent the same id, address or serial, or a row that repeats nothing is held back.
TEST(DuplicateCheck, FindsWhatComparingEveryPairFinds) {
  std::mt19937 random{7};
  for (int round = 0; round < 300; ++round) {
    const std::vector<unit_texts> units = random_units(random);
    std::vector<bool> marks;
    import_units(units);
    EXPECT_EQ(logged("kvp", duplicate_check_kvp), compare_all("kvp", units, marks));
    for (std::size_t i = 0; i < units.size(); ++i) {
      EXPECT_EQ(kvp_table.flags(static_cast<int>(i)), marks[i] ? duplicate_record : 0) << i;
    }
  }
}

// If it fails, the site log names the wrong unit for a record. Empty texts of two units are equal, too.
TEST(ValidDeviceTable, MarksDuplicatesAndIsClaimedOnce) {
  const std::string s63(63, 's');
  const std::vector<unit_texts> units{{"a", "1", "S1"}, {"b", "1", "S2"}, {"c", "3", "s2"},
                                      {"C", "4", s63},  {"", "", ""},     {"", "5", ""}};
  device_count = 6;
  vdt_count = 0;
  vdt_alloc();
  for (std::size_t i = 0; i < 6; ++i) {
    vdt[i].unit_id.assign_cut(units[i][0]);
    vdt[i].address.assign_cut(units[i][1]);
    vdt[i].serial.assign_cut(units[i][2]);
  }
  std::vector<bool> marks;
  EXPECT_EQ(logged("vdt", duplicate_check_vdt), compare_all("vdt", units, marks));
  std::vector<unsigned> flags;
  for (std::size_t i = 0; i < 6; ++i) flags.push_back(vdt[i].flags);
  EXPECT_EQ(flags, (std::vector<unsigned>{0x20, 0x60, 0x50, 0x10, 0x50, 0x50}));
  using row = std::tuple<std::string, int, std::string>;
  for (const auto& [serial, result, log] : {
           row{"s1", 0, "(s1~S1) 0 6"},
           {"S1", -2, "(S1~S1) 0 6 \n    check_device_valid(S1) Duplicate Device Found -2 0"},
           {"S2", -3, "(S2~S2) 1 6 \n    check_device_valid(S2) Duplicate Device DATA -3 1"},
           {s63, 3, "(" + s63 + "~" + s63 + ") 3 6"},
           {s63 + "s", -1, "(" + s63 + "s) Invalid Input -1 or no VDT"},
           {"S", -1, "(S) Device Not Found in Valid Device Table -1 6"},
           {"", -1, "() Invalid Input -1 or no VDT"},
       }) {
    write_file("/tmp/site.log", "");
    EXPECT_EQ(check_device_valid(serial), result) << serial;
    EXPECT_EQ(read_file("/tmp/site.log"), "    check_device_valid" + log + " \n");
  }
}
