#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "base/files.hpp"
#include "base/trace.hpp"
#include "support/files.hpp"

// The box maps a single uid, so the test cannot make a link of another user. It changes our own uid instead:
// geteuid is wrapped, and the links then belong to somebody else.
namespace {

bool is_another_user = false;

}  // namespace

extern "C" uid_t __real_geteuid();
extern "C" uid_t __wrap_geteuid() {
  return is_another_user ? __real_geteuid() + 1 : __real_geteuid();
}

namespace {

void write_all(const std::string& folder) {
  if (const unique_file file = open_for_writing((folder + "file").c_str(), write_mode::replace)) {
    std::fputs("text\n", file.get());
  }
  if (const unique_file file = open_for_update((folder + "update").c_str())) std::fputs("text\n", file.get());
  direct_file{(folder + "direct").c_str(), write_mode::append}.write("text\n");
  const std::string log_path = folder + "log";
  const trace_log log{log_path.c_str(), command_size};
  log.replace("text");
}

// If it fails, another user of the unit makes us overwrite a file by a link, or our own links fail.
TEST(Links, OurOwnAreFollowedAndThoseOfOthersAreNot) {
  char folder[] = "/tmp/linksXXXXXX";
  ASSERT_NE(mkdtemp(folder), nullptr);
  const std::string links = std::string{folder} + "/";
  const std::string targets = std::string{folder} + "/targets/";
  std::filesystem::create_directory(targets);
  for (const char* name : {"file", "update", "direct", "log"}) {
    write_file(targets + name, "");
    std::filesystem::create_symlink(targets + name, links + name);
  }
  struct stat status {};
  ASSERT_EQ(lstat((links + "file").c_str(), &status), 0);
  ASSERT_NE(status.st_uid, 0U) << "the links of root are always followed";

  is_another_user = true;
  write_all(links);
  is_another_user = false;
  for (const char* name : {"file", "update", "direct", "log"}) {
    EXPECT_EQ(read_file(targets + name), "") << name;
  }

  write_all(links);
  for (const char* name : {"file", "update", "direct", "log"}) {
    EXPECT_EQ(read_file(targets + name), "text\n") << name;
  }
}

// If it fails, a planted pipe delays a request until somebody opens its other end.
TEST(Links, APipeIsNotWaitedFor) {
  char folder[] = "/tmp/pipesXXXXXX";
  ASSERT_NE(mkdtemp(folder), nullptr);
  const std::string pipes = std::string{folder} + "/";
  for (const char* name : {"file", "update", "direct", "log"}) {
    ASSERT_EQ(mkfifo((pipes + name).c_str(), 0600), 0);
  }
  write_all(pipes);
  EXPECT_FALSE(open_for_writing((pipes + "file").c_str(), write_mode::replace));
}

}  // namespace
