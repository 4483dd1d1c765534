#include "cgi/capture_file.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "cgi/form_entry.hpp"
#include "cgi/state.hpp"
#include "cgi/variables.hpp"
#include "support/fields.hpp"
#include "support/files.hpp"
#include "support/program.hpp"

namespace {

const char* const path = "/tmp/request.cgic";

std::string number(std::int32_t value) {
  return {reinterpret_cast<const char*>(&value), sizeof value};
}

std::string text(const std::string& value) {
  return number(static_cast<std::int32_t>(value.size())) + value;
}

std::string entry(const std::string& name, const std::string& value) {
  return text(name) + text(value) + text("") + text("") + number(static_cast<std::int32_t>(value.size())) +
         number(0);
}

std::string upload(const std::string& name, std::int32_t length, const std::string& content) {
  return text(name) + text("") + text("client.bin") + text("image/x") + number(length) + number(1) + content;
}

// A capture file up to its entries; variable i is "vi".
std::string capture_head(std::int32_t length) {
  std::string head = text("CGIC2.0");
  for (std::size_t i = 0; i < cgiVariables.size(); ++i) head += text("v" + std::to_string(i));
  return head + number(length);
}

// What a file loads to, result and fields; the request is then released.
using loaded = std::pair<int, std::vector<field>>;

loaded load(const std::string& content) {
  write_file(path, content);
  const int result = cgiReadEnvironment(path);
  return {result, take_fields()};
}

}  // namespace

// If it fails, captures of units in the field cannot be read, or lose parts of the request.
TEST(CaptureFile, IsWrittenByteForByteAndReplacesTheRequest) {
  const std::string content(3000, '\xFF');
  for (std::size_t i = 0; i < cgiVariables.size(); ++i) {
    cgiRestoreVariable(i, cgiCopyText("v" + std::to_string(i)));
  }
  cgiContentLength = -5;
  append_field({"CMD", "a\r\n"});
  append_field({"file", content, "client.bin", "image/x"});
  append_field({"zero", std::string("b\0c", 3)});
  append_field({"", ""});
  append_field({"gone", "content", "gone.bin", "t"});
  std::filesystem::remove(cgiFormEntryFirst->next->next->next->next->tfileName());
  write_file(path, std::string(9000, 'x'));
  ASSERT_EQ(cgiWriteEnvironment(path), cgiEnvironmentSuccess);
  EXPECT_EQ(read_file(path), capture_head(-5) + entry("CMD", "a\r\n") + upload("file", 3000, content) +
                                 text("zero") + text("b") + text("") + text("") + number(3) + number(0) +
                                 entry("", "") + text("gone") + text("") + text("gone.bin") + text("t") +
                                 number(7) + number(0));

  const std::string whole =
      capture_head(9) + entry("CMD", "\r\n\xFF") + entry("", "") + upload("file", 3000, content);
  write_file(path, whole);
  cgiReleaseVariables();
  ASSERT_EQ(cgiReadEnvironment(path), cgiEnvironmentSuccess);
  EXPECT_EQ(cgiRestored, 1);
  ASSERT_EQ(cgiWriteEnvironment(path), cgiEnvironmentSuccess);
  EXPECT_EQ(read_file(path), whole);
  // Releasing it leaves a request without anything.
  take_fields();
  EXPECT_EQ(cgiRestored, 0);
  for (const cgiVariable& variable : cgiVariables) EXPECT_STREQ(*variable.value, "");
}

// If it fails, a capture sent through a slow pipe (ssh) is cut.
TEST(CaptureFile, GoesThroughASlowPipe) {
  const std::string content(200'000, 'x');
  append_field({"file", content, "client.bin", "t"});
  ASSERT_EQ(mkfifo("/tmp/pipe", 0600), 0);
  const pid_t reader = fork();
  if (reader == 0) _exit(std::system("exec < /tmp/pipe; sleep 0.3; cat > /tmp/caught"));
  const int standard_output = dup(STDOUT_FILENO);
  const int pipe = open("/tmp/pipe", O_WRONLY | O_CLOEXEC);
  dup2(pipe, STDOUT_FILENO);
  close(pipe);
  const int written = cgiWriteEnvironment("/dev/stdout");
  dup2(standard_output, STDOUT_FILENO);
  close(standard_output);
  EXPECT_EQ(written, cgiEnvironmentSuccess);
  EXPECT_EQ(wait_for(reader), 0);

  const pid_t writer = fork();
  if (writer == 0) {
    _exit(std::system(
        "sleep 0.2; { head -c 1000 /tmp/caught; sleep 0.2; tail -c +1001 /tmp/caught; } > /tmp/pipe"));
  }
  EXPECT_EQ(cgiReadEnvironment("/tmp/pipe"), cgiEnvironmentSuccess);
  EXPECT_EQ(wait_for(writer), 0);
  EXPECT_EQ(take_fields(), (std::vector<field>{{"file", content, "client.bin", "t"}}));
}

// If it fails, a damaged capture is replayed in part, or leaves the fields of the request before it.
TEST(CaptureFile, FailuresLeaveAnEmptyList) {
  const std::string head = capture_head(0);
  const std::string rest = head.substr(11);
  using row = std::tuple<std::string, std::string, loaded>;
  for (const auto& [what, content, expected] : {
           row{"a longer magic text",
               text(std::string("CGIC2.0\0", 8)) + rest,
               {cgiEnvironmentWrongVersion, {}}},
           {"a negative length", number(-1) + head.substr(4), {cgiEnvironmentIO, {}}},
           {"a negative name", head + entry("a", "1") + number(-7), {cgiEnvironmentSuccess, {{"a", "1"}}}},
           {"a negative upload", head + upload("u", -1, "x"), {cgiEnvironmentIO, {}}},
           {"an empty upload",
            head + upload("u", 0, ""),
            {cgiEnvironmentSuccess, {{"u", "", "client.bin", "image/x"}}}},
           {"a flag that is not 1",
            head + text("u") + text("") + text("f") + text("t") + number(2) + number(-7) + "xy",
            {cgiEnvironmentSuccess, {{"u", "xy", "f", "t"}}}},
       }) {
    append_field({"live", "1"});
    EXPECT_EQ(load(content), expected) << what;
    EXPECT_EQ(cgiRestored, 0);
  }
}

// If it fails, a capture that was cut in transfer is replayed as whole, or changes the running request.
TEST(CaptureFile, EveryCutFailsOrLoadsWholeEntries) {
  const std::string head = capture_head(1);
  const std::string first = entry("a", "1");
  const std::string second = upload("u", 5, "12345");
  const std::string whole = head + first + second;
  std::string results;  // a digit for each length
  cgiContentLength = 7;
  for (std::size_t length = 0; length <= whole.size(); ++length) {
    const auto [result, fields] = load(whole.substr(0, length));
    results +=
        std::to_string(result) + (result == cgiEnvironmentSuccess ? std::to_string(fields.size()) : "");
    EXPECT_EQ(cgiContentLength, length < head.size() ? 7 : 1) << length;
    EXPECT_TRUE(result == cgiEnvironmentSuccess || fields.empty()) << length;
  }
  // IO, then for each entry success within its name of five bytes and memory after it, or IO in the content
  // of an upload.
  EXPECT_EQ(results, std::string(head.size(), '0') + "2020202020" + std::string(first.size() - 5, '1') +
                         "2121212121" + std::string(second.size() - 10, '1') + "00000" + "22");
}
