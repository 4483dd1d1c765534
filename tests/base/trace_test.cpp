#include "base/trace.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/files.hpp"

TEST(Trace, ReplacesAndAppendsLiterally) {
  trace_append("/tmp/log", command_size, "old");
  trace_replace("/tmp/log", command_size, "$(touch /tmp/owned) `id` \"x\" \\n %s");
  trace_append("/tmp/log", command_size, "\tsecond\nline");
  EXPECT_EQ(read_file("/tmp/log"), "$(touch /tmp/owned) `id` \"x\" \\n %s\n\tsecond\nline\n");
  EXPECT_FALSE(std::filesystem::exists("/tmp/owned"));
}

// echo "TEXT" >> /tmp/log   has to fit the buffer with its terminator.
TEST(Trace, CutsWhereTheCommandWouldJustFit) {
  const std::string path = "/tmp/log";
  const auto longest = [&path](const std::string& redirection) {
    return command_size - 1 - std::string("echo \"" + redirection + path).size();
  };
  const std::string text(command_size, 'x');
  trace_append(path.c_str(), command_size, text);
  EXPECT_EQ(read_file(path), text.substr(0, longest("\" >> ")) + "\n");
  trace_replace(path.c_str(), command_size, text);
  EXPECT_EQ(read_file(path), text.substr(0, longest("\" > ")) + "\n");
}

TEST(Trace, DoesNotFollowAPlantedLinkAndSurvivesAnUnwritablePath) {
  write_file("/tmp/precious", "kept");
  std::filesystem::create_symlink("/tmp/precious", "/tmp/log");
  trace_replace("/tmp/log", command_size, "text");
  trace_append("/tmp/log", command_size, "text");
  trace_append("/nowhere/log", command_size, "text");
  EXPECT_FALSE(trace_block{"/tmp/log"}.append("text\n"));
  EXPECT_EQ(read_file("/tmp/precious"), "kept");
}

TEST(Trace, BlocksKeepEveryLineInOrder) {
  trace_append("/tmp/log", command_size, "first");
  std::string all = "first\n";
  {
    trace_block log{"/tmp/log"};
    for (int i = 0; i < 20'000; ++i) {
      const std::string line = "line " + std::to_string(i) + "\n";
      EXPECT_TRUE(log.append(line));
      all += line;
    }
  }
  EXPECT_TRUE(read_file("/tmp/log") == all);
}
