#include "base/shell.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "base/handles.hpp"
#include "support/files.hpp"

TEST(Shell, FirstLineTellsWhatWasRead) {
  fixed_text<8> line;
  EXPECT_EQ(shell_first_line("echo one; echo two", line), first_line::read);
  EXPECT_EQ(line.view(), "one\n");
  EXPECT_EQ(shell_first_line("echo 0123456789", line), first_line::read);
  EXPECT_EQ(line.view(), "0123456");
  EXPECT_EQ(shell_first_line("true", line), first_line::none);
  EXPECT_EQ(line.view(), "");
}

TEST(Shell, ChildrenInheritTheStandardDescriptorsOnly) {
  const unique_file open_file{std::fopen("/etc/keys.txt", "re")};
  fixed_text<64> descriptors;
  ASSERT_EQ(shell_first_line("exec ls -C /proc/self/fd", descriptors), first_line::read);
  // The fourth is the folder that ls itself reads.
  EXPECT_EQ(descriptors.view(), "0  1  2  3\n");
}

// One row a process: the path is looked at once, before the first command.
class ToolPath : public testing::TestWithParam<std::pair<const char*, const char*>> {};

TEST_P(ToolPath, HoldsTheToolFolder) {
  const auto [inherited, expected] = GetParam();
  inherited != nullptr ? setenv("PATH", inherited, 1) : unsetenv("PATH");
  fixed_text<128> path;
  ASSERT_EQ(shell_first_line("echo $PATH", path), first_line::read);
  EXPECT_EQ(path.view(), std::string{expected} + "\n");
}

constexpr const char* every_folder = "/bin:/usr/bin:/sbin:/usr/sbin:/usr/local/bin";
INSTANTIATE_TEST_SUITE_P(
    Shell, ToolPath,
    testing::Values(std::pair{static_cast<const char*>(nullptr), every_folder}, std::pair{"", every_folder},
                    std::pair{"/bin", "/bin:/usr/local/bin"},
                    std::pair{"/bin:/usr/local/bin2", "/bin:/usr/local/bin2:/usr/local/bin"}));
