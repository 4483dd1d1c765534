// What other tests do not show of the fleet: what it refuses and forgets, and that it is hard on the program.

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "hostile.hpp"
#include "message.hpp"
#include "options.hpp"
#include "unit.hpp"
#include "units_csv.hpp"

namespace fleet {
namespace {

using std::chrono::milliseconds;

// If it fails, an exported CSV starts other units than it lists.
TEST(UnitsFile, IsReadWithTheQuotesOfAnExport) {
  const std::vector<csv_row> rows{{"a\"b", ""}, {"Room \"1", " left\""}, {"Room \"one\" a, b", "x"}};
  EXPECT_EQ(read_csv("\"a\"\"b\",\"\"\n\"Room \"1\", left\"\n\n\"Room \"one\" a, b\",x"), rows);
}

// If it fails, a misspelt fault or option is ignored: its test passes without the fault.
TEST(Options, WrongOnesAreRefused) {
  for (const char* wrong :
       {"SIM.DELAY\n1\n", "SIM.SPLIT\n0\n", "SIM.SILENT_AT\nnever\n", "SIM.ADDRESS\n1.2.3\n"}) {
    std::string problem;
    (void)describe_units(wrong, {}, problem);
    EXPECT_NE(problem, "") << wrong;
  }
  options chosen;
  for (const std::vector<const char*>& wrong : std::vector<std::vector<const char*>>{
           {"--count"},
           {"--count", "60001"},
           {"--self=1"},
           {"count", "1"},
           {"--delay-ms", "1s"},
           {"--log="},
           {"--hostile=very"},
           {"--refuse-at", "reboot"},
       }) {
    EXPECT_NE(read_options(wrong, chosen), "") << wrong[0];
  }
}

// If it fails, simulated units obey messages that real ones ignore.
TEST(Request, IsTakenOnlyWhole) {
  using namespace std::string_view_literals;
  for (const std::string_view text : {
           "CMD=START&UNIT.ID=ALL&CMD=END\n"sv,
           "CMD=START&UNIT.ID=ALL&CMD=END\0"sv,
           "CMD=START&QUERY.ALL=TRUE&CMD=END"sv,
           "CMD=START&UNIT.ID=ALL&QUERY.ALL=TRUE"sv,
           "CMD=START&UNIT.ID=CMD=END"sv,
       }) {
    EXPECT_FALSE(read_request(text)) << text;
  }
}

// If it fails, the fleet keeps settings that were never saved, and an update without a save passes.
TEST(Unit, IsDownWhileItRebootsAndForgetsWhatItDidNotSave) {
  constexpr moment start{};
  unit rebooted{{{{"UNIT.SERIAL", "S1"}, {"VW.NAME", "old"}}, {}, 0}, 0};
  for (const char* pairs : {"VW.NAME=saved&SAVE=TRUE", "VW.NAME=unsaved&SAVE=FALSE"}) {
    const std::string text = "CMD=START&UNIT.ID=S1&" + std::string{pairs} + "&CMD=END";
    EXPECT_TRUE(rebooted.act_on(*read_request(text)));
  }
  EXPECT_EQ(rebooted.value("VW.NAME"), "unsaved");
  rebooted.restart(start);
  EXPECT_FALSE(rebooted.is_down(start));  // its acknowledgement still leaves
  EXPECT_TRUE(rebooted.is_down(start + milliseconds{1999}));
  rebooted.advance_to(start + milliseconds{2000});
  EXPECT_FALSE(rebooted.is_down(start + milliseconds{2000}));
  EXPECT_EQ(rebooted.value("VW.NAME"), "saved");
}

// If it fails, hostile units are tame, or so wild that no test can find them in the CSV.
TEST(HostileText, IsHostileAndStaysFindable) {
  const std::string plain = "UNIT.MODEL=TX610&UNIT.SERIAL=S1&IP.ADDRESS=10.77.1.1&VW.NAME=n&API=SUCCESS";
  for (std::size_t index = 0; index < 20; ++index) {
    const std::string text = hostile_text(plain, hostility::all, index);
    EXPECT_NE(text, plain) << index;
    for (const char* kept : {"UNIT.MODEL=TX610", "UNIT.SERIAL=S1", "IP.ADDRESS=10.77.1.1", "API=SUCCESS"}) {
      EXPECT_NE(text.find(kept), std::string::npos) << index << " " << kept;
    }
  }
}

}  // namespace
}  // namespace fleet
