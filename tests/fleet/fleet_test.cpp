#include <gtest/gtest.h>

#include <chrono>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "address.hpp"
#include "hostile.hpp"
#include "made_up_units.hpp"
#include "message.hpp"
#include "options.hpp"
#include "schedule.hpp"
#include "unit.hpp"
#include "units_csv.hpp"

namespace fleet {
namespace {

using std::chrono::milliseconds;
using texts = std::vector<std::string>;

constexpr moment start{};

unit a_unit(parameters known, faults behaviour = {}) {
  known.insert(known.begin(), {{"UNIT.MODEL", "TX610"}, {"UNIT.ID", "A"}, {"UNIT.SERIAL", "S1"}});
  return unit{{std::move(known), behaviour, 0}, 0};
}

// Sends the pairs to the unit. Returns its answer's text, "(silent)" when there is none.
std::string ask(unit& asked, const std::string& pairs) {
  const std::string text = "CMD=START&UNIT.ID=S1&" + pairs + "&CMD=END";
  const auto request = read_request(text);
  const auto said = request ? asked.act_on(*request) : std::nullopt;
  if (said && said->reboots) asked.restart(start);
  return said ? said->text : "(silent)";
}

TEST(UnitsFile, CellsFollowTheirQuotes) {
  const struct {
    std::string_view text;
    std::vector<csv_row> rows;
  } cases[] = {
      {"", {}},
      {"A,B\r\n1,2\r\n", {{"A", "B"}, {"1", "2"}}},
      {"A\n\n\r\nB", {{"A"}, {"B"}}},
      {",\n", {{"", ""}}},
      {"\"a,b\",c\n", {{"a,b", "c"}}},
      {"\"a\"\"b\",\"\"\n", {{"a\"b", ""}}},
      {"\"Room \"1\", left\"\n", {{"Room \"1", " left\""}}},  // an export does not double its quotes
      {"\"Room \"one\" a, b\",x\n", {{"Room \"one\" a, b", "x"}}},
      {"a\"b,\"open\n", {{"a\"b", "open"}}},
  };
  for (const auto& c : cases) EXPECT_EQ(read_csv(c.text), c.rows) << c.text;
}

TEST(UnitsFile, SimColumnsAreFaultsAndBlankRowsNoUnits) {
  faults every_unit;
  every_unit.delay_ms = 5;
  std::string problem;
  const auto units =
      describe_units("UNIT.ID,SIM.DELAY_MS,SIM.SILENT_AT,SIM.ADDRESS\nA,250,save,10.77.3.3\n,,,\nB,,,\n",
                     every_unit, problem);
  ASSERT_EQ(units.size(), 2U);
  EXPECT_EQ(units[0].known.size(), 1U);
  EXPECT_EQ(units[0].behaviour.delay_ms, 250U);
  EXPECT_EQ(units[0].behaviour.silent_at, step::save);
  EXPECT_EQ(address_text(units[0].lives_at), "10.77.3.3");
  EXPECT_EQ(units[1].behaviour.delay_ms, 5U);
  EXPECT_EQ(problem, "");
  for (const char* wrong :
       {"SIM.DELAY\n1\n", "SIM.SPLIT\n0\n", "SIM.SILENT_AT\nnever\n", "SIM.ADDRESS\n1.2.3\n"}) {
    problem.clear();
    (void)describe_units(wrong, every_unit, problem);
    EXPECT_NE(problem, "") << wrong;
  }
}

TEST(Options, ComeWithTheirValues) {
  options chosen;
  EXPECT_EQ(read_options(std::vector{"--count", "7", "--delay-ms=30", "--hostile", "--self"}, chosen), "");
  EXPECT_EQ(chosen.count, 7U);
  EXPECT_EQ(chosen.every_unit.delay_ms, 30U);
  EXPECT_EQ(chosen.every_unit.hostile, hostility::all);
  EXPECT_TRUE(chosen.self);
  const std::vector<std::vector<const char*>> wrong{{"--count"},
                                                    {"--count", "-1"},
                                                    {"--count", "60001"},
                                                    {"--self=1"},
                                                    {"count", "1"},
                                                    {"--"},
                                                    {""},
                                                    {"--delay-ms", "1s"},
                                                    {"--log="},
                                                    {"--hostile=very"},
                                                    {"--refuse-at", "reboot"}};
  for (const auto& arguments : wrong) EXPECT_NE(read_options(arguments, chosen), "") << arguments[0];
}

// The target and each pair in brackets, "(refused)" when the text is no request.
std::string reading_of(std::string_view text) {
  const auto asked = read_request(text);
  if (!asked) return "(refused)";
  std::string reading{asked->target};
  for (const auto& pair : asked->pairs) {
    reading.append("[").append(pair.key).append("|").append(pair.value).append("]");
  }
  return reading;
}

TEST(Request, IsTakenOnlyWhole) {
  const struct {
    std::string_view text;
    std::string reading;
  } cases[] = {
      {"CMD=START&UNIT.ID=ALL&QUERY.ALL=TRUE&CMD=END", "ALL[QUERY.ALL|TRUE]"},
      {"CMD=START&UNIT.ID=&CMD=END", ""},
      {"CMD=START&UNIT.ID=S1&A=1=2&B=&C&=D&&E=5&CMD=END", "S1[A|1=2][B|][E|5]"},
      {"CMD=START&UNIT.ID=S1&CMD=END&CMD=END", "S1[CMD|END]"},
      {"CMD=START&UNIT.ID=ALL&CMD=END\n", "(refused)"},
      {std::string_view{"CMD=START&UNIT.ID=ALL&CMD=END\0", 30}, "(refused)"},
      {"CMD=START&QUERY.ALL=TRUE&CMD=END", "(refused)"},
      {"CMD=START&UNIT.ID=ALL&QUERY.ALL=TRUE", "(refused)"},
      {"CMD=START&UNIT.ID=CMD=END", "(refused)"},
      {"", "(refused)"},
  };
  for (const auto& c : cases) EXPECT_EQ(reading_of(c.text), c.reading) << c.text;
}

TEST(Answer, IsCutAfterAnAmpersand) {
  const struct {
    std::string_view text;
    std::size_t size;
    texts datagrams;
  } cases[] = {
      {"", 10, {}},
      {"A=1&B=2", 7, {"A=1&B=2"}},
      {"A=1&B=2", 6, {"A=1&", "B=2"}},
      {"A=1&B=2&C=3", 8, {"A=1&B=2&", "C=3"}},
      {"A=1&B=2&C=3", 7, {"A=1&", "B=2&C=3"}},
      {"LONG=12345&B=2", 4, {"LONG=12345&", "B=2"}},
      {"A=1&LONG=12345", 4, {"A=1&", "LONG=12345"}},
      {"LONG=12345&", 4, {"LONG=12345&"}},
      {"no ampersand", 4, {"no ampersand"}},
  };
  for (const auto& c : cases) EXPECT_EQ(split_answer(c.text, c.size), c.datagrams) << c.text << " " << c.size;
}

TEST(Answer, OfAScriptIsTakenAsItStands) {
  EXPECT_EQ(split_script("A=1&|B=2||"), (texts{"A=1&", "B=2", "", ""}));
  EXPECT_EQ(split_script("A=1"), texts{"A=1"});
}

TEST(Log, WritesOtherBytesAsNumbers) {
  EXPECT_EQ(printable({"a~ \x7f\0\n\xff\\", 8}), "a~ \\x7f\\x00\\x0a\\xff\\");
}

TEST(Unit, IsMeantByAllAndItsSerial) {
  const unit known = a_unit({});
  const unit nameless{{{{"UNIT.ID", "A"}}, {}, 0}, 0};
  EXPECT_TRUE(known.is_meant("ALL") && known.is_meant("S1") && nameless.is_meant("ALL"));
  for (const char* target : {"", "NONE", "S2", "s1", "A"}) {
    EXPECT_FALSE(known.is_meant(target) || nameless.is_meant(target)) << target;
  }
}

TEST(Unit, AnswersQueriesInColumnOrder) {
  unit encoder = a_unit({{"STREAM.RTP_ADDRESS", "239.1.1.1"}, {"EMPTY", ""}, {"IP.ADDRESS", "10.77.1.1"}});
  EXPECT_EQ(ask(encoder, "QUERY.ALL=TRUE"),
            "UNIT.MODEL=TX610&UNIT.ID=A&UNIT.SERIAL=S1&STREAM.RTP_ADDRESS=239.1.1.1&STREAM.ADDRESS=239.1.1.1"
            "&IP.ADDRESS=10.77.1.1&API.STATUS=SUCCESS");
  EXPECT_EQ(ask(encoder, "QUERY.STATUS=TRUE"),
            "UNIT.MODEL=TX610&UNIT.ID=A&UNIT.SERIAL=S1&IP.ADDRESS=10.77.1.1&STREAM.ADDRESS=239.1.1.1"
            "&API.STATUS=SUCCESS");
  EXPECT_EQ(ask(encoder, "STREAM.ADDRESS=239.2.2.2&QUERY.ALL=TRUE"),
            "UNIT.MODEL=TX610&UNIT.ID=A&UNIT.SERIAL=S1&STREAM.RTP_ADDRESS=239.1.1.1"
            "&IP.ADDRESS=10.77.1.1&STREAM.ADDRESS=239.2.2.2&API.STATUS=SUCCESS");
}

TEST(Unit, TakesSettingsAtOnce) {
  const struct {
    std::string setting, key, value;
  } cases[] = {
      {"VW.NAME=Hall, east", "VW.NAME", "Hall, east"},
      {"VIDEO.EDID2=CUSTOM", "VIDEO.EDID2", "CUSTOM"},
      {"UNIT.SET_ID=B", "UNIT.ID", "B"},
      {"DANTE.SET_DEVICE_NAME=D", "DANTE.DEVICE_NAME", "D"},
      {"IP.GATEWAY=10.77.0.9", "IP.STATIC_GATEWAY", "10.77.0.9"},
      {"IP.ADDRESS=10.77.4.4", "IP.ADDRESS", "10.77.1.1"},
      {"VW.OLD=", "VW.OLD", "1"},
      {"VW.OLD=2&VW.OLD=3", "VW.OLD", "3"},
      {"UNIT.SERIAL=S9", "UNIT.SERIAL", "S1"},
      {"UNIT.ID=B", "UNIT.ID", "A"},
      {"QUERY.KEY=VW.OLD", "QUERY.KEY", ""},
      {"VW.LONG=" + std::string(1025, 'x'), "VW.LONG", ""},
  };
  for (const auto& c : cases) {
    unit set = a_unit({{"IP.ADDRESS", "10.77.1.1"}, {"VW.OLD", "1"}});
    EXPECT_TRUE(ask(set, c.setting).ends_with("API=SUCCESS")) << c.setting;
    EXPECT_EQ(set.value(c.key), c.value) << c.setting;
  }
}

TEST(Unit, ComesBackWithWhatItSaved) {
  unit rebooted =
      a_unit({{"IP.ADDRESS", "10.77.1.1"}, {"IP.STATIC_NETMASK", "255.0.0.0"}, {"VW.NAME", "old"}});
  EXPECT_EQ(ask(rebooted, "UNIT.SET_ID=B&IP.ADDRESS=10.77.4.4&IP.DNS_SERVER=none"),
            "UNIT.ID=B&UNIT.SERIAL=S1&API=SUCCESS");
  EXPECT_EQ(ask(rebooted, "SAVE=TRUE"), "UNIT.ID=B&UNIT.SERIAL=S1&API.STATUS=SUCCESS");
  (void)ask(rebooted, "VW.NAME=unsaved&SAVE=FALSE");
  (void)ask(rebooted, "REBOOT=TRUE");
  EXPECT_FALSE(rebooted.is_down(start));  // its acknowledgement still leaves
  EXPECT_TRUE(rebooted.is_down(start + milliseconds{1}));
  EXPECT_TRUE(rebooted.is_down(start + milliseconds{1999}));
  rebooted.advance_to(start + milliseconds{1999});
  EXPECT_EQ(address_text(rebooted.address()), "10.77.1.1");
  rebooted.advance_to(start + milliseconds{2000});
  EXPECT_FALSE(rebooted.is_down(start + milliseconds{2000}));
  EXPECT_EQ(address_text(rebooted.address()), "10.77.4.4");
  EXPECT_EQ(rebooted.value("IP.ADDRESS"), "10.77.4.4");
  EXPECT_EQ(rebooted.value("IP.NETMASK"), "");     // nobody changed it
  EXPECT_EQ(rebooted.value("IP.DNS_SERVER"), "");  // not an address
  EXPECT_EQ(rebooted.value("UNIT.ID"), "B");
  EXPECT_EQ(rebooted.value("VW.NAME"), "old");

  unit addressless = a_unit({});
  (void)ask(addressless, "IP.ADDRESS=10.77.4.5&SAVE=TRUE&REBOOT=TRUE");
  addressless.advance_to(start + milliseconds{2000});
  EXPECT_EQ(address_text(addressless.address()), "10.77.4.5");
}

TEST(Unit, RefusesAndFallsSilentAtItsStep) {
  const char* const asked[] = {"QUERY.ALL=TRUE", "VW.NAME=new", "CONFIG.SAVE=TRUE", "REBOOT=TRUE"};
  const step steps[] = {step::query, step::set, step::save, step::reboot};
  for (const step silent : steps) {
    for (std::size_t place = 0; place < 4; ++place) {
      faults behaviour;
      behaviour.silent_at = silent;
      unit tried = a_unit({}, behaviour);
      EXPECT_EQ(ask(tried, asked[place]) == "(silent)", steps[place] == silent) << asked[place];
    }
  }
  faults behaviour;
  behaviour.refuse_at = step::set;
  behaviour.spelling = ack_spelling::status;
  unit refusing = a_unit({{"VW.NAME", "old"}}, behaviour);
  EXPECT_EQ(ask(refusing, "VW.NAME=new"), "UNIT.ID=A&UNIT.SERIAL=S1&API.STATUS=FAIL");
  EXPECT_EQ(refusing.value("VW.NAME"), "old");
}

TEST(MadeUpUnits, AreAllDifferentAndAddressable) {
  std::set<std::string> addresses, serials;
  for (unsigned number = 2; number < 2049; ++number) {
    const unit made{make_up_unit(number, {}), 0};
    addresses.insert(address_text(made.address()));
    serials.emplace(made.value("UNIT.SERIAL"));
    EXPECT_TRUE((made.address() & 0xff) % 255 != 0 && made.address() >> 16 == 0x0a4d) << number;
    EXPECT_EQ(is_encoder(made.value("UNIT.MODEL")), number % 2 == 0) << number;
  }
  EXPECT_EQ(addresses.size(), 2047U);
  EXPECT_EQ(serials.size(), 2047U);
}

TEST(HostileText, StaysFindable) {
  const std::string plain =
      "UNIT.MODEL=TX610&UNIT.ID=A&UNIT.SERIAL=S1&IP.ADDRESS=10.77.1.1&VW.NAME=n&API=SUCCESS";
  EXPECT_EQ(hostile_text(plain, hostility::none, 0), plain);
  for (std::size_t index = 0; index < 20; ++index) {
    const std::string text = hostile_text(plain, hostility::all, index);
    EXPECT_NE(text, plain) << index;
    for (const char* kept : {"UNIT.MODEL=TX610", "UNIT.SERIAL=S1", "IP.ADDRESS=10.77.1.1", "API=SUCCESS"}) {
      EXPECT_NE(text.find(kept), std::string::npos) << index << " " << kept;
    }
  }
}

TEST(Schedule, SendsInTimeAndInOrder) {
  schedule waiting;
  const auto add = [&waiting](int due_ms, std::size_t unit) {
    waiting.add({.due = start + milliseconds{due_ms}, .unit = unit, .what = {}});
  };
  add(20, 1), add(10, 2), add(20, 3), add(10, 4);
  EXPECT_EQ(waiting.next_due(), start + milliseconds{10});
  std::vector<std::size_t> sent;
  while (const auto next = waiting.take(start + milliseconds{19})) sent.push_back(next->unit);
  while (const auto next = waiting.take(start + milliseconds{20})) sent.push_back(next->unit);
  EXPECT_EQ(sent, (std::vector<std::size_t>{2, 4, 1, 3}));
}

TEST(Schedule, InterleavesWholeWaves) {
  std::vector<planned_send> batch;
  for (std::size_t unit = 0; unit < 3; ++unit) {
    for (std::size_t wave = 0; wave < 2; ++wave) {
      batch.push_back({.due = start + milliseconds{unit}, .unit = unit, .what = {}, .wave = wave});
    }
  }
  interleave(batch);
  std::string order;
  for (const planned_send& planned : batch) {
    order +=
        std::to_string(planned.unit) + "@" + std::to_string((planned.due - start) / milliseconds{1}) + " ";
  }
  EXPECT_EQ(order, "0@0 1@1 2@2 0@2 1@2 2@2 ");
}

}  // namespace
}  // namespace fleet
