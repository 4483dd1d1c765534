// The upload commands: the answer, the files, the calls of the unit's tools in order.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "support/fake_network.hpp"
#include "support/files.hpp"
#include "support/program.hpp"

namespace {

const std::string stop = "ast_send_event -1 e_stop_link";
const std::string reconnect = "ast_send_event -1 e_reconnect";

std::string field(const std::string& parameters, const std::string& value) {
  return "--b\r\nContent-Disposition: form-data; " + parameters + "\r\n\r\n" + value + "\r\n";
}

std::string file_field(const std::string& content, const std::string& name = "client.bin") {
  return field("name=\"file\"; filename=\"" + name + "\"", content);
}

request form(const std::string& command, const std::string& fields) {
  return post(field("name=CMD", command) + fields + "--b--\r\n", "multipart/form-data; boundary=b");
}

// Uploads in a unit whose tools were not called yet. Returns the body lines of the page.
std::string upload(const std::string& command, const std::string& fields) {
  write_file("/var/log/tools.log", "");
  const answer got = run_program(form(command, fields));
  EXPECT_EQ(got.err, "Request Method: POST\n");
  EXPECT_EQ(got.status, 0);
  const std::string frame = page(command, "#");
  const std::size_t head = frame.find('#');
  const std::size_t tail = frame.size() - head - 1;
  EXPECT_EQ(got.out.substr(0, head), frame.substr(0, head));
  EXPECT_EQ(got.out.substr(got.out.size() - tail), frame.substr(head + 1));
  return got.out.substr(head, got.out.size() - head - tail);
}

// A folder that a move to this path cannot replace.
void block(const std::string& path) {
  std::filesystem::remove_all(path);
  std::filesystem::create_directories(path + "/source_file/kept");
}

}  // namespace

TEST(UpdateSplash, InstallsAnyFileAndWritesThePartition) {
  const std::string image("no\0JPEG\r\n", 9);
  write_file("/xoem/other", "kept");
  EXPECT_EQ(upload("UPDATE_SPLASH", file_field(image)), "<p>Updating splash</p>\n");
  EXPECT_EQ(tool_calls(), (lines{stop, stop, reconnect, reconnect}));
  EXPECT_EQ(read_file("/xoem/default.jpg"), image);
  EXPECT_EQ(read_file("/share/default.jpg"), image);
  EXPECT_EQ(read_file("/dev/mtdblkxoem"), read_file("/tmp/xoem.tar"));
  EXPECT_EQ(shell_output("tar -tf /dev/mtdblkxoem | sort"), "./\n./default.jpg\n./other\n");
  EXPECT_EQ(read_file("/www/upload_file.txt"), "file name: client.bin\nfile size: 9 bytes\n");
  EXPECT_EQ(list_folder("/dev/shm"), lines{});

  std::filesystem::remove_all("/xoem");
  EXPECT_EQ(upload("UPDATE_SPLASH", file_field("next")), "<p>Failed to update splash</p>\n");
  EXPECT_EQ(tool_calls(), (lines{stop, stop, reconnect}));
  EXPECT_EQ(read_file("/share/default.jpg"), image);
  EXPECT_EQ(read_file("/dev/shm/source_file"), "next");
  EXPECT_EQ(list_folder("/dev/shm"), lines{"source_file"});
}

TEST(UpdateFirmware, StartsTheScriptAndRefusesUntilItEnds) {
  static_cast<void>(shell_output("echo new > /tmp/image; tar -czf /tmp/fw.tgz -C /tmp image"));
  const std::string image = read_file("/tmp/fw.tgz");
  EXPECT_EQ(upload("UPDATE_FIRMWARE", file_field(image)), "<p>Updating firmware ret:0</p>\n");
  const std::string updating = "&HANDLER=ERROR Firmware Update In Progress, try again later.\n";
  EXPECT_EQ(run_program(get("CMD=GET_NODES")).out, refusal(updating));
  EXPECT_EQ(read_file("/dev/shm/fw.tar.gz"), image);
  EXPECT_EQ(read_file("/var/link"), "stopped\n");
  EXPECT_FALSE(std::filesystem::exists("/var/info_local"));
  static_cast<void>(
      shell_output("for i in $(seq 600); do pidof update_fw.sh > /dev/null || exit; sleep 0.1; done"));
  EXPECT_EQ(tool_calls(), (lines{stop, stop, "update_fw.sh"}));
  EXPECT_EQ(read_file("/var/log/update_fw.log"), "unpacking /dev/shm/fw.tar.gz\nwriting the image\ndone\n");
  EXPECT_EQ(run_program(get("CMD=GET_NODES")).out, page("GET_NODES", "No Nodes Detected\n"));
}

TEST(UpdateFirmware, WarnsOnADisplayAndKeepsTheScriptsWords) {
  plant_tool("GUI", "");
  std::filesystem::permissions("/usr/local/bin/GUI", std::filesystem::perms::none);
  plant_tool("update_fw.sh", "echo said; echo wrong >&2");
  EXPECT_EQ(upload("UPDATE_FIRMWARE", file_field("image")), "<p>Updating firmware ret:0</p>\n");
  static_cast<void>(shell_output("for i in $(seq 600); do [ -s /dev/shm/uf_e ] && exit; sleep 0.1; done"));
  EXPECT_EQ(read_file("/var/info_local"), "Updating Firmware, do not remove power!\n");
  EXPECT_EQ(read_file("/dev/shm/uf"), "said\n");
  EXPECT_EQ(read_file("/dev/shm/uf_e"), "wrong\n");
}

TEST(UpdateFirmware, WithoutAFileOrAMoveStartsNothing) {
  EXPECT_EQ(upload("UPDATE_FIRMWARE", ""), "<p>Failed to update firmware</p>\n");
  EXPECT_EQ(tool_calls(), (lines{stop, stop}));
  block("/dev/shm/fw.tar.gz");
  const std::string line = upload("UPDATE_FIRMWARE", file_field("image"));
  const std::string failed = "<p>Failed to update firmware ret: 256 errno: ";
  EXPECT_EQ(line.substr(0, failed.size()), failed);
  EXPECT_EQ(line.substr(line.size() - 5), "</p>\n");
  EXPECT_EQ(tool_calls(), (lines{stop, stop}));
}

TEST(CsvImport, ConvertsLineEndsAndReplacesTheLastOne) {
  EXPECT_EQ(upload("CSV_IMPORT", file_field("a,b\n1,2\r\n\nend")), "<p>Importing csv</p>\n");
  EXPECT_EQ(tool_calls(), (lines{stop, stop, reconnect}));
  EXPECT_EQ(run_program(get("CMD=GET_CSV_IMPORT")).out, page("GET_CSV_IMPORT", "a,b\r\n1,2\r\n\r\nend"));
  EXPECT_EQ(run_program(get("CMD=CHECK_IMPORT_CSV_STATUS")).out, page("CHECK_IMPORT_CSV_STATUS", "true"));
  EXPECT_EQ(upload("CSV_IMPORT", ""), "<p>Failed to import csv file (JS)</p>\n");
  EXPECT_EQ(read_file("/tmp/import.csv"), "a,b\r\n1,2\r\n\r\nend");
  EXPECT_EQ(upload("CSV_IMPORT", file_field("no CSV")), "<p>Importing csv</p>\n");
  EXPECT_EQ(read_file("/tmp/import.csv"), "no CSV");
  block("/tmp/import.csv");
  EXPECT_EQ(upload("CSV_IMPORT", file_field("a")), "<p>Failed to import csv file (C)</p>\n");
}

TEST(Staging, TakesTheFirstFieldNamedFile) {
  const std::string long_name(1100, 'n');
  const std::string before =
      "form-data; name=\"file\"; filename=\"";  // of the 1023 characters of a header's value
  const std::string cut_name = long_name.substr(0, 1023 - before.size());
  struct row {
    std::string fields;
    std::string log;
    std::string staged;
  };
  for (const row& row : {
           row{file_field(""), "file name: client.bin\nfile size: 0 bytes\n", ""},
           {field("name=File; filename=f", "x"), "No file was uploaded.\n", "(missing)"},
           {file_field("x", ""), "file name: \nfile size: 0 bytes\nCould not open the file.\n", "(missing)"},
           {field("name=file", "text") + file_field("x"),
            "file name: \nfile size: 0 bytes\nCould not open the file.\n", "(missing)"},
           {file_field("first", "1") + file_field("second", "2"), "file name: 1\nfile size: 5 bytes\n",
            "first"},
           {file_field(std::string(2500, 'c'), long_name),
            "file name: " + cut_name + "\nfile size: 2500 bytes\n", std::string(2500, 'c')},
       }) {
    std::filesystem::remove("/xoem/default.jpg");
    const bool staged = row.staged != "(missing)";
    EXPECT_EQ(upload("UPDATE_SPLASH", row.fields),
              staged ? "<p>Updating splash</p>\n" : "<p>Failed to update splash</p>\n");
    EXPECT_EQ(read_file("/www/upload_file.txt"), row.log);
    EXPECT_EQ(read_file("/xoem/default.jpg"), row.staged) << row.log;
    EXPECT_EQ(list_folder("/dev/shm"), lines{}) << row.log;
  }
}

TEST(Staging, WithoutItsFilesItFails) {
  std::filesystem::create_directory("/dev/shm/source_file");
  EXPECT_EQ(upload("UPDATE_EDID3", file_field("x")), "<p>Failed to update edid</p>\n");
  EXPECT_EQ(read_file("/www/upload_file.txt"),
            "file name: client.bin\nfile size: 1 bytes\nfailed to open source_file\n");
  std::filesystem::remove("/dev/shm/source_file");
  std::filesystem::remove("/www/upload_file.txt");
  std::filesystem::create_directory("/www/upload_file.txt");
  EXPECT_EQ(upload("UPDATE_EDID", file_field("x")), "<p>Failed to update edid</p>\n");
  EXPECT_EQ(tool_calls(), (lines{stop, stop, reconnect}));
  EXPECT_EQ(list_folder("/dev/shm"), lines{});
}

TEST(UpdateEdid, TheSizeDecides) {
  const std::string invalid = "<p>Error: Invalid EDID</p>\n";
  const std::string updating = "<p>Updating edid</p>\n";
  const std::string failed = updating + "<p>Error: Failed to update EDID</p>\n";
  struct row {
    std::size_t size;
    std::string active;
    std::string custom;
  };
  std::string counting(600, '\0');
  std::ranges::generate(counting, [next = 0]() mutable { return static_cast<char>(next++); });
  for (const row& row : {
           row{0, failed, invalid},
           {255, failed, invalid},
           {256, updating, ""},
           {257, updating, invalid},
           {300, updating, invalid},
           {512, updating, invalid},
           {513, updating, invalid},
       }) {
    const std::string block = counting.substr(0, row.size);
    fake_service service{{{"API=SUCCESS"}, {"API=SUCCESS"}}};
    EXPECT_EQ(upload("UPDATE_EDID", file_field(block)), row.active) << row.size;
    EXPECT_EQ(read_file("/tmp/edid.bin"), row.active == failed ? block : "(missing)") << row.size;
    EXPECT_EQ(read_file("/tmp/edid.edid"), row.active == failed ? "" : "(missing)") << row.size;
    EXPECT_EQ(upload("UPDATE_EDID2", file_field(block)), row.custom) << row.size;
    EXPECT_EQ(read_file("/tmp/edid.bin"), row.custom == invalid ? block : "(missing)") << row.size;
    EXPECT_EQ(service.end().size(), row.custom.empty() ? 2U : 0U) << row.size;
  }
}

TEST(UpdateEdid, TheActiveOneIsATextOfBytes) {
  std::string block(300, '\xab');
  for (int i = 0; i < 256; ++i) block[static_cast<std::size_t>(i)] = static_cast<char>(i);
  std::string text;
  for (int i = 0; i < 256; ++i) {
    constexpr const char* digits = "0123456789abcdef";
    text = text + "0x" + digits[i / 16] + digits[i % 16] + "," + (i % 16 == 15 ? "\n" : "");
  }
  EXPECT_EQ(upload("UPDATE_EDID", file_field(block)), "<p>Updating edid</p>\n");
  EXPECT_EQ(read_file("/sys/devices/platform/videoip/eeprom_content"), text);
  EXPECT_EQ(tool_calls(), (lines{stop, stop, "qelparam s VIDEO.EDID CUSTOM", "qelparam save", reconnect}));
  EXPECT_EQ(read_file("/config/params/VIDEO.EDID"), "CUSTOM\n");
}

TEST(UpdateEdid, ACustomOneIsStoredTwiceAndTold) {
  const std::string block(256, '\0');
  for (const std::string number : {"1", "2", "3"}) {
    // The reply to the last message plays no part.
    fake_service service{{{"A=1&", "API=FAIL"}, {""}}};
    EXPECT_EQ(upload("UPDATE_EDID" + number, file_field(block)), "");
    service.end();
    EXPECT_EQ(tool_calls(),
              (lines{stop, stop, "api CMD=START&UNIT.ID=ALL&CONFIG.SAVE=TRUE&CMD=END",
                     "qelparam s VIDEO.EDID" + number + " CUSTOM", "qelparam save",
                     "api CMD=START&UNIT.ID=ALL&VIDEO.EDID" + number + "=CUSTOM&CMD=END", reconnect}));
    EXPECT_EQ(read_file("/share/CUSTOM_" + number + ".cbin"), block);
    EXPECT_EQ(read_file("/config/CUSTOM_" + number + ".cbin"), block);
  }
}

TEST(UpdateEdid, WithoutTheServiceTheParameterStays) {
  EXPECT_EQ(upload("UPDATE_EDID3", file_field(std::string(256, 'e'))),
            "<p>Error: API command to update EDID failed</p>\n");
  EXPECT_EQ(tool_calls(), (lines{stop, stop, reconnect}));
  EXPECT_EQ(read_file("/config/CUSTOM_3.cbin"), std::string(256, 'e'));
  block("/tmp/edid.bin");
  for (const char* command : {"UPDATE_EDID", "UPDATE_EDID1"}) {
    EXPECT_EQ(upload(command, file_field("x")), "<p>Error: Failed to update EDID</p>\n");
  }
}
