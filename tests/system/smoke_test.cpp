// The main path of the built program, short enough for a slow emulated one.

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "support/quick_site.hpp"

// A log line is literal; with the command that once wrote it, it had 255 characters.
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

TEST(Smoke, EveryCommandAnswersAndCallsItsTools) {
  const quick_site site;
  EXPECT_EQ(site.differences(), lines{});
  const std::string stop = "ast_send_event -1 e_stop_link\n";
  const std::string reconnect = "ast_send_event -1 e_reconnect\n";
  const std::string staged = stop + stop;
  const std::string query = stop + "qelparam g UNIT.MCD_TTL\nqelparam g UNIT.MCD_MODE\n";
  const std::string store_edid = " CUSTOM\nqelparam save\n";
  const auto custom_edid = [&](const std::string& key) {
    return staged + "api CMD=START&UNIT.ID=ALL&CONFIG.SAVE=TRUE&CMD=END\nqelparam s " + key + store_edid +
           "api CMD=START&UNIT.ID=ALL&" + key + "=CUSTOM&CMD=END\n" + reconnect;
  };
  std::string expected;
  for (const std::string& calls : {
           staged + "update_fw.sh\n",
           staged + "qelparam s VIDEO.EDID" + store_edid + reconnect,
           custom_edid("VIDEO.EDID1"),
           custom_edid("VIDEO.EDID2"),
           custom_edid("VIDEO.EDID3"),
           staged + reconnect + reconnect,
           query + "astparam g STREAM.HOST\nastparam g STREAM.ADDRESS\n" + reconnect,
           query + reconnect,
           query + reconnect,
           stop + reconnect,
           staged + reconnect,
           stop + reconnect,
           query + reconnect,
           query + "astparam g UNIT.SERIAL\nqelparam g UNIT.MCD_TTL\n" + reconnect,
           stop + reconnect,
           stop + "node_list\n" + reconnect,
           stop + reconnect,
       }) {
    expected += calls;
  }
  EXPECT_EQ(read_file("/var/log/tools.log"), expected);
  EXPECT_EQ(list_folder("/www/images"), lines{"default.jpg"});
  EXPECT_EQ(read_file("/www/images/default.jpg"), uploaded_csv());
}

TEST(Smoke, AnUndecodableBodyEndsTheRequest) {
  request cut = post("CMD=GET_NODES");
  cut.environment["CONTENT_LENGTH"] = "2147483647";
  const answer got = run_program(cut);
  EXPECT_EQ(got.status, 255);
  EXPECT_EQ(got.out, "Status: 500 Error reading form data\r\n\r\n");
  EXPECT_EQ(tool_calls(), lines{"ast_send_event -1 e_stop_link"});
  EXPECT_EQ(list_folder("/tmp"), lines{});
}

TEST(Smoke, ARefusalTouchesNothingAndNamesAnotherRequestFirst) {
  for (const std::string running : {"update_fw.sh", "handler.cgi"}) {
    const std::string message = running == "handler.cgi"
                                    ? busy_message
                                    : "&HANDLER=ERROR Firmware Update In Progress, try again later.\n";
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
