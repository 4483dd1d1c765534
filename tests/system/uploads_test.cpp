// The upload commands: the body lines of the answer and the files.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <tuple>

#include "support/fake_network.hpp"
#include "support/files.hpp"
#include "support/program.hpp"

namespace {

std::string field(const std::string& parameters, const std::string& value) {
  return "--b\r\nContent-Disposition: form-data; " + parameters + "\r\n\r\n" + value + "\r\n";
}

std::string file_field(const std::string& content, const std::string& name = "client.bin") {
  return field("name=\"file\"; filename=\"" + name + "\"", content);
}

// Returns the body lines of the page.
std::string upload(const std::string& command, const std::string& fields) {
  const std::string form = field("name=CMD", command) + fields + "--b--\r\n";
  return body_of(command, run_program(post(form, "multipart/form-data; boundary=b")).out);
}

// A folder that a move to this path cannot replace.
void block(const std::string& path) {
  std::filesystem::remove_all(path);
  std::filesystem::create_directories(path + "/source_file/kept");
}

}  // namespace

// If it fails, a failed update leaves the unit without a splash image, or loses the new one.
TEST(UpdateSplash, WithoutAMoveTheLastOneStays) {
  write_file("/share/default.jpg", "last");
  std::filesystem::remove_all("/xoem");
  EXPECT_EQ(upload("UPDATE_SPLASH", file_field("next")), "<p>Failed to update splash</p>\n");
  EXPECT_EQ(read_file("/share/default.jpg"), "last");
  EXPECT_EQ(read_file("/dev/shm/source_file"), "next");
  EXPECT_EQ(list_folder("/dev/shm"), lines{"source_file"});
}

// If it fails, people cut the power during an update because no display warns them, or its log is empty.
TEST(UpdateFirmware, WarnsOnADisplayOnlyAndKeepsTheScriptsWords) {
  const std::string started = "<p>Updating firmware ret:0</p>\n";
  EXPECT_EQ(upload("UPDATE_FIRMWARE", file_field("image")), started);
  wait_until("! pidof update_fw.sh > /dev/null");
  EXPECT_EQ(read_file("/var/info_local"), "(missing)");
  plant_tool("update_fw.sh", "echo said; echo wrong >&2");
  plant_tool("GUI", "");
  std::filesystem::permissions("/usr/local/bin/GUI", std::filesystem::perms::none);
  EXPECT_EQ(upload("UPDATE_FIRMWARE", file_field("next image")), started);
  EXPECT_EQ(read_file("/dev/shm/fw.tar.gz"), "next image");
  wait_until("[ -s /dev/shm/uf_e ]");
  EXPECT_EQ(read_file("/var/info_local"), "Updating Firmware, do not remove power!\n");
  EXPECT_EQ(read_file("/dev/shm/uf"), "said\n");
  EXPECT_EQ(read_file("/dev/shm/uf_e"), "wrong\n");
}

// If it fails, an update starts without an image.
TEST(UpdateFirmware, WithoutAFileOrAMoveStartsNothing) {
  EXPECT_EQ(upload("UPDATE_FIRMWARE", ""), "<p>Failed to update firmware</p>\n");
  block("/dev/shm/fw.tar.gz");
  const std::string line = upload("UPDATE_FIRMWARE", file_field("image"));
  const std::size_t digits = line.find_last_of(' ') + 1;
  EXPECT_EQ(line.substr(0, digits), "<p>Failed to update firmware ret: 256 errno: ");
  EXPECT_EQ(line.substr(line.find_first_not_of("0123456789", digits)), "</p>\n");
  EXPECT_EQ(tool_calls(), lines(4, "ast_send_event -1 e_stop_link"));
}

// If it fails, an import keeps line ends that the update does not read.
TEST(CsvImport, ConvertsLineEndsAndReplacesTheLastOne) {
  EXPECT_EQ(upload("CSV_IMPORT", file_field("a,b\n1,2\r\n\nend")), "<p>Importing csv</p>\n");
  EXPECT_EQ(upload("CSV_IMPORT", ""), "<p>Failed to import csv file (JS)</p>\n");
  EXPECT_EQ(read_file("/tmp/import.csv"), "a,b\r\n1,2\r\n\r\nend");
  EXPECT_EQ(upload("CSV_IMPORT", file_field("no CSV")), "<p>Importing csv</p>\n");
  EXPECT_EQ(read_file("/tmp/import.csv"), "no CSV");
  block("/tmp/import.csv");
  EXPECT_EQ(upload("CSV_IMPORT", file_field("a")), "<p>Failed to import csv file (C)</p>\n");
}

// If it fails, a command takes another part of the upload than its file, or pages show a wrong result.
TEST(Staging, TakesTheFirstFieldNamedFile) {
  const std::string header = "form-data; name=\"file\"; filename=\"";  // of the 1023 characters of its value
  const std::string no_upload = "file name: \nfile size: 0 bytes\nCould not open the file.\n";
  using row = std::tuple<std::string, std::string, std::string>;
  for (const auto& [fields, log, staged] : {
           row{file_field(""), "file name: client.bin\nfile size: 0 bytes\n", ""},
           {field("name=File; filename=f", "x"), "No file was uploaded.\n", "(missing)"},
           {file_field("x", ""), no_upload, "(missing)"},
           {field("name=file", "text") + file_field("x"), no_upload, "(missing)"},
           {file_field("first", "1") + file_field("second", "2"), "file name: 1\nfile size: 5 bytes\n",
            "first"},
           {file_field(std::string(2500, 'c'), std::string(1100, 'n')),
            "file name: " + std::string(1023 - header.size(), 'n') + "\nfile size: 2500 bytes\n",
            std::string(2500, 'c')},
       }) {
    std::filesystem::remove("/xoem/default.jpg");
    upload("UPDATE_SPLASH", fields);
    EXPECT_EQ(read_file("/www/upload_file.txt"), log);
    EXPECT_EQ(read_file("/xoem/default.jpg"), staged) << log;
    EXPECT_EQ(list_folder("/dev/shm"), lines{}) << log;
  }
}

// If it fails, an upload that cannot be staged passes for installed.
TEST(Staging, WithoutItsFilesItFails) {
  std::filesystem::create_directory("/dev/shm/source_file");
  EXPECT_EQ(upload("UPDATE_EDID3", file_field("x")), "<p>Failed to update edid</p>\n");
  EXPECT_EQ(read_file("/www/upload_file.txt"),
            "file name: client.bin\nfile size: 1 bytes\nfailed to open source_file\n");
  std::filesystem::remove("/dev/shm/source_file");
  block("/www/upload_file.txt");
  EXPECT_EQ(upload("UPDATE_EDID", file_field("x")), "<p>Failed to update edid</p>\n");
  EXPECT_EQ(list_folder("/dev/shm"), lines{});
}

// If it fails, an EDID of a wrong size is installed, or a right one is not, byte for byte.
TEST(UpdateEdid, TheSizeDecides) {
  const std::string invalid = "<p>Error: Invalid EDID</p>\n";
  const std::string updating = "<p>Updating edid</p>\n";
  const std::string failed = updating + "<p>Error: Failed to update EDID</p>\n";
  std::string bytes;
  for (int i = 0; i < 256; ++i) bytes += static_cast<char>(i);
  using row = std::tuple<std::size_t, std::string, std::string>;
  for (const auto& [size, active, custom] :
       {row{255, failed, invalid}, {256, updating, ""}, {257, updating, invalid}}) {
    const std::string block = (bytes + "x").substr(0, size);
    // The reply to the last message plays no part.
    fake_service service{{{"A=1&", "API=FAIL"}, {""}}};
    EXPECT_EQ(upload("UPDATE_EDID", file_field(block)), active) << size;
    EXPECT_EQ(read_file("/tmp/edid.bin"), active == failed ? block : "(missing)") << size;
    EXPECT_EQ(read_file("/tmp/edid.edid"), active == failed ? "" : "(missing)") << size;
    EXPECT_EQ(upload("UPDATE_EDID2", file_field(block)), custom) << size;
    EXPECT_EQ(read_file("/tmp/edid.bin"), custom == invalid ? block : "(missing)") << size;
    EXPECT_EQ(service.end().size(), custom.empty() ? 2U : 0U) << size;
  }
  EXPECT_EQ(read_file("/sys/devices/platform/videoip/eeprom_content"),
            shell_output("od -An -v -tx1 /share/CUSTOM_2.cbin | sed 's/ \\(..\\)/0x\\1,/g'"));
  EXPECT_EQ(shell_output("tar -xOf /config/params.tar ./VIDEO.EDID"), "CUSTOM\n");
  EXPECT_EQ(read_file("/share/CUSTOM_2.cbin"), bytes);
  EXPECT_EQ(read_file("/config/CUSTOM_2.cbin"), bytes);
}

// If it fails, the unit is left with an EDID that its service does not use.
TEST(UpdateEdid, WithoutTheServiceTheParameterStays) {
  EXPECT_EQ(upload("UPDATE_EDID3", file_field(std::string(256, 'e'))),
            "<p>Error: API command to update EDID failed</p>\n");
  EXPECT_EQ(shell_output("grep -v event /var/log/tools.log"), "");
  EXPECT_EQ(read_file("/config/CUSTOM_3.cbin"), std::string(256, 'e'));
  block("/tmp/edid.bin");
  for (const char* command : {"UPDATE_EDID", "UPDATE_EDID1"}) {
    EXPECT_EQ(upload(command, file_field("x")), "<p>Error: Failed to update EDID</p>\n");
  }
}
