// A unit whose /dev/shm and /tmp take one MiB each, and its other folders little more: no cut file is used.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>

#include "discovery/csv_compilation.hpp"
#include "discovery/device_records.hpp"
#include "discovery/discovery_state.hpp"
#include "discovery/key_header.hpp"
#include "support/quick_site.hpp"

namespace {

constexpr std::size_t disk_size = std::size_t{1} << 20;

std::string upload(const std::string& command, std::size_t size) {
  return body_of(command, run_program(post_file(command, std::string(size, 'u'))).out);
}

// Fills a folder, but for so many bytes.
void fill(const std::string& folder, std::size_t left = 0) {
  write_file(folder + "/left", std::string(left, 'l'));
  write_file(folder + "/filler", std::string(std::size_t{8} << 20, 'f'));
  std::filesystem::remove(folder + "/left");
}

}  // namespace

// If it fails, a unit installs half a firmware image.
TEST(FullDisk, ACutImageNeverReachesTheUpdateScript) {
  EXPECT_EQ(upload("UPDATE_FIRMWARE", disk_size + 1), undecodable);
  EXPECT_EQ(tool_calls(), (lines{"ast_send_event -1 e_stop_link"}));
  EXPECT_EQ(list_folder("/dev/shm"), lines{});
}

// If it fails, an upload whose last bytes did not fit passes for whole, or stops the services.
TEST(FullDisk, AFileThatFailsWhenItIsClosedIsADecodingFailure) {
  write_file("/dev/shm/filler", std::string(disk_size, 'f'));
  plant_tool("thumber", "sleep 1000");
  std::system("thumber &");
  wait_until("pidof thumber > /dev/null");
  for (const std::size_t size : {1U, 15U}) EXPECT_EQ(upload("UPDATE_SPLASH", size), undecodable) << size;
  EXPECT_EQ(list_folder("/dev/shm"), lines{"filler"});
  EXPECT_NE(shell_output("sleep 0.3; pidof thumber"), "");
}

// If it fails, a cut splash image is installed, or nobody learns why it was not.
TEST(FullDisk, AShortWriteOfStagingIsLogged) {
  write_file("/dev/shm/filler", std::string(32'768, 'f'));
  // The first is noticed by a write, the other when the file is closed.
  for (const auto& [size, counts] : {std::pair{disk_size * 6 / 10, "some != 1023"}, {508'000, "0 != 592"}}) {
    std::filesystem::remove("/dev/shm/source_file");
    EXPECT_EQ(upload("UPDATE_SPLASH", size), "<p>Failed to update splash</p>\n");
    EXPECT_EQ(shell_output("sed 's/[0-9]* != 1023/some != 1023/' /www/upload_file.txt"),
              "file name: f\nfile size: " + std::to_string(size) + " bytes\nfailed to write to source_file " +
                  counts + "\n");
    EXPECT_EQ(list_folder("/xoem"), lines{});
    EXPECT_EQ(list_folder("/dev/shm"), (lines{"filler", "source_file"}));
  }
}

// If it fails, a command says nothing of a full disk, or one that needs no disk fails with it.
TEST(FullDisk, IsNamedByTheCommandsThatNeedIt) {
  const quick_site site;
  const auto differences = [&site](const lines& folders) {
    for (const std::string& folder : folders) fill(folder);
    difference_list found = site.differences();
    for (const std::string& folder : folders) std::filesystem::remove(folder + "/filler");
    return found;
  };
  difference_list without_tmp;
  for (const char* command : {"UPDATE_EDID", "UPDATE_EDID1", "UPDATE_EDID2", "UPDATE_EDID3"}) {
    without_tmp.push_back({command, part::body, "<p>Error: Failed to update EDID</p>\n"});
  }
  for (const auto& [command, body] : {std::pair{"GET_CSV_DISCOVER", "DISCOVERED CSV DATA: ---\n"},
                                      {"CSV_IMPORT", "<p>Failed to import csv file (C)</p>\n"},
                                      {"GET_CSV_IMPORT", "No Import CSV File Present\n"},
                                      {"PERFORM_CSV_UPDATE", ""},
                                      {"CHECK_IMPORT_CSV_STATUS", "false"},
                                      {"GET_NODES", "Device Listing:\n"}}) {
    without_tmp.push_back({command, part::body, body});
  }
  EXPECT_EQ(differences({"/tmp"}), without_tmp);
  EXPECT_EQ(differences({"/www", "/share", "/config"}), difference_list{});
  std::filesystem::remove("/xoem/default.jpg");
  EXPECT_EQ(differences({"/xoem"}),
            (difference_list{{"UPDATE_SPLASH", part::body, "<p>Failed to update splash</p>\n"}}));
}

// If it fails, a cut import stays, and units are sent half values.
TEST(FullDisk, AFailedImportLeavesNoCutFile) {
  const std::string failed = "<p>Failed to import csv file (C)</p>\n";
  write_file("/tmp/import.csv", "old");
  plant_tool("mv", "exit 1");
  EXPECT_EQ(upload("CSV_IMPORT", 40'000), failed);
  EXPECT_EQ(read_file("/tmp/import.csv"), "old");
  plant_tool("mv", "cp \"$1\" \"$2\"; exit 1");
  EXPECT_EQ(upload("CSV_IMPORT", 40'000), failed);
  EXPECT_EQ(read_file("/tmp/import.csv"), std::string(40'000, 'u'));
  std::filesystem::remove("/usr/local/bin/mv");
  write_file("/tmp/import.csv", "old");
  fill("/tmp", 16'384);
  EXPECT_EQ(upload("CSV_IMPORT", 40'000), failed);
  EXPECT_EQ(read_file("/tmp/import.csv"), "(missing)");
}

// If it fails, the CSV of a discovery ends with half a line. The disk takes some of 10,000 lines.
TEST(FullDisk, ACutDiscoveryKeepsItsWholeLines) {
  write_file("/etc/keys.txt", "A\n");
  device_count = 10'000;
  const std::string line = std::string(62, 'a') + "\r\n";
  for (const bool whole : {true, false}) {
    std::filesystem::remove("/dev/shm/csv");
    fill("/dev/shm", whole ? 900'000 : 400'000);
    ckht(1, "/dev/shm/csv");
    kvp_alloc();
    for (; current_record < device_count; ++current_record) kvp_set_value(1, "A", line.substr(0, 62));
    wctf("/dev/shm/csv");
    const std::string csv = read_file("/dev/shm/csv");
    const std::size_t kept = (csv.size() - 3) / line.size();
    EXPECT_EQ(csv.size(), 3 + kept * line.size());
    EXPECT_TRUE(csv.ends_with(line));
    EXPECT_TRUE(whole ? kept == 10'000 : kept > 6'000 && kept < 6'500) << kept;
  }
}
