// Each fault meets every command. Clients get their answers, the link runs, no temporary file is left.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <random>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "support/quick_site.hpp"

namespace {

const lines unit_tools{"ast_send_event", "qelparam", "astparam", "node_list", "update_fw.sh"};

std::string tool_path(const std::string& name) {
  return "/usr/local/bin/" + name;
}

// Makes another program the unit's shell.
void use_shell(const std::string& name) {
  std::filesystem::remove("/bin/sh");
  std::filesystem::create_symlink("/usr/bin/" + name, "/bin/sh");
}

// Whether an answer is not whole, or something was left.
bool is_broken(const difference& found) {
  if (found.what == part::answer) return found.text != refusal(busy_message);
  return found.what == part::status || found.what == part::left;
}

const std::string evil = "$(touch /var/owned);`touch /var/owned`'|touch /var/owned>&2";

// What a client can bring into the environment.
void add_hostile_texts(request& sent) {
  sent.environment["QUERY_STRING"] += "&XCMD=$(touch+/var/owned)&" + evil + "=`touch+/var/owned`";
  for (const char* name : {"HTTP_COOKIE", "HTTP_REFERER", "HTTP_USER_AGENT", "HTTP_PROXY", "PATH_INFO",
                           "PATH_TRANSLATED", "REMOTE_USER", "REMOTE_IDENT"}) {
    sent.environment[name] = "() { :; }; " + evil;
  }
}

// The programs that a request starts, with their arguments, sorted; those that were not found, too.
lines programs_started(const quick_site& site, request sent) {
  std::filesystem::remove_all("/var/started");
  std::filesystem::create_directory("/var/started");
  sent.shell_prefix = "exec strace -ff -qq -s 4096 -e trace=execve,execveat -e signal=none -o /var/started/p";
  sent.environment["ASAN_OPTIONS"] = "detect_leaks=0";  // looking for them cannot be traced
  site.run(sent);
  lines started;
  for (const std::string& file : list_folder("/var/started")) {
    const std::string calls = read_file("/var/started/" + file);
    for (std::size_t at = calls.find("execve"); at != std::string::npos; at = calls.find("execve", at + 1)) {
      started.push_back(calls.substr(at, calls.find("], 0x", at) - at));
    }
  }
  std::ranges::sort(started);
  return started;
}

}  // namespace

// If it fails, a tool that is missing or fails takes a command with it. The link stays as it was.
TEST(Tools, MissingOnesChangeOnlyWhatTheyPrint) {
  const quick_site site;
  EXPECT_EQ(site.differences(), difference_list{});
  const difference_list expected{{"UPDATE_FIRMWARE", part::link, "running\n"},
                                 {"DISCOVER_ENCODERS", part::body, "MYSELF,,\nU1,10.77.1.1,\n"},
                                 {"GET_NODES", part::body, "Device Listing:\n"}};
  std::filesystem::remove("/bin/unix2dos");
  for (const std::string& name : unit_tools) plant_tool(name, "echo wrong >&2; exit 1");
  EXPECT_EQ(site.differences(), expected);
  for (const std::string& name : unit_tools) std::filesystem::remove(tool_path(name));
  EXPECT_EQ(site.differences(), expected);
}

// If it fails, a slow tool or a signal of the server cuts a command, or loses what units answered meanwhile.
TEST(Tools, ASlowOneLosesNothing) {
  const quick_site site;
  for (const std::string tool : {"ast_send_event", "qelparam", "astparam"}) {
    const std::string path = tool_path(tool);
    std::filesystem::rename(path, path + ".kept");
    plant_tool(tool, "sleep 1; exec " + path + ".kept \"$@\"");
    const answer got = site.run(ask("DISCOVER_ENCODERS"), [&tool](pid_t process) {
      wait_until("pidof " + tool + " > /dev/null");
      for (const int number : {SIGTERM, SIGHUP, SIGPIPE}) kill(process, number);
    });
    EXPECT_EQ(got.out, page("DISCOVER_ENCODERS", "MYSELF,10.77.0.1,239.77.0.1\nU1,10.77.1.1,\n")) << tool;
    EXPECT_EQ(got.status, 0) << tool;
    EXPECT_EQ(read_file("/var/link"), "running\n") << tool;
    std::filesystem::rename(path + ".kept", path);
  }
}

// If it fails, a command that needs a file or folder that is missing says nothing, or takes others with it.
// All of a row are missing at once; /dev/shm, which the box mounts, is unwritable.
TEST(Files, MissingOnesAreAnsweredByTheCommandsThatNeedThem) {
  const quick_site site;
  difference_list no_upload;
  for (const known_command& command : every_command) {
    if (!command.uploads()) continue;
    no_upload.push_back({command.name, part::answer, undecodable});
    no_upload.push_back({command.name, part::status, "255"});
    if (command.name != "UPDATE_FIRMWARE") no_upload.push_back({command.name, part::link, "stopped\n"});
  }
  no_upload.push_back({"GET_CSV_IMPORT", part::body, "No Import CSV File Present\n"});
  no_upload.push_back({"PERFORM_CSV_UPDATE", part::body, ""});
  no_upload.push_back({"CHECK_IMPORT_CSV_STATUS", part::body, "false"});
  ASSERT_EQ(chmod("/dev/shm", S_IRUSR | S_IXUSR), 0);
  EXPECT_EQ(site.differences(), no_upload);
  chmod("/dev/shm", S_IRWXU);
  plant_tool("GUI", "");
  write_file("/var/info_local", "");
  const std::string eeprom = "/sys/devices/platform/videoip";
  using row = std::tuple<lines, difference_list>;
  for (const auto& [paths, expected] : {
           row{{"/share", "/config", "/www/images", eeprom}, {}},
           {{eeprom + "/eeprom_content", "/dev/mtdblkxoem", "/var/info_local"}, {}},
           {{"/etc/keys.txt"},
            {{"GET_CSV_DISCOVER", part::body,
              "DISCOVERED CSV DATA: Total=2&Ecount=1&Dcount=1~~~\n\n\r\n\r\n"}}},
       }) {
    for (const std::string& path : paths) std::filesystem::rename(path, path + ".kept");
    EXPECT_EQ(site.differences(), expected) << paths[0];
    for (const std::string& path : paths) {
      std::filesystem::remove(path);
      std::filesystem::rename(path + ".kept", path);
    }
  }
}

// If it fails, a signal of the server leaves half a page, or the link stopped. The answer and the calls of
// the tools are the usual ones, or there are none. An upload may also get the answer to a cut body.
TEST(Signals, AtAnyMomentLeaveAWholeAnswerOrNone) {
  const quick_site site;
  std::mt19937 random{17};
  for (const known_command& command : every_command) {
    const std::string usual = page(command.name, command.body);
    write_file("/var/log/tools.log", "");
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(site.run(ask(command.name)).out, usual);
    const auto longest = std::chrono::steady_clock::now() - start;
    const lines usual_calls = tool_calls();
    for (const int number : {SIGTERM, SIGTERM, SIGPIPE, SIGPIPE, SIGHUP, SIGHUP, SIGXCPU, SIGUSR1}) {
      const auto moment = longest * (random() % 1000) / 1000;
      SCOPED_TRACE(command.name + " " + std::to_string(number) + " after " + std::to_string(moment.count()));
      write_file("/var/log/tools.log", "");
      const answer got = site.run(ask(command.name), [&](pid_t process) {
        std::this_thread::sleep_for(moment);
        kill(process, number);
      });
      const bool may_be_cut = command.uploads() && number != SIGPIPE && number != SIGHUP;
      std::string expected = usual;
      lines calls = usual_calls;
      if (got.status == -number) {
        expected.clear();
        calls.clear();
      } else if (may_be_cut &&
                 (got.out == undecodable || got.out == page("", "<p>No command supplied</p>\n"))) {
        expected = got.out;
        calls = {"ast_send_event -1 e_stop_link"};
      }
      EXPECT_EQ(got.out, expected) << got.status;
      EXPECT_EQ(tool_calls(), calls);
      for (const std::string& file : list_folder("/dev/shm")) EXPECT_FALSE(file.starts_with("cgic")) << file;
    }
  }
}

// If it fails, a client runs commands by a header or a variable. The shell is bash, which obeys most.
TEST(Environment, TextsAreNeverRun) {
  const quick_site site;
  write_file("/var/evil", "touch /var/owned\n");
  use_shell("bash");
  EXPECT_EQ(site.differences([](request& sent) {
    add_hostile_texts(sent);
    for (const char* name : {"ENV", "BASH_ENV"}) sent.environment[name] = "/var/evil";
    sent.environment["PS4"] = "$(touch /var/owned)";
    sent.environment["SHELLOPTS"] = "xtrace:verbose";
    sent.environment["IFS"] = "/-_ t";
    sent.environment["CDPATH"] = "/var";
  }),
            difference_list{});
  EXPECT_FALSE(std::filesystem::exists("/var/owned"));
}

// If it fails, a text of a request or of a unit's reply starts a program.
TEST(Environment, AHostileRequestStartsNoOtherProgram) {
  std::vector<lines> clean;
  plant_tool("update_fw.sh", "");
  write_file("/var/params/UNIT.MCD_MODE", "2\n");
  for (const std::string& words : {std::string{"f"}, evil}) {
    write_file("/var/nodes", "10.77.1.1 " + words + "\n");
    const quick_site site{words};
    auto expected = clean.begin();
    for (const known_command& command : every_command) {
      request sent = ask(command.name, words);
      if (words == evil) {
        add_hostile_texts(sent);
        EXPECT_EQ(programs_started(site, sent), *expected++) << command.name;
      } else {
        clean.push_back(programs_started(site, sent));
        EXPECT_GE(clean.back().size(), 8U) << command.name;  // the program, two pidof, two events
      }
    }
    EXPECT_NE(read_file("/tmp/discover.last"), "(missing)");  // the two-pass mode's own
  }
  EXPECT_FALSE(std::filesystem::exists("/var/owned"));
}

// If it fails, a server that limits descriptors, stack, file size or outputs gets half an answer.
TEST(Limits, OfAServerLeaveWholeAnswers) {
  const quick_site site;
  const auto differences = [&site](const std::string& shell_prefix) {
    return site.differences([&shell_prefix](request& sent) { sent.shell_prefix = shell_prefix + "; exec"; });
  };
  EXPECT_EQ(differences("ulimit -n 12"), difference_list{});
  EXPECT_EQ(differences(is_sanitized() ? "ulimit -s 256" : "ulimit -s 64"), difference_list{});
  for (const char* limit : {"-n 8", "-n 6", "-n 5", "-n 4", "-f 1"}) {
    for (const difference& found : differences("ulimit " + std::string{limit})) {
      EXPECT_FALSE(is_broken(found)) << limit << " " << found;
    }
  }
  difference_list no_answers;
  for (const known_command& command : every_command) no_answers.push_back({command.name, part::answer, ""});
  for (const char* closed : {"exec >&-", "exec 2>&- >&-", "exec > /dev/full"}) {
    EXPECT_EQ(differences(closed), no_answers) << closed;
  }
  // bash runs the unit's tools with few descriptors, too; so the link is right again.
  use_shell("bash");
  EXPECT_EQ(differences("ulimit -n 6"), difference_list{});
}
