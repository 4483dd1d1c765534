#include "base/shell.hpp"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>

#include "base/command_line.hpp"
#include "base/handles.hpp"
#include "support/files.hpp"

// If it fails, a unit's setting is read cut, or one that its tool does not print has the value read before.
TEST(Shell, FirstLineSaysWhetherOneWasRead) {
  fixed_text<8> line;
  EXPECT_EQ(shell_first_line("echo one; echo two", line), first_line::read);
  EXPECT_EQ(line.view(), "one\n");
  EXPECT_EQ(shell_first_line("echo 0123456789", line), first_line::read);
  EXPECT_EQ(line.view(), "0123456");
  EXPECT_EQ(shell_first_line("true", line), first_line::none);
  EXPECT_EQ(line.view(), "");
}

// If it fails, tools that stay keep our sockets and files open.
TEST(Shell, ChildrenInheritTheStandardDescriptorsOnly) {
  const unique_file open_file{std::fopen("/etc/keys.txt", "re")};
  fixed_text<64> descriptors;
  ASSERT_EQ(shell_first_line("exec ls -C /proc/self/fd", descriptors), first_line::read);
  // The fourth is the folder that ls itself reads.
  EXPECT_EQ(descriptors.view(), "0  1  2  3\n");
}

// What a line leaves behind when one of the two ways runs it: its status, its two outputs, and the tool's
// words and environment. A shell adds variables of its own, which no tool reads.
template <typename Run>
std::string result_of(Run run, const char* line) {
  write_file("/tmp/out", "before\n");
  write_file("/tmp/err", "");
  write_file("/tmp/words", "");
  const int status = run(line);
  for (int tries = 0; tries < 100 && read_file("/tmp/words").empty() && std::string_view{line}.ends_with('&');
       ++tries) {
    usleep(10000);
  }
  return std::to_string(status) + '|' + read_file("/tmp/out") + '|' + read_file("/tmp/err") + '|' +
         read_file("/tmp/words");
}

// If it fails, a unit's tool gets other words, files or signals than its shell would give it.
TEST(Shell, LinesStartedDirectlyDoWhatAShellDoes) {
  std::filesystem::create_directory("/tmp/tools");
  const auto write_tool = [](const char* name, const std::string& text) {
    const std::string path = std::string{"/tmp/tools/"} + name;
    write_file(path, text);
    chmod(path.c_str(), 0755);
  };
  write_tool(
      "show",
      "#!/bin/sh\necho \"out $*\"\necho error >&2\n"
      "{ echo \"$*\"; readlink /proc/$$/fd/0; env | grep -v -e ^PWD= -e ^OLDPWD= -e ^SHLVL= -e ^_= | sort; "
      "grep SigIgn /proc/$$/status; } > /tmp/words.new\nmv /tmp/words.new /tmp/words\n");
  write_tool("fails", "#!/bin/sh\nexit 3\n");
  write_tool("dies", "#!/bin/sh\nkill -9 $$\n");
  write_tool("no_interpreter", "exit 4\n");
  write_file("/tmp/tools/not_executable", "#!/bin/sh\n");
  setenv("PATH", (std::string{"/tmp/tools:"} + getenv("PATH")).c_str(), 1);
  for (const char* line : {
           "show one -2 a=b > /tmp/out",
           " show  > /tmp/out 2>&1 ",
           "show 2>&1 > /tmp/out",
           "show >> /tmp/out 2>/tmp/err",
           "/tmp/tools/show > /tmp/out 2> /tmp/err &",
           "show > /tmp/missing/out",
           "fails",
           "dies > /tmp/out",
           "no_interpreter",
           "not_executable",
           "missing_tool > /tmp/out",
           "/tmp/tools/missing",
           "missing_tool &",
           "cd /tmp",
           "A=b show > /tmp/out",
           "show 'quoted words' > /tmp/out",
           "show /tmp/tools/s* > /tmp/out",
           "cd /tmp; show > /tmp/out",
       }) {
    EXPECT_EQ(result_of(shell_status, line),
              result_of([](const char* command) { return std::system(command); }, line))
        << line;
  }
}

// If it fails, a character that only a shell understands is passed on to a tool as it is.
TEST(Shell, OnlyLinesThatNeedNoShellAreStartedDirectly) {
  for (const char* line : {"a", " a b/c.d -e f=g", "a > b 2>&1", "a >>b 2>c &", "a 2> b"}) {
    EXPECT_TRUE(static_cast<bool>(plain_command{line})) << line;
  }
  for (const char* line : {"", " ", "&", "> a", "a=b c", "a b>c", "a > b > c > d > e"}) {
    EXPECT_FALSE(static_cast<bool>(plain_command{line})) << line;
  }
  for (const std::string special :
       {";", "|", "& b", "&&", "'b'", "\"b\"", "*", "$b", "`b`", "< b", ">&-", "~", "#", "\nb", "3>b"}) {
    EXPECT_FALSE(static_cast<bool>(plain_command{("a " + special).c_str()})) << special;
  }
}

// One row a process: the path is looked at once, before the first command.
class ToolPath : public testing::TestWithParam<std::pair<const char*, const char*>> {};

// If it fails, the unit's tools are not found under a web server that sets no path, or another one.
TEST_P(ToolPath, IncludesTheToolFolder) {
  const auto [inherited, expected] = GetParam();
  inherited != nullptr ? setenv("PATH", inherited, 1) : unsetenv("PATH");
  fixed_text<128> path;
  ASSERT_EQ(shell_first_line("echo $PATH", path), first_line::read);
  EXPECT_EQ(path.view(), std::string{expected} + "\n");
}

constexpr const char* every_folder = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin";
INSTANTIATE_TEST_SUITE_P(
    Shell, ToolPath,
    testing::Values(std::pair{static_cast<const char*>(nullptr), every_folder}, std::pair{"", every_folder},
                    std::pair{"/bin", "/bin:/usr/local/bin"},
                    std::pair{"/bin:/usr/local/bin2", "/bin:/usr/local/bin2:/usr/local/bin"}));
