// Floods without end: too slow for every day.

#include <gtest/gtest.h>

#include "support/files.hpp"
#include "support/program.hpp"

class Flood : public testing::TestWithParam<const char*> {};

// If it fails, one flooding unit blocks all requests for ever.
TEST_P(Flood, EndsACommandNoLaterThanAfterAMinute) {
  start_fleet("--count 1 --flood 100000000 --gap-ms 1");
  const std::string command = GetParam();
  const bool lists = command == "DISCOVER_ENCODERS";
  EXPECT_EQ(run_program(get("CMD=" + command)).out,
            page(command, lists ? "MYSELF,10.77.0.1,239.77.0.1\nUNIT-002,10.77.1.1,239.77.1.1\n" : ""));
  EXPECT_EQ(shell_output("grep -c IP= /tmp/mcD.log"), lists ? "" : "255\n");
  EXPECT_EQ(read_file("/var/link"), "running\n");
}

INSTANTIATE_TEST_SUITE_P(Commands, Flood, testing::Values("DISCOVER_DEVICES_API", "DISCOVER_ENCODERS"));
