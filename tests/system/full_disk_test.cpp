// Uploads in a unit whose /dev/shm takes one MiB: a file that is not whole goes nowhere.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/files.hpp"
#include "support/program.hpp"

namespace {

constexpr std::size_t disk_size = std::size_t{1} << 20;
const std::string undecodable = "Status: 500 Error reading form data\r\n\r\n";

answer upload(const std::string& command, std::size_t size) {
  const std::string head = "--b\r\nContent-Disposition: form-data; name=";
  const std::string body = head + "CMD\r\n\r\n" + command + "\r\n" + head + "file; filename=f\r\n\r\n" +
                           std::string(size, 'u') + "\r\n--b--\r\n";
  return run_program(post(body, "multipart/form-data; boundary=b"));
}

}  // namespace

TEST(FullDisk, ACutImageNeverReachesTheUpdateScript) {
  const answer got = upload("UPDATE_FIRMWARE", disk_size + 1);
  EXPECT_EQ(got.out, undecodable);
  EXPECT_EQ(got.status, 255);
  EXPECT_EQ(tool_calls(), (lines{"ast_send_event -1 e_stop_link"}));
  EXPECT_EQ(list_folder("/dev/shm"), lines{});
}

TEST(FullDisk, AFileThatFailsWhenItIsClosedIsADecodingFailure) {
  write_file("/dev/shm/filler", std::string(disk_size, 'f'));
  plant_tool("thumber", "sleep 1000");
  static_cast<void>(
      shell_output("thumber > /dev/null & for i in $(seq 600); do pidof thumber && exit; sleep 0.1; done"));
  for (const std::size_t size : {1U, 15U}) EXPECT_EQ(upload("UPDATE_SPLASH", size).out, undecodable) << size;
  EXPECT_EQ(list_folder("/dev/shm"), lines{"filler"});
  EXPECT_NE(shell_output("sleep 0.3; pidof thumber"), "");
}

TEST(FullDisk, AShortWriteOfStagingIsLogged) {
  write_file("/dev/shm/filler", std::string(32'768, 'f'));
  struct row {
    std::size_t size;
    std::string written;  // how the count begins: 0 stands for bytes that fail when the file is closed
    std::string end;
  };
  for (const row& row : {
           row{disk_size * 6 / 10, "", " != 1023\n"},
           {508'000, "0 ", "!= 592\n"},
       }) {
    std::filesystem::remove("/dev/shm/source_file");
    EXPECT_EQ(upload("UPDATE_SPLASH", row.size).out,
              page("UPDATE_SPLASH", "<p>Failed to update splash</p>\n"));
    const std::string log = read_file("/www/upload_file.txt");
    const std::string begin = "file name: f\nfile size: " + std::to_string(row.size) +
                              " bytes\nfailed to write to source_file " + row.written;
    EXPECT_EQ(log.substr(0, begin.size()), begin);
    EXPECT_EQ(log.substr(log.size() - row.end.size()), row.end);
    EXPECT_EQ(list_folder("/xoem"), lines{});
    EXPECT_EQ(list_folder("/dev/shm"), (lines{"filler", "source_file"}));
  }
}
