// The main path of the built program, short enough for a slow emulated one.

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <string>
#include <utility>

#include "support/quick_site.hpp"

// If it fails, a request is not served, or a text in it does more than appear in the page and the log. A log
// line is as long as when a command line of 255 characters wrote it.
TEST(Smoke, OneRequestFromStartToExit) {
  const std::string sent = "%24(touch+/tmp/owned)%3b%60reboot%60%22'\\n%25s%7c%26" + std::string(5000, 'q');
  const std::string command = "$(touch /tmp/owned);`reboot`\"'\\n%s|&" + std::string(5000, 'q');
  const answer got = run_program(get("CMD=" + sent));
  EXPECT_EQ(got.status, 0);
  EXPECT_EQ(got.out, page(command.substr(0, 254), "<p>No command supplied</p>\n"));
  EXPECT_EQ(got.err, "Request Method: GET\n");
  const std::size_t length = 255 - std::string{"echo \"\" > /tmp/dbgCGI.log"}.size();
  EXPECT_EQ(read_file("/tmp/dbgCGI.log"),
            ("cgic main() before cgiOnCalled() CMD=" + sent).substr(0, length) + "\n" +
                ("\tCMD=" + command).substr(0, length - 1) + "\n" +
                "\tAbout to Call cgiMain() _%p_\n\tAbout to Call cgiOnClose()\n");
  EXPECT_EQ(list_folder("/tmp"), (lines{"dbgCGI.log"}));
  EXPECT_EQ(list_folder("/dev/shm"), lines{});
}

// If it fails, a command has another answer, or calls other tools of the unit, or in another order.
TEST(Smoke, EveryCommandAnswersAndCallsItsTools) {
  const std::string stop = "ast_send_event -1 e_stop_link\n";
  const std::string reconnect = "ast_send_event -1 e_reconnect\n";
  const std::string query = stop + "qelparam g UNIT.MCD_TTL\nqelparam g UNIT.MCD_MODE\n";
  const std::string store_edid = " CUSTOM\nqelparam save\n";
  const auto custom_edid = [&](const std::string& key) {
    return stop + stop + "api CMD=START&UNIT.ID=ALL&CONFIG.SAVE=TRUE&CMD=END\nqelparam s " + key +
           store_edid + "api CMD=START&UNIT.ID=ALL&" + key + "=CUSTOM&CMD=END\n" + reconnect;
  };
  // The commands that are not here stop the link and restart it.
  const std::map<std::string, std::string> calls{
      {"UPDATE_FIRMWARE", stop + stop + "update_fw.sh\n"},
      {"UPDATE_EDID", stop + stop + "qelparam s VIDEO.EDID" + store_edid + reconnect},
      {"UPDATE_EDID1", custom_edid("VIDEO.EDID1")},
      {"UPDATE_EDID2", custom_edid("VIDEO.EDID2")},
      {"UPDATE_EDID3", custom_edid("VIDEO.EDID3")},
      {"UPDATE_SPLASH", stop + stop + reconnect + reconnect},
      {"DISCOVER_ENCODERS", query + "astparam g STREAM.HOST\nastparam g STREAM.ADDRESS\n" + reconnect},
      {"DISCOVER_DECODERS", query + reconnect},
      {"DISCOVER_DEVICES_API", query + reconnect},
      {"CSV_IMPORT", stop + stop + reconnect},
      {"PERFORM_CSV_IMPORT", query + reconnect},
      {"PERFORM_CSV_UPDATE", query + "astparam g UNIT.SERIAL\nqelparam g UNIT.MCD_TTL\n" + reconnect},
      {"DISCOVER_DEVICES", stop + "node_list\n" + reconnect},
  };
  const quick_site site;
  std::string expected;
  EXPECT_EQ(site.differences_when([&](const known_command& command) {
    const std::string title = "-- " + command.name + "\n";
    std::ofstream{"/var/log/tools.log", std::ios::app} << title;
    const auto own = calls.find(command.name);
    expected += title + (own != calls.end() ? own->second : stop + reconnect);
    return run_program(ask(command.name));
  }),
            difference_list{});
  EXPECT_EQ(read_file("/var/log/tools.log"), expected);
  EXPECT_EQ(list_folder("/www/images"), lines{"default.jpg"});
  EXPECT_EQ(read_file("/www/images/default.jpg"), uploaded_csv());
}

// If it fails, a cut body runs a command.
TEST(Smoke, AnUndecodableBodyEndsTheRequest) {
  request cut = post("CMD=GET_NODES");
  cut.environment["CONTENT_LENGTH"] = "2147483647";
  const answer got = run_program(cut);
  EXPECT_EQ(got.status, 255);
  EXPECT_EQ(got.out, "Status: 500 Error reading form data\r\n\r\n");
  EXPECT_EQ(tool_calls(), lines{"ast_send_event -1 e_stop_link"});
  EXPECT_EQ(list_folder("/tmp"), lines{});
}

// If it fails, a second request disturbs the first one or a firmware update.
TEST(Smoke, ARefusalTouchesNothingAndNamesAnotherRequestFirst) {
  for (const auto& [running, message] :
       {std::pair{std::string{"update_fw.sh"}, updating_message}, {"handler.cgi", busy_message}}) {
    plant_tool(running, "sleep 60");
    std::system((running + " &").c_str());
    wait_until("pidof " + running + " > /dev/null");
    const answer got = run_program(get("CMD=GET_NODES"));
    EXPECT_EQ(got.status, 0);
    EXPECT_EQ(got.out, refusal(message));
    EXPECT_EQ(got.err, "");
    EXPECT_EQ(tool_calls(), lines{});
    EXPECT_EQ(read_file("/tmp/dbgCGI.log"), "(missing)");
  }
}

// If it fails, a splash image is not installed byte for byte at all of its places.
TEST(Smoke, AnUploadArrivesByteForByte) {
  std::string content = "\r\n--\r\n--a\r\r\n-";
  for (unsigned i = 0; i < 300'000; ++i) content += static_cast<char>(i * i % 251);
  write_file("/xoem/other", "kept");
  EXPECT_EQ(run_program(post_file("UPDATE_SPLASH", content, "a;b.jpg")).out,
            page("UPDATE_SPLASH", "<p>Updating splash</p>\n"));
  EXPECT_TRUE(read_file("/xoem/default.jpg") == content);
  EXPECT_TRUE(read_file("/share/default.jpg") == content);
  EXPECT_TRUE(read_file("/dev/mtdblkxoem") == read_file("/tmp/xoem.tar"));
  EXPECT_EQ(shell_output("tar -tf /dev/mtdblkxoem | sort"), "./\n./default.jpg\n./other\n");
  EXPECT_EQ(read_file("/www/upload_file.txt"),
            "file name: a;b.jpg\nfile size: " + std::to_string(content.size()) + " bytes\n");
  EXPECT_EQ(list_folder("/dev/shm"), lines{});
}
