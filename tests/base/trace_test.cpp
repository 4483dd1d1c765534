#include "base/trace.hpp"

#include <gtest/gtest.h>

#include <string>

#include "support/files.hpp"

// If it fails, long log lines have another length than those that the units in the field write.
TEST(Trace, CutsWhereTheCommandWouldJustFit) {
  const std::string text(command_size, 'x');
  const trace_log log{"/tmp/log", command_size};
  log.line("%s", text.c_str());
  const std::size_t longest = command_size - 1 - std::string{"echo \"\" >> /tmp/log"}.size();
  EXPECT_EQ(read_file("/tmp/log"), text.substr(0, longest) + "\n");
}
